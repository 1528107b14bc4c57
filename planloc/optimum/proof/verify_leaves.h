// What the check of a branch and bound knows of the sites of a problem, in intervals and in
// fractions. Internal to `verify`.
#ifndef PLANLOC_OPTIMUM_PROOF_VERIFY_LEAVES_H_
#define PLANLOC_OPTIMUM_PROOF_VERIFY_LEAVES_H_

#include <array>
#include <cstdint>
#include <map>
#include <span>
#include <utility>
#include <vector>

#include "planloc/optimum/proof/gauge_interval.h"
#include "planloc/optimum/proof/verify_parts.h"

namespace planloc::detail {

inline interval around(const mpq_class& q) { return {rounded_down(q), rounded_up(q)}; }

inline mpq_class dot(const fraction_pair& a, const fraction_pair& b) {
  return a.x * b.x + a.y * b.y;
}

// Places are relative to `base`.
class verified_sites {
 public:
  verified_sites(const problem& p, const xy& base);

  const problem& owner() const { return problem_; }
  bool polyhedral(std::size_t i) const {
    return problem_.gauge_of(i).kind() == gauge::shape::polyhedral;
  }
  std::size_t edges(std::size_t i) const { return exact_normals_[gauge_of(i)].size(); }

  interval distance(std::size_t i, const interval_pair& at) const;
  // The slope of a linear function of x - position that is nowhere above the distance, and nearly
  // touches it at a place. Holds a slope that is surely one.
  interval_pair slope(std::size_t i, const xy& at) const;
  interval_pair offset(std::size_t i, const interval_pair& at) const {
    return {difference(at.x, position_[i].x), difference(at.y, position_[i].y)};
  }
  interval_pair weighted_normal(std::size_t i, std::size_t edge) const;

  // Polyhedral gauges, without loss.
  mpq_class distance(std::size_t i, const fraction_pair& at) const;
  // `near` holds `at`.
  std::size_t active_edge(std::size_t i, const fraction_pair& at, const interval_pair& near) const;
  fraction_pair exact_offset(std::size_t i, const fraction_pair& at) const;
  const fraction_pair& exact_normal(std::size_t i, std::size_t edge) const {
    return exact_normals_[gauge_of(i)][edge];
  }
  // Whether the place is in the cone of the edge.
  bool in_cone(std::size_t i, std::size_t edge, const xy& at) const;
  std::size_t likely_edge(std::size_t i, const xy& at) const;
  // All edges but those that others surely beat at a place.
  template <class Visitor>
  void visit_likely_edges(std::size_t i, const interval_pair& at, Visitor visit) const {
    visit_edges_towards(gauge_of(i), offset(i, at), visit);
  }

 private:
  std::uint32_t gauge_of(std::size_t i) const { return problem_.sites()[i].gauge; }
  // 0 of equal numbers, so that f is 0 where all sites are.
  static interval difference(const interval& a, const interval& b) {
    return a.low == b.high && a.high == b.low ? 0 : a - b;
  }
  interval gauge_value(std::size_t i, const interval_pair& u) const;
  template <class Visitor>
  void visit_edges_towards(std::uint32_t gauge, const interval_pair& u, Visitor visit) const;

  const problem& problem_;
  xy base_;
  std::vector<interval_pair> position_;
  std::vector<std::vector<fraction_pair>> exact_normals_;  // by gauge
  std::vector<std::vector<interval_pair>> normals_;
  std::vector<double> largest_normal_;  // by gauge, in the maximum norm
};

// All edges but those that others surely beat at u. In doubles, at the low ends: a term is off by
// the width of u's interval times the normal, by 2^-52 of itself for the normal's width, and by its
// roundings.
template <class Visitor>
void verified_sites::visit_edges_towards(std::uint32_t gauge, const interval_pair& u,
                                         Visitor visit) const {
  const std::vector<interval_pair>& normals = normals_[gauge];
  const auto at_low_ends = [&](const interval_pair& n) {
    return n.x.low * u.x.low + n.y.low * u.y.low;
  };
  double most = 0;
  for (const interval_pair& n : normals) most = std::max(most, at_low_ends(n));
  const double width = (u.x.high - u.x.low) + (u.y.high - u.y.low);
  const double size = std::fabs(u.x.low) + std::fabs(u.y.low) + width;
  const double doubt = 2.5 * largest_normal_[gauge] * (width + 0x1p-50 * size) + 0x1p-1000;
  for (std::size_t e = 0; e < normals.size(); ++e) {
    if (!(at_low_ends(normals[e]) < most - doubt)) visit(e);
  }
}

// Whether two sites are one to the problem, as sites at one place often are.
inline bool same_term(const problem& p, std::size_t i, std::size_t j) {
  const site& a = p.sites()[i];
  const site& b = p.sites()[j];
  return a.x == b.x && a.y == b.y && a.weight == b.weight && a.gauge == b.gauge;
}

inline mpq_class value_at(const affine_function& f, const fraction_pair& at) {
  return f.at_origin + dot(f.slope, at);
}

// Sites with given order weights as one affine function on the cones of given edges. Sites with the
// same edge of the same gauge share its denominator. Polyhedral gauges, without loss.
class fraction_loads {
 public:
  explicit fraction_loads(const verified_sites& sites) : sites_(sites) {}

  void add(std::size_t site, std::size_t edge, double lambda);
  mpq_class value(const fraction_pair& at) const;
  affine_function sum() const;

 private:
  struct load {
    const fraction_pair* normal;
    mpq_class weight, x, y;
  };

  const verified_sites& sites_;
  std::map<std::pair<std::uint32_t, std::size_t>, load> loads_;
};

// Adds sites that get the order weights of `runs` by their order at a place.
void add_in_order(const verified_sites& sites, std::span<const std::uint32_t> which,
                  std::span<const order_run> runs, const fraction_pair& at, fraction_loads& loads);

// The same problem with all sites at the origin: how f grows far from the sites.
problem at_one_place(const problem& p);

fraction_pair coordinates(const skewed_axes& axes, const fraction_pair& at);

// All places no farther from the base than this, in either coordinate of the axes, lie in the
// square.
inline mpq_class reach(const branch_certificate& c) {
  return mpq_class(c.half) * branch_certificate::kInside;
}

// Refuses a square that might not hold an optimum of polyhedral f that levels off far away. Between
// neighbours u and v of the directions in which a gauge breaks or two distances grow alike, and
// from some a on, all edges at x = base + a u + b v are in force at u too, and of two sites the one
// that grows faster along u is farther. Then f falls by the growth of f along u with each step
// along -u. Where that growth is nowhere negative, some optimum has a and b up to these limits.
void check_sectors(const problem& p, const branch_certificate& c);

// Refuses a square outside of which f might be below `least`. Outside, x = base + reach / t * y
// with y on a side of the square of half side 1 and 0 <= t <= 1. The sides are, in order, halved
// along y or along t, whichever matters more. On each part the slopes of the gauges, along the way
// from x - base to x - site, bound by how much each distance differs from that of the base, and
// far_order.h says what the ordered sum is then.
void check_far(const problem& p, const branch_certificate& c, const mpq_class& least);

// The sum of order weights times sorted distances.
interval ordered_sum(const problem& p, std::vector<interval> distances);
mpq_class ordered_sum(const verified_sites& sites, const fraction_pair& at);

}  // namespace planloc::detail

#endif  // PLANLOC_OPTIMUM_PROOF_VERIFY_LEAVES_H_
