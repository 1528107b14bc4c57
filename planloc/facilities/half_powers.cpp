#include "planloc/facilities/half_powers.h"

#include <bit>
#include <cmath>
#include <cstdint>

#include "planloc/facilities/wide_vectors.h"

namespace planloc::detail {
namespace {

// Where none of the products below leaves the range of doubles.
constexpr double kLeast = 0x1p-300;
constexpr double kLargest = 0x1p300;

// high + low is a number to more than a hundred bits.
struct two_doubles {
  double high;
  double low;
};

// The exact product (Dekker, 1971).
inline two_doubles exact_product(double a, double b) {
  constexpr double kSplit = 0x1p27 + 1.0;
  const double a_part = kSplit * a;
  const double a1 = a_part - (a_part - a);
  const double a2 = a - a1;
  const double b_part = kSplit * b;
  const double b1 = b_part - (b_part - b);
  const double b2 = b - b1;
  const double p = a * b;
  return {p, ((a1 * b1 - p) + a1 * b2 + a2 * b1) + a2 * b2};
}

// high + low rounded, or NaN where the library might round it in another way: its powers are less
// than 0.55 of the last place off (glibc since 2.28), so a sum that is nearer than 0.44 to a double
// gives that double. Below a power of two places are half as wide.
inline double rounded_as_by_library(double high, double low) {
  const double v = high + low;
  const double rest = (high - v) + low;
  const double power = std::bit_cast<double>(std::bit_cast<std::uint64_t>(v) & 0x7ff0000000000000U);
  const bool is_sure = std::fabs(rest) < 0.44 * 0x1p-52 * power && v != power;
  return is_sure ? v : std::nan("");
}

PLANLOC_WIDE_VECTORS
void find_sure_powers(std::size_t n, const double* x, double* three_halves, double* minus_half) {
  for (std::size_t i = 0; i < n; ++i) {
    // s + r is the root to 2^-104 of it: a step of Newton's method from s.
    const double s = std::sqrt(x[i]);
    const two_doubles square = exact_product(s, s);
    const double r = ((x[i] - square.high) - square.low) / (s + s);
    const two_doubles product = exact_product(x[i], s);
    const double cube = rounded_as_by_library(product.high, product.low + x[i] * r);
    // y (1 + f) with f = 1 - y (s + r) is the reciprocal of the root to the square of f.
    const double y = 1.0 / s;
    const two_doubles one = exact_product(y, s);
    const double inverse = rounded_as_by_library(y, y * (((1.0 - one.high) - one.low) - y * r));
    const bool is_moderate = x[i] > kLeast && x[i] < kLargest;
    three_halves[i] = is_moderate ? cube : std::nan("");
    minus_half[i] = is_moderate ? inverse : std::nan("");
  }
}

}  // namespace

void half_powers(std::size_t n, const double* x, double* three_halves, double* minus_half) {
#ifdef __GLIBC__
  find_sure_powers(n, x, three_halves, minus_half);
  for (std::size_t i = 0; i < n; ++i) {
    if (std::isnan(three_halves[i])) three_halves[i] = std::pow(x[i], 1.5);
    if (std::isnan(minus_half[i])) minus_half[i] = std::pow(x[i], -0.5);
  }
#else
  for (std::size_t i = 0; i < n; ++i) {
    three_halves[i] = std::pow(x[i], 1.5);
    minus_half[i] = std::pow(x[i], -0.5);
  }
#endif
}

}  // namespace planloc::detail
