// Rectangles of the plane, halved again and again, with a tangent of each distance on each of them.
// Internal.
#ifndef PLANLOC_OPTIMUM_ALLOCATION_PLANE_BOXES_H_
#define PLANLOC_OPTIMUM_ALLOCATION_PLANE_BOXES_H_

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "planloc/foundation/geometry/xy.h"
#include "planloc/optimum/allocation/local_search.h"

namespace planloc::detail {

// A rectangle, in the coordinates of the ground's table, that holds a place of least sum of the
// distances for every set of the sites: such a place is no farther from some of these sites than
// the origin is, which lies amid them. Its halves meet where sites hardly ever are.
xy_box box_of_optima(const allocation_ground& ground);

// Box 0 is the whole.
class plane_boxes {
 public:
  plane_boxes(const allocation_ground& ground, const xy_box& whole);

  // Two boxes, this one and the next: the halves across the longer side.
  std::uint32_t halves(std::uint32_t box);
  double longest_side(std::uint32_t box) const;
  xy middle(std::uint32_t box) const;

  // No more than the sum over all sites of the distance from the nearest of x, y and the existing
  // facilities, for all x in one box and y in the other. Each distance is replaced by its tangent
  // at the middle of the box; what comes out is concave, so least at corners.
  double bound(std::uint32_t x, std::uint32_t y);

  // That sum with the middles as x and y, or less where existing facilities serve.
  double value_at_middles(std::uint32_t x, std::uint32_t y);

  // Whether for all but some sites the tangents alone tell which of the two is nearer.
  bool few_open(std::uint32_t x, std::uint32_t y);

  const xy_box& operator[](std::uint32_t box) const { return boxes_[box].where; }
  // By slot; empty if there is none.
  std::span<const double> nearest_existing() const { return nearest_existing_; }

  // Of a bound, relative to the sum of the magnitudes of what makes it up: what roundings here and
  // in a check can come to.
  double rounding() const { return rounding_; }

 private:
  // By slot, at the corners (low, low), (high, low), (low, high), (high, high).
  struct tangents {
    std::vector<double> at_corners;
    double magnitude = 0;
  };
  struct plane_box {
    xy_box where;
    std::uint32_t halves = 0;
    tangents row = {};
  };

  const tangents& row_of(std::uint32_t box, std::uint32_t beside);
  void forget_rows(std::uint32_t except);
  void fill(plane_box& b) const;

  const allocation_ground& ground_;
  std::vector<double> nearest_existing_;
  std::vector<plane_box> boxes_;
  std::size_t rows_ = 0;  // that are filled
  double rounding_;
};

}  // namespace planloc::detail

#endif  // PLANLOC_OPTIMUM_ALLOCATION_PLANE_BOXES_H_
