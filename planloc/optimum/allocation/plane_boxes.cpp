#include "planloc/optimum/allocation/plane_boxes.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

namespace planloc::detail {

namespace {

constexpr std::size_t kMostRowBytes = std::size_t{256} << 20;
constexpr std::size_t kMostOpen = 6;

// The sum over all slots of the smaller of two tangents, for each corner of the one box with each
// of the other: the least of the 16.
double least_sum(std::size_t slots, const double* x, const double* y) {
  std::array<double, 16> sums{};
  for (std::size_t k = 0; k < slots; ++k, x += 4, y += 4) {
    for (std::size_t c = 0; c < 4; ++c) {
      for (std::size_t d = 0; d < 4; ++d) sums[4 * c + d] += std::min(x[c], y[d]);
    }
  }
  return *std::min_element(sums.begin(), sums.end());
}

}  // namespace

xy_box box_of_optima(const allocation_ground& ground) {
  const distance_table& t = ground.table;
  xy_box all({0, 0});
  for (const gauge_block& b : t.blocks) {
    if (b.begin == b.end) continue;
    const double reach = reach_of(t, b);
    for (std::size_t k = b.begin; k < b.end; ++k) {
      const double radius = reach * piece_of(t, k, {0, 0}).distance / t.weight[k];
      all.extend({t.x[k] - radius, t.y[k] - radius});
      all.extend({t.x[k] + radius, t.y[k] + radius});
    }
  }
  const double side = std::max(all.high.x - all.low.x, all.high.y - all.low.y);
  return {{all.low.x - 0.0171 * side, all.low.y - 0.0293 * side},
          {all.high.x + 0.0732 * side, all.high.y + 0.0517 * side}};
}

plane_boxes::plane_boxes(const allocation_ground& ground, const xy_box& whole)
    : ground_(ground),
      boxes_{{whole}},
      rounding_(static_cast<double>(ground.table.size() + 64) * 0x1p-51) {
  if (ground.existing.empty()) return;
  for (std::size_t k = 0; k < ground.table.size(); ++k) {
    double nearest = std::numeric_limits<double>::infinity();
    for (const xy& e : ground.existing)
      nearest = std::min(nearest, piece_of(ground.table, k, e).distance);
    nearest_existing_.push_back(nearest);
  }
}

std::uint32_t plane_boxes::halves(std::uint32_t box) {
  if (boxes_[box].halves != 0) return boxes_[box].halves;
  const auto next = static_cast<std::uint32_t>(boxes_.size());
  boxes_[box].halves = next;
  xy_box low = boxes_[box].where;
  xy_box high = low;
  const xy at = middle(box);
  if (low.high.x - low.low.x >= low.high.y - low.low.y) {
    low.high.x = high.low.x = at.x;
  } else {
    low.high.y = high.low.y = at.y;
  }
  boxes_.push_back({low});
  boxes_.push_back({high});
  return next;
}

double plane_boxes::longest_side(std::uint32_t box) const {
  const xy_box& b = boxes_[box].where;
  return std::max(b.high.x - b.low.x, b.high.y - b.low.y);
}

xy plane_boxes::middle(std::uint32_t box) const {
  const xy_box& b = boxes_[box].where;
  return {b.low.x + (b.high.x - b.low.x) / 2, b.low.y + (b.high.y - b.low.y) / 2};
}

double plane_boxes::bound(std::uint32_t x, std::uint32_t y) {
  row_of(x, y);
  const tangents& second = row_of(y, x);
  const tangents& first = boxes_[x].row;
  return least_sum(ground_.table.size(), first.at_corners.data(), second.at_corners.data()) -
         rounding_ * (first.magnitude + second.magnitude);
}

double plane_boxes::value_at_middles(std::uint32_t x, std::uint32_t y) {
  row_of(x, y);
  const double* b = row_of(y, x).at_corners.data();
  const double* a = boxes_[x].row.at_corners.data();
  double sum = 0;
  for (std::size_t k = 0; k < ground_.table.size(); ++k, a += 4, b += 4)
    sum += std::min(a[0] + a[3], b[0] + b[3]);
  return sum / 2;
}

bool plane_boxes::few_open(std::uint32_t x, std::uint32_t y) {
  row_of(x, y);
  const double* b = row_of(y, x).at_corners.data();
  const double* a = boxes_[x].row.at_corners.data();
  std::size_t open = 0;
  for (std::size_t k = 0; k < ground_.table.size() && open <= kMostOpen; ++k, a += 4, b += 4) {
    const auto [low_a, high_a] = std::minmax({a[0], a[1], a[2], a[3]});
    const auto [low_b, high_b] = std::minmax({b[0], b[1], b[2], b[3]});
    if (high_a > low_b && high_b > low_a) ++open;
  }
  return open <= kMostOpen;
}

const plane_boxes::tangents& plane_boxes::row_of(std::uint32_t box, std::uint32_t beside) {
  if (boxes_[box].row.at_corners.empty()) {
    const std::size_t bytes = 4 * sizeof(double) * ground_.table.size();
    if (rows_ > 1 && (rows_ + 1) * bytes > kMostRowBytes) forget_rows(beside);
    fill(boxes_[box]);
    ++rows_;
  }
  return boxes_[box].row;
}

void plane_boxes::forget_rows(std::uint32_t except) {
  rows_ = 0;
  for (std::size_t k = 0; k < boxes_.size(); ++k) {
    if (boxes_[k].row.at_corners.empty()) continue;
    if (k == except) {
      ++rows_;
    } else {
      boxes_[k].row = {};
    }
  }
}

// The magnitude counts positions, too: those of the table are rounded.
void plane_boxes::fill(plane_box& b) const {
  const distance_table& t = ground_.table;
  const xy half{(b.where.high.x - b.where.low.x) / 2, (b.where.high.y - b.where.low.y) / 2};
  const xy at{b.where.low.x + half.x, b.where.low.y + half.y};
  b.row.at_corners.resize(4 * t.size());
  for (std::size_t k = 0; k < t.size(); ++k) {
    const distance_table::linear_piece p = piece_of(t, k, at);
    const double dx = p.slope.x * half.x;
    const double dy = p.slope.y * half.y;
    const double most =
        nearest_existing_.empty() ? std::numeric_limits<double>::infinity() : nearest_existing_[k];
    double* const corner = b.row.at_corners.data() + 4 * k;
    corner[0] = std::min(most, p.distance - dx - dy);
    corner[1] = std::min(most, p.distance + dx - dy);
    corner[2] = std::min(most, p.distance - dx + dy);
    corner[3] = std::min(most, p.distance + dx + dy);
    b.row.magnitude +=
        std::fabs(p.slope.x) * (std::fabs(at.x - t.x[k]) + half.x + std::fabs(t.x[k])) +
        std::fabs(p.slope.y) * (std::fabs(at.y - t.y[k]) + half.y + std::fabs(t.y[k]));
  }
}

}  // namespace planloc::detail
