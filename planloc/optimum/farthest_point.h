// What an answer tells of a place beyond the doubles. Internal.
#ifndef PLANLOC_OPTIMUM_FARTHEST_POINT_H_
#define PLANLOC_OPTIMUM_FARTHEST_POINT_H_

namespace planloc::detail {

// Under lp norms with p near 1 a place far away may be beyond all doubles: `solution::exact` has
// it, and of `point` a coordinate of greater magnitude is told as this one, with its sign.
inline constexpr double kFarthestPoint = 1e100;

}  // namespace planloc::detail

#endif  // PLANLOC_OPTIMUM_FARTHEST_POINT_H_
