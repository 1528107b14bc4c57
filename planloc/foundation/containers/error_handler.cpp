#include "planloc/foundation/containers/error_handler.h"

#include <cstdlib>
#include <iostream>

namespace planloc {

ErrorHandler error_handler = default_error_handler;

void default_error_handler(int code, const char* message) {
  std::cerr << '\n'
            << (code == 0 ? "FLNZ WARNING" : "FLNZ ERROR HANDLER") << "\n\t" << message << "\n\n";
  if (code > 0) {
    std::cerr.flush();
    std::abort();
  }
}

ErrorHandler set_error_handler(ErrorHandler handler) {
  const ErrorHandler previous = error_handler;
  error_handler = handler;
  return previous;
}

}  // namespace planloc
