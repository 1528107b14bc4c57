#include "planloc/optimum/proof/efficient_place.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>
#include <utility>

#include "planloc/optimum/proof/gauge_interval.h"

namespace planloc::detail {

namespace {

constexpr std::uint32_t kTied = std::numeric_limits<std::uint32_t>::max();

fraction_pair to_fractions(const xy& v) { return {mpq_class(v.x), mpq_class(v.y)}; }

mpq_class dot(const fraction_pair& a, const fraction_pair& b) { return a.x * b.x + a.y * b.y; }
mpq_class cross(const fraction_pair& a, const fraction_pair& b) { return a.x * b.y - a.y * b.x; }

double size_of(const xy& v) { return std::fabs(v.x) + std::fabs(v.y); }

template <std::size_t N>
fractions<N> sum_of(const fractions<N>& a, const fractions<N>& b) {
  fractions<N> sum;
  for (std::size_t j = 0; j < N; ++j)
    sum.numerator[j] = a.numerator[j] * b.denominator + b.numerator[j] * a.denominator;
  sum.denominator = a.denominator * b.denominator;
  return sum;
}

template <std::size_t N>
std::array<interval, N> sum_of(const std::array<interval, N>& a, const std::array<interval, N>& b) {
  std::array<interval, N> sum;
  for (std::size_t j = 0; j < N; ++j) sum[j] = a[j] + b[j];
  return sum;
}

template <std::size_t N>
fractions<N> over_one_denominator(const std::array<mpq_class, N>& q) {
  fractions<N> result;
  for (const mpq_class& f : q) result.denominator = lcm(result.denominator, f.get_den());
  for (std::size_t k = 0; k < N; ++k)
    result.numerator[k] = q[k].get_num() * (result.denominator / q[k].get_den());
  return result;
}

}  // namespace

efficient_places::efficient_places(const bicriteria_problem& p)
    : problem_(p), edge_(p.sites().size(), kTied) {
  std::size_t edges = 0;
  for (const gauge& g : p.gauges()) {
    const std::span<const xy> v = g.vertices();
    std::vector<fraction_pair>& normals = normals_.emplace_back();
    std::vector<xy>& rounded = rounded_normals_.emplace_back();
    for (std::size_t j = 0; j < v.size(); ++j) {
      normals.push_back(exact_edge_normal(g, j));
      rounded.push_back({normals.back().x.get_d(), normals.back().y.get_d()});
    }
    sums_.emplace_back(v.size());
    edges += v.size();
  }
  base_ = to_fractions({p.sites()[0].x, p.sites()[0].y});
  near_tree_.resize(2 * std::bit_ceil(edges));
  exact_tree_.resize(near_tree_.size());
}

fraction_pair efficient_places::crossing(const std::array<ray_line, 2>& lines) const {
  for (const ray_line& l : lines) {
    if (l.site >= problem_.sites().size() ||
        l.vertex >= problem_.gauge_of(l.site).vertices().size())
      refuse("a corner lies on a line that does not exist");
  }
  const auto position = [this](std::uint32_t i) {
    return to_fractions({problem_.sites()[i].x, problem_.sites()[i].y});
  };
  const fraction_pair a = position(lines[0].site);
  const fraction_pair b = position(lines[1].site);
  const fraction_pair v =
      to_fractions(problem_.gauge_of(lines[0].site).vertices()[lines[0].vertex]);
  const fraction_pair w =
      to_fractions(problem_.gauge_of(lines[1].site).vertices()[lines[1].vertex]);
  const mpq_class area = cross(v, w);
  if (sgn(area) == 0) refuse("the lines of a corner are parallel");
  const mpq_class step = cross({b.x - a.x, b.y - a.y}, w) / area;
  const fraction_pair at{a.x + step * v.x, a.y + step * v.y};
  if (abs(at.x) > kMostInClaim || abs(at.y) > kMostInClaim) refuse("a corner is too far away");
  return at;
}

efficient_places::rounded_place::rounded_place(const fraction_pair& exact)
    : high{exact.x.get_d(), exact.y.get_d()},
      low{mpq_class(exact.x - high.x).get_d(), mpq_class(exact.y - high.y).get_d()} {}

// `high` + `low` is the place up to 2^-104 of itself, so u is off by at most 2^-51 |u| + 2^-102
// |high|, and its cross product with v by |v| times this and the roundings of the products.
efficient_places::active_edges efficient_places::edges_at(std::size_t i, const fraction_pair& at,
                                                          const rounded_place& rounded) const {
  const auto& [high, low] = rounded;
  const bicriteria_site& s = problem_.sites()[i];
  const std::span<const xy> v = problem_.gauge_of(i).vertices();
  const xy u{(high.x - s.x) + low.x, (high.y - s.y) + low.y};
  const double doubt = 0x1p-49 * size_of(u) + 0x1p-100 * size_of(high);
  const auto surely_inside = [&](std::size_t e) {
    const xy& a = v[e];
    const xy& b = v[e + 1 == v.size() ? 0 : e + 1];
    constexpr double kUnderflow = 0x1p-900;
    return a.x * u.y - a.y * u.x > doubt * size_of(a) + kUnderflow &&
           u.x * b.y - u.y * b.x > doubt * size_of(b) + kUnderflow;
  };
  if (edge_[i] != kTied && surely_inside(edge_[i])) return {edge_[i], 1};
  for (std::uint32_t e = 0; e < v.size(); ++e) {
    if (surely_inside(e)) return {e, 1};
  }
  return exact_edges_at(i, at);
}

efficient_places::active_edges efficient_places::exact_edges_at(std::size_t i,
                                                                const fraction_pair& at) const {
  const bicriteria_site& s = problem_.sites()[i];
  const std::vector<fraction_pair>& normals = normals_[s.gauge];
  const auto edges = static_cast<std::uint32_t>(normals.size());
  const fraction_pair u{at.x - s.x, at.y - s.y};
  if (sgn(u.x) == 0 && sgn(u.y) == 0) return {0, edges};
  std::vector<mpq_class> height;
  for (const fraction_pair& n : normals) height.push_back(dot(n, u));
  const mpq_class most = *std::max_element(height.begin(), height.end());
  std::uint32_t first = 0;
  while (height[first] != most || height[(first + edges - 1) % edges] == most) ++first;
  return {first, height[(first + 1) % edges] == most ? 2U : 1U};
}

std::uint32_t efficient_places::edge_towards(std::size_t i, const active_edges& tie,
                                             const xy& direction) const {
  const std::vector<xy>& rounded = rounded_normals_[problem_.sites()[i].gauge];
  const auto edge = [&](std::uint32_t k) {
    return static_cast<std::uint32_t>((tie.first + k) % rounded.size());
  };
  // In doubles, off by less than `doubt`: a unit in the last place of each normal and product, and
  // one of the sum; or what is below the least numbers, times a coordinate of a direction.
  const auto bounds = [&](std::uint32_t e) {
    const double x = rounded[e].x * direction.x;
    const double y = rounded[e].y * direction.y;
    const double doubt = 0x1p-50 * (std::fabs(x) + std::fabs(y)) + 0x1p-900;
    return std::pair(x + y - doubt, x + y + doubt);
  };
  double surely = -std::numeric_limits<double>::infinity();
  for (std::uint32_t k = 0; k < tie.count; ++k) surely = std::max(surely, bounds(edge(k)).first);
  std::vector<std::uint32_t> likely;
  for (std::uint32_t k = 0; k < tie.count; ++k) {
    if (bounds(edge(k)).second >= surely) likely.push_back(edge(k));
  }
  if (likely.size() == 1) return likely[0];
  const fraction_pair d = to_fractions(direction);
  return *std::max_element(likely.begin(), likely.end(), [&](std::uint32_t e, std::uint32_t f) {
    return dot(normal(i, e), d) < dot(normal(i, f), d);
  });
}

void efficient_places::add(std::size_t i, std::uint32_t edge, int sign) {
  const bicriteria_site& s = problem_.sites()[i];
  edge_sum& sum = sums_[s.gauge][edge];
  const mpq_class x = s.x - base_.x;
  const mpq_class y = s.y - base_.y;
  for (std::size_t k = 0; k < 2; ++k) {
    const mpq_class w(sign * problem_.weight(k, i));
    sum.weight[k] += w;
    sum.x[k] += w * x;
    sum.y[k] += w * y;
  }
  sum.changed = sum.exact_changed = true;
}

std::array<mpq_class, 6> efficient_places::term_of(std::size_t gauge, std::size_t edge) const {
  const edge_sum& s = sums_[gauge][edge];
  const fraction_pair& n = normals_[gauge][edge];
  std::array<mpq_class, 6> term;
  for (std::size_t k = 0; k < 2; ++k) {
    term[k] = n.x * s.weight[k];
    term[2 + k] = n.y * s.weight[k];
    term[4 + k] = -(n.x * s.x[k] + n.y * s.y[k]);
  }
  return term;
}

void efficient_places::update_near_sums() {
  update_tree(near_tree_, &edge_sum::changed, [&](std::size_t g, std::size_t e) {
    const std::array<mpq_class, 6> term = term_of(g, e);
    near_sums near;
    for (std::size_t k = 0; k < 6; ++k) near[k] = enclosed(term[k]);
    return near;
  });
}

// Not in lowest terms, since the denominators of different edges have nothing in common; and by
// halves, so that most of the sums are of few edges, and few change from place to place.
void efficient_places::update_exact_sums() {
  update_tree(exact_tree_, &edge_sum::exact_changed,
              [&](std::size_t g, std::size_t e) { return over_one_denominator(term_of(g, e)); });
}

template <class Sums, class Term>
void efficient_places::update_tree(std::vector<Sums>& tree, bool edge_sum::*is_changed,
                                   const Term& term) {
  std::size_t node = tree.size() / 2;
  std::vector<std::size_t> changed;
  for (std::size_t g = 0; g < sums_.size(); ++g) {
    for (std::size_t e = 0; e < sums_[g].size(); ++e, ++node) {
      bool& now = sums_[g][e].*is_changed;
      if (!now) continue;
      now = false;
      tree[node] = term(g, e);
      changed.push_back(node);
    }
  }
  while (!changed.empty() && changed.front() > 1) {
    std::vector<std::size_t> above;
    for (const std::size_t k : changed) {
      if (above.empty() || above.back() != k / 2) above.push_back(k / 2);
    }
    for (const std::size_t k : above) tree[k] = sum_of(tree[2 * k], tree[2 * k + 1]);
    changed = std::move(above);
  }
}

std::vector<efficient_places::tied_site> efficient_places::move_to(const fraction_pair& at) {
  const rounded_place rounded(at);
  std::vector<tied_site> tied;
  for (std::size_t i = 0; i < edge_.size(); ++i) {
    const active_edges now = edges_at(i, at, rounded);
    const std::uint32_t edge = now.count == 1 ? now.first : kTied;
    if (edge == kTied) tied.push_back({i, now});
    if (edge == edge_[i]) continue;
    if (edge_[i] != kTied) add(i, edge_[i], -1);
    if (edge != kTied) add(i, edge, 1);
    edge_[i] = edge;
  }
  return tied;
}

bool efficient_places::linear_between(const fraction_pair& a, const fraction_pair& b) const {
  const rounded_place near_a(a);
  const rounded_place near_b(b);
  for (std::size_t i = 0; i < edge_.size(); ++i) {
    const active_edges at_a = edges_at(i, a, near_a);
    const active_edges at_b = edges_at(i, b, near_b);
    const auto edges = static_cast<std::uint32_t>(problem_.gauge_of(i).vertices().size());
    bool shared = false;
    for (std::uint32_t k = 0; k < at_a.count && !shared; ++k)
      shared = (at_a.first + k + edges - at_b.first) % edges < at_b.count;
    if (!shared) return false;
  }
  return true;
}

std::array<interval, 2> efficient_places::values_at(const fraction_pair& at,
                                                    const std::vector<tied_site>& tied) const {
  const near_sums& rest = near_tree_[1];
  const interval x = enclosed(at.x - base_.x);
  const interval y = enclosed(at.y - base_.y);
  std::array<interval, 2> values;
  for (std::size_t k = 0; k < 2; ++k) values[k] = rest[k] * x + rest[2 + k] * y + rest[4 + k];
  for (const auto& [i, edges] : tied) {
    const bicriteria_site& s = problem_.sites()[i];
    const interval d = enclosed(dot(normal(i, edges.first), {at.x - s.x, at.y - s.y}));
    for (std::size_t k = 0; k < 2; ++k) values[k] = values[k] + d * problem_.weight(k, i);
  }
  return values;
}

std::array<interval, 2> efficient_places::rise_along(const xy& direction,
                                                     const std::vector<tied_site>& tied) const {
  const near_sums& rest = near_tree_[1];
  std::array<interval, 2> rise;
  for (std::size_t k = 0; k < 2; ++k) rise[k] = rest[k] * direction.x + rest[2 + k] * direction.y;
  const fraction_pair d = to_fractions(direction);
  for (const auto& [i, edges] : tied) {
    const interval r = enclosed(dot(normal(i, edge_towards(i, edges, direction)), d));
    for (std::size_t k = 0; k < 2; ++k) rise[k] = rise[k] + r * problem_.weight(k, i);
  }
  return rise;
}

fractions<2> efficient_places::exact_values_at(const fraction_pair& at,
                                               const std::vector<tied_site>& tied) const {
  const affine_sums& rest = exact_tree_[1];
  const fractions<2> step = over_one_denominator<2>({at.x - base_.x, at.y - base_.y});
  fractions<2> values;
  for (std::size_t k = 0; k < 2; ++k) {
    values.numerator[k] = rest.numerator[k] * step.numerator[0] +
                          rest.numerator[2 + k] * step.numerator[1] +
                          rest.numerator[4 + k] * step.denominator;
  }
  values.denominator = rest.denominator * step.denominator;
  for (const auto& [i, edges] : tied) {
    const bicriteria_site& s = problem_.sites()[i];
    const mpq_class d = dot(normal(i, edges.first), {at.x - s.x, at.y - s.y});
    values = sum_of(values, over_one_denominator<2>({d * s.weight1, d * s.weight2}));
  }
  return values;
}

std::array<mpz_class, 2> efficient_places::exact_rise_along(
    const xy& direction, const std::vector<tied_site>& tied) const {
  const affine_sums& rest = exact_tree_[1];
  const fraction_pair d = to_fractions(direction);
  const fractions<2> step = over_one_denominator<2>({d.x, d.y});
  fractions<2> rise;
  for (std::size_t k = 0; k < 2; ++k) {
    rise.numerator[k] =
        rest.numerator[k] * step.numerator[0] + rest.numerator[2 + k] * step.numerator[1];
  }
  rise.denominator = rest.denominator * step.denominator;
  for (const auto& [i, edges] : tied) {
    const mpq_class r = dot(normal(i, edge_towards(i, edges, direction)), d);
    rise = sum_of(rise,
                  over_one_denominator<2>({r * problem_.weight(0, i), r * problem_.weight(1, i)}));
  }
  return rise.numerator;
}

efficient_place efficient_places::look(const fraction_pair& at) {
  const std::vector<tied_site> tied = move_to(at);
  update_near_sums();
  efficient_place place{at, values_at(at, tied), {}};
  const auto add_bend = [&](const xy& direction) {
    place.bends.push_back({direction, rise_along(direction, tied)});
  };
  std::vector<bool> all_rays(problem_.gauges().size());  // of a gauge with a site at the place
  for (const auto& [i, edges] : tied) {
    const std::span<const xy> v = problem_.gauge_of(i).vertices();
    if (edges.count == v.size()) {
      const std::uint32_t g = problem_.sites()[i].gauge;
      if (all_rays[g]) continue;
      all_rays[g] = true;
      for (const xy& ray : v) add_bend(ray);
    } else {
      const xy& ray = v[(edges.first + 1) % v.size()];
      add_bend(ray);
      add_bend({-ray.x, -ray.y});
    }
  }
  return place;
}

exact_efficient_place efficient_places::look_exactly(const efficient_place& place) {
  const std::vector<tied_site> tied = move_to(place.at);
  update_exact_sums();
  exact_efficient_place exact{exact_values_at(place.at, tied), {}};
  for (const bend& b : place.bends) exact.rises.push_back(exact_rise_along(b.direction, tied));
  return exact;
}

}  // namespace planloc::detail
