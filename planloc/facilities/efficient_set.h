// The efficient set of two sums of gauge distances: the contract of `facilities::gauge_bicriteria`,
// and its pieces that are free functions: the map of fundamental directions, and what its corners
// and cells are to the two objectives. Its walk and its lexicographic optima are members of
// `facilities`, too.
//
// The efficient places of the sums f0 and f1 with weights 0 and 1 are a chain of segments and cells
// of the map that the fundamental directions of all facilities form (Wendell, Hurter and Lowe,
// 1977; Durier and Michelot, 1985). `opt` gets the chain from the best place for f0 to the best one
// for f1, piece by piece with the labels 1, 2, ...: two results with one label are the ends of a
// segment, more of them the corners of a cell in counterclockwise order. If a place is best for
// both, `opt` gets the places that are best for f0, and of those for f1, with the label 1.0. s
// fundamental directions in all have up to s * s crossings, and each costs two values f.
//
// ----- Where the chain is not the efficient set -----
//
// docs/solvers.md says how often.
// 1. Values are compared exactly. Where no value is rounded the chain is the efficient set, but for
//    3 and 4. Where rounding splits a tie, it can run through places that another one dominates: of
//    (0,0.5) with the weights 3, 1 and (1,0.6) with 3, 3, l1, it holds (0,0.5).
// 2. The walk has no bound: with a split tie it can circle, and never return. So do (0.5,0.6) with
//    the weights 2, 2 and (0.5,0.4) with 1, 2, l1.
// 3. The best places are looked for among the crossings on the descending side of the centre of
//    gravity for weight 0. Where rounding makes the centre better than all of them, or puts them on
//    the other side, there is none: for f0 that is "dlist::head(): empty list" ((0.4,0.8) and
//    (0.1,0.2) with the weights 1, 3 each, l1), and for f1 a walk without end ((1,0) with the
//    weights 1, 1 and (2,1) with 2, 1, l-infinity). If only some of them go, it can circle, too.
// 4. If the centre of gravity is a facility, the call ends with 1706: (0,0) with the weights 1, 0
//    and (1,0) with 0, 1; or a single facility. So it does if the middle of three corners of a cell
//    that the walk looks at is a facility.
// 5. Without `clear` an older first result takes the part of the centre of gravity.
//
// ----- Reports -----
//
// In this order: 1343 "False weight-dimension.": not two weights. 1344 "Different number of
// locations and gauges." 1345 "False gauge-number." 1346 "Negative entry or 0-row or 0-column in
// weight-matrix.": a negative weight, or a facility without weight. 1342, the same text: an
// objective without weight.
//
// ----- The map -----
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
// 1. A node with a single edge loses that, too: intended, so that the outer end of a fundamental
//    segment is a dead end, which edges lead to but none leave.
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
