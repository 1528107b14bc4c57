// Exact decisions and correctly rounded crossings in pairs of doubles, for coordinates of ordinary
// size. Internal: the rung of exact_orientation.h between the filter and fixed-width integers.
#ifndef PLANLOC_FOUNDATION_GEOMETRY_CERTAIN_CROSSING_H_
#define PLANLOC_FOUNDATION_GEOMETRY_CERTAIN_CROSSING_H_

#include <optional>

#include "planloc/foundation/geometry/xy.h"

namespace planloc::detail {

// The sign of (b - a) x (d - c), if the four differences are doubles; or nothing.
// REQUIRES: finite coordinates.
std::optional<int> certain_turn(const xy& a, const xy& b, const xy& c, const xy& d);

// The common point of the lines ab and cd, each coordinate the double nearest to the exact value;
// or nothing, if that value lies too close to the middle between two doubles to tell.
// REQUIRES: finite coordinates; the lines are not parallel.
std::optional<xy> certain_crossing(const xy& a, const xy& b, const xy& c, const xy& d);

}  // namespace planloc::detail

#endif  // PLANLOC_FOUNDATION_GEOMETRY_CERTAIN_CROSSING_H_
