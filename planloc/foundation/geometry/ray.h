// Rays of the plane on doubles: a source and, by a second point, a direction. The rays whose hits
// are found without loss are those of rat_ray.h.
#ifndef PLANLOC_FOUNDATION_GEOMETRY_RAY_H_
#define PLANLOC_FOUNDATION_GEOMETRY_RAY_H_

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

 private:
  segment seg_;
};

}  // namespace planloc

#endif  // PLANLOC_FOUNDATION_GEOMETRY_RAY_H_
