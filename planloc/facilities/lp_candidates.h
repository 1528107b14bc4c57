// Which facilities the test of `lp_sum` can accept at all. Internal.
#ifndef PLANLOC_FACILITIES_LP_CANDIDATES_H_
#define PLANLOC_FACILITIES_LP_CANDIDATES_H_

#include <vector>

#include "planloc/facilities/planar_sites.h"

namespace planloc::detail {

// For each site whether `facilities::lp_optimal` may say 1 of it: false only where it surely says
// 0, roundings included. n operations for a tangent, and some log n tangents.
std::vector<bool> lp_candidates(const planar_sites& sites, int p);

}  // namespace planloc::detail

#endif  // PLANLOC_FACILITIES_LP_CANDIDATES_H_
