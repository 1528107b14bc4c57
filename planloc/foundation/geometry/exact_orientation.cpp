#include "planloc/foundation/geometry/exact_orientation.h"

#include "planloc/foundation/geometry/filter.h"
#include "planloc/foundation/geometry/rat_ray.h"

namespace planloc::detail {

int exact_orientation(const point& a, const point& b, const point& c) {
  const xy o{a.xcoord(), a.ycoord()};
  const int certain = certain_cross_sign(rounded_difference(o, {b.xcoord(), b.ycoord()}),
                                         rounded_difference(o, {c.xcoord(), c.ycoord()}));
  if (certain != 0) return certain;
  if (!finite(a) || !finite(b) || !finite(c)) return orientation(a, b, c);
  return orientation(rat_point(a), rat_point(b), rat_point(c));
}

point exact_crossing(const point& a, const point& b, const point& c, const point& d) {
  rat_point cut;
  const rat_ray ray{rat_point(a), rat_point(b)};
  ray.intersection(rat_segment(rat_point(c), rat_point(d)), cut);
  return cut.to_point();
}

}  // namespace planloc::detail
