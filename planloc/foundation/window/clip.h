// Parts of straight lines and polygons inside a box, for whatever coordinates a caller has:
// infinite, huge, or not a number. The drawing window cuts with these before it turns user
// coordinates into pixels; for crossings that a result depends on, see
// planloc/foundation/geometry/.
//
// An infinite coordinate counts as the largest finite one. Nothing is left of an object with a
// coordinate that is not a number. Ends and vertices inside the box come back bit for bit.
#ifndef PLANLOC_FOUNDATION_WINDOW_CLIP_H_
#define PLANLOC_FOUNDATION_WINDOW_CLIP_H_

#include <optional>
#include <vector>

#include "planloc/foundation/geometry/xy.h"

namespace planloc::detail {

struct box {
  double xmin;
  double xmax;
  double ymin;
  double ymax;
};

struct span {
  xy from;
  xy to;
};

// What of the object lies in the closed box, in the object's direction, or nothing.
std::optional<span> clip_segment(const box& b, xy from, xy to);
// From `source` through `through`. Equal points: that point.
std::optional<span> clip_ray(const box& b, xy source, xy through);
// Through both points, without end. Equal points: that point.
std::optional<span> clip_line(const box& b, xy p, xy q);

// The polygon's vertices after cutting along the four sides of the box (Sutherland and Hodgman,
// 1974). Parts that the box cuts off from each other stay joined along its border.
std::vector<xy> clip_polygon(const box& b, std::vector<xy> vertices);

}  // namespace planloc::detail

#endif  // PLANLOC_FOUNDATION_WINDOW_CLIP_H_
