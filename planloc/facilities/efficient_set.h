// The pieces of the efficient set of two criteria: the map of fundamental directions, and what its
// corners and cells are to the two objectives. The solver is `facilities::gauge_bicriteria`; its
// walk and its lexicographic optima are members of `facilities`, too.
//
// A map is a GRAPH with a point on each node and, on each edge, the segment between the points of
// its ends. The walk wants it as `prepare_map` leaves it: both directions of every edge, and the
// edges that leave a node in the order of their directions.
#ifndef PLANLOC_FACILITIES_EFFICIENT_SET_H_
#define PLANLOC_FACILITIES_EFFICIENT_SET_H_

#include "planloc/foundation/containers/list.h"
#include "planloc/foundation/geometry/point.h"
#include "planloc/foundation/geometry/segment.h"
#include "planloc/foundation/graph/graph.h"
#include "planloc/foundation/numeric/vector.h"

namespace planloc {

// ----- The map -----

// The arrangement of S (`SWEEP_SEGMENTS`) with an edge in each direction for every piece between
// two neighbouring nodes.
GRAPH<point, segment> segment_map(const list<segment>& S);

// The same nodes with the edges of each in counterclockwise order from the positive x axis, and of
// those in exactly the same direction the shortest only.
// 1. A node with a single edge loses that, too: intended. So the outer end of a fundamental segment
//    is a dead end, which edges lead to but none leave.
// 2. Angles are those of `segment::angle`, with 6.2831853072 added to negative ones.
// 3. An edge is replaced by a new one whenever it changes its place: handles become invalid.
GRAPH<point, segment> prepare_map(GRAPH<point, segment> map);

// ----- Corners and cells -----

// 1 if p is in L, compared exactly, else 0.
int point_list_contains(const list<point>& L, const point& p);

// A quarter-turn counterclockwise: (-v.y, v.x).
vector rotate_vector(const vector& v);

// The side of the line from p to q, seen with the direction (p.y - q.y, q.x - p.x) as its normal,
// to which g points: 1 for that of the normal, 0 along the line, -1.
int normal_side(const point& p, const point& q, const vector& g);

// What the triangle of a corner C and its two neighbours B and A along the boundary of a cell is to
// two objectives with the values fB0 ... fA1 there and the normals n0 and n1 (gradients after a
// quarter-turn) inside:
//   1  the gradients are parallel: the cell is taken for efficient
//   2  both objectives improve towards B or A
//   3  the efficient set goes on along the edge to A, or on the side of A
//   4  the same with B
//   5  C is at least as good as both neighbours in both objectives
// The tests come in a fixed order, compare exactly, and decide together with the class of the
// neighbouring triangle what is efficient; see `facilities::efficient_walk`.
int classify(const point& B, const point& C, const point& A, double fB0, double fC0, double fA0,
             double fB1, double fC1, double fA1, const vector& n0, const vector& n1);

}  // namespace planloc

#endif  // PLANLOC_FACILITIES_EFFICIENT_SET_H_
