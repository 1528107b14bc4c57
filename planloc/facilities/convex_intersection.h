// The common part of two convex polygons, as the level sets of level_sets.h are cut with each
// other. For crossings of segments in general see planloc/foundation/geometry.
#ifndef PLANLOC_FACILITIES_CONVEX_INTERSECTION_H_
#define PLANLOC_FACILITIES_CONVEX_INTERSECTION_H_

#include <cstddef>
#include <vector>

#include "planloc/foundation/containers/list.h"
#include "planloc/foundation/geometry/closed_chain.h"
#include "planloc/foundation/geometry/point.h"
#include "planloc/foundation/geometry/polygon.h"
#include "planloc/foundation/geometry/xy.h"

namespace planloc {

// The common part of A and B; a copy of A if all of its vertices are inside or on B, else of B if
// all of its are inside or on A.
// 1. Otherwise its corners are the vertices of each that are inside or on the other, and the points
//    in which edges cross, each computed exactly and rounded once. One point is one corner.
// 2. Inside and outside are those of `polygon::side_of`, in doubles. Where the common part is about
//    the size of a rounding error, corners can be missing or out of order: then the result can be
//    empty, a point or a segment, or the call ends with one of the reports
//    "POLYGON: POLYGON is not simple" and "point::angle:  zero vector input.".
// 3. The corners pass through sort_around_centre in the order of a clockwise walk, so that a common
//    part that is too thin for the angles there keeps that order.
// 4. Polygons that touch have their common point or segment as the result.
// REQUIRES: A and B are convex and counterclockwise. What comes back for others is the chain of
// those corners around their mean.
polygon convex_intersection(const polygon& A, const polygon& B);

// Orders the points counterclockwise around their mean, the first one first: each further point
// goes in front of the first one that the angle from it to, at the mean, is above a half-turn, or
// to the end. For the corners of a convex polygon that is a walk around it. Points in general do
// not come out by their angles: of those on both sides of the first one's line, some can stand
// between others: intended, since all callers hand over corners.
// "point::angle:  zero vector input.", code 1, if a point is the mean, and there are two or more.
void sort_around_centre(list<point>& L);

namespace detail {

// `convex_intersection` on chains of corners, with its buffers kept from call to call.
class convex_clipper {
 public:
  enum class result { kFirst, kSecond, kCorners };

  // Which of the chains the common part is, or its corners around their mean, as they go into the
  // constructor of the result. `are_simple`: no two edges of one chain cross.
  result clip(closed_chain a, closed_chain b, bool are_simple, std::vector<xy>& corners);

 private:
  // The corners of one chain against the other: their `side_of`, and for each corner and each edge
  // of the other the sign of its exact orientation, 0 where the filter does not tell.
  struct sides {
    void compute(closed_chain corners, closed_chain other);
    // The exact sign.
    int orientation(closed_chain corners, closed_chain other, std::size_t corner,
                    std::size_t edge) const;

    std::vector<int> side;
    std::vector<int> certain;
    bool all_in = false;
  };

  // The corners of the common part, in any order and more than once; the second for all chains.
  void collect(closed_chain a, closed_chain b, std::vector<xy>& points) const;
  static void collect_from_any(closed_chain a, closed_chain b, std::vector<xy>& points);

  sides a_;
  sides b_;
};

}  // namespace detail
}  // namespace planloc

#endif  // PLANLOC_FACILITIES_CONVEX_INTERSECTION_H_
