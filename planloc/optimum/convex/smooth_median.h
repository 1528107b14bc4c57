// The Weber point under Euclidean and lp distances by Newton's method. Internal.
#ifndef PLANLOC_OPTIMUM_CONVEX_SMOOTH_MEDIAN_H_
#define PLANLOC_OPTIMUM_CONVEX_SMOOTH_MEDIAN_H_

#include <optional>

#include "planloc/optimum/minimise.h"

namespace planloc::detail {

// The solution of a problem with equal order weights and no polyhedral gauge. Newton's method with
// halved steps, from the mean or a sample's optimum; the tangent at its end is the certificate, or
// at a site that outweighs the others. Empty if it is no such problem, or if doubles do not close
// the gap this way: next to a site, for p < 2 next to the line through one along a coordinate,
// sites in a line.
std::optional<solution> smooth_median(const problem& p, const minimise_options& options);

}  // namespace planloc::detail

#endif  // PLANLOC_OPTIMUM_CONVEX_SMOOTH_MEDIAN_H_
