// The program `cellwalk`.
#include <cstring>
#include <iostream>

#include "planloc/driver/input.h"
#include "planloc/driver/run.h"

namespace {

// The value of "--<name>=<value>" if `argument` is that, else null. Such an argument is no option
// of `parse_args`, which passes over it.
const char* long_option(const char* argument, const char* name) {
  const std::size_t length = std::strlen(name);
  const bool matches = std::strncmp(argument, name, length) == 0;
  return matches ? argument + length : nullptr;
}

}  // namespace

int main(int argc, char** argv) {
  planloc::string picture;
  for (int i = 1; i < argc; ++i) {
    if (std::strcmp(argv[i], "--help") == 0) {
      std::cout << planloc::kUsage << '\n';
      return 0;
    }
    if (std::strcmp(argv[i], "--version") == 0) {
      std::cout << "cellwalk " PLANLOC_VERSION "\n";
      return 0;
    }
    if (const char* file = long_option(argv[i], "--picture=")) picture = planloc::string(file);
  }
  return planloc::run(argc, argv, picture);
}
