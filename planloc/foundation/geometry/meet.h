// Whether and where two segments on bare coordinates meet. Internal: the inner loop of crossings.
#ifndef PLANLOC_FOUNDATION_GEOMETRY_MEET_H_
#define PLANLOC_FOUNDATION_GEOMETRY_MEET_H_

#include <optional>

#include "planloc/foundation/geometry/xy.h"

namespace planloc::detail {

// The only common point of two segments, as `segment::intersection` gives it.
// REQUIRES: finite coordinates; s.a <= s.b and t.a <= t.b lexicographically; not more than one
// common point.
std::optional<xy> meet(const xy_segment& s, const xy_segment& t);

}  // namespace planloc::detail

#endif  // PLANLOC_FOUNDATION_GEOMETRY_MEET_H_
