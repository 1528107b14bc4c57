// Four affine functions on a triangle, each as its values at the corners, and the least value of
// the largest of them. Internal.
#ifndef PLANLOC_OPTIMUM_GENERAL_BEST_MIXTURE_H_
#define PLANLOC_OPTIMUM_GENERAL_BEST_MIXTURE_H_

#include <array>
#include <cstddef>
#include <cstdint>

namespace planloc::detail {

using corner_values = std::array<double, 3>;
using planes = std::array<corner_values, 4>;

// The largest of the least values over the corners of all convex combinations of planes: a lower
// bound of the largest plane that roundings do not spoil.
double best_mixture(const planes& rows);

// The same bound, and which planes are needed for it (bits): the others may go.
struct mixture {
  double bound;
  std::uint32_t rows;
};
mixture best_mixture_and_rows(const planes& rows);

// The same where none of `sides`, how far the corners are on one side of a line in any unit, is
// below 0.
double least_above(const planes& rows, const corner_values& sides);

// Where the largest of the planes is least, as shares of the corners. They are not negative and add
// up to 1, but for roundings.
corner_values lowest_place(const planes& rows);

inline double value_at(const corner_values& plane, const corner_values& shares) {
  return plane[0] * shares[0] + plane[1] * shares[1] + plane[2] * shares[2];
}

}  // namespace planloc::detail

#endif  // PLANLOC_OPTIMUM_GENERAL_BEST_MIXTURE_H_
