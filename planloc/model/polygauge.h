// Polyhedral gauges: distances whose unit ball is a convex polygon with the origin inside, not
// necessarily symmetric. Within the cone of two neighbouring fundamental directions a gauge is
// linear. For unit balls with circular arcs use mixgauge.h.
//
// The directions, the cones and the unit ball's extents are inherited: cones.h tells what they
// yield. All results are new values.
//
// Failures end the process with status 1; codes by operation:
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

#include "planloc/model/cones.h"

namespace planloc {

class polygauge : public detail::cone_fan {
 public:
  // The empty gauge: a placeholder to be assigned to.
  polygauge();

  // The gauge whose unit ball has these vertices.
  // 1. Their directions turn strictly counterclockwise within one turn from the first (1701).
  // 2. Neighbours in the list are less than a half-turn apart (1702). The last and the first are
  //    not tested, so the origin can lie outside of what passes: intended.
  // 3. Every vertex is a vertex of the convex hull; one halfway along an edge is not (1703).
  // REQUIRES: at least 2 vertices.
  explicit polygauge(const list<point>& vertices);

  // Unit balls of the rectilinear and the maximum norm.
  static polygauge l1_gauge();    // vertices (0, 1), (-1, 0), (0, -1), (1, 0)
  static polygauge linf_gauge();  // vertices (-1, 1), (-1, -1), (1, -1), (1, 1)

  // The gauge distance from a to b; in general not the one from b to a.
  double distance(const point& a, const point& b) const;
  double distance(const location& a, const location& b) const;

  // The line through the edge of the unit ball about p in cone i, as two numbers: slope and y at
  // x = 0, or 1e+50 and x for a vertical edge. Reports as `cone_vertices` on points.
  list<double> edge_line(const point& p, int i) const { return cone_fan::edge_line(p, i); }
  list<double> edge_line(const location& p, int i) const { return edge_line(p.to_point(), i); }

  // The largest Euclidean length of a vertex.
  double radius() const;

  // ----- Derived gauges: each passes the checks of the constructor -----

  polygauge rotated(double alpha) const;  // counterclockwise, in radians
  // The polar unit ball; the vertex that belongs to the edge from the last vertex to the first
  // leads the list.
  polygauge dual() const;
  polygauge normalized() const;  // every vertex at length 1
  polygauge scale(double f) const;
  // The directions of both gauges, at length 1. Directions are paired off by their angle from the
  // y axis, and the walk gives up with 1705 when one gauge has run around while the other still
  // has directions left: intended.
  polygauge merged(const polygauge& other) const;

  // ----- Others -----

  // A copy whose directions start at p and end at the moved vertices, without any check. It is for
  // drawing: `vertex` yields the moved vertices, `vertices_at` still those of the unit ball.
  polygauge translated(const point& p) const;

  // Whether both have the same number of vertices and the same first one; the others are not
  // compared: intended.
  bool operator==(const polygauge& other) const { return same_first_direction(other); }

  // Reads vertices up to the end of the line, as points (1,2) or 1 2.
  friend std::istream& operator>>(std::istream& in, polygauge& g);
};

}  // namespace planloc

#endif  // PLANLOC_MODEL_POLYGAUGE_H_
