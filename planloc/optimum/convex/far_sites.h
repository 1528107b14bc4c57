// The centre of many sites is that of the few that can be the farthest ones near it. Internal.
#ifndef PLANLOC_OPTIMUM_CONVEX_FAR_SITES_H_
#define PLANLOC_OPTIMUM_CONVEX_FAR_SITES_H_

#include <cstdint>
#include <optional>
#include <vector>

#include "planloc/optimum/convex/reduced_sum.h"
#include "planloc/optimum/solution.h"

namespace planloc::detail {

// The problem with the sites that can be the farthest ones within a box that holds all optima; it
// has the same value and the same optima there.
struct far_sites {
  problem centre;
  std::vector<std::uint32_t> site;  // its sites, as they are counted in the whole problem
  place_box holds_optima;

  // Whether what the search of `centre` found lies in the box, so that it answers the whole.
  bool hold(const solution& s) const;
  // The solution of `centre` as one of the whole problem.
  solution expand(const problem& whole, solution s) const;
};

// For order weights 0 ... 0 w and any gauges. Empty for other order weights, for few sites, and
// where most of the sites are as far as the farthest.
std::optional<far_sites> find_far_sites(const problem& p);

}  // namespace planloc::detail

#endif  // PLANLOC_OPTIMUM_CONVEX_FAR_SITES_H_
