// Mixed gauges: in some cones the unit ball is bounded by a straight edge, as in polygauge.h, in
// others by an arc of the unit circle, and there the distance is the Euclidean one.
//
// The directions, the cones and the unit ball's extents are inherited: cones.h tells what they
// yield, in terms of the vertices alone. All results are new values.
//
// Failures end the process with status 1; codes by operation:
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
#include <vector>

#include "planloc/model/cones.h"

namespace planloc {

class mixgauge : public detail::cone_fan {
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
  //    tested: intended.
  // 4. Every point kept is a vertex of their convex hull (1721).
  // REQUIRES: at least 2 vertices are kept.
  mixgauge(const list<point>& points, const list<bool>& types);

  // Whether cone i is Euclidean.
  bool cone_type(int& i) const;

  // The gauge distance from a to b: the Euclidean one in a Euclidean cone, whatever the lengths of
  // its two vertices are.
  double distance(const point& a, const point& b) const;
  double distance(const location& a, const location& b) const;

  // As polygauge::edge_line; two zeros in a Euclidean cone, which are also the line y = 0: ask
  // `cone_type` first. Reports as `cone_type`.
  list<double> edge_line(const point& p, int i) const;
  list<double> edge_line(const location& p, int i) const { return edge_line(p.to_point(), i); }

  // ----- Derived gauges: each passes the checks of the constructor -----

  // As those of polygauge.h, with the types of this gauge in their order.
  mixgauge rotated(double alpha) const;
  mixgauge dual() const;
  mixgauge normalized() const;
  mixgauge scale(double f) const;
  // The directions of both gauges, at length 1; the cone behind a direction is Euclidean if a cone
  // that starts there is. Like polygauge::merged the walk can give up, with 1722 or 1723.
  mixgauge merged(const mixgauge& other) const;

  // Whether both have the same number of vertices and the same first one. Neither the other
  // vertices nor the types are compared: intended.
  bool operator==(const mixgauge& other) const { return same_first_direction(other); }

  // Reads points up to the end of the line and their types, 0 or 1, up to the end of the next.
  friend std::istream& operator>>(std::istream& in, mixgauge& g);

 private:
  list<bool> types() const;

  std::vector<bool> cone_types_;
};

}  // namespace planloc

#endif  // PLANLOC_MODEL_MIXGAUGE_H_
