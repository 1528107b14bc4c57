// Powers of many numbers at once, for loops that take most of their time in the C library's.
// Internal.
#ifndef PLANLOC_FACILITIES_HALF_POWERS_H_
#define PLANLOC_FACILITIES_HALF_POWERS_H_

#include <cstddef>

namespace planloc::detail {

// three_halves[i] = std::pow(x[i], 1.5) and minus_half[i] = std::pow(x[i], -0.5) for i < n, bit for
// bit.
void half_powers(std::size_t n, const double* x, double* three_halves, double* minus_half);

}  // namespace planloc::detail

#endif  // PLANLOC_FACILITIES_HALF_POWERS_H_
