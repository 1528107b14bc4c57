// One line of text about a point of the picture: its font, its place, and what bytes it may hold.
// Draw through surface.h.
#ifndef PLANLOC_FOUNDATION_WINDOW_TEXT_H_
#define PLANLOC_FOUNDATION_WINDOW_TEXT_H_

#include <cairo.h>

#include <string>

#include "planloc/foundation/window/surface.h"

namespace planloc::detail {

// Where the pen starts, and the box around the ink, relative to the point, in pixels.
struct text_layout {
  double x, y;
  double left, top, right, bottom;
};

text_layout lay_out(const std::string& line, int size, text_place place);

// Paints with the current source; `scale` is that of the picture. The line comes from `as_utf8`.
void paint_text(cairo_t* cr, double x, double y, double scale, const std::string& line, int size,
                text_place place);

// Text that the font library takes: bytes that are no UTF-8 are read as Latin-1, and control
// characters become blanks.
std::string as_utf8(const std::string& bytes);

}  // namespace planloc::detail

#endif  // PLANLOC_FOUNDATION_WINDOW_TEXT_H_
