// Points of the plane on doubles. Computes in plain double arithmetic and compares exactly: there
// is no tolerance anywhere. Use rat_point.h where a result must not lose anything.
//
// A point is an immutable value; every "change" returns a new one. Reports go through
// `error_handler` with code 1.
#ifndef PLANLOC_FOUNDATION_GEOMETRY_POINT_H_
#define PLANLOC_FOUNDATION_GEOMETRY_POINT_H_

#include <cmath>
#include <istream>
#include <ostream>

#include "planloc/foundation/geometry/construction_id.h"
#include "planloc/foundation/numeric/vector.h"

namespace planloc {

class point {
 public:
  point() : point(0.0, 0.0) {}
  point(double x, double y) : x_(x), y_(y), id_(detail::next_construction_id<point>()) {}
  point(double x, double y, double w) : point(x / w, y / w) {}
  // (v[0], v[1]), with the index report of `vector`.
  explicit point(const vector& v);

  double xcoord() const { return x_; }
  double ycoord() const { return y_; }
  vector to_vector() const { return vector(x_, y_); }
  // The running number of the construction in its thread, different from all others in the process;
  // a copy has that of its original.
  long id() const { return id_; }

  // Equal coordinates as doubles, whatever the ids.
  bool operator==(const point& q) const { return x_ == q.x_ && y_ == q.y_; }

  double sqr_dist(const point& q) const {
    const double dx = q.x_ - x_;
    const double dy = q.y_ - y_;
    return dx * dx + dy * dy;
  }
  double distance(const point& q) const { return std::sqrt(sqr_dist(q)); }
  double xdist(const point& q) const { return std::fabs(q.x_ - x_); }
  double ydist(const point& q) const { return std::fabs(q.y_ - y_); }

  point translate(double dx, double dy) const { return point(x_ + dx, y_ + dy); }
  point translate(const vector& v) const;  // by (v[0], v[1]), with the index report of `vector`
  point translate_by_angle(double alpha, double d) const {
    return point(x_ + d * std::cos(alpha), y_ + d * std::sin(alpha));
  }

  // Counterclockwise, about the origin or about q.
  point rotate90() const { return point(-y_, x_); }
  point rotate90(const point& q) const { return point(q.y_ - y_ + q.x_, x_ - q.x_ + q.y_); }
  point rotate(double alpha) const;
  point rotate(const point& q, double alpha) const;

  // The counterclockwise angle at this point from the direction to q to the direction to r, in
  // [0, 2 pi), by the steps of `segment::angle`.
  // "point::angle:  zero vector input." if q or r equals this point.
  double angle(const point& q, const point& r) const;

 private:
  double x_;
  double y_;
  long id_;
};

// Lexicographic, x before y: -1, 0 or 1.
inline int compare(const point& a, const point& b) {
  if (a.xcoord() != b.xcoord()) return a.xcoord() < b.xcoord() ? -1 : 1;
  if (a.ycoord() != b.ycoord()) return a.ycoord() < b.ycoord() ? -1 : 1;
  return 0;
}

// +1 if c lies left of the direction from a to b, -1 if it lies right, 0 if the three are
// collinear, by the cross product as it comes out in doubles. For the sign of the exact value see
// exact_orientation.h.
inline int orientation(const point& a, const point& b, const point& c) {
  const double cross = (b.xcoord() - a.xcoord()) * (c.ycoord() - a.ycoord()) -
                       (b.ycoord() - a.ycoord()) * (c.xcoord() - a.xcoord());
  return cross > 0.0 ? 1 : cross < 0.0 ? -1 : 0;
}

// "(x,y)", each number in the stream's format.
std::ostream& operator<<(std::ostream& out, const point& p);
// Two numbers, each behind any characters that cannot begin one: "(1,2)" and "1 2" read alike.
std::istream& operator>>(std::istream& in, point& p);

namespace detail {

// The counterclockwise angle from direction (dx1, dy1) to (dx2, dy2), in [0, 2 pi); 0.0 if one of
// them has no length. Equal and opposite directions give 0.0 and pi in spite of rounding.
double ccw_angle(double dx1, double dy1, double dx2, double dy2);

}  // namespace detail
}  // namespace planloc

#endif  // PLANLOC_FOUNDATION_GEOMETRY_POINT_H_
