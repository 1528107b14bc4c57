// Powers of many numbers at once, for loops that take most of their time in the C library's.
// Internal.
#ifndef PLANLOC_FACILITIES_BULK_POWERS_H_
#define PLANLOC_FACILITIES_BULK_POWERS_H_

#include <cstddef>

namespace planloc::detail {

enum class bulk_exponent {
  kTwo,          // 2.0
  kThree,        // 3.0
  kHalf,         // 0.5
  kThreeHalves,  // 1.5
  kMinusHalf,    // -0.5
  kThird,        // 1.0 / 3.0
  kTwoThirds,    // 1.0 - 1.0 / 3.0
};

// powers[i] = std::pow(x[i], exponent) for i < n, bit for bit.
void bulk_powers(bulk_exponent exponent, std::size_t n, const double* x, double* powers);

// roots[i] = x[i]^(-1/3) for i < n, to 1e-15 of it.
void inverse_cube_roots(std::size_t n, const double* x, double* roots);

}  // namespace planloc::detail

#endif  // PLANLOC_FACILITIES_BULK_POWERS_H_
