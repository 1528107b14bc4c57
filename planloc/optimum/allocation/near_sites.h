// The sites of a table by where they lie, and the distance of one at a time. Internal.
#ifndef PLANLOC_OPTIMUM_ALLOCATION_NEAR_SITES_H_
#define PLANLOC_OPTIMUM_ALLOCATION_NEAR_SITES_H_

#include <algorithm>
#include <cmath>
#include <vector>

#include "planloc/optimum/allocation/place_blocks.h"
#include "planloc/optimum/distance_table.h"

namespace planloc::detail {

// max(|x|, |y|) <= reach * gauge((x, y)) with the least such reach, or 1 for lp.
double reach_of(const distance_table& table, const gauge_block& b);

struct near_sites {
  // `facilities` serve the sites.
  near_sites(const distance_table& table, std::size_t facilities);

  std::size_t size() const { return slope.size(); }
  double distance(std::size_t slot, const xy& at) const {
    const gauge_block& b = table.blocks[table.block_of[slot]];
    const xy u{at.x - table.x[slot], at.y - table.y[slot]};
    if (b.kind == gauge::shape::euclidean)
      return table.weight[slot] * std::sqrt(u.x * u.x + u.y * u.y);
    if (b.kind != gauge::shape::polyhedral || b.edges > kFewEdges)
      return table.piece(slot, at).distance;
    double most = 0;
    for (std::uint32_t j = b.first_edge; j < b.first_edge + b.edges; ++j)
      most = std::max(most, dot(table.edges[j].normal, u));
    return table.weight[slot] * most;
  }
  // No more than that distance, as it is computed.
  double at_least(std::size_t slot, const xy& at) const {
    return slope[slot] * std::max(std::fabs(table.x[slot] - at.x), std::fabs(table.y[slot] - at.y));
  }

  const distance_table& table;
  place_blocks blocks;
  std::vector<double> slope;  // of each slot: distance per unit of the maximum norm, at least
  // How far so many sites are from each slot's, and a little more; empty where there are very many
  // sites.
  std::size_t within_scale;
  std::vector<double> scale;

 private:
  static constexpr std::uint32_t kFewEdges = 16;  // looking at all is faster than finding the one
};

}  // namespace planloc::detail

#endif  // PLANLOC_OPTIMUM_ALLOCATION_NEAR_SITES_H_
