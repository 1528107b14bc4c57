// Exact decisions on the points of the double family. `orientation` of point.h is the plain sign in
// doubles, and rat_point.h has points that are exact themselves; these are for results that are
// counted or must not contradict each other.
#ifndef PLANLOC_FOUNDATION_GEOMETRY_EXACT_ORIENTATION_H_
#define PLANLOC_FOUNDATION_GEOMETRY_EXACT_ORIENTATION_H_

#include <cmath>

#include "planloc/foundation/geometry/point.h"
#include "planloc/foundation/geometry/xy.h"

namespace planloc::detail {

inline bool finite(const point& p) {
  return std::isfinite(p.xcoord()) && std::isfinite(p.ycoord());
}

// The sign of the cross product (b - a) x (c - a) of the exact values of the coordinates.
// 1. Antisymmetric: the sign turns with every exchange of two points.
// 2. If a coordinate is infinite or not a number, the result is that of `orientation`.
int exact_orientation(const point& a, const point& b, const point& c);

// The same on bare coordinates. REQUIRES: finite coordinates.
int exact_orientation(const xy& a, const xy& b, const xy& c);

// The sign of the exact cross product (b - a) x (d - c). REQUIRES: finite coordinates.
int exact_turn(const xy& a, const xy& b, const xy& c, const xy& d);

// The common point of the segments ab and cd, each coordinate rounded once to the nearest double.
// REQUIRES: finite coordinates; the segments are not parallel and do meet.
point exact_crossing(const point& a, const point& b, const point& c, const point& d);
xy exact_crossing(const xy& a, const xy& b, const xy& c, const xy& d);

}  // namespace planloc::detail

#endif  // PLANLOC_FOUNDATION_GEOMETRY_EXACT_ORIENTATION_H_
