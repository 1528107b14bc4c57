// Rays of the plane on doubles: a source and, by a second point, a direction. The rays whose hits
// are found without loss are those of rat_ray.h.
#ifndef PLANLOC_FOUNDATION_GEOMETRY_RAY_H_
#define PLANLOC_FOUNDATION_GEOMETRY_RAY_H_

#include "planloc/foundation/geometry/line.h"
#include "planloc/foundation/geometry/segment.h"

namespace planloc {

class ray {
 public:
  ray() = default;                                     // both defining points at the origin
  ray(const point& p, const point& q) : seg_(p, q) {}  // from p through q
  explicit ray(const segment& s) : seg_(s) {}
  ray(const point& p, double alpha) : seg_(p, alpha, 1.0) {}

  const point& source() const { return seg_.source(); }
  const point& point1() const { return seg_.source(); }
  const point& point2() const { return seg_.target(); }
  const segment& seg() const { return seg_; }

  // Of the supporting line, as for `segment`.
  double slope() const { return seg_.slope(); }
  double y_proj(double x) const { return seg_.y_proj(x); }
  double x_proj(double y) const { return seg_.x_proj(y); }
  bool is_vertical() const { return seg_.is_vertical(); }

  // True if l cuts the supporting line in a point that is not behind the source; p receives it. For
  // parallel lines and behind the source false, with p as it was.
  bool intersection(const line& l, point& p) const;

  // orientation(point1(), point2(), p)
  int side_of(const point& p) const { return orientation(point1(), point2(), p); }

 private:
  segment seg_;
};

inline bool ray::intersection(const line& l, point& p) const {
  point cut;
  if (!seg_.intersection_of_lines(l.seg(), cut)) return false;
  const double ahead =
      (cut.xcoord() - seg_.xcoord1()) * seg_.dx() + (cut.ycoord() - seg_.ycoord1()) * seg_.dy();
  if (ahead < 0.0) return false;
  p = cut;
  return true;
}

}  // namespace planloc

#endif  // PLANLOC_FOUNDATION_GEOMETRY_RAY_H_
