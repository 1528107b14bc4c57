// Crossings and pieces of segments on flat arrays, for solvers' inner loops; crossings.h and
// graph/arrangement.h are for users.
#ifndef PLANLOC_FOUNDATION_GEOMETRY_FLAT_CROSSINGS_H_
#define PLANLOC_FOUNDATION_GEOMETRY_FLAT_CROSSINGS_H_

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "planloc/foundation/geometry/xy.h"

namespace planloc::detail {

// All points in which two of the segments meet, by the rules of SEGMENT_INTERSECTION, in
// lexicographic order, each once and without negative zeros.
std::vector<xy> find_crossings(std::span<const xy_segment> segments);

// The segments cut at every point in which they meet.
struct flat_arrangement {
  // Ends and crossings in lexicographic order, each once and without negative zeros.
  std::vector<xy> nodes;
  // Segment i runs from its source to its target through the nodes
  // path[start[i]], ..., path[start[i + 1] - 1]; that is one node for a trivial segment and none
  // for one with an end that is infinite or not a number.
  std::vector<std::size_t> start;
  std::vector<std::uint32_t> path;
};

flat_arrangement cut_segments(std::span<const xy_segment> segments);

// Calls visit(v, w) for the two nodes of every piece, in the order of the segments.
template <class Visit>
void for_each_piece(const flat_arrangement& flat, Visit visit) {
  for (std::size_t i = 0; i + 1 < flat.start.size(); ++i) {
    for (std::size_t n = flat.start[i]; n + 1 < flat.start[i + 1]; ++n) {
      visit(flat.path[n], flat.path[n + 1]);
    }
  }
}

}  // namespace planloc::detail

#endif  // PLANLOC_FOUNDATION_GEOMETRY_FLAT_CROSSINGS_H_
