// Polygons of the plane on doubles: a closed chain of edges with the inside on the left. Copies
// share their lists. For the convex polygon around given points call CONVEX_HULL of hull.h first.
#ifndef PLANLOC_FOUNDATION_GEOMETRY_POLYGON_H_
#define PLANLOC_FOUNDATION_GEOMETRY_POLYGON_H_

#include <memory>
#include <vector>

#include "planloc/foundation/containers/list.h"
#include "planloc/foundation/geometry/point.h"
#include "planloc/foundation/geometry/segment.h"
#include "planloc/foundation/geometry/xy.h"

namespace planloc {

class polygon {
 public:
  polygon();  // the empty polygon

  // An edge from each vertex to its cyclic successor.
  // 1. A negative area turns the order of the vertices around.
  // 2. Degenerate chains are kept: an area of 0.0 is not negative.
  // 3. If two edges cross, `check_for_simplicity` reports "POLYGON: POLYGON is not simple" and
  //    `check_for_weakly_simple` "POLYGON: POLYGON is not weakly simple", with code 1. Two edges
  //    cross if each has its ends strictly on different sides of the other; edges that touch or
  //    overlap do not, so that polygons the size of a rounding error, whose vertices fall on each
  //    other, pass. The checks are exact; they take time linear in the number of vertices if the
  //    chain is strictly convex and counterclockwise, and quadratic time otherwise.
  explicit polygon(const list<point>& P, bool check_for_simplicity = true,
                   bool check_for_weakly_simple = false);

  const list<point>& vertices() const { return rep_->vertices; }
  const list<segment>& segments() const { return rep_->segments; }
  int size() const { return rep_->vertices.size(); }
  bool empty() const { return rep_->vertices.empty(); }

  // Half the shoelace sum over the edges, taken from the first vertex; 0.0 for the empty polygon.
  double area() const { return rep_->area; }

  // 1 inside, 0 on the boundary, -1 outside, by `orientation`: a point lies on an edge if it is in
  // its bounding box and its orientation to it is 0. The empty polygon has no inside.
  int side_of(const point& p) const;
  bool inside(const point& p) const { return side_of(p) > 0; }
  bool outside(const point& p) const { return side_of(p) < 0; }
  bool on_boundary(const point& p) const { return side_of(p) == 0; }

  // The vertices side by side, for inner loops.
  const std::vector<detail::xy>& corners() const { return rep_->corners; }

 private:
  struct representation {
    list<point> vertices;
    list<segment> segments;
    std::vector<detail::xy> corners;
    double area = 0.0;
  };

  std::shared_ptr<const representation> rep_;
};

}  // namespace planloc

#endif  // PLANLOC_FOUNDATION_GEOMETRY_POLYGON_H_
