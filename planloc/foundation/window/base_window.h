// The drawing window without the plane objects: frame, pen, panel items and the drawing of plain
// coordinates. Build a `window` (window.h), which adds segments, rays, lines and polygons.
//
// Order of calls: built, init (at any time, also again), display, then drawing and read_mouse. A
// window draws on a surface in memory and follows this order whether or not anybody sees it:
//   1. Drawing before display() prints "Error: Window has to be displayed before drawing.\n" on the
//      error stream and aborts; read_mouse before display() prints "Error: Window has to be
//      displayed before mouse input.\n" and aborts.
//   2. Each drawing call takes effect at once: a later one covers it, a copy that is saved right
//      after it shows it.
//   3. A window never goes back from displayed: drawing after close() still goes into the picture.
//
// User coordinates turn into pixels by
//   px = (x - xmin) * scale,  py = height - (y - ymin) * scale,
// each rounded to the nearest int, halves away from zero. So the lower and the right border of the
// frame stand one pixel outside the picture. Coordinates may be anything: what is infinite counts
// as the largest finite double, and an object with a coordinate that is not a number is not drawn.
//
// Without a display nobody is asked and nothing fails: read_mouse returns at once, and reports of
// the foundation stay with the handler of planloc/foundation/containers/error_handler.h, so that
// building a window installs none.
#ifndef PLANLOC_FOUNDATION_WINDOW_BASE_WINDOW_H_
#define PLANLOC_FOUNDATION_WINDOW_BASE_WINDOW_H_

#include <vector>

#include "planloc/foundation/containers/list.h"
#include "planloc/foundation/containers/string.h"
#include "planloc/foundation/window/clip.h"
#include "planloc/foundation/window/color.h"
#include "planloc/foundation/window/surface.h"

namespace planloc {

// An entry of the strip above the drawing area. A text may carry markup, "\bf", "\red" and the
// like, which is kept as it stands; a text has no value and no help.
struct panel_item {
  enum class kind { text, button };

  kind type;
  string label;
  int value;
  string help;
};

class BASE_WINDOW {
 public:
  // Not displayed yet; the frame is that of init(0, 100, 0). Width and height are rounded to the
  // nearest int and moved into 1..surface::kMaxSize; one that is not a number counts as 1.
  BASE_WINDOW(float width, float height);                       // label and title "FLNZ Window"
  BASE_WINDOW(float width, float height, const string& label);  // title "Window: " and the label
  BASE_WINDOW(const BASE_WINDOW&) = delete;
  BASE_WINDOW& operator=(const BASE_WINDOW&) = delete;

  // ----- Frame and panel -----

  // x runs from x0 to x1 over the width, y from y0 upwards by the same scale. Grid lines stand at
  // the multiples of `grid`, none for grid 0 or below; for lines less than kMinGridPixels apart,
  // "warning: grid distance to small.\n" goes to the error stream and the grid is 0. A displayed
  // window is erased with `erase`; without, its picture stays as it was drawn.
  // x0 >= x1, or one of them not a number: prints "illegal arguments in W.init: x0 (%f) >= x1
  // (%f)\n" on the error stream and aborts.
  void init(double x0, double x1, double y0, int grid = 0, bool erase = true);

  // Adds a button and returns its value. Value -1: the number of buttons so far, or the next above
  // it that no button has; so the first one is 0. Buttons added after display() may not appear.
  int button(const string& label, int value = -1, const char* help = nullptr);
  void text_item(const string& text);

  static constexpr int kMinGridPixels = 3;

  // ----- Appearance: what the setters return is the old value -----

  // Whether the place of the mouse is shown, in the form of `coordinates`.
  void set_show_coordinates(bool show) { show_coordinates_ = show; }
  int set_line_width(int pixels);  // below 1 counts as 1
  int set_line_style(int style);   // 0 solid, 1 dashed, 2 dotted; anything else is drawn solid
  // What color::kDefault stands for, black at first. A number outside the table changes nothing.
  color set_color(color c);

  // ----- Display -----

  // Opens the window, with its left upper corner at (x, y) of the screen or at the default place.
  // The first time, the grid is drawn; after that the picture stays as it is, so that the call on
  // an open window only shows it again.
  void display(int x, int y);
  void display();

  // Takes the window from the screen; the picture stays.
  void close() { open_ = false; }

  // The button pressed: a panel button's value, or -1, -2, -3 for the left, middle, right button in
  // the drawing area. Without a display: the value of the first panel button at once, 0 if there is
  // none.
  int read_mouse();

  // ----- Drawing -----
  // A colour outside the table is the window's default colour.

  // A filled circle of radius r, rounded in pixels; below one pixel a single pixel is set.
  void draw_disc(double x, double y, double r, color c = {});
  // In the current width and style. A segment of no length is a dot of the line's width.
  void draw_segment(double x1, double y1, double x2, double y2, color c = {});
  // A cross of four arms of kCrossArm pixels, solid, in the current width.
  void draw_point(double x, double y, color c = {});

  static constexpr int kCrossArm = 3;

  // Writes the picture to a .png, .svg or .pdf file (surface::save); may come before display(). On
  // failure: "Error: Window cannot be saved as FILE: REASON\n" on the error stream, and false.
  bool save(const string& file) const;

  // ----- State -----

  int width() const { return picture_.width(); }
  int height() const { return picture_.height(); }
  const string& label() const { return label_; }
  const string& title() const { return title_; }
  double xmin() const { return xmin_; }
  double xmax() const { return xmax_; }
  double ymin() const { return ymin_; }
  double ymax() const { return ymax_; }
  double scale() const { return scale_; }  // pixels per user unit
  int grid() const { return grid_; }
  int line_width() const { return line_width_; }
  int line_style() const { return line_style_; }
  bool show_coordinates() const { return show_coordinates_; }
  bool is_displayed() const { return displayed_; }  // display() has been called
  bool is_open() const { return open_; }            // and not been followed by close()
  const list<panel_item>& panel_items() const { return panel_items_; }
  // The colour of a pixel, as drawn so far.
  rgb pixel(int px, int py) const { return picture_.pixel(px, py); }

  // ----- Coordinates -----

  // Results are kept within +-surface::kPixelLimit, which is also what not a number gives.
  int pixel_x(double x) const;
  int pixel_y(double y) const;
  double user_x(int px) const { return xmin_ + px / scale_; }
  double user_y(int py) const { return ymin_ + (height() - py) / scale_; }
  // The user coordinates of a pixel as they are shown, "%8.2f %8.2f".
  string coordinates(int px, int py) const;

 protected:
  // The rule of order 1 above.
  void check_drawing() const;

  // The frame, and the frame with all that is near enough to it to be worth drawing.
  detail::box frame() const { return {xmin_, xmax_, ymin_, ymax_}; }
  detail::box reach() const;

  // Drawing after the clipping, for coordinates inside reach().
  void draw_span(const detail::span& s, color c);
  void fill_polygon(const std::vector<detail::xy>& vertices, color c);

 private:
  BASE_WINDOW(float width, float height, const string& label, const string& title);
  void erase();
  rgb table_entry(color c) const;
  surface::position pixel_of(detail::xy p) const { return {pixel_x(p.x), pixel_y(p.y)}; }

  surface picture_;
  string label_;
  string title_;
  double xmin_ = 0;
  double xmax_ = 0;
  double ymin_ = 0;
  double ymax_ = 0;
  double scale_ = 0;
  int grid_ = 0;
  int line_width_ = 1;
  int line_style_ = solid;
  color default_color_ = black;
  bool show_coordinates_ = false;
  bool displayed_ = false;
  bool open_ = false;
  list<panel_item> panel_items_;
};

}  // namespace planloc

#endif  // PLANLOC_FOUNDATION_WINDOW_BASE_WINDOW_H_
