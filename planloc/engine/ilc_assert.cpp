#include "planloc/engine/ilc_assert.h"

// <cassert> declares the run-time assertion only where assertions are on.
#undef NDEBUG
#include <cassert>

namespace planloc::detail {

void assertion_failed(const char* text, const char* file, int line, const char* function) {
  __assert_fail(text, file, static_cast<unsigned>(line), function);
}

}  // namespace planloc::detail
