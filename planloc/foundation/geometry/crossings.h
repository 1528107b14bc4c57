// The points in which segments meet. graph/arrangement.h has the map that segments form;
// `segment::intersection` is for two of them.
#ifndef PLANLOC_FOUNDATION_GEOMETRY_CROSSINGS_H_
#define PLANLOC_FOUNDATION_GEOMETRY_CROSSINGS_H_

#include <vector>

#include "planloc/foundation/containers/list.h"
#include "planloc/foundation/geometry/point.h"
#include "planloc/foundation/geometry/segment.h"
#include "planloc/foundation/geometry/xy.h"

namespace planloc {

// Replaces I by all points in which two segments of S meet, by x and then y, each once.
// 1. The decision is exact for the ends as they are. Ends that touch another segment count; so do
//    trivial segments, and segments that are equal meet in both ends.
// 2. Of collinear segments that overlap, each end that lies on another segment is a point.
// 3. A point is exact where it is an end, and otherwise the exact crossing with each coordinate
//    rounded once to the nearest double. Crossings that round to the same doubles are one point.
// 4. A segment with an end that is infinite or not a number meets nothing.
// Time and memory grow with the input and the number of crossing pairs of lines, not with the
// square of the input.
void SEGMENT_INTERSECTION(const list<segment>& S, list<point>& I);

namespace detail {

// For flat_crossings.h.
std::vector<xy_segment> flat_segments(const list<segment>& S);

}  // namespace detail
}  // namespace planloc

#endif  // PLANLOC_FOUNDATION_GEOMETRY_CROSSINGS_H_
