// The convex hull of points of the double family. The result is a list of vertices; polygon.h makes
// an object of it that knows inside and outside.
#ifndef PLANLOC_FOUNDATION_GEOMETRY_HULL_H_
#define PLANLOC_FOUNDATION_GEOMETRY_HULL_H_

#include "planloc/foundation/containers/list.h"
#include "planloc/foundation/geometry/point.h"

namespace planloc {

// The vertices of the convex hull of L in counterclockwise order.
// 1. Exact: a point is a vertex if and only if it is a corner of the hull of the coordinates as
//    they are. Points on an edge and repetitions of a vertex are none.
// 2. Collinear points have two vertices, equal points one, an empty list none.
// 3. Which vertex stands first is left to the random source of the process, which shuffles a copy
//    of L: it is the vertex that comes first there.
// 4. Points with a coordinate that is not a number are left out.
// Time O(n log n), as a rule O(n). Method: monotone chain (A. M. Andrew, 1979) of the points that
// no eight corners enclose (S. G. Akl, G. T. Toussaint, 1978).
list<point> CONVEX_HULL(const list<point>& L);

}  // namespace planloc

#endif  // PLANLOC_FOUNDATION_GEOMETRY_HULL_H_
