#include "planloc/optimum/allocation/near_sites.h"

namespace planloc::detail {

namespace {

// Far more than the roundings of a distance.
constexpr double kInwards = 1 - 1e-12;
constexpr std::size_t kFacilities = 2;  // whose sites are within the scale
constexpr std::size_t kMostSitesOfScale = 2048;
constexpr double kLeastScale = 1e-3;  // of the width of all

std::vector<xy> places_of(const distance_table& table) {
  std::vector<xy> places;
  for (std::size_t slot = 0; slot < table.size(); ++slot)
    places.push_back({table.x[slot], table.y[slot]});
  return places;
}

xy_box box_of(std::span<const xy> places) {
  xy_box box(places[0]);
  for (const xy& at : places) box.extend(at);
  return box;
}

}  // namespace

double reach_of(const distance_table& table, const gauge_block& b) {
  // The unit balls of lp lie in that of the maximum norm.
  if (b.kind != gauge::shape::polyhedral) return 1;
  double most = 0;
  for (std::uint32_t j = b.first_edge; j < b.first_edge + b.edges; ++j) {
    const xy& v = table.edges[j].from;
    most = std::max({most, std::fabs(v.x), std::fabs(v.y)});
  }
  return most;
}

near_sites::near_sites(const distance_table& t, std::size_t facilities)
    : table(t),
      blocks(places_of(t)),
      within_scale(std::min(t.size() - 1, kFacilities * t.size() / facilities)) {
  for (std::size_t slot = 0; slot < t.size(); ++slot)
    slope.push_back(t.weight[slot] / reach_of(t, t.blocks[t.block_of[slot]]) * kInwards);
  if (t.size() > kMostSitesOfScale) return;
  const xy_box all = box_of(blocks.places());
  const double wide = std::max(all.high.x - all.low.x, all.high.y - all.low.y);
  std::vector<double> d(t.size());
  for (std::size_t slot = 0; slot < t.size(); ++slot) {
    for (std::size_t k = 0; k < d.size(); ++k) d[k] = distance(slot, blocks.places()[k]);
    const auto last = d.begin() + static_cast<std::ptrdiff_t>(within_scale);
    std::nth_element(d.begin(), last, d.end());
    scale.push_back(*last + kLeastScale * wide * slope[slot]);
  }
}

}  // namespace planloc::detail
