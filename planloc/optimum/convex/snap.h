// From a minimiser in doubles to the exact vertex that it stands for. Internal.
#ifndef PLANLOC_OPTIMUM_CONVEX_SNAP_H_
#define PLANLOC_OPTIMUM_CONVEX_SNAP_H_

#include <vector>

#include "planloc/optimum/evaluate.h"
#include "planloc/optimum/exact/exact_place.h"

namespace planloc::detail {

// `near` is relative to the table's base, the result is not. The crossing of two break lines that
// pass within `reach` of `near`: rays of gauges, and lines on which two distances at a jump of the
// order weights are equal. With fewer such lines the point of the one line that is nearest, or
// `near` itself. REQUIRES: polyhedral gauges.
exact_xy snap(const problem& p, const distance_table& table, exact_edges& edges, const xy& near,
              double reach);

// The crossings of break lines within `reach` of `near` with the line through `from`, the nearest
// first.
std::vector<exact_xy> snap_along(const problem& p, const distance_table& table, exact_edges& edges,
                                 const exact_xy& from, const exact_xy& direction, const xy& near,
                                 double reach);

}  // namespace planloc::detail

#endif  // PLANLOC_OPTIMUM_CONVEX_SNAP_H_
