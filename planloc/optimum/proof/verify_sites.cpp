#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <map>
#include <numeric>
#include <tuple>
#include <utility>

#include "planloc/optimum/proof/split_at_jumps.h"
#include "planloc/optimum/proof/verify_leaves.h"

namespace planloc::detail {

verified_sites::verified_sites(const problem& p, const xy& base) : problem_(p), base_(base) {
  for (const site& s : p.sites()) {
    position_.push_back(
        {around(mpq_class(s.x) - mpq_class(base.x)), around(mpq_class(s.y) - mpq_class(base.y))});
  }
  exact_normals_ = edge_normals(p.gauges());
  for (const std::vector<fraction_pair>& exact : exact_normals_) {
    std::vector<interval_pair>& rounded = normals_.emplace_back();
    double largest = 0;
    for (const fraction_pair& n : exact) {
      rounded.push_back({around(n.x), around(n.y)});
      largest =
          std::max({largest, magnitude(rounded.back().x).high, magnitude(rounded.back().y).high});
    }
    largest_normal_.push_back(largest);
  }
}

interval verified_sites::gauge_value(std::size_t i, const interval_pair& u) const {
  if (!polyhedral(i)) return detail::gauge_value(problem_.gauge_of(i), u);
  interval most(0);
  visit_edges_towards(gauge_of(i), u, [&](std::size_t e) {
    most = larger(most, dot(normals_[gauge_of(i)][e], u));
  });
  return most;
}

interval verified_sites::distance(std::size_t i, const interval_pair& at) const {
  return interval(problem_.sites()[i].weight) * gauge_value(i, offset(i, at));
}

interval_pair verified_sites::weighted_normal(std::size_t i, std::size_t edge) const {
  const interval w(problem_.sites()[i].weight);
  const interval_pair& n = normals_[gauge_of(i)][edge];
  return {w * n.x, w * n.y};
}

std::size_t verified_sites::likely_edge(std::size_t i, const xy& at) const {
  const xy u{at.x - position_[i].x.low, at.y - position_[i].y.low};
  std::size_t best = 0;
  double most = -1;
  const std::vector<interval_pair>& normals = normals_[gauge_of(i)];
  for (std::size_t e = 0; e < normals.size(); ++e) {
    const double value = normals[e].x.low * u.x + normals[e].y.low * u.y;
    if (value <= most) continue;
    most = value;
    best = e;
  }
  return best;
}

namespace {

// About the gradient of a gauge that is not polyhedral, times a factor of at least 1.
xy along_gradient(const gauge& g, const xy& u) {
  if (g.kind() == gauge::shape::euclidean) {
    const double size = g(u);
    return {u.x / size, u.y / size};
  }
  const bool x_larger = std::fabs(u.x) > std::fabs(u.y);
  const double ratio = x_larger ? u.y / u.x : u.x / u.y;
  const double small = std::pow(std::fabs(ratio), g.p() - 1);
  return {std::copysign(x_larger ? 1 : small, u.x), std::copysign(x_larger ? small : 1, u.y)};
}

}  // namespace

// A slope of dual norm at most 1 touches the norm from below: one that is nearly the gradient is
// shortened until its dual norm is surely at most 1.
interval_pair verified_sites::slope(std::size_t i, const xy& at) const {
  if (polyhedral(i)) return weighted_normal(i, likely_edge(i, at));
  const xy u{at.x - position_[i].x.low, at.y - position_[i].y.low};
  if (u == xy{0, 0}) return {interval(0), interval(0)};
  const gauge& g = problem_.gauge_of(i);
  const interval_pair inside = in_polar(g, along_gradient(g, u));
  const interval w(problem_.sites()[i].weight);
  return {w * inside.x, w * inside.y};
}

fraction_pair verified_sites::exact_offset(std::size_t i, const fraction_pair& at) const {
  const site& s = problem_.sites()[i];
  return {at.x + base_.x - s.x, at.y + base_.y - s.y};
}

std::size_t verified_sites::active_edge(std::size_t i, const fraction_pair& at,
                                        const interval_pair& near) const {
  std::size_t best = 0;
  std::size_t likely = 0;
  const interval_pair rounded = offset(i, near);
  visit_edges_towards(gauge_of(i), rounded, [&](std::size_t e) {
    if (likely++ == 0) best = e;
  });
  if (likely == 1) return best;
  const fraction_pair u = exact_offset(i, at);
  mpq_class most(-1);
  visit_edges_towards(gauge_of(i), rounded, [&](std::size_t e) {
    mpq_class value = dot(exact_normal(i, e), u);
    if (value <= most) return;
    most = std::move(value);
    best = e;
  });
  return best;
}

mpq_class verified_sites::distance(std::size_t i, const fraction_pair& at) const {
  const interval_pair near{around(at.x), around(at.y)};
  return dot(exact_normal(i, active_edge(i, at, near)), exact_offset(i, at)) *
         problem_.sites()[i].weight;
}

bool verified_sites::in_cone(std::size_t i, std::size_t edge, const xy& at) const {
  return detail::in_cone(problem_.gauge_of(i), edge, offset(i, {at.x, at.y}), [&] {
    return exact_offset(i, {mpq_class(at.x), mpq_class(at.y)});
  });
}

fraction_pair coordinates(const skewed_axes& axes, const fraction_pair& at) {
  const xy& u = axes.along;
  const xy& v = axes.across;
  const mpq_class area = mpq_class(u.x) * v.y - mpq_class(u.y) * v.x;
  return {(at.x * v.y - at.y * v.x) / area, (at.y * u.x - at.x * u.y) / area};
}

problem at_one_place(const problem& p) {
  std::vector<site> sites(p.sites().begin(), p.sites().end());
  for (site& s : sites) s.x = s.y = 0;
  return {
      std::move(sites), {p.gauges().begin(), p.gauges().end()}, order_weights(listed_weights(p))};
}

interval ordered_sum(const problem& p, std::vector<interval> distances) {
  std::vector<double> low, high;
  for (const interval& d : distances) {
    low.push_back(d.low);
    high.push_back(d.high);
  }
  std::sort(low.begin(), low.end());
  std::sort(high.begin(), high.end());
  interval sum;
  std::size_t k = 0;
  for (const order_run& r : p.runs()) {
    for (const std::size_t end = k + r.count; k < end; ++k)
      sum = sum + interval(r.weight) * interval(low[k], high[k]);
  }
  return sum;
}

void fraction_loads::add(std::size_t site, std::size_t edge, double lambda) {
  if (lambda == 0) return;
  const planloc::site& s = sites_.owner().sites()[site];
  const mpq_class w = mpq_class(lambda) * s.weight;
  const fraction_pair to_base = sites_.exact_offset(site, {0, 0});
  load& l = loads_[{s.gauge, edge}];
  l.normal = &sites_.exact_normal(site, edge);
  l.weight += w;
  l.x += w * to_base.x;
  l.y += w * to_base.y;
}

mpq_class fraction_loads::value(const fraction_pair& at) const {
  mpq_class sum;
  for (const auto& [key, l] : loads_)
    sum += dot(*l.normal, {l.weight * at.x + l.x, l.weight * at.y + l.y});
  return sum;
}

affine_function fraction_loads::sum() const {
  affine_function f;
  for (const auto& [key, l] : loads_) {
    f.slope.x += l.weight * l.normal->x;
    f.slope.y += l.weight * l.normal->y;
    f.at_origin += dot(*l.normal, {l.x, l.y});
  }
  return f;
}

namespace {

// Of the exact distances that are kept while distances are compared.
constexpr std::size_t kMostKept = 1024;

// A site, its edge in force at a place and its distance there.
struct placed {
  std::uint32_t site, edge;
  interval near;
};

class nearer_at {
 public:
  nearer_at(const verified_sites& sites, const fraction_pair& at) : sites_(sites), at_(at) {}

  bool operator()(const placed& q, const placed& r) {
    if (q.near.high < r.near.low) return true;
    if (q.near.low > r.near.high) return false;
    const term of_q = term_of(q);
    const term of_r = term_of(r);
    if (of_q == of_r) return false;
    if (exact_.size() + 2 > kMostKept) exact_.clear();
    return exactly(q, of_q) < exactly(r, of_r);
  }

 private:
  // Many sites may share one: a position, its weight, its gauge and the edge in force.
  using term = std::tuple<double, double, double, std::uint32_t, std::uint32_t>;

  term term_of(const placed& q) const {
    const site& s = sites_.owner().sites()[q.site];
    return {s.x, s.y, s.weight, s.gauge, q.edge};
  }
  const mpq_class& exactly(const placed& q, const term& t) {
    const auto [it, is_new] = exact_.try_emplace(t);
    if (is_new) {
      it->second = dot(sites_.exact_normal(q.site, q.edge), sites_.exact_offset(q.site, at_)) *
                   sites_.owner().sites()[q.site].weight;
    }
    return it->second;
  }

  const verified_sites& sites_;
  const fraction_pair& at_;
  std::map<term, mpq_class> exact_;
};

}  // namespace

void add_in_order(const verified_sites& sites, std::span<const std::uint32_t> which,
                  std::span<const order_run> runs, const fraction_pair& at, fraction_loads& loads) {
  const interval_pair rounded{around(at.x), around(at.y)};
  std::vector<placed> order;
  order.reserve(which.size());
  for (const std::uint32_t i : which) {
    const std::size_t e = sites.active_edge(i, at, rounded);
    const interval distance = dot(sites.weighted_normal(i, e), sites.offset(i, rounded));
    order.push_back({i, static_cast<std::uint32_t>(e), distance});
  }
  nearer_at nearer(sites, at);
  split_at_jumps(order, runs, std::ref(nearer));
  std::size_t k = 0;
  for (const order_run& r : runs) {
    for (const std::size_t end = k + r.count; k < end; ++k)
      loads.add(order[k].site, order[k].edge, r.weight);
  }
}

mpq_class ordered_sum(const verified_sites& sites, const fraction_pair& at) {
  std::vector<std::uint32_t> all(sites.owner().sites().size());
  std::iota(all.begin(), all.end(), 0U);
  fraction_loads loads(sites);
  add_in_order(sites, all, sites.owner().runs(), at, loads);
  return loads.value(at);
}

}  // namespace planloc::detail
