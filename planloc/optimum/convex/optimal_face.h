// All optima of a convex polyhedral problem, from one of them. Internal.
#ifndef PLANLOC_OPTIMUM_CONVEX_OPTIMAL_FACE_H_
#define PLANLOC_OPTIMUM_CONVEX_OPTIMAL_FACE_H_

#include <vector>

#include "planloc/optimum/exact/optimality.h"

namespace planloc::detail {

// The corners of the set on which f has the value of `optimum`: one, two, or a polygon
// counterclockwise. Empty if there are more corners than ten thousand. `extent` is the size of the
// sites' frame. REQUIRES: an order weight is positive; `o` is the test of `optimum` and has a
// support.
std::vector<exact_xy> optimal_corners(const problem& p, const distance_table& table,
                                      evaluator& evaluate, current_place& places,
                                      const exact_xy& optimum, const optimality& o, double extent);

}  // namespace planloc::detail

#endif  // PLANLOC_OPTIMUM_CONVEX_OPTIMAL_FACE_H_
