// Straight lines of the plane on doubles, each given by a segment on it. Use segment.h for what
// ends at two points, ray.h for what ends at one.
#ifndef PLANLOC_FOUNDATION_GEOMETRY_LINE_H_
#define PLANLOC_FOUNDATION_GEOMETRY_LINE_H_

#include "planloc/foundation/geometry/segment.h"

namespace planloc {

class line {
 public:
  line() = default;  // both defining points at the origin
  line(const point& p, const point& q) : seg_(p, q) {}
  explicit line(const segment& s) : seg_(s) {}
  line(const point& p, double alpha) : seg_(p, alpha, 1.0) {}
  // Through p and p + v, with the index report of `vector`.
  line(const point& p, const vector& v) : seg_(p, p.translate(v)) {}

  const point& point1() const { return seg_.source(); }
  const point& point2() const { return seg_.target(); }
  const segment& seg() const { return seg_; }

  // As for `segment`.
  double slope() const { return seg_.slope(); }
  double y_proj(double x) const { return seg_.y_proj(x); }
  double x_proj(double y) const { return seg_.x_proj(y); }
  bool is_vertical() const { return seg_.is_vertical(); }

  // False, with p as it was, for parallel lines; otherwise true, with the common point in p.
  bool intersection(const line& l, point& p) const { return seg_.intersection_of_lines(l.seg_, p); }

  // orientation(point1(), point2(), p)
  int side_of(const point& p) const { return orientation(point1(), point2(), p); }

 private:
  segment seg_;
};

}  // namespace planloc

#endif  // PLANLOC_FOUNDATION_GEOMETRY_LINE_H_
