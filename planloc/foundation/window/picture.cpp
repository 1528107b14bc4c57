#include "planloc/foundation/window/picture.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "planloc/foundation/window/surface.h"

namespace planloc::detail {

namespace {

void set_source(cairo_t* cr, rgb c) {
  cairo_set_source_rgb(cr, c.red / 255.0, c.green / 255.0, c.blue / 255.0);
}

// Positions become whole pixels again and lines stay at least a pixel wide, so that they are sharp
// at every scale.
class placed {
 public:
  placed(const operation& op, const int* numbers, const placement& where)
      : numbers_(numbers), where_(where), width_(std::max(length(op.width), 1)) {}

  int x(std::size_t i) const { return length(numbers_[i]) + where_.left; }
  int y(std::size_t i) const { return length(numbers_[i]) + where_.top; }
  int radius(std::size_t i) const { return length(numbers_[i]); }
  int line_width() const { return width_; }

 private:
  int length(int pixels) const { return static_cast<int>(std::lround(pixels * where_.scale)); }

  const int* numbers_;
  const placement& where_;
  int width_;
};

// Dashes start half a pixel early: the line starts in the middle of a pixel, and so they end
// between two.
void set_pen(cairo_t* cr, int width, int style) {
  const double w = width;
  cairo_set_line_width(cr, w);
  cairo_set_line_join(cr, CAIRO_LINE_JOIN_ROUND);
  cairo_set_line_cap(cr, style == solid ? CAIRO_LINE_CAP_ROUND : CAIRO_LINE_CAP_BUTT);
  if (style == dashed) {
    const double pattern[] = {4 * w + 2, 2 * w + 2};
    cairo_set_dash(cr, pattern, 2, 0.5);
  } else if (style == dotted) {
    // Longer than wide: dots of a single pixel would all but vanish on a slanted line.
    const double pattern[] = {w + 1, w + 1};
    cairo_set_dash(cr, pattern, 2, 0.5);
  } else {
    cairo_set_dash(cr, nullptr, 0, 0);
  }
}

void fill_disc(cairo_t* cr, double x, double y, double radius) {
  cairo_new_path(cr);
  cairo_arc(cr, x, y, radius, 0, 2 * std::numbers::pi);
  cairo_fill(cr);
}

void fill_pixel(cairo_t* cr, int x, int y) {
  cairo_rectangle(cr, x, y, 1, 1);
  cairo_fill(cr);
}

void paint_line(cairo_t* cr, int style, const placed& at) {
  const int width = at.line_width();
  const double middle = width % 2 ? 0.5 : 0.0;
  if (at.x(0) == at.x(2) && at.y(1) == at.y(3)) {
    fill_disc(cr, at.x(0) + middle, at.y(1) + middle, width / 2.0);
    return;
  }
  set_pen(cr, width, style);
  cairo_move_to(cr, at.x(0) + middle, at.y(1) + middle);
  cairo_line_to(cr, at.x(2) + middle, at.y(3) + middle);
  cairo_stroke(cr);
}

void paint_fill(cairo_t* cr, std::size_t count, const placed& at) {
  for (std::size_t i = 0; i < count; i += 2) cairo_line_to(cr, at.x(i) + 0.5, at.y(i + 1) + 0.5);
  cairo_close_path(cr);
  cairo_fill_preserve(cr);
  set_pen(cr, 1, solid);
  cairo_stroke(cr);
}

void paint(cairo_t* cr, const picture& source, std::size_t i, const placement& where) {
  const operation& op = source.at(i);
  const placed at(op, source.numbers(i), where);
  set_source(cr, op.colour);
  switch (op.kind) {
    case drawing::line:
      paint_line(cr, op.style, at);
      break;
    case drawing::dot:
      fill_pixel(cr, at.x(0), at.y(1));
      break;
    case drawing::disc:
      if (at.radius(2) < 1) {
        fill_pixel(cr, at.x(0), at.y(1));
      } else {
        fill_disc(cr, at.x(0) + 0.5, at.y(1) + 0.5, at.radius(2));
      }
      break;
    case drawing::fill:
      paint_fill(cr, op.count, at);
      break;
    case drawing::text:
      paint_text(cr, at.x(0) + 0.5, at.y(1) + 0.5, where.scale, source.line(i), op.width,
                 source.place(i));
      break;
  }
}

}  // namespace

void picture::clear(rgb background) {
  background_ = background;
  operations_.clear();
  numbers_.clear();
  lines_.clear();
  ++generation_;
}

void picture::add(drawing kind, rgb colour, std::initializer_list<int> numbers, int width,
                  int style) {
  begin(kind, colour, width, style);
  for (int v : numbers) put(v);
}

void picture::begin(drawing kind, rgb colour, int width, int style) {
  operations_.push_back({kind, colour, static_cast<std::int16_t>(width),
                         static_cast<std::int16_t>(style), 0, numbers_.size()});
}

void picture::put(int v) {
  numbers_.push_back(v);
  ++operations_.back().count;
}

void picture::add_text(const std::string& line, int x, int y, int size, text_place place,
                       rgb colour) {
  add(drawing::text, colour, {x, y, static_cast<int>(lines_.size()), static_cast<int>(place)},
      size);
  lines_.push_back(line);
}

void picture::render(cairo_t* cr, std::size_t first, const placement& where) const {
  if (first == 0) {
    set_source(cr, background_);
    cairo_paint(cr);
  }
  for (std::size_t i = first; i < operations_.size(); ++i) paint(cr, *this, i, where);
}

}  // namespace planloc::detail
