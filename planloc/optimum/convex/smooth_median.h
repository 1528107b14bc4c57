// The Weber point of many sites under Euclidean and lp distances by Newton's method. Internal.
#ifndef PLANLOC_OPTIMUM_CONVEX_SMOOTH_MEDIAN_H_
#define PLANLOC_OPTIMUM_CONVEX_SMOOTH_MEDIAN_H_

#include <optional>

#include "planloc/optimum/minimise.h"

namespace planloc::detail {

// The solution of a problem with equal order weights and no polyhedral gauge in use. Newton's
// method with halved steps, for a sample first; the tangent at its end is the certificate. Empty if
// it is no such problem, if there are few sites, or if doubles do not close the gap this way: the
// optimum at or next to a site, or, for p < 2, next to the line through one along a coordinate;
// sites in a line.
std::optional<solution> smooth_median(const problem& p, const minimise_options& options);

}  // namespace planloc::detail

#endif  // PLANLOC_OPTIMUM_CONVEX_SMOOTH_MEDIAN_H_
