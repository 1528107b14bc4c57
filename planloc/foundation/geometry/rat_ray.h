// Rays through exact points and their exact intersection with segments. See ray.h for the family on
// doubles.
#ifndef PLANLOC_FOUNDATION_GEOMETRY_RAT_RAY_H_
#define PLANLOC_FOUNDATION_GEOMETRY_RAT_RAY_H_

#include <utility>

#include "planloc/foundation/geometry/rat_point.h"
#include "planloc/foundation/geometry/rat_segment.h"

namespace planloc {

class rat_ray {
 public:
  // The ray from `source` through `second`. Equal points are allowed and give a trivial ray.
  rat_ray(rat_point source, rat_point second) : seg_(std::move(source), std::move(second)) {}
  // "rat_ray::rat_ray: cannot construct ray from trivial segment", with code 1.
  explicit rat_ray(const rat_segment& s);

  const rat_point& source() const { return seg_.source(); }
  const rat_point& point1() const { return seg_.source(); }
  const rat_point& point2() const { return seg_.target(); }
  const rat_segment& seg() const { return seg_; }
  bool is_trivial() const { return seg_.is_trivial(); }

  // Whether p lies on the supporting line and not behind the source. A trivial ray contains every
  // point.
  bool contains(const rat_point& p) const;

  // Whether the ray meets s, both closed, and a common point r.
  // 1. A trivial s is met if the ray contains its source; r is the source.
  // 2. A ray parallel to s, such as a trivial one, meets s in the source of s if the ray contains
  //    it, else in the target of s if the ray contains that, else not at all. So a segment that
  //    only has the source of the ray in its inside yields one of its ends, the one ahead.
  // 3. Otherwise the supporting lines cut in one point; s is met if it lies on both, and r is this
  //    point without any rounding.
  // 4. r is written if and only if the result is true.
  //
  // Edges that are clearly missed cost a few operations on doubles (filter.h). For ends that are
  // doubles of similar magnitude the rest runs in integers of fixed width (fixed_crossing.h), with
  // big numbers only beyond that.
  bool intersection(const rat_segment& s, rat_point& r) const;

 private:
  rat_segment seg_;
};

namespace detail {

// `rat_ray::intersection` in big numbers from the homogeneous coordinates, without any short cut.
bool intersection_exact(const rat_ray& ray, const rat_segment& s, rat_point& r);

}  // namespace detail
}  // namespace planloc

#endif  // PLANLOC_FOUNDATION_GEOMETRY_RAT_RAY_H_
