// The sites of a table by where they lie, and the distance of one at a time. Internal.
#ifndef PLANLOC_OPTIMUM_ALLOCATION_NEAR_SITES_H_
#define PLANLOC_OPTIMUM_ALLOCATION_NEAR_SITES_H_

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "planloc/optimum/allocation/place_blocks.h"
#include "planloc/optimum/distance_table.h"

namespace planloc::detail {

// max(|x|, |y|) <= reach * gauge((x, y)) with the least such reach, or 1 for lp.
double reach_of(const distance_table& table, const gauge_block& b);

// table.piece(slot, at), faster where that looks for one of few edges.
inline distance_table::linear_piece piece_of(const distance_table& table, std::size_t slot,
                                             const xy& at) {
  constexpr std::uint32_t kFewEdges = 12;
  const gauge_block& b = table.blocks[table.block_of[slot]];
  const xy u{at.x - table.x[slot], at.y - table.y[slot]};
  const double w = table.weight[slot];
  if (b.kind == gauge::shape::euclidean) {
    const double norm = std::sqrt(dot(u, u));
    const double r = norm > 0 ? w / norm : 0;
    return {w * norm, {r * u.x, r * u.y}, 0};
  }
  if (b.kind != gauge::shape::polyhedral || b.edges > kFewEdges) return table.piece(slot, at);
  const ball_edge* edges = table.edges.data() + b.first_edge;
  std::uint32_t farthest = 0;
  double most = dot(edges[0].normal, u);
  for (std::uint32_t j = 1; j < b.edges; ++j) {
    const double d = dot(edges[j].normal, u);
    farthest = d > most ? j : farthest;
    most = std::max(most, d);
  }
  const xy& n = edges[farthest].normal;
  return {w * most, {w * n.x, w * n.y}, farthest};
}

struct near_sites {
  // `facilities` serve the sites.
  near_sites(const distance_table& table, std::size_t facilities);

  std::size_t size() const { return slope.size(); }
  double distance(std::size_t slot, const xy& at) const {
    return piece_of(table, slot, at).distance;
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
};

}  // namespace planloc::detail

#endif  // PLANLOC_OPTIMUM_ALLOCATION_NEAR_SITES_H_
