// A lower bound on the sum of the distances from the nearest facility, by column generation (Krau
// 1997; du Merle, Villeneuve, Desrosiers and Hansen 1999). Internal.
#ifndef PLANLOC_OPTIMUM_ALLOCATION_LOWER_BOUND_H_
#define PLANLOC_OPTIMUM_ALLOCATION_LOWER_BOUND_H_

#include <functional>
#include <vector>

#include "planloc/optimum/allocation/local_search.h"
#include "planloc/optimum/location_allocation.h"

namespace planloc::detail {

// Sets the bound of `a`, its prices and counters: the best ones that are found until the gap is
// at most `goal`, nothing is left to gain, or `expired` says so. Leaves `a` without a bound if it
// ends before there is one. `told` is called with each better bound.
void bound_below(const allocation_ground& ground, allocation& a, double goal,
                 const std::function<bool()>& expired, const std::function<void(double)>& told);

}  // namespace planloc::detail

#endif  // PLANLOC_OPTIMUM_ALLOCATION_LOWER_BOUND_H_
