// Vectors in pairs of doubles, and what is known of the numbers that come of them. Internal: shared
// by the rungs that find crossings of lines far beyond the last place of a double.
#ifndef PLANLOC_FOUNDATION_GEOMETRY_DOUBLE_DOUBLE_XY_H_
#define PLANLOC_FOUNDATION_GEOMETRY_DOUBLE_DOUBLE_XY_H_

#include <cmath>

#include "planloc/foundation/geometry/xy.h"
#include "planloc/foundation/numeric/double_double.h"

namespace planloc::detail {

struct double_double_xy {
  double_double x;
  double_double y;
};

// Exactly.
inline double_double_xy to_double_double(const xy& v) { return {{v.x, 0}, {v.y, 0}}; }
inline double_double_xy exact_difference(const xy& to, const xy& from) {
  return {exact_difference(to.x, from.x), exact_difference(to.y, from.y)};
}

// A value that is off by at most `error`.
struct double_double_estimate {
  double_double value;
  double error;
};

// Two products and a sum, each with the error E = kDoubleDoubleError of |p| + |q|; 4E covers them
// and the rounding of the bound itself.
inline double_double_estimate cross(const double_double_xy& u, const double_double_xy& v) {
  const double_double p = u.x * v.y;
  const double_double q = u.y * v.x;
  return {p - q, 4 * kDoubleDoubleError * (std::fabs(p.hi) + std::fabs(q.hi))};
}

// n / d. With |true d| >= |d| - error >= |d| / 2 the quotient is off by at most
// (n.error + |n / d| d.error) / (|d| / 2) + E |n / d|.
// REQUIRES: |d| >= 2 d.error.
inline double_double_estimate quotient(const double_double_estimate& n,
                                       const double_double_estimate& d) {
  const double_double q = n.value / d.value;
  const double size = std::fabs(q.hi);
  return {q,
          2.5 * (n.error + size * d.error) / std::fabs(d.value.hi) + 2 * kDoubleDoubleError * size};
}

// Whether the double nearest to each number within `error` of d is d.hi: adding either end of the
// rest to it changes nothing; ties among the ends themselves go to the even neighbour, as they
// should.
inline bool surely_nearest(const double_double& d, double error) {
  return d.hi + (d.lo + error) == d.hi && d.hi + (d.lo - error) == d.hi;
}

}  // namespace planloc::detail

#endif  // PLANLOC_FOUNDATION_GEOMETRY_DOUBLE_DOUBLE_XY_H_
