// Candidates for the least largest weighted gauge distance: the values at which the growing balls
// around two sites, a vertex of one and an edge of the other, or the edges of three sites meet.
// Internal: the steps of gauge_max.h.
#ifndef PLANLOC_FACILITIES_CONTACT_VALUES_H_
#define PLANLOC_FACILITIES_CONTACT_VALUES_H_

#include <functional>
#include <span>
#include <vector>

#include "planloc/facilities/level_sets.h"

namespace planloc::detail {

// No contact of three sites above this counts.
inline constexpr double kLargestContact = 150000000.0;

// The values above 0 for each vertex of each site and each edge of each site, in this order, up to
// 500 of them (5000 for fewer than 6 sites, 1000 for more than 101). An edge of the site itself is
// taken at the place and weight of the site before it in the walk, at the very first vertex at the
// origin with the weight 0 (intended: a candidate is only ever tried).
std::vector<double> pair_contacts(const ball_sites& sites);

// The values from `lower` to kLargestContact for each edge of each three sites, in the order of the
// sites and vertices. Two parallel edges of the three give 0, except two vertical ones of the first
// two sites, which repeat the value found before: intended, a candidate too many is only tried in
// vain.
std::vector<double> triple_contacts(const ball_sites& sites, double lower);
// The same in batches: calls visit(values) for one after the other, for those of every pair of
// edges or, as a sample, of each `step`th.
using contact_visitor = std::function<void(std::span<const double>)>;
void for_each_triple_batch(const ball_sites& sites, double lower, const contact_visitor& visit,
                           std::size_t step = 1);
// How many edges of three sites there are.
double triple_count(const ball_sites& sites);

}  // namespace planloc::detail

#endif  // PLANLOC_FACILITIES_CONTACT_VALUES_H_
