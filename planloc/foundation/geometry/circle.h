// Circles of the plane on doubles, by three points or by centre and radius, and their intersections
// with circles and lines. Unit balls of other gauges are polygons: see polygon.h.
//
// Computes in plain double arithmetic. Reports go through `error_handler` with code 1.
#ifndef PLANLOC_FOUNDATION_GEOMETRY_CIRCLE_H_
#define PLANLOC_FOUNDATION_GEOMETRY_CIRCLE_H_

#include "planloc/foundation/containers/list.h"
#include "planloc/foundation/geometry/line.h"
#include "planloc/foundation/geometry/point.h"

namespace planloc {

class circle {
 public:
  circle() : circle(point(), 0.0) {}
  // Through three points. "circle::circle: non-admissable triple" if exactly two of them are equal;
  // collinear points are reported by `center()` and `radius()` only.
  circle(const point& a, const point& b, const point& c);
  // Keeps centre and radius as given, to the bit; a radius of any size is good. The sign of r tells
  // only on which side of the centre the first defining point lies.
  circle(const point& centre, double r);

  // The defining points; for the second form those right of, above and left of the centre.
  const point& point1() const { return a_; }
  const point& point2() const { return b_; }
  const point& point3() const { return c_; }

  // "circle::center(): points are collinear."
  point center() const;
  double radius() const;

  // The common points: none, one or two, with comparisons against exactly 0.0.
  // 1. With a circle: first the one to the left of the direction from this centre to the other's.
  //    Concentric circles, equal ones too, give none.
  // 2. With a line: in the direction from its first to its second point. A line whose two points
  //    are the same gives none.
  list<point> intersection(const circle& c) const;
  list<point> intersection(const line& l) const;

 private:
  point a_;
  point b_;
  point c_;
  bool collinear_ = false;
  point center_;
  double radius_ = 0.0;
};

}  // namespace planloc

#endif  // PLANLOC_FOUNDATION_GEOMETRY_CIRCLE_H_
