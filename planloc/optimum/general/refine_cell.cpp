// The bound of cells that gauges without edges leave open, raised before they are halved.
#include <algorithm>
#include <bit>
#include <cstdint>
#include <limits>
#include <numeric>

#include "planloc/optimum/general/triangle_cell.h"

namespace planloc::detail {

namespace {

double dot(const xy& a, const xy& b) { return a.x * b.x + a.y * b.y; }
xy minus(const xy& a, const xy& b) { return {a.x - b.x, a.y - b.y}; }

// Planes that are added to the bound of a cell before it is halved.
constexpr int kMostCuts = 16;
// Undecided sites among which all sets are looked at, and how many ways to take sets count.
constexpr std::size_t kMostToSelectFrom = 8;
constexpr std::size_t kMostSelections = 12;

void add_to(corner_values& sum, double factor, const corner_values& plane) {
  for (std::size_t m = 0; m < 3; ++m) sum[m] += factor * plane[m];
}

}  // namespace

xy cell_bounder::place_of(const corner_values& shares) const {
  xy at{0, 0};
  for (std::size_t m = 0; m < 3; ++m)
    at = {at.x + shares[m] * points_[m].x, at.y + shares[m] * points_[m].y};
  return at;
}

corner_values cell_bounder::tangent_at(const placed_site& s, const xy& at) const {
  const distance_table::linear_piece piece = table_.piece(s.slot, at);
  const xy slope = piece.slope == xy{0, 0} ? table_.piece(s.slot, points_[3]).slope : piece.slope;
  corner_values plane{};
  for (std::size_t m = 0; m < 3; ++m) plane[m] = piece.distance + dot(slope, minus(points_[m], at));
  return plane;
}

// The distance at the corners.
corner_values cell_bounder::interpolation(const site_view& v) const {
  if (v.bent == kFlat) return v.value;
  const planes& tangent = bends_[v.bent].tangent;
  return {tangent[0][0], tangent[1][1], tangent[2][2]};
}

// A plane that is taken at a place of the cell, below f wherever the concave part of f has the
// weights of `selected`. With these, the sites can be taken one by one.
corner_values cell_bounder::plane_at(const cell& c, const corner_values& shares,
                                     const selection& selected) {
  const xy at = place_of(shares);
  corner_values sum{};
  for (std::size_t m = 0; m < 3; ++m) sum[m] = c.folded.at_base + dot(c.folded.slope, points_[m]);
  for (std::size_t k = 0; k < decided_.size(); ++k) {
    const double lambda = c.decided[k].lambda;
    add_to(sum, lambda, lambda > 0 ? tangent_at(decided_[k].site, at) : decided_[k].value);
  }
  taken_.clear();
  for (std::uint32_t k = 0; k < undecided_.size(); ++k) {
    const site_view& v = undecided_[k];
    const corner_values plane = v.bent == kFlat ? v.value : tangent_at(v.site, at);
    taken_.push_back({value_at(plane, shares), plane, k});
  }
  std::sort(taken_.begin(), taken_.end(),
            [](const taken_plane& a, const taken_plane& b) { return a.height < b.height; });
  auto next = taken_.begin();
  for (std::size_t r = 0; next != taken_.end(); ++r) {
    for (const auto end = next + static_cast<std::ptrdiff_t>(c.runs[r].count); next < end; ++next) {
      const double weight = rising_[r] - selected[next->view];
      add_to(sum, weight, weight > 0 ? next->plane : interpolation(undecided_[next->view]));
    }
  }
  return sum;
}

// The bound that planes reach until it is `target` or they show that they cannot raise it so far;
// `lowest_` then holds the place that shows it.
double cell_bounder::raise(const cell& c, planes rows, double target, const selection& selected) {
  mixture best = best_mixture_and_rows(rows);
  for (int cut = 0; cut < kMostCuts && best.bound < target; ++cut) {
    lowest_ = lowest_place(rows);
    const corner_values plane = plane_at(c, lowest_, selected);
    // Of the planes that the bound does without, the one that matters least there makes room.
    std::size_t least = rows.size();
    for (std::size_t j = 0; j < rows.size(); ++j) {
      if ((best.rows >> j & 1) != 0) continue;
      if (least == rows.size() || value_at(rows[j], lowest_) < value_at(rows[least], lowest_))
        least = j;
    }
    rows[least] = plane;
    best = best_mixture_and_rows(rows);
    if (value_at(plane, lowest_) < target) break;
  }
  return best.bound;
}

// The sum of the largest few of the undecided distances is the largest sum of as many of them. Sets
// as bits that may have the largest sum: with a site all that are surely farther and, of sites with
// the same distance, those before it.
std::vector<std::uint32_t> cell_bounder::farthest_sets(std::size_t count) const {
  std::vector<std::uint32_t> farther(undecided_.size(), 0);
  for (std::size_t k = 0; k < undecided_.size(); ++k) {
    for (std::size_t j = 0; j < undecided_.size(); ++j) {
      const site_view& a = undecided_[k];
      const site_view& b = undecided_[j];
      const bool before = j < k && stands_at(a.site.slot) == stands_at(b.site.slot) &&
                          table_.weight[a.site.slot] == table_.weight[b.site.slot];
      if (before || b.lower > a.upper) farther[k] |= 1U << j;
    }
  }
  std::vector<std::uint32_t> sets;
  for (std::uint32_t set = 0; set < 1U << undecided_.size(); ++set) {
    if (static_cast<std::size_t>(std::popcount(set)) != count) continue;
    bool closed = true;
    for (std::size_t k = 0; k < undecided_.size(); ++k)
      closed = closed && ((set >> k & 1) == 0 || (farther[k] & ~set) == 0);
    if (closed) sets.push_back(set);
  }
  return sets;
}

// All ways to take one of these sets for each drop of the order weights; none if there are too
// many.
std::vector<cell_bounder::selection> cell_bounder::selections(const cell& c) const {
  if (undecided_.empty()) return {{}};
  std::vector<std::pair<std::uint32_t, selection>> all{
      {~0U, selection(undecided_.size(), falling_[0])}};
  std::size_t beyond = undecided_.size();
  for (std::size_t r = 1; r < c.runs.size(); ++r) {
    beyond -= c.runs[r - 1].count;
    const double drop = falling_[r] - falling_[r - 1];
    if (drop == 0) continue;
    if (undecided_.size() > kMostToSelectFrom) return {};
    std::vector<std::pair<std::uint32_t, selection>> longer;
    for (const std::uint32_t set : farthest_sets(beyond)) {
      for (const auto& [last, weights] : all) {
        if ((set & ~last) != 0) continue;
        auto& [of_drop, more] = longer.emplace_back(set, weights);
        for (std::size_t k = 0; k < undecided_.size(); ++k) more[k] += (set >> k & 1) * drop;
      }
    }
    if (longer.size() > kMostSelections) return {};
    all = std::move(longer);
  }
  std::vector<selection> result;
  for (auto& [set, weights] : all) result.push_back(std::move(weights));
  return result;
}

void cell_bounder::refine(cell& c, double target) {
  if (c.bound >= target) return;
  const auto lower_than_target = [&](const corner_values& shares) {
    const xy at = place_of(shares);
    const double f = value(c, at);
    if (f < seen_.value) seen_ = {at, f, {0, 0}};
    return f < target;
  };
  if (lower_than_target(lowest_place(rows_))) return;
  // Not f is too low there, but the planes are. The concave part may bend between the corners: the
  // bound is the least one of all that it may be.
  const std::vector<selection> all = selections(c);
  double least = std::numeric_limits<double>::infinity();
  for (const selection& s : all) {
    least = std::min(least, raise(c, rows_, target, s));
    if (least >= target) continue;
    lower_than_target(lowest_);
    return;
  }
  if (!all.empty()) c.bound = least;
}

}  // namespace planloc::detail
