#include "planloc/foundation/geometry/exact_orientation.h"

#include <gmpxx.h>

#include <cmath>
#include <limits>

namespace planloc::detail {
namespace {

struct exact_vector {
  exact_vector(const point& from, const point& to)
      : x(mpq_class(to.xcoord()) - mpq_class(from.xcoord())),
        y(mpq_class(to.ycoord()) - mpq_class(from.ycoord())) {}
  mpq_class x;
  mpq_class y;
};

mpq_class cross(const exact_vector& v, const exact_vector& w) { return v.x * w.y - v.y * w.x; }

bool finite(const point& p) { return std::isfinite(p.xcoord()) && std::isfinite(p.ycoord()); }

}  // namespace

// With u = 2^-53, each factor has a relative error of u, so that each product is off by at most
// (3u + 3u^2 + u^3) of its size; the last subtraction adds u of the computed result, which is at
// most the sum of the sizes of both products. All that stays below 4.01u times the computed sum of
// the sizes; kRelative = 8u is twice of it and exact. A product that underflows is off by 2^-1075,
// which kAbsolute covers. An overflow makes the bound infinite or not a number and the comparison
// false.
int exact_orientation(const point& a, const point& b, const point& c) {
  constexpr double kRelative = 4.0 * std::numeric_limits<double>::epsilon();
  constexpr double kAbsolute = std::numeric_limits<double>::min();
  const double left = (b.xcoord() - a.xcoord()) * (c.ycoord() - a.ycoord());
  const double right = (b.ycoord() - a.ycoord()) * (c.xcoord() - a.xcoord());
  const double det = left - right;
  if (std::fabs(det) > kRelative * (std::fabs(left) + std::fabs(right)) + kAbsolute) {
    return det > 0.0 ? 1 : -1;
  }
  if (!finite(a) || !finite(b) || !finite(c)) return orientation(a, b, c);
  return sgn(cross(exact_vector(a, b), exact_vector(a, c)));
}

point exact_crossing(const point& a, const point& b, const point& c, const point& d) {
  const exact_vector ab(a, b);
  const exact_vector cd(c, d);
  const mpq_class t = cross(exact_vector(a, c), cd) / cross(ab, cd);
  const mpq_class x = mpq_class(a.xcoord()) + t * ab.x;
  const mpq_class y = mpq_class(a.ycoord()) + t * ab.y;
  return point(x.get_d(), y.get_d());
}

}  // namespace planloc::detail
