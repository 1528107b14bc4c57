// Mixed gauges: in some cones the unit ball is bounded by a straight edge, as in polygauge.h, in
// others by an arc of the unit circle, and there the distance is the Euclidean one.
//
//   const list<point> diamond = {point(1, 0), point(0, 1), point(-1, 0), point(0, -1)};
//   const mixgauge g(diamond, {true, false, true, false});
//   g.distance(point(0, 0), point(-2, 2))  // 4
//   g.distance(point(0, 0), point(2, 2))   // 2 * sqrt(2)
//
// Vertices, directions, cones and their numbers, points and locations are as in polygauge.h, and so
// is what their operations yield: the types of the cones play no part in them. All results are new
// values. The empty gauge may only be copied, compared and assigned.
//
// Failures end the process through MaviError with status 1 (see reporter.h); codes by operation:
//   constructor                1717 "mixgauge: must be the same size for points and conetyps"
//                              1718, 1719 "mixgauge: must be in counterclockwise order"
//                              1720 "mixgauge: alpha > PI"
//                              1721 "mixgauge: not convex"
//   a cone or vertex number outside 1..size(), "mixgauge: Conenumber is not correct":
//   vertex                     1722
//   cone_type                  1723
//   cone_vertices              1724, on locations 1725
//   cone_segments              1726, on locations 1727
//   in_cone                    1728, on locations 1729
//   points_in_cone             1730, on locations 1731
//   max, mini, max_diff        1732 "mixgauge:max i must be 0 or 1"
//                              1733 "mixgauge:mini i must be 0 or 1"
//                              1734 "mixgauge:max_diff i must be 0 or 1"
//   scale                      1735 "mixgauge:scale must be greater than 0"
#ifndef PLANLOC_MODEL_MIXGAUGE_H_
#define PLANLOC_MODEL_MIXGAUGE_H_

#include <istream>
#include <ostream>
#include <vector>

#include "planloc/model/cones.h"

namespace planloc {

class mixgauge : detail::cone_fan {
 public:
  // The empty gauge: a placeholder to be assigned to.
  mixgauge();

  // The gauge with these vertices; type i (true: Euclidean) is that of the cone between point i
  // and the next. Neighbouring points of type true, cyclically, describe one arc, of which only
  // the first is kept as a vertex.
  // 1. Points and types are as many (1717).
  // 2. The directions kept turn strictly counterclockwise within one turn from the first (1718).
  //    1719 stands for a closing angle below 0.0, which does not occur.
  // 3. Neighbours kept are at most a half-turn apart (1720). The last and the first are not
  //    tested: intended, as for `polygauge`.
  // 4. Every point kept is a vertex of their convex hull (1721).
  // REQUIRES: at least 2 vertices are kept.
  mixgauge(const list<point>& points, const list<bool>& types);

  // ----- Distance -----

  // The gauge distance from a to b: the Euclidean one in a Euclidean cone, whatever the lengths of
  // its two vertices are.
  double distance(const point& a, const point& b) const;
  double distance(const location& a, const location& b) const;

  // ----- Directions -----

  // int size()                          the number of vertices, and of cones
  // point vertex(int i)                 vertex i of the unit ball
  // list<double> get_angles()           from the first direction counterclockwise to each
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

  // Whether cone i is Euclidean.
  bool cone_type(int& i) const;

  // list<point> cone_vertices(p, int i)     the points p + t(i), p + t(i + 1)
  // list<segment> cone_segments(p, int i)   from p to these points
  // int cone_of(o, x, bool& interior)       the number of the cone seen from o that holds x
  // int in_cone(o, int i, x, bool& interior)    1 if cone i seen from o holds x, else 0
  // points_in_cone(o, int i, L)             the list of those members of L that `in_cone` holds
  using cone_fan::cone_of;
  using cone_fan::cone_segments;
  using cone_fan::cone_vertices;
  using cone_fan::in_cone;
  using cone_fan::points_in_cone;

  // ----- Unit ball -----

  // The line through the edge of cone i about p, as polygauge::edge_line; two zeros in a Euclidean
  // cone, which are also the line y = 0: ask `cone_type` first. Reports as `cone_type`.
  list<double> edge_line(const point& p, int i) const;
  list<double> edge_line(const location& p, int i) const { return edge_line(p.to_point(), i); }

  // Of the vertices alone, without what an arc adds:
  // point max(p, int i), mini(p, int i)     the one with the largest, the smallest coordinate i
  //                                         (0: x, 1: y), moved by p; the first one wins a tie
  // double max_diff(int i)                  their extent along axis i
  // bool is_symmetric()                     whether they are point-symmetric, exactly
  using cone_fan::is_symmetric;
  using cone_fan::max;
  using cone_fan::max_diff;
  using cone_fan::mini;

  // ----- Derived gauges: each passes the checks of the constructor -----

  // The vertices are those that polygauge.h tells; the types are those of this gauge, in their
  // order.
  mixgauge rotated(double alpha) const;  // counterclockwise, in radians
  mixgauge dual() const;                 // led by the vertex of the closing edge
  mixgauge normalized() const;           // every vertex at length 1
  mixgauge scale(double f) const;        // every vertex at f times its length; f > 0 (1735)
  // The directions of both gauges, at length 1; the cone behind a direction is Euclidean if a cone
  // that starts there is. Like polygauge::merged the walk can give up, with 1723.
  mixgauge merged(const mixgauge& other) const;

  // Whether both have the same number of vertices and the same first one. Neither the other
  // vertices nor the types are compared: intended, as for `polygauge`.
  bool operator==(const mixgauge& other) const { return same_first_direction(other); }

  // Reads points up to the end of the line and their types, 0 or 1, up to the end of the next.
  friend std::istream& operator>>(std::istream& in, mixgauge& g);

 private:
  list<bool> types() const;

  std::vector<bool> cone_types_;
};

// The vertices, as points separated by single blanks, and a line end; the types are not written.
std::ostream& operator<<(std::ostream& out, const mixgauge& g);

}  // namespace planloc

#endif  // PLANLOC_MODEL_MIXGAUGE_H_
