// Points and assignment of an answer, from the problem's own coordinates. Internal.
#ifndef PLANLOC_OPTIMUM_ALLOCATION_ASSIGNMENT_H_
#define PLANLOC_OPTIMUM_ALLOCATION_ASSIGNMENT_H_

#include <functional>
#include <vector>

#include "planloc/optimum/location_allocation.h"

namespace planloc::detail {

// Assigns each site to its nearest facility, the lowest number at a tie, and adds up the value.
void assign(const allocation_problem& p, allocation& a);

// Alternates between assignment and the optimum of each facility (minimise.h) until nothing is
// gained. Leaves points, assignment and value; the points are in order.
void alternate_to_optima(const allocation_problem& p, allocation& a,
                         const std::function<bool()>& expired);

}  // namespace planloc::detail

#endif  // PLANLOC_OPTIMUM_ALLOCATION_ASSIGNMENT_H_
