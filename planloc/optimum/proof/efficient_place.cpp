#include "planloc/optimum/proof/efficient_place.h"

#include <algorithm>
#include <bit>
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

template <std::size_t N>
fractions<N> sum_of(const fractions<N>& a, const fractions<N>& b) {
  fractions<N> sum;
  for (std::size_t j = 0; j < N; ++j)
    sum.numerator[j] = a.numerator[j] * b.denominator + b.numerator[j] * a.denominator;
  sum.denominator = a.denominator * b.denominator;
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
  tree_.resize(2 * std::bit_ceil(edges));
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
  for (std::size_t k = 0; k < 2; ++k) {
    const mpq_class w(sign * problem_.weight(k, i));
    sum.weight[k] += w;
    sum.x[k] += w * s.x;
    sum.y[k] += w * s.y;
  }
  sum.changed = true;
}

// Not in lowest terms, since the denominators of different edges have nothing in common; and by
// halves, so that most of the sums are of few edges, and few change from place to place.
void efficient_places::update_sums() {
  std::size_t node = tree_.size() / 2;
  std::vector<std::size_t> changed;
  for (std::size_t g = 0; g < sums_.size(); ++g) {
    for (std::size_t e = 0; e < sums_[g].size(); ++e, ++node) {
      edge_sum& s = sums_[g][e];
      if (!s.changed) continue;
      s.changed = false;
      const fraction_pair& n = normals_[g][e];
      std::array<mpq_class, 6> term;
      for (std::size_t k = 0; k < 2; ++k) {
        term[k] = n.x * s.weight[k];
        term[2 + k] = n.y * s.weight[k];
        term[4 + k] = -(n.x * s.x[k] + n.y * s.y[k]);
      }
      tree_[node] = over_one_denominator(term);
      changed.push_back(node);
    }
  }
  while (!changed.empty() && changed.front() > 1) {
    std::vector<std::size_t> above;
    for (const std::size_t k : changed) {
      if (above.empty() || above.back() != k / 2) above.push_back(k / 2);
    }
    for (const std::size_t k : above) tree_[k] = sum_of(tree_[2 * k], tree_[2 * k + 1]);
    changed = std::move(above);
  }
}

std::vector<efficient_places::tied_site> efficient_places::move_to(const fraction_pair& at) {
  const xy high{at.x.get_d(), at.y.get_d()};
  const xy low{mpq_class(at.x - high.x).get_d(), mpq_class(at.y - high.y).get_d()};
  std::vector<tied_site> tied;
  for (std::size_t i = 0; i < edge_.size(); ++i) {
    const active_edges now = edges_at(i, at, high, low);
    const std::uint32_t edge = now.count == 1 ? now.first : kTied;
    if (edge == kTied) tied.push_back({i, now});
    if (edge == edge_[i]) continue;
    if (edge_[i] != kTied) add(i, edge_[i], -1);
    if (edge != kTied) add(i, edge, 1);
    edge_[i] = edge;
  }
  update_sums();
  return tied;
}

fractions<2> efficient_places::values_at(const fraction_pair& at,
                                         const std::vector<tied_site>& tied) const {
  const affine_sums& rest = tree_[1];
  const fractions<2> step = over_one_denominator<2>({at.x, at.y});
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

std::array<mpz_class, 2> efficient_places::rise_along(const xy& direction,
                                                      const std::vector<tied_site>& tied) const {
  const affine_sums& rest = tree_[1];
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

}  // namespace planloc::detail
