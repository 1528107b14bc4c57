// Triples of sites of which clusters that a solution takes in part hold two or three too often.
// Internal.
#ifndef PLANLOC_OPTIMUM_ALLOCATION_TRIPLE_CUTS_H_
#define PLANLOC_OPTIMUM_ALLOCATION_TRIPLE_CUTS_H_

#include <span>
#include <vector>

#include "planloc/optimum/allocation/dual_master.h"

namespace planloc::detail {

// `known`, and after them those that are violated most, no two of which share a site, as far as the
// knots stay small (site_prices.h). Prices of new ones are 0.
std::vector<priced_triple> with_violated_triples(
    std::span<const dual_master::taken_cluster> clusters, std::vector<priced_triple> known);

}  // namespace planloc::detail

#endif  // PLANLOC_OPTIMUM_ALLOCATION_TRIPLE_CUTS_H_
