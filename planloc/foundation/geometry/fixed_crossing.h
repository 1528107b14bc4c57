// Exact decisions on points with double coordinates in integers of fixed width, without the heap.
// Internal: the second step of rat_ray.h and rat_point.h, behind filter.h.
//
// All coordinates of a call are scaled by one power of 2 to integers. That takes their exponents to
// lie within kMaxSpread of each other, wherever that range is; otherwise there is no answer and
// the caller goes on with `integer`.
#ifndef PLANLOC_FOUNDATION_GEOMETRY_FIXED_CROSSING_H_
#define PLANLOC_FOUNDATION_GEOMETRY_FIXED_CROSSING_H_

#include <optional>

#include "planloc/foundation/geometry/filter.h"
#include "planloc/foundation/numeric/wide_int.h"

namespace planloc::detail {

inline constexpr int kMaxSpread = 73;

// The point (X / W, Y / W) * 2^exponent, W above 0.
struct fixed_point {
  wide_int<6> X;
  wide_int<6> Y;
  wide_int<4> W;
  int exponent;
};

// How a ray meets a segment.
enum class meeting {
  kNone,
  kSource,  // in the segment's source, being trivial or parallel to the ray
  kTarget,  // the same for its target
  kCut,     // in the common point of two lines that are not parallel
  kUnknown  // the coordinates are too far apart
};

// The ray from a through b against the segment cd, by the rules of `rat_ray::intersection`.
// `cut` is written only for kCut. REQUIRES: finite coordinates.
meeting meet_fixed(const xy& a, const xy& b, const xy& c, const xy& d, fixed_point& cut);

// The sign of (b - a) x (c - a), if the coordinates are close enough. REQUIRES: finite coordinates.
std::optional<int> orientation_fixed(const xy& a, const xy& b, const xy& c);

// The sign of (b - a) x (d - c), likewise.
std::optional<int> turn_fixed(const xy& a, const xy& b, const xy& c, const xy& d);

}  // namespace planloc::detail

#endif  // PLANLOC_FOUNDATION_GEOMETRY_FIXED_CROSSING_H_
