// The bound that several planes below a function give on a triangle. Internal.
#ifndef PLANLOC_OPTIMUM_GENERAL_BEST_MIXTURE_H_
#define PLANLOC_OPTIMUM_GENERAL_BEST_MIXTURE_H_

#include <array>

namespace planloc::detail {

// The largest of the least values over the columns of all convex combinations of rows.
double best_mixture(const std::array<std::array<double, 3>, 4>& rows);

}  // namespace planloc::detail

#endif  // PLANLOC_OPTIMUM_GENERAL_BEST_MIXTURE_H_
