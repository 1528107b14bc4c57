// Powers of many numbers at once, for loops that take most of their time in the C library's.
// Internal.
#ifndef PLANLOC_FACILITIES_BULK_POWERS_H_
#define PLANLOC_FACILITIES_BULK_POWERS_H_

#include <cstddef>

namespace planloc::detail {

// three_halves[i] = std::pow(x[i], 1.5) and minus_half[i] = std::pow(x[i], -0.5) for i < n, bit for
// bit.
void half_powers(std::size_t n, const double* x, double* three_halves, double* minus_half);

inline constexpr double kTwoThirds = 1.0 - 1.0 / 3.0;
// powers[i] = std::pow(x[i], kTwoThirds) for i < n, bit for bit.
void two_thirds_powers(std::size_t n, const double* x, double* powers);

// roots[i] = x[i]^(-1/3) for i < n, to 1e-15 of it.
void inverse_cube_roots(std::size_t n, const double* x, double* roots);

}  // namespace planloc::detail

#endif  // PLANLOC_FACILITIES_BULK_POWERS_H_
