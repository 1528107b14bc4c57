// Bare coordinates and pairs of them for inner loops; point.h and segment.h are for users.
#ifndef PLANLOC_FOUNDATION_GEOMETRY_XY_H_
#define PLANLOC_FOUNDATION_GEOMETRY_XY_H_

namespace planloc::detail {

struct xy {
  double x;
  double y;

  friend bool operator==(const xy&, const xy&) = default;
};

struct xy_segment {
  xy a;
  xy b;
};

// x before y.
inline bool lexicographic(const xy& p, const xy& q) { return p.x != q.x ? p.x < q.x : p.y < q.y; }

}  // namespace planloc::detail

#endif  // PLANLOC_FOUNDATION_GEOMETRY_XY_H_
