#include "planloc/optimum/allocation/price_search.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "planloc/optimum/allocation/place_finder.h"
#include "planloc/optimum/convex/cut_model.h"

namespace planloc::detail {

namespace {

// Of the region, along its sides: so many that the parts are nearly squares.
constexpr int kParts = 32;
constexpr int kLeastParts = 8;
constexpr int kMostDepth = 60;  // of halvings: where doubles end
constexpr std::size_t kCellsToAsk = 512;
constexpr std::size_t kMostOpen = 2;  // sites of a cell whose sums are minimised one by one
constexpr int kMostCuts = 24;
constexpr double kOutwards = 1 + 1e-12;
constexpr double kTiny = 1e-300;

}  // namespace

// At a corner of the square of half side 1.
double price_search::widest(const gauge_block& b) const {
  if (b.kind == gauge::shape::euclidean) return std::sqrt(2);
  if (b.kind == gauge::shape::lp) return std::pow(2, 1 / b.p);
  double most = 0;
  for (std::uint32_t j = b.first_edge; j < b.first_edge + b.edges; ++j) {
    const xy& n = table_.edges[j].normal;
    most = std::max(most, std::fabs(n.x) + std::fabs(n.y));
  }
  return most;
}

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
    widest_.push_back(widest(b));
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
std::optional<price_search::rectangle> price_search::region(std::span<const double> prices) {
  std::optional<xy_box> box;
  for (std::uint32_t i = 0; i < prices.size(); ++i) {
    if (!(prices[i] > 0)) continue;
    stack_.push_back({i, prices[i], true});
    const double r = prices[i] / table_.weight[i] * reach_[table_.block_of[i]];
    const xy low{table_.x[i] - r, table_.y[i] - r};
    const xy high{table_.x[i] + r, table_.y[i] + r};
    if (!box) box.emplace(low, high);
    box->extend(low);
    box->extend(high);
  }
  if (!box) return std::nullopt;
  const xy low{std::max(box->low.x, where_.low.x), std::max(box->low.y, where_.low.y)};
  const xy high{std::min(box->high.x, where_.high.x), std::min(box->high.y, where_.high.y)};
  if (!(low.x <= high.x && low.y <= high.y)) return std::nullopt;
  const xy centre{(low.x + high.x) / 2, (low.y + high.y) / 2};
  return rectangle{centre, {high.x - centre.x, high.y - centre.y}};
}

std::optional<double> price_search::run(std::span<const double> prices, const price_cell& where,
                                        double known, double tolerance,
                                        const std::function<bool()>& expired) {
  where_ = where;
  stack_.clear();
  places_.clear();
  least_ = bound_ = std::min(known, 0.0);
  tolerance_ = tolerance;
  expired_ = &expired;
  ended_ = false;
  const std::optional<rectangle> all = region(prices);
  if (!all) return 0;
  const std::size_t end = stack_.size();
  const double longer = std::max({all->half.x, all->half.y, kTiny});
  const double shorter = std::clamp(std::min(all->half.x, all->half.y), longer / kParts, longer);
  const double part = std::min(longer / kParts, shorter / kLeastParts);
  const int columns = std::max(1, static_cast<int>(std::lround(all->half.x / part)));
  const int rows = std::max(1, static_cast<int>(std::lround(all->half.y / part)));
  const xy half{all->half.x / columns, all->half.y / rows};
  const xy first{all->centre.x - all->half.x + half.x, all->centre.y - all->half.y + half.y};
  const xy outwards{half.x * kOutwards, half.y * kOutwards};
  for (int i = 0; i < columns && !ended_; ++i) {
    for (int j = 0; j < rows && !ended_; ++j) {
      met best{{0, 0}, 0};
      here_ = &best;
      visit({{first.x + 2 * i * half.x, first.y + 2 * j * half.y}, outwards}, 0, end, 0);
      if (best.value < 0) places_.push_back(best);
    }
  }
  if (ended_) return std::nullopt;
  return bound_ - tolerance_ / 2;
}

void price_search::meet(const xy& at, double value) {
  if (value < here_->value) *here_ = {at, value};
  least_ = std::min(least_, value);
}

// Each distance is replaced by its tangent at the centre, which is nowhere above it; then the sum
// is concave, and least at a corner. Leaves the sites that can gain in the cell on top of the
// stack.
price_search::view price_search::look(const rectangle& cell, std::size_t begin, std::size_t end) {
  ++cells_;
  std::array<double, 4> corner{};
  double centre = 0;
  std::size_t open = 0;
  for (std::size_t k = begin; k < end; ++k) {
    priced_site s = stack_[k];
    const distance_table::linear_piece piece = table_.piece(s.slot, cell.centre);
    const double gain = piece.distance - s.price;
    const double by_x = piece.slope.x * cell.half.x;
    const double by_y = piece.slope.y * cell.half.y;
    if (gain - std::fabs(by_x) - std::fabs(by_y) >= 0) continue;
    centre += std::min(0.0, gain);
    corner[0] += std::min(0.0, gain + by_x + by_y);
    corner[1] += std::min(0.0, gain + by_x - by_y);
    corner[2] += std::min(0.0, gain - by_x + by_y);
    corner[3] += std::min(0.0, gain - by_x - by_y);
    const double rise = table_.weight[s.slot] * widest_[table_.block_of[s.slot]] *
                        std::max(cell.half.x, cell.half.y);
    s.open = s.open && gain + rise > 0;
    open += s.open ? 1 : 0;
    stack_.push_back(s);
  }
  return {*std::min_element(corner.begin(), corner.end()), centre, open};
}

void price_search::visit(const rectangle& cell, std::size_t begin, std::size_t end, int depth) {
  if (cells_ % kCellsToAsk == 0 && (*expired_)()) ended_ = true;
  if (ended_) return;
  const std::size_t top = stack_.size();
  const view v = look(cell, begin, end);
  meet(cell.centre, v.at_centre);
  if (v.bound >= least_ - tolerance_ || depth == kMostDepth) {
    bound_ = std::min(bound_, v.bound);
  } else if (v.open > kMostOpen || !close(cell, top)) {
    divide(cell, top, depth);
  }
  stack_.resize(top);
}

void price_search::divide(const rectangle& cell, std::size_t begin, int depth) {
  const std::size_t end = stack_.size();
  const xy h{cell.half.x / 2, cell.half.y / 2};
  for (const auto& [x, y] : {std::pair(-h.x, -h.y), {-h.x, h.y}, {h.x, -h.y}, {h.x, h.y}}) {
    visit({{cell.centre.x + x, cell.centre.y + y}, h}, begin, end, depth + 1);
  }
}

// A sum of min(0, d_i - price_i) is the least of the sums of d_i - price_i over all choices of
// sites. Where few are open to choice, each sum is minimised on its own: it is convex.
bool price_search::close(const rectangle& cell, std::size_t begin) {
  std::vector<priced_site> open;
  std::vector<std::uint32_t> sure;
  double sure_prices = 0;
  for (std::size_t k = begin; k < stack_.size(); ++k) {
    if (stack_[k].open) {
      open.push_back(stack_[k]);
    } else {
      sure.push_back(stack_[k].slot);
      sure_prices += stack_[k].price;
    }
  }
  double bound = 0;
  for (std::size_t choice = 0; choice < std::size_t{1} << open.size(); ++choice) {
    chosen_ = sure;
    double prices = sure_prices;
    for (std::size_t k = 0; k < open.size(); ++k) {
      if ((choice >> k & 1) == 0) continue;
      chosen_.push_back(open[k].slot);
      prices += open[k].price;
    }
    if (chosen_.empty()) continue;
    const std::optional<double> least = least_sum(cell, prices);
    if (!least) return false;
    bound = std::min(bound, *least);
  }
  bound_ = std::min(bound_, bound);
  return true;
}

// Cutting planes over a square around the cell; none if they do not come near enough, or only
// outside.
std::optional<double> price_search::least_sum(const rectangle& cell, double prices) {
  evaluation e = sum_of_distances(table_, chosen_, cell.centre);
  double best = e.value;
  bool inside = true;
  cut_model model(e, cell.centre, std::max(cell.half.x, cell.half.y));
  for (int k = 0; k < kMostCuts; ++k) {
    if (where_.contains(e.at)) meet(e.at, e.value - prices);
    model.solve();
    const double bound = model.bound() - prices;
    if (bound >= least_ - tolerance_) return bound;
    if (bound >= best - prices - tolerance_ / 2)
      return inside ? std::optional(bound) : std::nullopt;
    e = sum_of_distances(table_, chosen_, model.minimiser());
    model.add(e);
    if (e.value >= best) continue;
    best = e.value;
    inside = where_.contains(e.at);
    model.recentre(e.at);
  }
  return std::nullopt;
}

}  // namespace planloc::detail
