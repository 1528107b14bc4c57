// The gauges and their slopes in intervals. Internal to `verify`.
#ifndef PLANLOC_OPTIMUM_PROOF_GAUGE_INTERVAL_H_
#define PLANLOC_OPTIMUM_PROOF_GAUGE_INTERVAL_H_

#include <gmpxx.h>

#include <cstddef>
#include <span>
#include <vector>

#include "planloc/optimum/problem.h"
#include "planloc/optimum/proof/interval.h"

namespace planloc::detail {

struct interval_pair {
  interval x, y;
};

inline interval dot(const interval_pair& a, const interval_pair& b) {
  return a.x * b.x + a.y * b.y;
}
inline interval cross(const interval_pair& a, const interval_pair& b) {
  return a.x * b.y - a.y * b.x;
}

// Adjacent terms first: n terms lose as much as log n in a row.
interval sum_of(std::span<const interval> terms);

// The same of terms that come one by one.
class adjacent_sum {
 public:
  void add(interval term);
  interval total() const;

 private:
  std::vector<interval> parts_;  // of a power of two terms each, larger ones first
  std::size_t count_ = 0;
};

// Holds a fraction.
interval enclosed(const mpq_class& q);

// Of edge j of a polyhedral gauge: normal . u is the gauge of u on the edge's cone.
interval_pair edge_normal(const gauge& g, std::size_t j);

// Whether u, which `near` holds, lies in the cone of edge j. Where intervals cannot tell, exact()
// has u in fractions.
template <class Exact>
bool in_cone(const gauge& g, std::size_t j, const interval_pair& near, Exact exact) {
  const std::span<const xy> v = g.vertices();
  const auto left_of = [&](const xy& ray, int sign) {
    const interval side = interval(sign * ray.x) * near.y - interval(sign * ray.y) * near.x;
    if (side.low >= 0) return true;
    if (side.high < 0) return false;
    const auto u = exact();
    return sgn(mpq_class(ray.x * u.y - ray.y * u.x)) * sign >= 0;
  };
  return left_of(v[j], 1) && left_of(v[(j + 1) % v.size()], -1);
}

interval gauge_value(const gauge& g, const interval_pair& u);

// Holds the gradient of a gauge that is not polyhedral at u; any slope where u may be 0.
interval_pair tangent(const gauge& g, const interval_pair& u);

// The slope, shortened if its dual norm may be above 1. REQUIRES: a gauge that is not polyhedral.
interval_pair in_polar(const gauge& g, const xy& slope);

// A radius of a disc that holds the unit ball.
double ball_radius(const gauge& g);

}  // namespace planloc::detail

#endif  // PLANLOC_OPTIMUM_PROOF_GAUGE_INTERVAL_H_
