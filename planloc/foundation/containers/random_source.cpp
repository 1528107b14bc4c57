#include "planloc/foundation/containers/random_source.h"

#include <cstdint>
#include <numeric>
#include <random>
#include <utility>

namespace planloc {

namespace {

std::mt19937_64& source() {
  static thread_local std::mt19937_64 the_source(20020531);
  return the_source;
}

// Reduced by a remainder and not by std::uniform_int_distribution, whose sequence differs between
// standard libraries; the bias is below n / 2^64.
std::uint64_t below(std::uint64_t n, std::mt19937_64& numbers) { return numbers() % n; }

}  // namespace

int random_below(int n) { return static_cast<int>(below(static_cast<std::uint64_t>(n), source())); }

std::vector<std::uint32_t> random_order(std::size_t n) {
  std::vector<std::uint32_t> order(n);
  std::iota(order.begin(), order.end(), 0U);
  std::mt19937_64& numbers = source();
  for (std::size_t i = n; i > 1; --i) std::swap(order[i - 1], order[below(i, numbers)]);
  return order;
}

}  // namespace planloc
