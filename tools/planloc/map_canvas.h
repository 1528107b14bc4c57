// A part of a picture with coordinates of its own: lines, areas, dots, and texts that keep clear of
// each other.
#ifndef PLANLOC_TOOLS_PLANLOC_MAP_CANVAS_H_
#define PLANLOC_TOOLS_PLANLOC_MAP_CANVAS_H_

#include <string>
#include <vector>

#include "planloc/planloc.h"
#include "tools/planloc/contours.h"

namespace planloc::tool {

// In pixels, y downwards.
struct pixel_box {
  double left, top, right, bottom;

  bool meets(const pixel_box& o) const {
    return left < o.right && o.left < right && top < o.bottom && o.top < bottom;
  }
  bool holds(const pixel_box& o) const {
    return left <= o.left && o.right <= right && top <= o.top && o.bottom <= bottom;
  }
};

// About as wide as the font draws it.
double text_width(const std::string& text, int size);

class map_canvas {
 public:
  // `frame` fills `area` in one of the directions and is centred in the other.
  map_canvas(surface& picture, const pixel_box& area, const rectangle& frame);

  const pixel_box& area() const { return area_; }
  double scale() const { return scale_; }  // pixels per unit
  surface::position pixel(const xy& p) const;

  void line(const xy& from, const xy& to, const surface::pen& pen);
  void ring(const std::vector<xy>& corners, const surface::pen& pen);
  void fill(const std::vector<xy>& corners, rgb colour);
  // A disc with a light rim; texts keep clear of it.
  void dot(const xy& at, int radius, rgb colour);

  // Beside a dot of this radius, on the first side with room; or nowhere, and false.
  bool label(const xy& at, int radius, const std::string& text, int size, rgb colour);
  void keep_clear(const pixel_box& box) { taken_.push_back(box); }
  // Paints what was drawn outside of the area over, and frames it.
  void finish(int width, int height);

 private:
  bool free(const pixel_box& box) const;

  surface& picture_;
  pixel_box area_;
  double scale_;
  xy origin_;  // of the area's left upper corner
  std::vector<pixel_box> taken_;
};

}  // namespace planloc::tool

#endif  // PLANLOC_TOOLS_PLANLOC_MAP_CANVAS_H_
