// The pixels of a surface on a canvas of any size, brought up to date when somebody looks. This is
// the copy from which a window on the screen is repainted; to read or save the picture itself use
// surface.h.
//
// The picture keeps its shape: the scale is the same along both axes, the largest with which all of
// the picture fits, and the picture stands in the middle. What of the canvas lies beside it shows
// what was drawn there, beyond the picture's border. On a canvas of the picture's own size the
// pixels are those of `surface::pixel`.
#ifndef PLANLOC_FOUNDATION_WINDOW_RASTER_H_
#define PLANLOC_FOUNDATION_WINDOW_RASTER_H_

#include <cstddef>
#include <cstdint>
#include <vector>

#include "planloc/foundation/window/picture.h"

namespace planloc {

class surface;

namespace detail {

struct area {
  int x;
  int y;
  int width;
  int height;
};

class raster {
 public:
  // REQUIRES: the surface outlives the raster; sizes from 1.
  raster(const surface& source, int width, int height);
  raster(const picture& source, int width, int height);

  int width() const { return width_; }
  int height() const { return height_; }

  // Renders what was drawn since the last call, the first time everything. Returns areas inside the
  // canvas outside of which no pixel has changed: they follow a long line piece by piece, so that a
  // line costs its length and not the rectangle around it.
  std::vector<area> update();

  // Row y as of the last update, rrggbb in the lower 24 bits of each pixel; null if there was no
  // memory for the pixels.
  const std::uint32_t* row(int y) const;

  // The place in the picture, in its pixels, of the canvas pixel x or y.
  double picture_x(int x) const { return (x - where_.left) / where_.scale; }
  double picture_y(int y) const { return (y - where_.top) / where_.scale; }

 private:
  void add_areas(std::size_t operation_number, std::vector<area>& areas) const;
  void add_area(double x0, double y0, double x1, double y1, double reach,
                std::vector<area>& areas) const;
  area all() const { return {0, 0, width_, height_}; }

  const picture& source_;
  int width_;
  int height_;
  placement where_;
  surface_handle image_;
  std::size_t generation_ = 0;
  std::size_t painted_ = 0;
  bool is_painted_ = false;
};

}  // namespace detail
}  // namespace planloc

#endif  // PLANLOC_FOUNDATION_WINDOW_RASTER_H_
