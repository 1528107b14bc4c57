// The map that segments form in the plane. geometry/crossings.h has the points alone.
#ifndef PLANLOC_FOUNDATION_GRAPH_ARRANGEMENT_H_
#define PLANLOC_FOUNDATION_GRAPH_ARRANGEMENT_H_

#include "planloc/foundation/containers/list.h"
#include "planloc/foundation/geometry/point.h"
#include "planloc/foundation/geometry/segment.h"
#include "planloc/foundation/graph/graph.h"

namespace planloc {

// Replaces G by the arrangement of S.
// 1. One node for each point that is an end of a segment or in which two segments meet, by the
//    rules of SEGMENT_INTERSECTION; nodes in order of x, then y.
// 2. Every segment has its own edges, one between any two consecutive nodes on it, so that
//    segments that overlap give parallel edges. A trivial segment has a node and no edge.
// 3. An edge has the direction of its segment; its value is the piece, from the point of its source
//    to the point of its target. Edges come segment by segment in the order of S, those of one
//    segment from its source to its target.
// 4. With `embed` each edge also has its opposite, and G is a map: the edges around a node stand in
//    counterclockwise order, from direction 0 (along the x axis) on, parallel ones in the order of
//    their segments. The edge list then runs node by node.
// 5. A segment with an end that is infinite or not a number is left out.
void SWEEP_SEGMENTS(const list<segment>& S, GRAPH<point, segment>& G, bool embed = false);

}  // namespace planloc

#endif  // PLANLOC_FOUNDATION_GRAPH_ARRANGEMENT_H_
