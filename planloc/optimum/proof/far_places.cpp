#include "planloc/optimum/proof/far_places.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace planloc::detail {

namespace {

constexpr double kInfinite = std::numeric_limits<double>::infinity();
// Times the sites' extent: nearer places are not far.
constexpr int kFar = 1024;
// Farther places are told from the sites only near an axis.
constexpr double kMostInDoubles = 1e120;

// Holds the derivative of a norm by x. It grows with x and falls with the magnitude of y.
interval derivative(const gauge& g, const interval& x, const interval& y) {
  const interval m = magnitude(y);
  const auto at = [&](double u, double v) { return tangent(g, {interval(u), interval(v)}).x; };
  return {at(x.low, x.low >= 0 ? m.high : m.low).low,
          at(x.high, x.high >= 0 ? m.low : m.high).high};
}

// A norm grows with the magnitude of either coordinate: more narrow than its value of intervals.
interval norm_on(const gauge& g, const interval_pair& u) {
  const interval x = magnitude(u.x);
  const interval y = magnitude(u.y);
  return {gauge_value(g, {interval(x.low), interval(y.low)}).low,
          gauge_value(g, {interval(x.high), interval(y.high)}).high};
}

std::vector<interval_pair> places_from(const fraction_pair& base, const problem& p) {
  std::vector<interval_pair> places;
  for (const site& s : p.sites())
    places.push_back({around(mpq_class(s.x) - base.x), around(mpq_class(s.y) - base.y)});
  return places;
}

interval both(const interval& a, const interval& b) {
  return {std::max(a.low, b.low), std::min(a.high, b.high)};
}

double most_of(const std::vector<interval_pair>& places) {
  double most = 0;
  for (const interval_pair& a : places)
    most = std::max({most, magnitude(a.x).high, magnitude(a.y).high});
  return most;
}

}  // namespace

far_places::far_places(const problem& p, const fraction_pair& base, const mpq_class& reach)
    : problem_(p),
      order_(p),
      reach_(around(reach)),
      from_base_(places_from(base, p)),
      axis_(p, from_base_, most_of(from_base_)),
      on_part_(p.sites().size()) {
  for (const gauge& g : p.gauges()) {
    std::vector<interval_pair>& normals = normals_.emplace_back();
    for (std::size_t j = 0; j < g.vertices().size(); ++j) normals.push_back(edge_normal(g, j));
  }
  double most = 0;  // towards 0, as the search has it
  for (const site& s : p.sites()) {
    const mpq_class x = mpq_class(s.x) - base.x;
    const mpq_class y = mpq_class(s.y) - base.y;
    most = std::max({most, std::fabs(x.get_d()), std::fabs(y.get_d())});
  }
  const double far = reach.get_d();
  if (!(far > most) || !std::isfinite(far)) refuse("the square does not hold the sites");
  slower_ = most > 0 ? std::ldexp(1, std::ilogb(most) - std::ilogb(far)) : 1;
}

interval_pair far_places::directions(const far_part& b) {
  const interval out = b.side < 2 ? 1 : -1;
  return b.side % 2 == 0 ? interval_pair{out, b.s} : interval_pair{b.s, out};
}

// Holds the slopes that a gauge has at u, along -a.
interval far_places::along_slopes(std::uint32_t gauge, const interval_pair& u,
                                  const interval_pair& a) const {
  const class gauge& g = problem_.gauges()[gauge];
  if (g.kind() != gauge::shape::polyhedral)
    return -(derivative(g, u.x, u.y) * a.x) - derivative(g, u.y, u.x) * a.y;
  double most = 0;
  for (const interval_pair& n : normals_[gauge]) most = std::max(most, dot(n, u).low);
  interval slopes{kInfinite, -kInfinite};
  for (const interval_pair& n : normals_[gauge]) {
    if (dot(n, u).high < most) continue;
    const interval along = -dot(n, a);
    slopes = {std::min(slopes.low, along.low), std::max(slopes.high, along.high)};
  }
  return slopes;
}

// Without the weight, for t > 0: with r = t / reach it is (G(y - r a) - G(y)) / r, no less where r
// is more, since G is convex. Along the side it changes by the difference of two slopes of G, over
// r.
interval far_places::lp_excess(std::size_t i, const far_part& b) const {
  const interval_pair& a = from_base_[i];
  const gauge& g = problem_.gauge_of(i);
  const interval middle = b.s.low + (b.s.high - b.s.low) / 2;
  const interval_pair at = directions({b.side, middle, b.t});
  const auto beside = [&](double t) {
    const interval r = interval(t) / reach_;
    return (gauge_value(g, {at.x - r * a.x, at.y - r * a.y}) - gauge_value(g, at)) / r;
  };
  const auto along = [&](const interval_pair& u) {
    return b.side % 2 == 0 ? derivative(g, u.y, u.x) : derivative(g, u.x, u.y);
  };
  const interval_pair y = directions(b);
  const interval r = b.t / reach_;
  const interval turn = along({y.x - r * a.x, y.y - r * a.y}) - along(y);
  const interval more = turn / r * (b.s - middle);
  return interval{beside(b.t.low).low, beside(b.t.high).high} + more;
}

// By how much the distance of site i exceeds that of the base under its gauge and weight.
interval far_places::excess(std::size_t i, const far_part& b) const {
  const interval_pair& a = from_base_[i];
  const interval_pair y = directions(b);
  const site& s = problem_.sites()[i];
  if (const gauge& g = problem_.gauge_of(i); g.kind() == gauge::shape::euclidean) {
    const interval t = b.t / reach_;  // |u|^2 - |y|^2 = (|u| - |y|) (|u| + |y|)
    const interval_pair u{y.x - t * a.x, y.y - t * a.y};
    const interval above = t * (square(a.x) + square(a.y)) - interval(2) * dot(y, a);
    return interval(s.weight) * above / (gauge_value(g, y) + gauge_value(g, u));
  }
  const double parts =
      std::ceil(std::clamp(2 * b.t.high * slower_ / (b.s.high - b.s.low), 2.0, kMostParts));
  interval sum;
  for (double k = 0; k < parts; ++k) {
    const interval share = interval(k, k + 1) / interval(parts);
    const interval part = b.t * share / reach_;
    sum = sum + along_slopes(s.gauge, {y.x - part * a.x, y.y - part * a.y}, a);
  }
  sum = sum / interval(parts);
  if (problem_.gauge_of(i).kind() == gauge::shape::lp && b.t.low > 0)
    sum = both(sum, lp_excess(i, b));
  return interval(s.weight) * sum;
}

double far_places::least(const far_part& b) {
  const interval_pair y = directions(b);
  for (alike_sites& k : order_.kinds()) {
    const gauge& g = problem_.gauges()[k.gauge];
    k.growth = g.kind() == gauge::shape::polyhedral ? gauge_value(g, y) : norm_on(g, y);
    k.lower.clear();
    k.higher.clear();
    for (const std::uint32_t i : k.sites) {
      const interval e = on_part_[i] = excess(i, b);
      k.lower.push_back(e.low);
      k.higher.push_back(e.high);
    }
    std::sort(k.lower.begin(), k.lower.end());
    std::sort(k.higher.begin(), k.higher.end());
  }
  return order_.least(scale(b));
}

interval far_places::scale(const far_part& b) const {
  const double far = b.t.low > 0 ? (reach_ / interval(b.t.low)).high : kInfinite;
  return {(reach_ / interval(b.t.high)).low, far};
}

namespace {

// The second derivative of a smooth gauge at u is this times v v^T, v = (-u.y, u.x); the whole line
// if it is not bounded.
interval bend(const gauge& g, const interval_pair& u) {
  const interval x = magnitude(u.x);
  const interval y = magnitude(u.y);
  const interval norm = norm_on(g, u);
  if (!(norm.low > 0)) return {-kInfinite, kInfinite};
  const interval of_norm = interval(1) / (norm * square(norm));
  if (g.kind() == gauge::shape::euclidean) return of_norm;
  interval ratio = x * y / square(norm);
  ratio = {std::max(0.0, ratio.low), std::min(1.0, ratio.high)};  // as no ratio is more
  const interval p(g.p());
  if (g.p() >= 2) return of_norm * (p - interval(1)) * power(ratio, p - interval(2));
  const interval inverse = power(ratio, interval(2) - p);
  if (!(inverse.low > 0)) return {-kInfinite, kInfinite};
  return of_norm * (p - interval(1)) / inverse;
}

interval hull(const interval& a, const interval& b) {
  return {std::min(a.low, b.low), std::max(a.high, b.high)};
}
interval_pair hull(const interval_pair& a, const interval_pair& b) {
  return {hull(a.x, b.x), hull(a.y, b.y)};
}

}  // namespace

// Let G be the gauge, H its second derivative, y the direction and r = t / reach. The excess is
// (G(y - r a) - G(y)) / r = -G'(y) a + r / 2 a^T H a with H from somewhere on the way, v a = y x a
// on all of it; it changes with s by -H a along the side, and with r by half of a^T H a.
far_excess far_places::slopes_of_excess(std::size_t i, const far_part& b, double s) const {
  const gauge& g = problem_.gauge_of(i);
  const interval w(problem_.sites()[i].weight);
  const interval_pair& a = from_base_[i];
  const auto moved = [&](const interval_pair& y, const interval& t) {
    const interval r = t / reach_;
    return interval_pair{y.x - r * a.x, y.y - r * a.y};
  };
  far_excess e;
  e.on_part = on_part_[i];
  const interval_pair on_side = directions(b);
  const interval_pair all = hull(on_side, moved(on_side, b.t));
  if (g.kind() == gauge::shape::polyhedral) {
    const interval slopes = along_slopes(problem_.sites()[i].gauge, all, a);
    e.at_place = w * slopes;
    return e;
  }
  const interval bent = w * bend(g, all);
  const interval turn = cross(on_side, a);
  e.by_s = b.side % 2 == 0 ? -(bent * all.x * turn) : bent * all.y * turn;
  e.by_t = bent * square(turn) / (interval(2) * reach_);
  const interval_pair y = directions({b.side, s, b.t.low});
  e.at_place = -(w * dot(tangent(g, y), a));
  if (b.t.low > 0) {
    const interval r = interval(b.t.low) / reach_;
    const interval_pair end = moved(y, b.t.low);
    const interval by_bend =
        e.at_place + w * bend(g, hull(y, end)) * square(cross(y, a)) * r / interval(2);
    e.at_place = both(by_bend, w * (gauge_value(g, end) - gauge_value(g, y)) / r);
  }
  return e;
}

double far_places::least_by_slopes(const far_part& b) {
  const double s = b.s.low + (b.s.high - b.s.low) / 2;
  std::vector<far_excess> excess;
  for (std::size_t i = 0; i < problem_.sites().size(); ++i)
    excess.push_back(slopes_of_excess(i, b, s));
  return order_.least_by_choices(scale(b), excess, b.s - interval(s), b.t - interval(b.t.low));
}

// The most is the least of f with the order weights' signs changed.
interval value_far_away(const problem& p, const fraction_pair& at) {
  const site& first = p.sites()[0];
  const fraction_pair base{mpq_class(first.x), mpq_class(first.y)};
  const mpq_class x = at.x - base.x;
  const mpq_class y = at.y - base.y;
  const bool right_or_left = abs(x) >= abs(y);
  const mpq_class& out = right_or_left ? x : y;
  for (const site& s : p.sites()) {
    const mpq_class near = abs(out) / kFar;
    if (abs(mpq_class(s.x) - base.x) >= near || abs(mpq_class(s.y) - base.y) >= near)
      return {-kInfinite, kInfinite};
  }
  const int side = (right_or_left ? 0 : 1) + (sgn(out) > 0 ? 0 : 2);
  const std::vector<interval_pair> from_base = places_from(base, p);
  const interval near_axis =
      far_axis(p, from_base, most_of(from_base)).value(side, out, right_or_left ? y : x);
  if (abs(out) > kMostInDoubles) return near_axis;
  const far_part place{side, around((right_or_left ? y : x) / abs(out)), 1};
  std::vector<double> lambda = listed_weights(p);
  for (double& l : lambda) l = -l;
  const problem negative({p.sites().begin(), p.sites().end()},
                         {p.gauges().begin(), p.gauges().end()}, order_weights(lambda));
  const mpq_class far = abs(out);
  return both(near_axis, {far_places(p, base, far).least(place),
                          -far_places(negative, base, far).least(place)});
}

}  // namespace planloc::detail
