// Floating filters: sign decisions in doubles that either are those of the exact values or are not
// made at all. Internal: the predicates of rat_point.h and rat_ray.h ask here first, and the exact
// code of fixed_crossing.h when there is no answer.
#ifndef PLANLOC_FOUNDATION_GEOMETRY_FILTER_H_
#define PLANLOC_FOUNDATION_GEOMETRY_FILTER_H_

#include <cmath>
#include <limits>

#include "planloc/foundation/geometry/xy.h"

namespace planloc::detail {

// The difference q - p, each coordinate rounded once.
inline xy rounded_difference(const xy& p, const xy& q) { return {q.x - p.x, q.y - p.y}; }

// The sign of the exact cross product U x V, for u and v the rounded differences of U and V.
// 1. A result of +1 or -1 is the sign of the exact value.
// 2. A result of 0 decides nothing.
//
// The bound. Let e = 2^-53. A difference of doubles is never lost to underflow, so each coordinate
// of u and v is off by a factor 1 + d, |d| <= e. With the rounding of the product, p = fl(ux vy)
// satisfies Ux Vy = (p - t) / (1 + d)^3 with |t| <= 2^-1075 for underflow, hence
//   |p - Ux Vy| <= (3e + 7e^2) |p| + 2^-1074, and the same for q = fl(uy vx).
// The exact value is positive if p - q > E, where E = (3e + 7e^2) (|p| + |q|) + 2^-1073.
// The test below has its own roundings. fl(|p| + |q|) >= (|p| + |q|) (1 - e); the factor 4e is a
// power of 2 and loses at most 2^-1075; the last sum and fl(p - q) cost a factor 1 - e each. So
// fl(p - q) > bound implies
//   p - q > (4e (|p| + |q|) (1 - e) + 2^-1022 - 2^-1075) (1 - e)^2
//         >= (4e - 12e^2) (|p| + |q|) + 2^-1023 > E.
// An overflow anywhere makes the bound infinite or not a number, and both comparisons fail.
inline int certain_cross_sign(const xy& u, const xy& v) {
  constexpr double kRelative = 2.0 * std::numeric_limits<double>::epsilon();  // 4e
  constexpr double kAbsolute = std::numeric_limits<double>::min();            // 2^-1022
  const double p = u.x * v.y;
  const double q = u.y * v.x;
  const double cross = p - q;
  const double bound = kRelative * (std::fabs(p) + std::fabs(q)) + kAbsolute;
  return (cross > bound) - (cross < -bound);
}

// Whether the ray from a through b certainly misses the segment cd, both closed.
// 1. true implies that rat_ray::intersection is false; false decides nothing.
// 2. a == b and c == d are allowed.
//
// Two reasons suffice. Both ends of the segment lie strictly on the same side of the ray's line;
// this also holds for segments that are parallel or trivial. Or the two lines cut, at
// a + t (b - a) with t = ((c - a) x (d - c)) / ((b - a) x (d - c)) below 0.
inline bool certainly_misses(const xy& a, const xy& b, const xy& c, const xy& d) {
  const xy direction = rounded_difference(a, b);
  const xy to_source = rounded_difference(a, c);
  const int side_of_source = certain_cross_sign(direction, to_source);
  const int side_of_target = certain_cross_sign(direction, rounded_difference(a, d));
  if (side_of_source * side_of_target > 0) return true;
  const xy edge = rounded_difference(c, d);
  return certain_cross_sign(to_source, edge) * certain_cross_sign(direction, edge) < 0;
}

}  // namespace planloc::detail

#endif  // PLANLOC_FOUNDATION_GEOMETRY_FILTER_H_
