// The bound of cells that gauges without edges leave open, raised before they are halved.
#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <numeric>

#include "planloc/optimum/general/triangle_cell.h"

namespace planloc::detail {

namespace {

xy minus(const xy& a, const xy& b) { return {a.x - b.x, a.y - b.y}; }

// Planes that are added to the bound of a cell before it is halved.
constexpr int kMostCuts = 16;
// Undecided sites among which all sets are looked at, and how many ways to take sets count.
constexpr std::size_t kMostToSelectFrom = 8;
constexpr std::size_t kMostSelections = 12;

// For what is computed in doubles and checked in intervals.
constexpr double kCaution = 1 + 0x1p-30;

double least(const corner_values& a) { return std::min({a[0], a[1], a[2]}); }

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

// What each bent or undecided site weighs around a place, and its tangent there; in the order that
// is in force at the place, or, if `mixed`, in mixtures of orders. False if there are none.
bool cell_bounder::weigh(const cell& c, const corner_values& shares, const selection& selected,
                         bool mixed) {
  const xy at = place_of(shares);
  weighed_.clear();
  for (std::size_t k = 0; k < decided_.size(); ++k)
    weighed_.push_back(
        {&decided_[k], c.decided[k].lambda, tangent_at(decided_[k].site, at), false});
  taken_.clear();
  for (std::uint32_t k = 0; k < undecided_.size(); ++k) {
    const site_view& v = undecided_[k];
    const corner_values plane = v.bent == kFlat ? v.value : tangent_at(v.site, at);
    taken_.push_back({value_at(plane, shares), plane, k});
  }
  std::sort(taken_.begin(), taken_.end(),
            [](const taken_plane& a, const taken_plane& b) { return a.height < b.height; });
  risen_.clear();
  auto next = taken_.begin();
  for (std::size_t r = 0; next != taken_.end(); ++r) {
    for (const auto end = next + static_cast<std::ptrdiff_t>(c.runs[r].count); next < end; ++next) {
      risen_.push_back(rising_[r]);
      weighed_.push_back(
          {&undecided_[next->view], rising_[r] - selected[next->view], next->plane, false});
    }
  }
  if (mixed && !mix_orders(c, shares)) return false;
  join_twins();
  return true;
}

// Where two neighbours in the order may change it on the cell, a mixture of both orders will do for
// the convex part, too. The one is taken with which the slope of all is least: along a valley
// between two orders, next to nothing is left of the distances that make its steep sides, and so of
// what their bends cost. On a side of the cell the slope along it counts. Sites that change places
// go on to their next neighbours.
bool cell_bounder::mix_orders(const cell& c, const corner_values& shares) {
  // From the right angle of the cell to the other corners: lengths are as those of slopes.
  const auto rise_of = [&shares](const corner_values& plane) {
    const xy rise{plane[1] - plane[0], plane[2] - plane[0]};
    if (shares[0] == 0) return xy{rise.x - rise.y, 0};
    return xy{shares[1] == 0 ? 0 : rise.x, shares[2] == 0 ? 0 : rise.y};
  };
  const auto folded = [&](std::size_t m) { return dot(c.folded.slope, points_[m]); };
  xy slope = rise_of({folded(0), folded(1), folded(2)});
  for (const weighed_site& s : weighed_) {
    const xy rise = rise_of(s.tangent);
    slope = {slope.x + s.weight * rise.x, slope.y + s.weight * rise.y};
  }
  bool mixed = false;
  const auto mix = [&](std::size_t k) {
    weighed_site& near = weighed_[decided_.size() + k];
    weighed_site& far = weighed_[decided_.size() + k + 1];
    corner_values behind{};
    for (std::size_t m = 0; m < 3; ++m) behind[m] = far.tangent[m] - near.tangent[m];
    const double step = risen_[k + 1] - risen_[k];
    const xy apart = rise_of(behind);
    const double share = std::min(dot(slope, apart) / (step * dot(apart, apart)), 1.0);
    if (least(behind) > 0 || !(step > 0) || !(share > 0)) return;
    const double moved = share * step;
    slope = {slope.x - moved * apart.x, slope.y - moved * apart.y};
    near.weight += moved;
    far.weight -= moved;
    if (share == 1) {
      std::swap(near, far);
    } else {
      risen_[k] += moved;
      risen_[k + 1] -= moved;
    }
    mixed = true;
  };
  for (std::size_t k = 0; k + 1 < risen_.size(); ++k) mix(k);
  for (std::size_t k = risen_.size(); k > 1; --k) mix(k - 2);
  return mixed;
}

// Sites at one place with one smooth gauge are bent as one.
void cell_bounder::join_twins() {
  if (stands_at_.empty()) return;
  std::size_t kept = 0;
  for (const weighed_site& s : weighed_) {
    const std::uint32_t slot = s.view->site.slot;
    std::size_t& twin = joined_at_[stands_at_[slot]];
    const bool has_twin =
        twin < kept && stands_at_[weighed_[twin].view->site.slot] == stands_at_[slot];
    if (has_twin) {
      weighed_site& first = weighed_[twin];
      first.weight += s.weight * (table_.weight[slot] / table_.weight[first.view->site.slot]);
    } else {
      twin = kept;
      weighed_[kept++] = s;
    }
  }
  weighed_.resize(kept);
}

namespace {

// Of the second derivative of an lp norm: (p - 1) (|x y| / N^2)^(p - 2) / N^3, N the norm of (x,
// y).
double bend_factor(const gauge_block& b, double ratio, double norm) {
  const double cube = norm * norm * norm;
  return b.kind == gauge::shape::euclidean ? 1 / cube : (b.p - 1) * std::pow(ratio, b.p - 2) / cube;
}

}  // namespace

// The sites whose distances have a second derivative all over the cell; false if none of them has a
// negative weight, so that it would be of no use.
bool cell_bounder::find_bending() {
  bending_.clear();
  bool some_negative = false;
  for (weighed_site& s : weighed_) {
    const std::uint32_t slot = s.view->site.slot;
    const gauge_block& b = table_.blocks[table_.block_of[slot]];
    if (s.view->bent == kFlat || b.kind == gauge::shape::polyhedral || !(s.view->lower > 0))
      continue;
    const double w = table_.weight[slot];
    const range norm{s.view->lower / w, s.view->upper / w};
    range x{std::numeric_limits<double>::infinity(), -std::numeric_limits<double>::infinity()};
    range y = x;
    for (std::size_t m = 0; m < 3; ++m) {
      const xy u = minus(points_[m], {table_.x[slot], table_.y[slot]});
      x = {std::min(x.low, u.x), std::max(x.high, u.x)};
      y = {std::min(y.low, u.y), std::max(y.high, u.y)};
    }
    const auto least = [](const range& r) { return std::max({r.low, -r.high, 0.0}); };
    const auto most = [](const range& r) { return std::max(-r.low, r.high); };
    const range ratio{least(x) * least(y) / (norm.high * norm.high),
                      std::min(1.0, most(x) * most(y) / (norm.low * norm.low))};
    const bool falls = b.p < 2;
    const range factor{w * bend_factor(b, falls ? ratio.high : ratio.low, norm.high),
                       w * bend_factor(b, falls ? ratio.low : ratio.high, norm.low)};
    if (!std::isfinite(factor.high)) continue;
    s.bends = true;
    some_negative = some_negative || s.weight < 0;
    bending_.push_back({slot, s.weight, factor});
  }
  return some_negative;
}

// That of the least second derivative of all the bending sites together at a place.
xy cell_bounder::least_bent_direction(const xy& at) const {
  double xx = 0;
  double cross = 0;
  double yy = 0;
  for (const second_derivative& d : bending_) {
    const xy u = minus(at, {table_.x[d.slot], table_.y[d.slot]});
    const double k = d.weight * (d.factor.low + d.factor.high);
    xx += k * u.y * u.y;
    cross -= k * u.x * u.y;
    yy += k * u.x * u.x;
  }
  const double most = std::atan2(2 * cross, xx - yy) / 2;
  return {-std::sin(most), std::cos(most)};
}

// How much must be added to the second derivative along a direction to make it nowhere negative on
// the cell, if that is enough. With a, b the coordinates of v along the direction and across,
// [aa + lift, ab; ab, bb] has no negative eigenvalue if bb > 0 and (aa + lift) bb >= ab^2.
std::optional<double> cell_bounder::lift(const xy& along) const {
  double least_aa = 0;
  double least_bb = 0;
  range ab;
  for (const second_derivative& d : bending_) {
    range a{std::numeric_limits<double>::infinity(), -std::numeric_limits<double>::infinity()};
    range b = a;
    for (std::size_t m = 0; m < 3; ++m) {
      const xy u = minus(points_[m], {table_.x[d.slot], table_.y[d.slot]});
      const double of_a = along.y * u.x - along.x * u.y;
      const double of_b = dot(along, u);
      a = {std::min(a.low, of_a), std::max(a.high, of_a)};
      b = {std::min(b.low, of_b), std::max(b.high, of_b)};
    }
    const auto least_square = [](const range& r) {
      const double near = std::max({r.low, -r.high, 0.0});
      return near * near;
    };
    const auto most_square = [](const range& r) {
      return std::max(r.low * r.low, r.high * r.high);
    };
    const bool adds = d.weight > 0;
    const double k = d.weight * (adds ? d.factor.low : d.factor.high);
    least_aa += k * (adds ? least_square(a) : most_square(a));
    least_bb += k * (adds ? least_square(b) : most_square(b));
    const auto [low, high] =
        std::minmax({a.low * b.low, a.low * b.high, a.high * b.low, a.high * b.high});
    const double most = d.weight * d.factor.high;
    const double least = d.weight * d.factor.low;
    ab.low += std::min({most * low, least * low, most * high, least * high});
    ab.high += std::max({most * low, least * low, most * high, least * high});
  }
  if (!(least_bb > 0)) return {};
  const double across = std::max(ab.low * ab.low, ab.high * ab.high);
  return std::max(0.0, kCaution * (across / least_bb) - least_aa);
}

// A plane that is taken at a place of the cell, with what `weigh` has found there. The sites can be
// taken one by one: a tangent where a distance adds to f, the interpolation of the corners where it
// takes off. Or those that have second derivatives are taken together: their sum is convex once the
// square of a coordinate is added, so that its tangent less the interpolation of that square will
// do (Adjiman, Dallwig, Floudas and Neumaier 1998). The plane that is higher at the place is taken.
corner_values cell_bounder::plane_at(const cell& c, const corner_values& shares) {
  corner_values one_by_one{};
  for (std::size_t m = 0; m < 3; ++m)
    one_by_one[m] = c.folded.at_base + dot(c.folded.slope, points_[m]);
  corner_values together = one_by_one;
  const bool may_bend = find_bending();
  for (const weighed_site& s : weighed_) {
    const corner_values plane = s.weight > 0 ? s.tangent : interpolation(*s.view);
    add_to(one_by_one, s.weight, plane);
    add_to(together, s.weight, s.bends ? s.tangent : plane);
  }
  if (!may_bend) return one_by_one;
  const xy at = place_of(shares);
  const xy along = least_bent_direction(at);
  const std::optional<double> lifted = lift(along);
  if (!lifted) return one_by_one;
  for (std::size_t m = 0; m < 3; ++m) {
    const double off = dot(along, minus(points_[m], at));
    together[m] -= *lifted / 2 * off * off;
  }
  return value_at(together, shares) > value_at(one_by_one, shares) ? together : one_by_one;
}

// The bound that planes reach until it is `target` or they show that they cannot raise it so far;
// `lowest_` then holds the place that shows it.
double cell_bounder::raise(const cell& c, planes rows, double target, const selection& selected) {
  mixture best = best_mixture_and_rows(rows);
  // Of the planes that the bound does without, the one that matters least there makes room.
  const auto add = [&](const corner_values& plane, bool only_to_raise) {
    std::size_t least = rows.size();
    for (std::size_t j = 0; j < rows.size(); ++j) {
      if ((best.rows >> j & 1) != 0) continue;
      if (least == rows.size() || value_at(rows[j], lowest_) < value_at(rows[least], lowest_))
        least = j;
    }
    planes with = rows;
    with[least] = plane;
    const mixture better = best_mixture_and_rows(with);
    if (only_to_raise && better.bound <= best.bound) return;
    rows = with;
    best = better;
  };
  for (int cut = 0; cut < kMostCuts && best.bound < target; ++cut) {
    lowest_ = lowest_place(rows);
    double height = -std::numeric_limits<double>::infinity();
    for (const bool mixed : {false, true}) {
      if (best.bound >= target || !weigh(c, lowest_, selected, mixed)) break;
      const corner_values plane = plane_at(c, lowest_);
      add(plane, mixed);
      height = std::max(height, value_at(plane, lowest_));
    }
    if (height < target) break;
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
