// The rings of regions: their sides, and whether they are simple. Internal.
#ifndef PLANLOC_OPTIMUM_REGIONS_RING_CHECK_H_
#define PLANLOC_OPTIMUM_REGIONS_RING_CHECK_H_

#include <string>

#include "planloc/optimum/region.h"

namespace planloc::detail {

// The corners without repetitions of neighbours.
ring distinct_corners(const ring& r);

// What is wrong with a ring, as the end of a sentence that begins with its name: "crosses itself at
// (1, 2)", "runs along itself at ...", "has 2 different corners: at least 3 are needed". Empty if
// nothing is. REQUIRES: finite coordinates.
std::string ring_fault(const ring& r);

}  // namespace planloc::detail

#endif  // PLANLOC_OPTIMUM_REGIONS_RING_CHECK_H_
