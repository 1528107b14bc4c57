#include "planloc/optimum/proof/efficient_place.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace planloc::detail {

namespace {

constexpr std::uint32_t kTied = std::numeric_limits<std::uint32_t>::max();

fraction_pair to_fractions(const xy& v) { return {mpq_class(v.x), mpq_class(v.y)}; }

mpq_class dot(const fraction_pair& a, const fraction_pair& b) { return a.x * b.x + a.y * b.y; }
mpq_class cross(const fraction_pair& a, const fraction_pair& b) { return a.x * b.y - a.y * b.x; }

double size_of(const xy& v) { return std::fabs(v.x) + std::fabs(v.y); }

// Adjacent terms first, and never in lowest terms: the denominators of different edges have nothing
// in common.
template <std::size_t N>
fractions<N> sum_of(std::vector<fractions<N>> terms) {
  if (terms.empty()) return {};
  for (std::size_t width = 1; width < terms.size(); width *= 2) {
    for (std::size_t k = 0; k + width < terms.size(); k += 2 * width) {
      fractions<N>& a = terms[k];
      const fractions<N>& b = terms[k + width];
      for (std::size_t j = 0; j < N; ++j)
        a.numerator[j] = a.numerator[j] * b.denominator + b.numerator[j] * a.denominator;
      a.denominator *= b.denominator;
    }
  }
  return std::move(terms[0]);
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
  for (const gauge& g : p.gauges()) {
    const std::span<const xy> v = g.vertices();
    std::vector<fraction_pair>& normals = normals_.emplace_back();
    for (std::size_t j = 0; j < v.size(); ++j) {
      const fraction_pair a = to_fractions(v[j]);
      const fraction_pair b = to_fractions(v[(j + 1) % v.size()]);
      const mpq_class area = cross(a, b);
      normals.push_back({(b.y - a.y) / area, (a.x - b.x) / area});
    }
    sums_.emplace_back(v.size());
  }
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
  return {a.x + step * v.x, a.y + step * v.y};
}

// `high` + `low` is the place up to 2^-104 of itself, so u is off by at most 2^-51 |u| + 2^-102
// |high|, and its cross product with v by |v| times this and the roundings of the products.
efficient_places::active_edges efficient_places::edges_at(std::size_t i, const fraction_pair& at,
                                                          const xy& high, const xy& low) const {
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
  const fraction_pair d = to_fractions(direction);
  const auto edges = static_cast<std::uint32_t>(normals_[problem_.sites()[i].gauge].size());
  std::uint32_t best = tie.first;
  mpq_class most = dot(normal(i, best), d);
  for (std::uint32_t k = 1; k < tie.count; ++k) {
    const std::uint32_t e = (tie.first + k) % edges;
    const mpq_class rise = dot(normal(i, e), d);
    if (rise <= most) continue;
    most = rise;
    best = e;
  }
  return best;
}

void efficient_places::add(std::size_t i, std::uint32_t edge, int sign) {
  const bicriteria_site& s = problem_.sites()[i];
  edge_sum& sum = sums_[s.gauge][edge];
  for (std::size_t k = 0; k < 2; ++k) {
    const mpq_class w(sign * problem_.weight(k, i));
    sum.weight[k] += w;
    sum.x[k] += w * s.x;
    sum.y[k] += w * s.y;
  }
  if (sign > 0) {
    ++sum.sites;
  } else {
    --sum.sites;
  }
}

efficient_place efficient_places::look(const fraction_pair& at) {
  efficient_place place{at, {}, {}};
  const xy high{at.x.get_d(), at.y.get_d()};
  const xy low{mpq_class(at.x - high.x).get_d(), mpq_class(at.y - high.y).get_d()};
  std::vector<std::pair<std::size_t, active_edges>> tied;
  for (std::size_t i = 0; i < edge_.size(); ++i) {
    const active_edges now = edges_at(i, at, high, low);
    const std::uint32_t edge = now.count == 1 ? now.first : kTied;
    if (edge == kTied) tied.emplace_back(i, now);
    if (edge == edge_[i]) continue;
    if (edge_[i] != kTied) add(i, edge_[i], -1);
    if (edge != kTied) add(i, edge, 1);
    edge_[i] = edge;
  }
  // Of the sites that are not tied: two slopes and two values.
  std::vector<fractions<6>> terms;
  const auto add_term = [&](const fraction_pair& n, const edge_sum& s) {
    std::array<mpq_class, 6> t;
    for (std::size_t k = 0; k < 2; ++k) {
      t[k] = n.x * s.weight[k];
      t[2 + k] = n.y * s.weight[k];
      t[4 + k] = n.x * (s.weight[k] * at.x - s.x[k]) + n.y * (s.weight[k] * at.y - s.y[k]);
    }
    terms.push_back(over_one_denominator(t));
  };
  for (std::size_t g = 0; g < sums_.size(); ++g) {
    for (std::size_t e = 0; e < sums_[g].size(); ++e) {
      if (sums_[g][e].sites > 0) add_term(normals_[g][e], sums_[g][e]);
    }
  }
  const fractions<6> rest = sum_of(std::move(terms));
  std::vector<fractions<2>> values{{{rest.numerator[4], rest.numerator[5]}, rest.denominator}};
  for (const auto& [i, tie] : tied) {
    const bicriteria_site& s = problem_.sites()[i];
    const mpq_class d = dot(normal(i, tie.first), {at.x - s.x, at.y - s.y});
    values.push_back(over_one_denominator<2>({d * s.weight1, d * s.weight2}));
    const std::span<const xy> v = problem_.gauge_of(i).vertices();
    if (tie.count == v.size()) {
      for (const xy& ray : v) place.bends.push_back({ray, {}});
    } else {
      const xy& ray = v[(tie.first + 1) % v.size()];
      place.bends.push_back({ray, {}});
      place.bends.push_back({{-ray.x, -ray.y}, {}});
    }
  }
  place.values = sum_of(std::move(values));
  for (bend& b : place.bends) {
    const fraction_pair d = to_fractions(b.direction);
    std::vector<fractions<2>> rises;
    const fractions<2> step = over_one_denominator<2>({d.x, d.y});
    rises.push_back(
        {{rest.numerator[0] * step.numerator[0] + rest.numerator[2] * step.numerator[1],
          rest.numerator[1] * step.numerator[0] + rest.numerator[3] * step.numerator[1]},
         rest.denominator * step.denominator});
    for (const auto& [i, tie] : tied) {
      const mpq_class r = dot(normal(i, edge_towards(i, tie, b.direction)), d);
      rises.push_back(
          over_one_denominator<2>({r * problem_.weight(0, i), r * problem_.weight(1, i)}));
    }
    b.rise = sum_of(std::move(rises)).numerator;
  }
  return place;
}

}  // namespace planloc::detail
