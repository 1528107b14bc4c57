#include "planloc/optimum/general/far_view.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <utility>

namespace planloc::detail {

namespace {

// Of a way from the middle to a site: slopes are averaged over so many parts of it, so that they
// change there about as much as on the box.
constexpr double kLeastParts = 2;
constexpr double kMostParts = 16;
// Of magnitudes: a coordinate may be off by less, and an edge that falls short by less in force.
constexpr double kRounding = 0x1p-46;

low_high times(const low_high& a, double b) {
  return b < 0 ? low_high{a.high * b, a.low * b} : low_high{a.low * b, a.high * b};
}
low_high plus(const low_high& a, const low_high& b) { return {a.low + b.low, a.high + b.high}; }
double least_magnitude(const low_high& a) { return std::max({a.low, -a.high, 0.0}); }
double most_magnitude(const low_high& a) { return std::max(-a.low, a.high); }
low_high length(const low_high& x, const low_high& y) {
  return {std::hypot(least_magnitude(x), least_magnitude(y)),
          std::hypot(most_magnitude(x), most_magnitude(y))};
}

// The derivative of an lp norm with p near 1 leaps at 0: intervals may hold what lies beyond.
low_high sum_around(const low_high& a, const low_high& b) {
  const double more = kRounding * (most_magnitude(a) + most_magnitude(b));
  return {a.low + b.low - more, a.high + b.high + more};
}

struct pair_of_ranges {
  low_high x, y;
};

pair_of_ranges directions(const far_box& b) {
  const double out = b.side < 2 ? 1 : -1;
  return b.side % 2 == 0 ? pair_of_ranges{{out, out}, b.s} : pair_of_ranges{b.s, {out, out}};
}

// The norm's derivative by its first argument, which grows with that and falls with the magnitude
// of the other one.
double derivative(const gauge& g, double u, double v) {
  return std::copysign(std::pow(std::fabs(u) / g({u, v}), g.p() - 1), u);
}
low_high derivatives(const gauge& g, const low_high& u, const low_high& v) {
  const double near = least_magnitude(v);
  const double far = most_magnitude(v);
  return {derivative(g, u.low, u.low >= 0 ? far : near),
          derivative(g, u.high, u.high >= 0 ? near : far)};
}

low_high product(const low_high& a, const low_high& b) {
  const auto [low, high] =
      std::minmax({a.low * b.low, a.low * b.high, a.high * b.low, a.high * b.high});
  return {low, high};
}
low_high square(const low_high& a) {
  const double low = least_magnitude(a);
  const double high = most_magnitude(a);
  return {low * low, high * high};
}
low_high with_all(const low_high& a, const low_high& b) {
  return {std::min(a.low, b.low), std::max(a.high, b.high)};
}
low_high cross(const low_high& x, const low_high& y, const xy& a) {
  return plus(times(x, a.y), times(y, -a.x));
}

// Bounds of the norm's second derivative in units of v v^T, v = (-y, x); infinite above if it is
// not bounded. The power of (|x y| / N^2) falls for p < 2.
low_high bend(const gauge& g, const low_high& x, const low_high& y) {
  const double near = g({least_magnitude(x), least_magnitude(y)});
  const double far = g({most_magnitude(x), most_magnitude(y)});
  if (g.kind() == gauge::shape::euclidean) return {1 / (far * far * far), 1 / (near * near * near)};
  const double e = g.p() - 2;
  const double low = least_magnitude(x) * least_magnitude(y) / (far * far);
  const double high = std::min(1.0, most_magnitude(x) * most_magnitude(y) / (near * near));
  const auto power = [e](double ratio) { return std::pow(ratio, e); };
  return {(e + 1) * power(e < 0 ? high : low) / (far * far * far),
          (e + 1) * power(e < 0 ? low : high) / (near * near * near)};
}

}  // namespace

far_view::far_view(const problem& p, const distance_table& table, double reach)
    : problem_(p), table_(table), reach_(reach), extent_(table.extent()) {
  std::map<std::pair<std::uint32_t, double>, std::vector<std::uint32_t>> found;
  for (std::uint32_t k = 0; k < table.size(); ++k)
    found[{table.block_of[k], table.weight[k]}].push_back(k);
  for (auto& [name, slots] : found) kinds_.push_back({name.first, name.second, std::move(slots)});
  if (extent_ > 0) slower_ = std::ldexp(1, std::ilogb(extent_) - std::ilogb(reach));
}

void far_view::look(const far_box& b) {
  for (far_kind& k : kinds_) {
    k.growth = growth_of(k, b);
    k.low.clear();
    k.high.clear();
    for (const std::uint32_t slot : k.slots) {
      const low_high e = excess(k, slot, b);
      k.low.push_back(e.low);
      k.high.push_back(e.high);
    }
    std::sort(k.low.begin(), k.low.end());
    std::sort(k.high.begin(), k.high.end());
  }
}

// The gauge is convex along the side, and a norm is least where the coordinate is.
low_high far_view::growth_of(const far_kind& k, const far_box& b) const {
  const gauge& g = problem_.gauge_of(table_.site[k.slots[0]]);
  const auto [x, y] = directions(b);
  const double most = std::max(g({x.low, y.low}), g({x.high, y.high}));
  if (g.kind() != gauge::shape::polyhedral)
    return {g({least_magnitude(x), least_magnitude(y)}), most};
  double least = 0;
  const gauge_block& block = table_.blocks[k.block];
  for (std::uint32_t e = 0; e < block.edges; ++e) {
    const xy& n = table_.edges[block.first_edge + e].normal;
    least = std::max(least, std::min(n.x * x.low + n.y * y.low, n.x * x.high + n.y * y.high));
  }
  return {std::min(least, most), most};
}

low_high far_view::along_slopes(const far_kind& k, const low_high& x, const low_high& y,
                                const xy& a) const {
  const gauge_block& block = table_.blocks[k.block];
  if (block.edges == 0) {
    const gauge& g = problem_.gauge_of(table_.site[k.slots[0]]);
    return plus(times(derivatives(g, x, y), -a.x), times(derivatives(g, y, x), -a.y));
  }
  const ball_edge* edges = table_.edges.data() + block.first_edge;
  const auto value = [&](const xy& n) { return plus(times(x, n.x), times(y, n.y)); };
  double surely = 0;
  for (std::uint32_t e = 0; e < block.edges; ++e)
    surely = std::max(surely, value(edges[e].normal).low);
  low_high slopes{std::numeric_limits<double>::infinity(),
                  -std::numeric_limits<double>::infinity()};
  for (std::uint32_t e = 0; e < block.edges; ++e) {
    const xy& n = edges[e].normal;
    const double size = std::fabs(n.x) * most_magnitude(x) + std::fabs(n.y) * most_magnitude(y);
    if (value(n).high < surely - kRounding * size) continue;
    const double along = -(n.x * a.x + n.y * a.y);
    slopes = {std::min(slopes.low, along), std::max(slopes.high, along)};
  }
  return slopes;
}

low_high far_view::euclidean_excess(const xy& a, const far_box& b) const {
  const auto [x, y] = directions(b);
  const low_high t{b.t.low / reach_, b.t.high / reach_};
  const low_high above =
      plus(times(t, a.x * a.x + a.y * a.y), plus(times(x, -2 * a.x), times(y, -2 * a.y)));
  const low_high below =
      plus(length(x, y), length(plus(x, times(t, -a.x)), plus(y, times(t, -a.y))));
  return {above.low / (above.low > 0 ? below.high : below.low),
          above.high / (above.high > 0 ? below.low : below.high)};
}

// For t > 0. At a place on the side it is (N(y - r a) - N(y)) / r, which grows with r, since the
// norm N is convex; along the side it changes by what N's slopes at y - r a and at y differ by.
low_high far_view::lp_excess(const gauge& g, const xy& a, const far_box& b) const {
  const auto [x, y] = directions(b);
  const double s = b.s.low + (b.s.high - b.s.low) / 2;
  const auto [at_x, at_y] = directions({b.side, {s, s}, b.t});
  const low_high r{b.t.low / reach_, b.t.high / reach_};
  const auto beside = [&, &x = at_x, &y = at_y](double way) {
    return (g({x.low - way * a.x, y.low - way * a.y}) - g({x.low, y.low})) / way;
  };
  const low_high to_x = sum_around(x, times(r, -a.x));
  const low_high to_y = sum_around(y, times(r, -a.y));
  const low_high there = b.side % 2 == 0 ? derivatives(g, to_y, to_x) : derivatives(g, to_x, to_y);
  const low_high here = b.side % 2 == 0 ? derivatives(g, y, x) : derivatives(g, x, y);
  const double turn = std::max({there.high - here.low, here.high - there.low, 0.0});
  const double more = (turn * (b.s.high - b.s.low) / 2 + kRounding) / r.low;
  return {beside(r.low) - more, beside(r.high) + more};
}

low_high far_view::excess(const far_kind& k, std::uint32_t slot, const far_box& b) const {
  const xy a{table_.x[slot], table_.y[slot]};
  if (table_.blocks[k.block].kind == gauge::shape::euclidean)
    return times(euclidean_excess(a, b), k.weight);
  const auto [x, y] = directions(b);
  const double wide = 2 * b.t.high * slower_ / (b.s.high - b.s.low);
  const double parts = std::ceil(std::clamp(wide, kLeastParts, kMostParts));
  low_high sum{0, 0};
  for (double j = 0; j < parts; ++j) {
    const low_high part{b.t.low * j / parts / reach_, b.t.high * (j + 1) / parts / reach_};
    sum = plus(sum, along_slopes(k, sum_around(x, times(part, -a.x)),
                                 sum_around(y, times(part, -a.y)), a));
  }
  sum = times(sum, 1 / parts);
  if (table_.blocks[k.block].kind == gauge::shape::lp && b.t.low > 0) {
    const low_high other = lp_excess(problem_.gauge_of(table_.site[slot]), a, b);
    sum = {std::max(sum.low, other.low), std::min(sum.high, other.high)};
  }
  return times(sum, k.weight);
}

// With the gauge G, its second derivative H, and r = t / reach: the excess is -G'(y) a + r / 2
// times a^T H a somewhere on the way from y to y - r a; it changes with s by -H a along the side,
// and with r by a^T H a / 2. On all of the way v a = y x a.
far_view::changes far_view::changes_of(const far_kind& k, std::uint32_t slot,
                                       const far_box& b) const {
  const xy a{table_.x[slot], table_.y[slot]};
  const gauge& g = problem_.gauge_of(table_.site[slot]);
  const auto [x, y] = directions(b);
  const low_high r{b.t.low / reach_, b.t.high / reach_};
  const auto way = [&a](const low_high& from_x, const low_high& from_y, const low_high& to) {
    return pair_of_ranges{with_all(from_x, plus(from_x, times(to, -a.x))),
                          with_all(from_y, plus(from_y, times(to, -a.y)))};
  };
  changes c{excess(k, slot, b), {}, {}, {}, true};
  const pair_of_ranges all = way(x, y, r);
  if (g.kind() == gauge::shape::polyhedral) {
    c.at_place = times(along_slopes(k, all.x, all.y, a), k.weight);
    return c;
  }
  const low_high bent = times(bend(g, all.x, all.y), k.weight);
  c.known = std::isfinite(bent.high);
  if (!c.known) return c;
  const low_high turn = cross(x, y, a);
  c.by_s = b.side % 2 == 0 ? times(product(product(bent, all.x), turn), -1)
                           : product(product(bent, all.y), turn);
  c.by_t = times(product(bent, square(turn)), 0.5 / reach_);
  const double s = b.s.low + (b.s.high - b.s.low) / 2;
  const auto [at_x, at_y] = directions({b.side, {s, s}, b.t});
  const low_high slopes =
      plus(times(derivatives(g, at_x, at_y), -a.x), times(derivatives(g, at_y, at_x), -a.y));
  c.at_place = times(slopes, k.weight);
  if (b.t.low > 0) {
    const pair_of_ranges near = way(at_x, at_y, {r.low, r.low});
    const double most = square(cross(at_x, at_y, a)).high;
    const low_high more = times(bend(g, near.x, near.y), k.weight * most * r.low / 2);
    const double apart =
        k.weight * (g({at_x.low - r.low * a.x, at_y.low - r.low * a.y}) - g({at_x.low, at_y.low})) /
        r.low;
    const double caution = k.weight * kRounding / r.low;
    c.at_place = {std::max(c.at_place.low + more.low, apart - caution),
                  std::min(c.at_place.high + more.high, apart + caution)};
  }
  return c;
}

}  // namespace planloc::detail
