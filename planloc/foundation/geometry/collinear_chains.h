// Segments sorted by their lines: overlaps become chains, so that a search for crossings meets each
// stretch of a line once. Internal to crossings.
#ifndef PLANLOC_FOUNDATION_GEOMETRY_COLLINEAR_CHAINS_H_
#define PLANLOC_FOUNDATION_GEOMETRY_COLLINEAR_CHAINS_H_

#include <cstddef>
#include <span>
#include <vector>

#include "planloc/foundation/geometry/xy.h"

namespace planloc::detail {

// A longest stretch of a line, or a single point, that segments cover without a gap.
struct chain {
  xy_segment hull;  // hull.a <= hull.b lexicographically
  // Its segments, as a range of chain_set::members.
  std::size_t first_member;
  std::size_t end_member;
};

struct chain_set {
  std::vector<chain> chains;
  std::vector<std::size_t> members;  // numbers of segments, chain by chain
  // The ends that lie on another segment of their chain, with repetitions.
  std::vector<xy> contacts;
};

// 1. Exact: segments share a chain if and only if one line holds them and their union is connected.
//    Trivial segments share a chain with equal ones alone.
// 2. Two chains have at most one point in common.
// 3. Segments with an end that is infinite or not a number are in no chain.
// O(n log n).
chain_set merge_collinear(std::span<const xy_segment> segments);

}  // namespace planloc::detail

#endif  // PLANLOC_FOUNDATION_GEOMETRY_COLLINEAR_CHAINS_H_
