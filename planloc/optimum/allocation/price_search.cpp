#include "planloc/optimum/allocation/price_search.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>

#include "planloc/optimum/allocation/near_sites.h"
#include "planloc/optimum/allocation/place_finder.h"
#include "planloc/optimum/convex/cut_model.h"

namespace planloc::detail {

namespace {

// Of the region, along its sides: so many that the parts are nearly squares.
constexpr int kParts = 32;
constexpr int kLeastParts = 8;
constexpr double kSmallest = 0x1p-65;  // of the region: where doubles end
constexpr double kSteeper = 3;         // tangents along one side than along the other
// Rectangles of one search: balls that are thin and stand askew take as many as there may be.
constexpr std::size_t kMostCells = std::size_t{1} << 20;
constexpr std::size_t kMostCellsASite = 1024;
constexpr std::size_t kCellsToAsk = 512;
constexpr std::size_t kMostOpen = 2;      // sites of no knot whose sums are minimised one by one
constexpr std::size_t kMostChoices = 16;  // with those of knots
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
    reach_.push_back(reach_of(table, b));
    widest_.push_back(widest(b));
  }
}

double price_search::radius_of(std::uint32_t slot, double price) const {
  return price / table_.weight[slot] * reach_[table_.block_of[slot]] * kOutwards;
}

void price_search::gather(const site_prices& prices) {
  prices_ = &prices;
  stack_.clear();
  std::vector<char> tied(prices.size(), 0);
  for (std::uint32_t k = 0; k < prices.knots().size(); ++k) {
    const std::vector<std::uint32_t>& slots = prices.knots()[k].slots;
    for (std::size_t j = 0; j < slots.size(); ++j) {
      tied[slots[j]] = 1;
      const std::uint32_t i = slots[j];
      if (prices[i] > 0)
        stack_.push_back({i, prices[i], radius_of(i, prices[i]), true, k, 1U << j});
    }
  }
  for (std::uint32_t i = 0; i < prices.size(); ++i) {
    if (prices[i] > 0 && tied[i] == 0)
      stack_.push_back({i, prices[i], radius_of(i, prices[i]), true, kLoose, 0});
  }
}

// A site gains only within its price; so nowhere else is the sum below 0.
std::optional<price_search::rectangle> price_search::region() {
  std::optional<xy_box> box;
  for (const priced_site& s : stack_) {
    const xy low{table_.x[s.slot] - s.radius, table_.y[s.slot] - s.radius};
    const xy high{table_.x[s.slot] + s.radius, table_.y[s.slot] + s.radius};
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

std::optional<double> price_search::run(const site_prices& prices, const price_cell& where,
                                        double known, double tolerance,
                                        const std::function<bool()>& expired) {
  where_ = where;
  gather(prices);
  places_.clear();
  least_ = bound_ = std::min(known, 0.0);
  tolerance_ = tolerance;
  expired_ = &expired;
  ended_ = false;
  most_cells_ = cells_ + kMostCells + kMostCellsASite * table_.size();
  const std::optional<rectangle> all = region();
  if (!all) return 0;
  const std::size_t end = stack_.size();
  const double longer = std::max({all->half.x, all->half.y, kTiny});
  smallest_ = kSmallest * longer;
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
      visit({{first.x + 2 * i * half.x, first.y + 2 * j * half.y}, outwards}, 0, end);
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

// With the tangent at the centre in place of the distance; none if that is nowhere below the price.
std::optional<price_search::five> price_search::gain_in(priced_site& s, const rectangle& cell,
                                                        xy& rise) const {
  if (std::fabs(cell.centre.x - table_.x[s.slot]) > s.radius + cell.half.x ||
      std::fabs(cell.centre.y - table_.y[s.slot]) > s.radius + cell.half.y)
    return std::nullopt;
  const distance_table::linear_piece piece = piece_of(table_, s.slot, cell.centre);
  const double gain = piece.distance - s.price;
  const double by_x = piece.slope.x * cell.half.x;
  const double by_y = piece.slope.y * cell.half.y;
  if (gain - std::fabs(by_x) - std::fabs(by_y) >= 0) return std::nullopt;
  rise.x += std::fabs(by_x);
  rise.y += std::fabs(by_y);
  const double most =
      table_.weight[s.slot] * widest_[table_.block_of[s.slot]] * std::max(cell.half.x, cell.half.y);
  s.open = s.open && gain + most > 0;
  return five{gain, gain + by_x + by_y, gain + by_x - by_y, gain - by_x + by_y, gain - by_x - by_y};
}

std::size_t price_search::end_of_knot(std::size_t begin, std::size_t end) const {
  std::size_t k = begin;
  while (k < end && stack_[k].knot == stack_[begin].knot) ++k;
  return k;
}

// Over all sets of the sites on top of the stack, from `begin` on, which have these terms.
price_search::five price_search::least_of_knot(std::size_t begin) {
  const std::size_t count = stack_.size() - begin;
  const std::vector<double>& penalty = prices_->knots()[stack_[begin].knot].penalty;
  std::array<five, std::size_t{1} << kMostInKnot> sum;
  std::array<std::uint32_t, std::size_t{1} << kMostInKnot> set;
  sum[0] = {};
  set[0] = 0;
  five least{};
  for (std::size_t k = 1; k < std::size_t{1} << count; ++k) {
    const auto added = static_cast<std::size_t>(std::countr_zero(k));
    set[k] = set[k & (k - 1)] | stack_[begin + added].bit;
    for (std::size_t c = 0; c < least.size(); ++c) {
      sum[k][c] = sum[k & (k - 1)][c] + terms_[added][c];
      least[c] = std::min(least[c], sum[k][c] + penalty[set[k]]);
    }
  }
  return least;
}

// Each distance is replaced by its tangent at the centre, which is nowhere above it; then the sum
// is concave, and least at a corner. Leaves the sites that can gain in the cell on top of the
// stack.
price_search::view price_search::look(const rectangle& cell, std::size_t begin, std::size_t end) {
  ++cells_;
  five sum{};
  std::size_t open = 0;
  xy rise{0, 0};
  std::size_t k = begin;
  while (k < end && stack_[k].knot != kLoose) {
    const std::size_t first = stack_.size();
    terms_.clear();
    for (const std::size_t last = end_of_knot(k, end); k < last; ++k) {
      priced_site s = stack_[k];
      const std::optional<five> term = gain_in(s, cell, rise);
      if (!term) continue;
      terms_.push_back(*term);
      stack_.push_back(s);
    }
    if (terms_.empty()) continue;
    const five least = least_of_knot(first);
    for (std::size_t c = 0; c < sum.size(); ++c) sum[c] += least[c];
  }
  for (; k < end; ++k) {
    priced_site s = stack_[k];
    const std::optional<five> term = gain_in(s, cell, rise);
    if (!term) continue;
    for (std::size_t c = 0; c < sum.size(); ++c) sum[c] += std::min(0.0, (*term)[c]);
    open += s.open ? 1 : 0;
    stack_.push_back(s);
  }
  return {*std::min_element(sum.begin() + 1, sum.end()), sum[0], open, rise};
}

bool price_search::is_smallest(const rectangle& cell) const {
  return std::max(cell.half.x, cell.half.y) <= smallest_;
}

void price_search::visit(const rectangle& cell, std::size_t begin, std::size_t end) {
  if (cells_ % kCellsToAsk == 0 && (cells_ > most_cells_ || (*expired_)())) ended_ = true;
  if (ended_) return;
  const std::size_t top = stack_.size();
  const view v = look(cell, begin, end);
  meet(cell.centre, v.at_centre);
  if (v.bound >= least_ - tolerance_ || is_smallest(cell)) {
    bound_ = std::min(bound_, v.bound);
  } else if (v.open > kMostOpen || !close(cell, top)) {
    divide(cell, v.rise, top);
  }
  stack_.resize(top);
}

// In four; in two where one side makes most of the difference.
void price_search::divide(const rectangle& cell, const xy& rise, std::size_t begin) {
  const std::size_t end = stack_.size();
  const bool by_x = !(rise.y > kSteeper * rise.x && cell.half.y > smallest_);
  const bool by_y = !(rise.x > kSteeper * rise.y && cell.half.x > smallest_);
  const xy part{by_x ? cell.half.x / 2 : cell.half.x, by_y ? cell.half.y / 2 : cell.half.y};
  const xy away{cell.half.x - part.x, cell.half.y - part.y};
  for (const double x : {-away.x, away.x}) {
    for (const double y : {-away.y, away.y}) {
      visit({{cell.centre.x + x, cell.centre.y + y}, part}, begin, end);
      if (!by_y) break;
    }
    if (!by_x) break;
  }
}

// The sets that can be the best ones of a knot's sites: no surely gaining site is left out that
// would cost no triple more.
std::vector<price_search::choice> price_search::choices_of_knot(std::size_t begin,
                                                                std::size_t end) const {
  const std::vector<double>& penalty = prices_->knots()[stack_[begin].knot].penalty;
  std::vector<choice> choices;
  for (std::size_t k = 0; k < std::size_t{1} << (end - begin); ++k) {
    choice c{{}, 0};
    std::uint32_t set = 0;
    for (std::size_t j = begin; j < end; ++j) {
      if ((k >> (j - begin) & 1) == 0) continue;
      set |= stack_[j].bit;
      c.slots.push_back(stack_[j].slot);
      c.prices += stack_[j].price;
    }
    const bool poor =
        std::any_of(stack_.begin() + static_cast<std::ptrdiff_t>(begin),
                    stack_.begin() + static_cast<std::ptrdiff_t>(end), [&](const priced_site& s) {
                      return !s.open && (set & s.bit) == 0 && penalty[set | s.bit] == penalty[set];
                    });
    if (poor) continue;
    c.prices -= penalty[set];
    choices.push_back(std::move(c));
  }
  return choices;
}

// The priced sum is the least of the sums of d_i - price_i over all choices of sites. Where few are
// open to choice, each sum is minimised on its own: it is convex.
bool price_search::close(const rectangle& cell, std::size_t begin) {
  std::vector<std::vector<choice>> open;
  choice sure{{}, 0};
  for (std::size_t k = begin; k < stack_.size();) {
    const priced_site& s = stack_[k];
    if (s.knot != kLoose) {
      const std::size_t last = end_of_knot(k, stack_.size());
      open.push_back(choices_of_knot(k, last));
      k = last;
      continue;
    }
    ++k;
    if (s.open) {
      open.push_back({{{}, 0}, {{s.slot}, s.price}});
    } else {
      sure.slots.push_back(s.slot);
      sure.prices += s.price;
    }
  }
  std::size_t all = 1;
  for (const std::vector<choice>& o : open) {
    all *= o.size();
    if (all > kMostChoices) return false;
  }
  double bound = 0;
  for (std::size_t number = 0; number < all; ++number) {
    chosen_ = sure.slots;
    double prices = sure.prices;
    std::size_t left = number;
    for (const std::vector<choice>& o : open) {
      const choice& c = o[left % o.size()];
      left /= o.size();
      chosen_.insert(chosen_.end(), c.slots.begin(), c.slots.end());
      prices += c.prices;
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
