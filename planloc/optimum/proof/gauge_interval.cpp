#include "planloc/optimum/proof/gauge_interval.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>

namespace planloc::detail {

interval sum_of(std::span<const interval> terms) {
  if (terms.empty()) return 0;
  if (terms.size() == 1) return terms[0];
  return sum_of(terms.first(terms.size() / 2)) + sum_of(terms.subspan(terms.size() / 2));
}

void adjacent_sum::add(interval term) {
  for (std::size_t n = count_++; n % 2 == 1; n /= 2) {
    term = parts_.back() + term;
    parts_.pop_back();
  }
  parts_.push_back(term);
}

interval adjacent_sum::total() const {
  interval sum(0);
  for (auto p = parts_.rbegin(); p != parts_.rend(); ++p) sum = *p + sum;
  return sum;
}

interval enclosed(const mpq_class& q) {
  const double d = q.get_d();
  return q == d ? interval(d) : widened(d, d);
}

namespace {

// The cross product of two exact vectors. Their products' roundings count, so a thin cone loses
// nothing; unless the roundings themselves are below the least numbers.
interval cone_area(const xy& a, const xy& b) {
  const double p = a.x * b.y;
  const double q = a.y * b.x;
  const auto small = [](double d) { return d != 0 && std::fabs(d) < 0x1p-900; };
  if (small(p) || small(q)) return cross({a.x, a.y}, {b.x, b.y});
  const interval lost = interval(std::fma(a.x, b.y, -p)) - interval(std::fma(a.y, b.x, -q));
  return interval(p) - interval(q) + lost;
}

}  // namespace

interval_pair edge_normal(const gauge& g, std::size_t j) {
  const std::span<const xy> v = g.vertices();
  const interval_pair a{v[j].x, v[j].y};
  const interval_pair b{v[(j + 1) % v.size()].x, v[(j + 1) % v.size()].y};
  interval area = cone_area(v[j], v[(j + 1) % v.size()]);
  // Positive, since the origin is strictly inside; too thin a cone leaves no more than that.
  area.low = std::max(area.low, std::numeric_limits<double>::denorm_min());
  return {(b.y - a.y) / area, (a.x - b.x) / area};
}

namespace {

// (1 + t^p)^(1/p) times the larger coordinate, t the ratio of the smaller one to it.
struct lp_parts {
  interval larger, power, total, root;  // power = t^(p-1), total = 1 + t^p, root = total^(1/p)
};

lp_parts split_lp(const interval_pair& u, double p) {
  const interval x = magnitude(u.x);
  const interval y = magnitude(u.y);
  const interval most = larger(x, y);
  const interval least{std::min(x.low, y.low), std::min(x.high, y.high)};
  if (!(most.low > 0)) return {most, {0, 1}, {1, 2}, {1, 2}};
  interval ratio = least / most;
  ratio = {std::max(0.0, ratio.low), std::min(1.0, ratio.high)};
  const interval of_ratio = power(ratio, interval(p) - 1);
  interval total = interval(1) + ratio * of_ratio;
  total = {std::max(1.0, total.low), std::min(2.0, total.high)};
  return {most, of_ratio, total, power(total, interval(1) / interval(p))};
}

interval with_sign(const interval& size, const interval& sign) {
  if (sign.low >= 0) return size;
  if (sign.high <= 0) return -size;
  return {-size.high, size.high};
}

double cross(const xy& a, const xy& b) { return a.x * b.y - a.y * b.x; }

// The edge in whose cone u seems to lie; roundings may show a neighbour.
std::size_t likely_edge(std::span<const xy> v, const xy& u) {
  const auto past_half = [&](const xy& a) {
    const double side = cross(v[0], a);
    return side < 0 || (side == 0 && v[0].x * a.x + v[0].y * a.y < 0);
  };
  const bool late = past_half(u);
  const auto not_past_u = [&](const xy& a) {
    return past_half(a) == late ? cross(a, u) >= 0 : late;
  };
  const auto behind = std::partition_point(v.begin() + 1, v.end(), not_past_u);
  return static_cast<std::size_t>(behind - v.begin()) - 1;
}

// Whether u surely lies in the cone between two rays, less than half a turn apart.
bool surely_between(const xy& right, const xy& left, const interval_pair& u) {
  return cross({right.x, right.y}, u).low >= 0 && cross(u, {left.x, left.y}).low >= 0;
}

// With edge j and its neighbours, if u surely lies in the cone of j or of j and one of them.
std::optional<interval> value_near(const gauge& g, std::size_t j, const interval_pair& u) {
  const std::span<const xy> v = g.vertices();
  const auto at = [&](std::size_t k) { return v[(j + v.size() + k - 1) % v.size()]; };
  if (surely_between(at(1), at(2), u)) return dot(edge_normal(g, j), u);
  for (const std::size_t k : {std::size_t{0}, std::size_t{1}}) {
    if (!(cone_area(at(k), at(k + 2)).low > 0) || !surely_between(at(k), at(k + 2), u)) continue;
    const std::size_t first = (j + v.size() + k - 1) % v.size();
    return larger(dot(edge_normal(g, first), u), dot(edge_normal(g, (first + 1) % v.size()), u));
  }
  return std::nullopt;
}

}  // namespace

interval gauge_value(const gauge& g, const interval_pair& u) {
  if (g.kind() == gauge::shape::euclidean) return sqrt(square(u.x) + square(u.y));
  if (g.kind() == gauge::shape::lp) {
    const lp_parts parts = split_lp(u, g.p());
    return parts.larger * parts.root;
  }
  if (const auto near = value_near(g, likely_edge(g.vertices(), {u.x.low, u.y.low}), u)) {
    return {std::max(0.0, near->low), std::max(0.0, near->high)};
  }
  interval most = dot(edge_normal(g, 0), u);
  for (std::size_t j = 1; j < g.vertices().size(); ++j)
    most = larger(most, dot(edge_normal(g, j), u));
  return {std::max(0.0, most.low), std::max(0.0, most.high)};
}

interval_pair tangent(const gauge& g, const interval_pair& u) {
  if (g.kind() == gauge::shape::euclidean) {
    const interval norm = sqrt(square(u.x) + square(u.y));
    if (!(norm.low > 0)) return {{-1, 1}, {-1, 1}};
    return {u.x / norm, u.y / norm};
  }
  const lp_parts parts = split_lp(u, g.p());
  if (!(parts.larger.low > 0)) return {{-1, 1}, {-1, 1}};
  const interval of_larger = parts.root / parts.total;
  const interval of_smaller = of_larger * parts.power;
  const interval x = magnitude(u.x);
  const interval y = magnitude(u.y);
  const interval either{std::min(of_larger.low, of_smaller.low),
                        std::max(of_larger.high, of_smaller.high)};
  const interval size_x = x.low > y.high ? of_larger : x.high < y.low ? of_smaller : either;
  const interval size_y = y.low > x.high ? of_larger : y.high < x.low ? of_smaller : either;
  return {with_sign(size_x, u.x), with_sign(size_y, u.y)};
}

interval_pair in_polar(const gauge& g, const xy& slope) {
  const interval x = magnitude(slope.x);
  const interval y = magnitude(slope.y);
  double norm = 0;
  if (g.kind() == gauge::shape::euclidean) {
    norm = sqrt(square(x) + square(y)).high;
  } else {
    const interval most = larger(x, y);
    if (is_zero(most)) return {0, 0};
    const interval least{std::min(x.low, y.low), std::min(x.high, y.high)};
    const interval dual = interval(g.p()) / (interval(g.p()) - 1);
    interval ratio = least / most;
    ratio.high = std::min(1.0, ratio.high);
    norm = (most * power(interval(1) + power(ratio, dual), interval(1) / dual)).high;
  }
  if (norm <= 1) return {slope.x, slope.y};
  return {interval(slope.x) / norm, interval(slope.y) / norm};
}

double ball_radius(const gauge& g) {
  if (g.kind() == gauge::shape::polyhedral) {
    double most = 0;
    for (const xy& v : g.vertices()) most = std::max(most, sqrt(square(v.x) + square(v.y)).high);
    return most;
  }
  return g.kind() == gauge::shape::euclidean || g.p() <= 2 ? 1 : 1.5;
}

}  // namespace planloc::detail
