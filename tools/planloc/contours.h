// Level sets of a function in a rectangle, from its values on a grid (marching squares).
#ifndef PLANLOC_TOOLS_PLANLOC_CONTOURS_H_
#define PLANLOC_TOOLS_PLANLOC_CONTOURS_H_

#include <cstddef>
#include <functional>
#include <vector>

#include "planloc/certified.h"

namespace planloc::tool {

struct rectangle {
  xy low{0, 0};
  xy high{0, 0};

  double width() const { return high.x - low.x; }
  double height() const { return high.y - low.y; }
  double diagonal() const;
};

// Around all of the points, widened by a part of its size on each side; never without extent.
rectangle frame_of(const std::vector<xy>& points, double margin);

class sampled_function {
 public:
  // `columns` from 2; the rows follow from the shape.
  sampled_function(const rectangle& frame, std::size_t columns,
                   const std::function<double(const xy&)>& f);

  const rectangle& frame() const { return frame_; }

  // The share of the grid's values that are below the result, from 0 to 1.
  double quantile(double share) const;
  // Whether the places with values of at most `level` reach the frame's edge.
  bool goes_on_outside(double level) const;
  // The boundary of the places with values of at most `level`, its inside to the left of each ring.
  // It runs along the frame where the set goes on outside.
  std::vector<std::vector<xy>> rings(double level) const;

 private:
  double at(std::ptrdiff_t i, std::ptrdiff_t j) const;
  xy crossing(std::ptrdiff_t i, std::ptrdiff_t j, bool upwards, double level) const;
  xy node(std::ptrdiff_t i, std::ptrdiff_t j) const;

  rectangle frame_;
  std::ptrdiff_t columns_;
  std::ptrdiff_t rows_;
  std::vector<double> values_;
};

}  // namespace planloc::tool

#endif  // PLANLOC_TOOLS_PLANLOC_CONTOURS_H_
