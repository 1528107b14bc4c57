// Bare coordinates and pairs of them for inner loops; point.h and segment.h are for users.
#ifndef PLANLOC_FOUNDATION_GEOMETRY_XY_H_
#define PLANLOC_FOUNDATION_GEOMETRY_XY_H_

#include <algorithm>

#include "planloc/foundation/geometry/point.h"

namespace planloc::detail {

struct xy {
  double x;
  double y;

  friend bool operator==(const xy&, const xy&) = default;
};

inline double dot(const xy& a, const xy& b) { return a.x * b.x + a.y * b.y; }

inline xy to_xy(const point& p) { return {p.xcoord(), p.ycoord()}; }
inline point to_point(const xy& p) { return point(p.x, p.y); }

struct xy_segment {
  xy a;
  xy b;
};

struct xy_box {
  explicit xy_box(const xy& p) : low(p), high(p) {}
  xy_box(const xy& lowest, const xy& highest) : low(lowest), high(highest) {}

  void extend(const xy& p) {
    low = {std::min(low.x, p.x), std::min(low.y, p.y)};
    high = {std::max(high.x, p.x), std::max(high.y, p.y)};
  }

  bool holds(const xy& p) const {
    return p.x >= low.x && p.x <= high.x && p.y >= low.y && p.y <= high.y;
  }

  xy low;
  xy high;
};

// x before y.
inline bool lexicographic(const xy& p, const xy& q) { return p.x != q.x ? p.x < q.x : p.y < q.y; }

}  // namespace planloc::detail

#endif  // PLANLOC_FOUNDATION_GEOMETRY_XY_H_
