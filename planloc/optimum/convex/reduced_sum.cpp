#include "planloc/optimum/convex/reduced_sum.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace planloc::detail {

namespace {

// How much smaller the box has to be than at the last reduction.
constexpr double kShrunk = 0.5;
// Of the box: what is added on each side for the roundings.
constexpr double kMargin = 1e-6;

}  // namespace

reduced_sum::reduced_sum(const problem& p, const distance_table& table, evaluator& all,
                         std::size_t few)
    : problem_(p),
      table_(table),
      all_(all),
      few_(few),
      useful_(p.polyhedral() && p.runs().size() == 1 && table.size() > few),
      last_size_(std::numeric_limits<double>::infinity()) {}

evaluation reduced_sum::operator()(const xy& at) {
  if (!rest_ || !box_.holds(at)) return all_(at);
  evaluation e = rest_->evaluate(at);
  e.value += fixed_.value +
             (fixed_.slope.x * (at.x - fixed_.at.x) + fixed_.slope.y * (at.y - fixed_.at.y));
  e.slope = {e.slope.x + fixed_.slope.x, e.slope.y + fixed_.slope.y};
  return e;
}

void reduced_sum::narrow(const place_box& b) {
  if (!useful_ || sites().size() <= few_ || !(b.size() <= kShrunk * last_size_)) return;
  last_size_ = b.size();
  const double margin = kMargin * b.size();
  const place_box wide{{b.low.x - margin, b.low.y - margin},
                       {b.high.x + margin, b.high.y + margin}};
  const xy centre{(wide.low.x + wide.high.x) / 2, (wide.low.y + wide.high.y) / 2};
  const xy half{wide.high.x - centre.x, wide.high.y - centre.y};

  const distance_table& t = sites();
  const std::size_t most_kept = t.size() / 2;
  std::vector<double> distance(t.size());
  std::vector<std::uint32_t> edge(t.size());
  t.distances(centre, distance, edge);
  // The box lies in the cone of an edge if the neighbours' values are nowhere above the edge's.
  const auto linear = [&](const gauge_block& block, std::uint32_t slot) {
    const ball_edge* e = t.edges.data() + block.first_edge;
    const xy& n = e[edge[slot]].normal;
    const xy u{centre.x - t.x[slot], centre.y - t.y[slot]};
    const auto above = [&](std::uint32_t other) {
      const xy d{n.x - e[other].normal.x, n.y - e[other].normal.y};
      return d.x * u.x + d.y * u.y >= std::fabs(d.x) * half.x + std::fabs(d.y) * half.y;
    };
    const std::uint32_t last = block.edges - 1;
    return above(edge[slot] == 0 ? last : edge[slot] - 1) &&
           above(edge[slot] == last ? 0 : edge[slot] + 1);
  };
  std::vector<std::uint32_t> kept;
  kept.reserve(most_kept);
  long double value = 0;
  long double slope_x = 0;
  long double slope_y = 0;
  for (const gauge_block& block : t.blocks) {
    for (std::uint32_t slot = block.begin; slot < block.end; ++slot) {
      if (!linear(block, slot)) {
        if (kept.size() == most_kept) return;
        kept.push_back(slot);
        continue;
      }
      const xy& n = t.edges[block.first_edge + edge[slot]].normal;
      value += distance[slot];
      slope_x += t.weight[slot] * n.x;
      slope_y += t.weight[slot] * n.y;
    }
  }
  const double lambda = problem_.runs()[0].weight;
  evaluation fixed{centre,
                   lambda * static_cast<double>(value),
                   {lambda * static_cast<double>(slope_x), lambda * static_cast<double>(slope_y)}};
  if (rest_) {
    fixed.value += fixed_.value + (fixed_.slope.x * (centre.x - fixed_.at.x) +
                                   fixed_.slope.y * (centre.y - fixed_.at.y));
    fixed.slope = {fixed.slope.x + fixed_.slope.x, fixed.slope.y + fixed_.slope.y};
  }
  distance = std::vector<double>();
  edge = std::vector<std::uint32_t>();
  auto next = std::make_unique<remainder>(problem_, t.only(kept));
  fixed_ = fixed;
  box_ = wide;
  rest_ = std::move(next);
}

}  // namespace planloc::detail
