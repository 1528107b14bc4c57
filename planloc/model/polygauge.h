// Polyhedral gauges: distances whose unit ball is a convex polygon with the origin inside, not
// necessarily symmetric. Within the cone of two neighbouring fundamental directions a gauge is
// linear. For unit balls with circular arcs use mixgauge.h.
//
//   const polygauge g({point(2, 0), point(0, 1), point(-1, 0), point(0, -1)});
//   g.distance(point(0, 0), point(2, 0))  // 1, and 2 the other way round
//
// A gauge has n vertices t(1) ... t(n), in counterclockwise order; the vectors from the origin to
// them are its directions. Vertices and cones are numbered from 1. Seen from a centre p, cone i is
// the set of points p + a * t(i) + b * t(i + 1) with a, b >= 0, where t(n + 1) is t(1). Angles are
// in radians and compared exactly.
//
// Where the comments say centre or point, an operation takes points or locations. Locations are
// converted by `location::to_point` and fail with its codes for any dimension but 2. All results
// are new values. The empty gauge may only be copied, compared and assigned.
//
// Failures end the process through MaviError with status 1 (see reporter.h); codes by operation:
//   constructor                1701 "polygauge: must be in counterclockwise order"
//                              1702 "polygauge: alpha > PI"
//                              1703 "polygauge: is not convex"
//   scale                      1704 "polygauge:scale must be greater than 0"
//   a cone or vertex number outside 1..size(), "polygauge: Conenumber is not correct":
//   vertex                     1705
//   cone_vertices              1706, on locations 1707
//   cone_segments              1708, on locations 1709
//   in_cone                    1710, on locations 1711
//   points_in_cone             1712, on locations 1713
//   max, mini, max_diff        1714 "polygauge:max i must be 0 or 1"
//                              1715 "polygauge:mini i must be 0 or 1"
//                              1716 "polygauge:max_diff i must be 0 or 1"
#ifndef PLANLOC_MODEL_POLYGAUGE_H_
#define PLANLOC_MODEL_POLYGAUGE_H_

#include <istream>
#include <ostream>

#include "planloc/model/cones.h"

namespace planloc {

class polygauge : detail::cone_fan {
 public:
  // The empty gauge: a placeholder to be assigned to.
  polygauge();

  // The gauge whose unit ball has these vertices.
  // 1. Their directions turn strictly counterclockwise within one turn from the first (1701).
  // 2. Neighbours in the list are less than a half-turn apart (1702). The last and the first are
  //    not tested, so the origin can lie outside of what passes: intended, kept as callers know it.
  // 3. Every vertex is a vertex of the convex hull; one halfway along an edge is not (1703).
  // REQUIRES: at least 2 vertices.
  explicit polygauge(const list<point>& vertices);

  // Unit balls of the rectilinear and the maximum norm.
  static polygauge l1_gauge();    // vertices (0, 1), (-1, 0), (0, -1), (1, 0)
  static polygauge linf_gauge();  // vertices (-1, 1), (-1, -1), (1, -1), (1, 1)

  // ----- Distance -----

  // The gauge distance from a to b; in general not the one from b to a. A unit ball so small that
  // its cones are singular (pivots below 1e-12) ends with the report of matrix::solve.
  double distance(const point& a, const point& b) const;
  double distance(const location& a, const location& b) const;

  // ----- Directions -----

  // int size()                          the number of vertices, and of cones
  // point vertex(int i)                 vertex i of the unit ball
  // list<double> get_angles()           from the first direction counterclockwise to each,
  //                                     ascending from 0.0
  // list<point> vertices()              of the unit ball
  // list<point> vertices_at(p)          of the unit ball about the centre p
  // list<segment> directions_at(p)      from the centre p
  using cone_fan::directions_at;
  using cone_fan::get_angles;
  using cone_fan::size;
  using cone_fan::vertex;
  using cone_fan::vertices;
  using cone_fan::vertices_at;

  // ----- Cones -----

  // list<point> cone_vertices(p, int i)     the points p + t(i), p + t(i + 1)
  // list<segment> cone_segments(p, int i)   from p to these points
  using cone_fan::cone_segments;
  using cone_fan::cone_vertices;

  // int cone_of(o, x, bool& interior): the number of the cone seen from o that holds x.
  // 1. For x equal to o it is 0.
  // 2. A point on direction i + 1 belongs to cone i: the smallest number wins. So a point on
  //    direction 1 is in cone 1 and a point on direction n in cone n - 1.
  // 3. `interior` becomes false if x is o or lies on a direction that bounds the cone, else true.
  // The empty gauge, and coordinates that are not numbers, end with 1710.
  using cone_fan::cone_of;

  // int in_cone(o, int i, x, bool& interior): 1 if cone i seen from o holds x, else 0. Cones 1 to
  // n - 1 are closed; cone n holds neither of its two directions. `interior` becomes false if x is
  // o or lies on a direction of cone i, else true.
  using cone_fan::in_cone;

  // list<point> points_in_cone(o, int i, const list<point>& L), or of locations: the members of L
  // that `in_cone` holds, in the order of L.
  using cone_fan::points_in_cone;

  // ----- Unit ball -----

  // The line through the edge of the unit ball about p in cone i, as two numbers: slope and y at
  // x = 0, or 1e+50 and x for a vertical edge. Reports as `cone_vertices` on points.
  list<double> edge_line(const point& p, int i) const { return cone_fan::edge_line(p, i); }
  list<double> edge_line(const location& p, int i) const { return edge_line(p.to_point(), i); }

  // The largest Euclidean length of a vertex.
  double radius() const;

  // point max(p, int i), mini(p, int i)     the vertex with the largest, the smallest coordinate i
  //                                         (0: x, 1: y), moved by p; the first one wins a tie
  // double max_diff(int i)                  the extent of the unit ball along axis i
  // bool is_symmetric()                     whether it is point-symmetric, exactly
  using cone_fan::is_symmetric;
  using cone_fan::max;
  using cone_fan::max_diff;
  using cone_fan::mini;

  // ----- Derived gauges: each passes the checks of the constructor -----

  polygauge rotated(double alpha) const;  // counterclockwise, in radians
  // The polar unit ball; the vertex that belongs to the edge from the last vertex to the first
  // leads the list.
  polygauge dual() const;
  polygauge normalized() const;     // every vertex at length 1
  polygauge scale(double f) const;  // every vertex at f times its length; f > 0 (1704)
  // The directions of both gauges, at length 1. Directions are paired off by their angle from the
  // y axis, and the walk gives up with 1705 when one gauge has run around while the other still
  // has directions left: intended, since the order of the pairs is part of the result.
  polygauge merged(const polygauge& other) const;

  // ----- Others -----

  // A copy whose directions start at p and end at the moved vertices, without any check. It is for
  // drawing: `vertex` yields the moved vertices, `vertices_at` still those of the unit ball.
  polygauge translated(const point& p) const;

  // Whether both have the same number of vertices and the same first one; the others are not
  // compared: intended, kept as callers know it.
  bool operator==(const polygauge& other) const { return same_first_direction(other); }

  // Reads vertices up to the end of the line, as points (1,2) or 1 2.
  friend std::istream& operator>>(std::istream& in, polygauge& g);
};

// The vertices of the unit ball, as points separated by single blanks, and a line end.
std::ostream& operator<<(std::ostream& out, const polygauge& g);

}  // namespace planloc

#endif  // PLANLOC_MODEL_POLYGAUGE_H_
