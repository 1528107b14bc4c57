#include "planloc/foundation/containers/random_source.h"

#include <cstdint>
#include <random>

namespace planloc {

// Reduced by a remainder and not by std::uniform_int_distribution, whose sequence differs between
// standard libraries; the bias is below n / 2^64.
int random_below(int n) {
  static thread_local std::mt19937_64 source(20020531);
  return static_cast<int>(source() % static_cast<std::uint64_t>(n));
}

}  // namespace planloc
