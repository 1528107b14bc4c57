// One picture in memory: what a drawing window has drawn so far, in pixels. The window of window.h
// turns user coordinates into these pixels; draw through it unless pixels are what you have.
//
// Pixel (x, y) counts from the left upper corner, y downwards. Whatever lies outside the picture is
// accepted and not seen. Coordinates beyond +-kPixelLimit are moved there, so that a caller which
// has not clipped gets a wrong line at worst.
//
// The picture is kept as the list of its operations, which the pixels, SVG and PDF are three
// renderings of. A segment costs some 40 bytes and no rendering until somebody looks, so a run
// that nobody watches does not pay for its drawing.
#ifndef PLANLOC_FOUNDATION_WINDOW_SURFACE_H_
#define PLANLOC_FOUNDATION_WINDOW_SURFACE_H_

#include <memory>
#include <string>
#include <vector>

#include "planloc/foundation/window/color.h"

namespace planloc {

namespace detail {
class picture;
class raster;
}  // namespace detail

enum line_style : int { solid = 0, dashed = 1, dotted = 2 };

// Where a text stands as seen from its point. `right` and `left` keep a gap of kTextGap pixels and
// stand at half the height of a capital, `above` and `below` keep the gap and are centred over the
// point, `centre` covers it.
enum class text_place { right, left, above, below, centre };

inline constexpr int kTextGap = 8;

class surface {
 public:
  static constexpr int kMaxSize = 32767;       // width and height, in pixels
  static constexpr int kPixelLimit = 1 << 20;  // coordinates and radii
  static constexpr int kMaxLineWidth = 1 << 12;
  static constexpr int kMaxTextSize = 1 << 12;

  struct position {
    int x;
    int y;
  };

  // Width from 1; style 0 solid, 1 dashed, 2 dotted, anything else solid.
  struct pen {
    int width;
    int style;
    rgb colour;
  };

  // Size from 1: the height of the font in pixels, of which a capital has some seven tenths.
  struct lettering {
    int size;
    text_place place;
    rgb colour;
  };

  // A white picture; sizes outside 1..kMaxSize are moved to the nearer end.
  surface(int width, int height);
  ~surface();
  surface(const surface&) = delete;
  surface& operator=(const surface&) = delete;

  int width() const { return width_; }
  int height() const { return height_; }

  // ----- Drawing: later calls cover earlier ones -----

  // Forgets everything and paints the whole picture.
  void clear(rgb background);

  // A straight line through the middles of both pixels (through their left upper corners for an
  // even width, which keeps its edges sharp). With both ends in one pixel it is a dot of the pen's
  // width.
  void line(position from, position to, const pen& p);

  void dot(position at, rgb colour);  // a single pixel

  // A filled circle about the middle of a pixel; a radius below 1 is a dot.
  void disc(position centre, int radius, rgb colour);

  // The closed polygon, inside (non-zero winding) and boundary. Nothing for no vertices.
  void fill(const std::vector<position>& vertices, rgb colour);

  // One line of text about a pixel, in the sans-serif font of the system. Bytes that are no UTF-8
  // are read as Latin-1; control characters are blanks.
  void text(position at, const std::string& line, const lettering& l);

  // ----- Reading -----

  // The colour of a pixel; the background outside the picture.
  rgb pixel(int x, int y) const;

  // Writes the picture to a file in the format that the extension of its name says, in either case:
  // .png (width by height pixels), .svg (the same in user units), .pdf (one page, a pixel a point).
  // Returns the empty text, or the reason why the file was not written.
  std::string save(const std::string& file) const;

 private:
  friend class detail::raster;

  int width_;
  int height_;
  std::unique_ptr<detail::picture> picture_;
  mutable std::unique_ptr<detail::raster> pixels_;  // made by the first call of `pixel`
};

}  // namespace planloc

#endif  // PLANLOC_FOUNDATION_WINDOW_SURFACE_H_
