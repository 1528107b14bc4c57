#include "planloc/optimum/allocation/price_search.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace planloc::detail {

namespace {

constexpr int kParts = 32;      // of the region, in each direction
constexpr int kMostDepth = 60;  // of halvings: where doubles end
constexpr std::size_t kCellsToAsk = 4096;

}  // namespace

price_search::price_search(const distance_table& table) : table_(table) {
  for (const gauge_block& b : table.blocks) {
    // The unit balls of lp lie in that of the maximum norm.
    double most = 1;
    if (b.kind == gauge::shape::polyhedral) {
      most = 0;
      for (std::uint32_t j = b.first_edge; j < b.first_edge + b.edges; ++j) {
        const xy& v = table.edges[j].from;
        most = std::max({most, std::fabs(v.x), std::fabs(v.y)});
      }
    }
    reach_.push_back(most);
  }
}

double price_search::value(std::span<const double> prices, const xy& at) const {
  double sum = 0;
  for (std::size_t i = 0; i < prices.size(); ++i) {
    if (prices[i] > 0) sum += std::min(0.0, table_.piece(i, at).distance - prices[i]);
  }
  return sum;
}

// A site gains only within its price; so nowhere else is the sum below 0.
std::optional<xy_box> price_search::region(std::span<const double> prices) {
  std::optional<xy_box> box;
  for (std::uint32_t i = 0; i < prices.size(); ++i) {
    if (!(prices[i] > 0)) continue;
    stack_.push_back({i, prices[i]});
    const double r = prices[i] / table_.weight[i] * reach_[table_.block_of[i]];
    const xy low{table_.x[i] - r, table_.y[i] - r};
    const xy high{table_.x[i] + r, table_.y[i] + r};
    if (!box) box.emplace(low, high);
    box->extend(low);
    box->extend(high);
  }
  return box;
}

std::optional<double> price_search::run(std::span<const double> prices, double known,
                                        double tolerance, const std::function<bool()>& expired) {
  stack_.clear();
  places_.clear();
  least_ = bound_ = std::min(known, 0.0);
  tolerance_ = tolerance;
  expired_ = &expired;
  ended_ = false;
  const std::optional<xy_box> box = region(prices);
  if (!box) return 0;
  const std::size_t all = stack_.size();
  const double half_x = (box->high.x - box->low.x) / (2 * kParts);
  const double half_y = (box->high.y - box->low.y) / (2 * kParts);
  for (int i = 0; i < kParts && !ended_; ++i) {
    for (int j = 0; j < kParts && !ended_; ++j) {
      met best{{0, 0}, 0};
      here_ = &best;
      visit({{box->low.x + (2 * i + 1) * half_x, box->low.y + (2 * j + 1) * half_y},
             half_x * (1 + 1e-12),
             half_y * (1 + 1e-12)},
            0, all, 0);
      if (best.value < 0) places_.push_back(best);
    }
  }
  if (ended_) return std::nullopt;
  return bound_;
}

// Each distance is replaced by its tangent at the centre, which is nowhere above it; then the sum
// is concave, and least at a corner. Leaves the sites that can gain in the cell on top of the
// stack.
price_search::view price_search::look(const rectangle& cell, std::size_t begin, std::size_t end) {
  ++cells_;
  std::array<double, 4> corner{};
  double centre = 0;
  for (std::size_t k = begin; k < end; ++k) {
    const priced_site s = stack_[k];
    const distance_table::linear_piece piece = table_.piece(s.slot, cell.centre);
    const double gain = piece.distance - s.price;
    const double by_x = piece.slope.x * cell.half_x;
    const double by_y = piece.slope.y * cell.half_y;
    if (gain - std::fabs(by_x) - std::fabs(by_y) >= 0) continue;
    centre += std::min(0.0, gain);
    corner[0] += std::min(0.0, gain + by_x + by_y);
    corner[1] += std::min(0.0, gain + by_x - by_y);
    corner[2] += std::min(0.0, gain - by_x + by_y);
    corner[3] += std::min(0.0, gain - by_x - by_y);
    stack_.push_back(s);
  }
  return {*std::min_element(corner.begin(), corner.end()), centre};
}

void price_search::visit(const rectangle& cell, std::size_t begin, std::size_t end, int depth) {
  if (cells_ % kCellsToAsk == 0 && (*expired_)()) ended_ = true;
  if (ended_) return;
  const std::size_t top = stack_.size();
  const view v = look(cell, begin, end);
  if (v.at_centre < here_->value) *here_ = {cell.centre, v.at_centre};
  least_ = std::min(least_, v.at_centre);
  if (v.bound >= least_ - tolerance_ || depth == kMostDepth) {
    bound_ = std::min(bound_, v.bound);
  } else {
    divide(cell, top, depth);
  }
  stack_.resize(top);
}

void price_search::divide(const rectangle& cell, std::size_t begin, int depth) {
  const std::size_t end = stack_.size();
  const double x = cell.half_x / 2;
  const double y = cell.half_y / 2;
  for (const auto& [sx, sy] : {std::pair(-1, -1), {-1, 1}, {1, -1}, {1, 1}}) {
    visit({{cell.centre.x + sx * x, cell.centre.y + sy * y}, x, y}, begin, end, depth + 1);
  }
}

}  // namespace planloc::detail
