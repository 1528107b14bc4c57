#include "planloc/optimum/convex/optimal_face.h"

#include <array>
#include <cmath>
#include <optional>
#include <utility>

#include "planloc/optimum/convex/snap.h"

namespace planloc::detail {

namespace {

// Of the extent: how far from the end in doubles break lines are looked for.
constexpr std::array kReaches{1e-13, 1e-11, 1e-9, 1e-7};
constexpr int kMostSteps = 100;
constexpr std::size_t kMostCorners = 10000;

exact_xy opposite(const exact_xy& v) { return {-v.x, -v.y}; }

bool same_direction(const exact_xy& a, const exact_xy& b) {
  return sgn(cross(a, b)) == 0 && sgn(dot(a, b)) > 0;
}

class face_walk {
 public:
  face_walk(const problem& p, const distance_table& table, evaluator& evaluate, exact_edges& edges,
            double value, double extent)
      : problem_(p),
        table_(table),
        evaluate_(evaluate),
        edges_(edges),
        value_(value),
        extent_(extent) {}

  std::vector<exact_xy> corners(const exact_place& start, const exact_xy& along) {
    const exact_xy border = end_of(start, along);
    const exact_place there = place(border);
    const exact_xy back = opposite(along);
    const exact_xy right = outermost(there, back, -1);
    if (same_direction(right, back) && same_direction(outermost(there, back, 1), back)) {
      exact_xy other = end_of(there, back);
      if (other == border) return {border};
      return {std::move(other), border};
    }
    return walk_around(there, right);
  }

 private:
  exact_place place(const exact_xy& at) { return {problem_, table_, edges_, at}; }

  // The set lies to the left of `direction`.
  std::vector<exact_xy> walk_around(const exact_place& start, exact_xy direction) {
    std::vector<exact_xy> result;
    std::optional<exact_place> at = start;
    while (result.size() < kMostCorners) {
      exact_xy next = end_of(*at, direction);
      if (!result.empty() && next == result.front()) return result;
      at.emplace(place(next));
      result.push_back(std::move(next));
      direction = outermost(*at, opposite(direction), -1);
    }
    return {};
  }

  // Of the directions in which f does not rise, the last one from `inside` on, to the left or the
  // right; half a turn away at most. Each step cuts off the directions in which one piece rises.
  static exact_xy outermost(const exact_place& at, const exact_xy& inside, int side) {
    exact_xy v = opposite(inside);
    for (;;) {
      const exact_slope s = at.slope(at.choose(v));
      if (dot_sign(s, v) <= 0) return v;
      if (dot_sign(s, inside) == 0) return inside;
      v = s.turned_left();
      if (sgn(cross(inside, v)) != side) v = opposite(v);
    }
  }

  // The last place from `from` on in the direction v with the value of `from`.
  exact_xy end_of(const exact_place& from, const exact_xy& v) {
    if (from.rise_sign(v) > 0) return from.at();
    const xy rounded = to_nearest(v);
    const double length = std::hypot(rounded.x, rounded.y);
    const xy unit{rounded.x / length, rounded.y / length};
    const xy start = to_nearest(exact_xy{from.at().x - table_.base.x, from.at().y - table_.base.y});
    const double step = last_step(start, unit);
    const xy near{start.x + step * unit.x, start.y + step * unit.y};
    const break_lines lines(problem_, table_, edges_, near, kReaches.back() * extent_);
    for (const double reach : kReaches) {
      for (const exact_xy& at : lines.crossings(from.at(), v, reach * extent_)) {
        if (ends_at(place(at), v)) return at;
      }
    }
    return end_by_fractions(from, v, step / length);
  }

  static bool ends_at(const exact_place& at, const exact_xy& v) {
    return at.rise_sign(v) > 0 && at.rise_sign(opposite(v)) == 0;
  }

  // Newton's method from beyond: every step leaves a linear piece of f for good. Where weights over
  // many orders of magnitude put the lines too close together to be told apart in doubles. `near`
  // counts in v.
  exact_xy end_by_fractions(const exact_place& from, const exact_xy& v, double near) {
    const mpq_class value = from.exact_value();
    mpq_class t(near > 0 && std::isfinite(near) ? near : extent_);
    const auto beyond = [&] { return exact_xy{from.at().x + t * v.x, from.at().y + t * v.y}; };
    while (place(beyond()).exact_value() <= value) t *= 2;
    for (;;) {
      exact_xy at = beyond();
      const exact_place there = place(at);
      if (ends_at(there, v)) return at;
      const exact_slope s = there.slope(there.choose(opposite(v)));
      const mpq_class rise = (s.x * v.x + s.y * v.y) / s.denominator;
      t -= (there.exact_value() - value) / rise;
    }
  }

  // The same in doubles: Newton's method on the convex function f along v, from far beyond.
  double last_step(const xy& start, const xy& unit) {
    const auto at = [&](double step) {
      return evaluate_({start.x + step * unit.x, start.y + step * unit.y});
    };
    const double rounding = 1e-14 * std::fabs(value_);
    double step = 4 * extent_;
    while (at(step).value <= value_ + rounding && std::isfinite(step)) step *= 4;
    for (int k = 0; k < kMostSteps; ++k) {
      const evaluation e = at(step);
      const double slope = e.slope.x * unit.x + e.slope.y * unit.y;
      if (!(e.value > value_ + rounding) || !(slope > 0)) break;
      const double next = step - (e.value - value_) / slope;
      if (!(next < step)) break;
      step = next;
    }
    return step;
  }

  const problem& problem_;
  const distance_table& table_;
  evaluator& evaluate_;
  exact_edges& edges_;
  double value_;
  double extent_;
};

}  // namespace

std::vector<exact_xy> optimal_corners(const problem& p, const distance_table& table,
                                      evaluator& evaluate, exact_edges& edges,
                                      const exact_place& optimum, const optimality& o,
                                      double extent) {
  if (o.support.size() == 3) return {optimum.at()};
  exact_xy along = o.support[0].direction;
  if (o.support.size() == 2) {
    along = optimum.slope(optimum.choose(along)).turned_left();
    if (optimum.rise_sign(along) > 0) along = opposite(along);
  }
  if (optimum.rise_sign(along) > 0) return {optimum.at()};
  return face_walk(p, table, evaluate, edges, optimum.value(), extent).corners(optimum, along);
}

}  // namespace planloc::detail
