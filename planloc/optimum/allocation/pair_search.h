// The least sum of the distances with two new facilities, by branch and bound over pairs of
// rectangles. Internal.
#ifndef PLANLOC_OPTIMUM_ALLOCATION_PAIR_SEARCH_H_
#define PLANLOC_OPTIMUM_ALLOCATION_PAIR_SEARCH_H_

#include <functional>

#include "planloc/optimum/allocation/local_search.h"
#include "planloc/optimum/location_allocation.h"

namespace planloc::detail {

// Sets the bound of `a`, its pairs and counters; `a` becomes a better answer where one is met. Ends
// where the gap is about that of an optimum, or at most `relative_gap` of the value and some pairs
// do not make it so, where there are too many pairs, or where `expired` says so. `told` is called
// with better bounds. REQUIRES: two new facilities, a value above 0.
void search_pairs(const allocation_ground& ground, allocation& a, double relative_gap,
                  const std::function<bool()>& expired, const std::function<void(double)>& told);

}  // namespace planloc::detail

#endif  // PLANLOC_OPTIMUM_ALLOCATION_PAIR_SEARCH_H_
