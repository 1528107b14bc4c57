// Directed segments of the plane on doubles; both ends may be the same point. Use line.h or ray.h
// for what goes on beyond the ends, rat_segment.h for ends that are no doubles.
#ifndef PLANLOC_FOUNDATION_GEOMETRY_SEGMENT_H_
#define PLANLOC_FOUNDATION_GEOMETRY_SEGMENT_H_

#include <istream>
#include <limits>
#include <ostream>

#include "planloc/foundation/geometry/point.h"

namespace planloc {

class segment {
 public:
  segment() : segment(point(), point()) {}
  segment(const point& p, const point& q)
      : source_(p),
        target_(q),
        dx_(q.xcoord() - p.xcoord()),
        dy_(q.ycoord() - p.ycoord()),
        slope_(dx_ == 0.0 ? std::numeric_limits<double>::max() : dy_ / dx_) {}
  // From p to p.translate_by_angle(alpha, length).
  segment(const point& p, double alpha, double length)
      : segment(p, p.translate_by_angle(alpha, length)) {}

  const point& source() const { return source_; }
  const point& target() const { return target_; }
  double xcoord1() const { return source_.xcoord(); }
  double ycoord1() const { return source_.ycoord(); }
  double xcoord2() const { return target_.xcoord(); }
  double ycoord2() const { return target_.ycoord(); }
  double dx() const { return dx_; }
  double dy() const { return dy_; }

  double length() const { return source_.distance(target_); }
  // dy / dx; the largest finite double if dx is 0.0.
  double slope() const { return slope_; }
  bool is_vertical() const { return dx_ == 0.0; }

  // Of this direction against the x axis, in -pi..pi; 0.0 if both ends are the same.
  double angle() const;
  // The counterclockwise angle from this direction to that of s, in [0, 2 pi); 0.0 if one of both
  // has no length.
  double angle(const segment& s) const { return detail::ccw_angle(dx_, dy_, s.dx_, s.dy_); }

  // Counterclockwise by alpha about the source, which stays.
  segment rotate(double alpha) const { return segment(source_, target_.rotate(source_, alpha)); }

  // On the supporting line: y at x, and x at y (of the source if the segment is vertical).
  double y_proj(double x) const { return ycoord1() - slope_ * (xcoord1() - x); }
  double x_proj(double y) const;

  // True if the two closed segments have exactly one point in common; p receives it.
  // 1. The decision is exact for the ends as they are. An overlap in more than one point gives
  //    false, ends that touch give true.
  // 2. If the common point is an end, p is that end; otherwise its exact coordinates are rounded
  //    once to the nearest double: p lies in the bounding boxes of both, and all pairs of segments
  //    through one point yield the same coordinates.
  // 3. p stays as it was if the result is false.
  // 4. A segment with an end that is infinite or not a number meets nothing.
  bool intersection(const segment& s, point& p) const;

  // True if the supporting lines cut; p receives the point where they do, in plain doubles. Lines
  // whose cross product comes out as 0.0 are parallel, and p stays as it was.
  bool intersection_of_lines(const segment& s, point& p) const;

  bool operator==(const segment& s) const { return source_ == s.source_ && target_ == s.target_; }

 private:
  point source_;
  point target_;
  double dx_;
  double dy_;
  double slope_;
};

namespace detail {

// Whether p lies in the closed bounding box of s.
bool in_box(const segment& s, const point& p);

}  // namespace detail

// "[(x,y)===(x,y)]"
std::ostream& operator<<(std::ostream& out, const segment& s);
// Four numbers, read as those of a point.
std::istream& operator>>(std::istream& in, segment& s);

}  // namespace planloc

#endif  // PLANLOC_FOUNDATION_GEOMETRY_SEGMENT_H_
