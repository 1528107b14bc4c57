// Closed chains of corners as flat arrays, with an edge from each corner to its cyclic successor:
// the arithmetic of polygon.h for inner loops.
#ifndef PLANLOC_FOUNDATION_GEOMETRY_CLOSED_CHAIN_H_
#define PLANLOC_FOUNDATION_GEOMETRY_CLOSED_CHAIN_H_

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <span>

#include "planloc/foundation/geometry/xy.h"

namespace planloc::detail {

using closed_chain = std::span<const xy>;

inline bool all_finite(closed_chain chain) {
  return std::all_of(chain.begin(), chain.end(),
                     [](const xy& p) { return std::isfinite(p.x) && std::isfinite(p.y); });
}
inline std::size_t behind(closed_chain chain, std::size_t i) {
  return i + 1 == chain.size() ? 0 : i + 1;
}

// Half the shoelace sum over the edges, taken from the first corner: a chain that is small against
// its distance from the origin keeps its sign, and one on an axis-parallel line has the area 0.0.
// 0.0 for the empty chain.
double signed_area(closed_chain chain);

// Whether two edges cross: each has its ends strictly on different sides of the other, exactly.
// Linear time for a strictly convex chain, quadratic for others. In plain doubles where
// a coordinate is infinite or not a number.
bool crosses_itself(closed_chain chain);

// The reports of polygon's constructor, for the checks asked for.
void check_chain(closed_chain chain, bool for_simplicity, bool for_weakly_simple);

// 1 inside, 0 on an edge, -1 outside, by the rules of `polygon::side_of`.
int side_of(closed_chain chain, const xy& p);

// The cross product (b - a) x (p - a) as it comes out in doubles.
inline double plain_cross(const xy& a, const xy& b, const xy& p) {
  return (b.x - a.x) * (p.y - a.y) - (b.y - a.y) * (p.x - a.x);
}

// The edges around p one by one. The ray from p to the right meets an edge that goes up (lower end
// included, upper end not) with p on its left, or one that goes down with p on its right: the
// winding number counts both. The edges that p lies on are those whose bounding box it is in and to
// which its cross product is 0.0.
class side_counter {
 public:
  explicit side_counter(const xy& p) : p_(p) {}

  // REQUIRES: cross == plain_cross(a, b, p).
  void pass(const xy& a, const xy& b, double cross) {
    if (!(cross > 0.0) && !(cross < 0.0) && in_box(a, b)) on_edge_ = true;
    const bool starts_below = a.y <= p_.y;
    const bool ends_below = b.y <= p_.y;
    winding_ += static_cast<int>(starts_below && !ends_below && cross > 0.0);
    winding_ -= static_cast<int>(!starts_below && ends_below && cross < 0.0);
  }

  int side() const { return on_edge_ ? 0 : winding_ != 0 ? 1 : -1; }

 private:
  bool in_box(const xy& a, const xy& b) const {
    return std::min(a.x, b.x) <= p_.x && p_.x <= std::max(a.x, b.x) && std::min(a.y, b.y) <= p_.y &&
           p_.y <= std::max(a.y, b.y);
  }

  xy p_;
  int winding_ = 0;
  bool on_edge_ = false;
};

}  // namespace planloc::detail

#endif  // PLANLOC_FOUNDATION_GEOMETRY_CLOSED_CHAIN_H_
