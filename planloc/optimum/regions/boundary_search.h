// Convex problems with regions. If the free optimum is not permitted, a permitted place with the
// least value lies on the sides of the polygons; they are searched best first, under one pool of
// affine functions below f. Internal.
#ifndef PLANLOC_OPTIMUM_REGIONS_BOUNDARY_SEARCH_H_
#define PLANLOC_OPTIMUM_REGIONS_BOUNDARY_SEARCH_H_

#include "planloc/optimum/minimise.h"

namespace planloc::detail {

// `free` is the answer to the problem without its regions.
solution minimise_within(const problem& p, const minimise_options& options, solution free);

}  // namespace planloc::detail

#endif  // PLANLOC_OPTIMUM_REGIONS_BOUNDARY_SEARCH_H_
