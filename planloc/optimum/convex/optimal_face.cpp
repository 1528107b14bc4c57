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
  face_walk(const problem& p, const distance_table& table, evaluator& evaluate,
            current_place& places, double value, double extent)
      : problem_(p),
        table_(table),
        evaluate_(evaluate),
        places_(places),
        value_(value),
        extent_(extent) {}

  std::vector<exact_xy> corners(const exact_xy& start, const exact_xy& along) {
    const exact_xy border = end_of(start, along);
    const exact_xy back = opposite(along);
    const exact_xy right = outermost(border, back, -1);
    if (same_direction(right, back) && same_direction(outermost(border, back, 1), back)) {
      exact_xy other = end_of(border, back);
      if (other == border) return {border};
      return {std::move(other), border};
    }
    return walk_around(border, right);
  }

 private:
  // The set lies to the left of `direction`.
  std::vector<exact_xy> walk_around(const exact_xy& start, exact_xy direction) {
    std::vector<exact_xy> result;
    exact_xy at = start;
    while (result.size() < kMostCorners) {
      at = end_of(at, direction);
      if (!result.empty() && at == result.front()) return result;
      result.push_back(at);
      direction = outermost(at, opposite(direction), -1);
    }
    return {};
  }

  // Of the directions in which f does not rise, the last one from `inside` on, to the left or the
  // right; half a turn away at most. Each step cuts off the directions in which one piece rises.
  exact_xy outermost(const exact_xy& at, const exact_xy& inside, int side) {
    const exact_place& place = places_.at(at);
    exact_xy v = opposite(inside);
    for (;;) {
      const exact_slope s = place.slope(place.choose(v));
      if (dot_sign(s, v) <= 0) return v;
      if (dot_sign(s, inside) == 0) return inside;
      v = s.turned_left();
      if (sgn(cross(inside, v)) != side) v = opposite(v);
    }
  }

  // The last place from `from` on in the direction v with the value of `from`.
  exact_xy end_of(const exact_xy& from, const exact_xy& v) {
    if (places_.at(from).rise_sign(v) > 0) return from;
    places_.release();
    const xy rounded = to_nearest(v);
    const double length = std::hypot(rounded.x, rounded.y);
    const xy unit{rounded.x / length, rounded.y / length};
    const xy start = to_nearest(exact_xy{from.x - table_.base.x, from.y - table_.base.y});
    const double step = last_step(start, unit);
    const xy near{start.x + step * unit.x, start.y + step * unit.y};
    const break_lines lines(problem_, table_, places_.edges(), near, kReaches.back() * extent_);
    for (const double reach : kReaches) {
      for (const exact_xy& at : lines.crossings(from, v, reach * extent_)) {
        if (ends_at(places_.at(at), v)) return at;
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
  exact_xy end_by_fractions(const exact_xy& from, const exact_xy& v, double near) {
    const mpq_class value = places_.at(from).exact_value();
    mpq_class t(near > 0 && std::isfinite(near) ? near : extent_);
    const auto beyond = [&] { return exact_xy{from.x + t * v.x, from.y + t * v.y}; };
    while (places_.at(beyond()).exact_value() <= value) t *= 2;
    for (;;) {
      exact_xy at = beyond();
      const exact_place& there = places_.at(at);
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
    evaluate_.release();
    return step;
  }

  const problem& problem_;
  const distance_table& table_;
  evaluator& evaluate_;
  current_place& places_;
  double value_;
  double extent_;
};

}  // namespace

std::vector<exact_xy> optimal_corners(const problem& p, const distance_table& table,
                                      evaluator& evaluate, current_place& places,
                                      const exact_xy& optimum, const optimality& o, double extent) {
  if (o.support.size() == 3) return {optimum};
  const exact_place& place = places.at(optimum);
  exact_xy along = o.support[0].direction;
  if (o.support.size() == 2) {
    along = place.slope(place.choose(along)).turned_left();
    if (place.rise_sign(along) > 0) along = opposite(along);
  }
  if (place.rise_sign(along) > 0) return {optimum};
  return face_walk(p, table, evaluate, places, place.value(), extent).corners(optimum, along);
}

}  // namespace planloc::detail
