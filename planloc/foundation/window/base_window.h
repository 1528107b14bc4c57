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
// Whether anybody sees it is found out once, when the first window or panel is to be shown: DISPLAY
// is set and the connection opens (and planloc was built with PLANLOC_WINDOW). On a screen, each
// drawing call is seen at once; the window is repainted, and clicks are looked at, while read_mouse
// waits. The window system may give the window any size: the whole frame stays visible, with one
// scale along both axes, and what is left beside it shows more of the plane. Without a display
// nobody is asked and nothing fails. A display that goes away during a run ends the process with
// "Error: The display has gone away.\n" on the error stream and status 1.
#ifndef PLANLOC_FOUNDATION_WINDOW_BASE_WINDOW_H_
#define PLANLOC_FOUNDATION_WINDOW_BASE_WINDOW_H_

#include <memory>
#include <optional>
#include <vector>

#include "planloc/foundation/containers/list.h"
#include "planloc/foundation/containers/string.h"
#include "planloc/foundation/window/clip.h"
#include "planloc/foundation/window/color.h"
#include "planloc/foundation/window/panel_item.h"
#include "planloc/foundation/window/surface.h"

namespace planloc {

namespace detail {
class screen_window;
struct mouse_press;
struct screen_position;
}  // namespace detail

class BASE_WINDOW {
 public:
  // Not displayed yet; the frame is that of init(0, 100, 0). Width and height are rounded to the
  // nearest int and moved into 1..surface::kMaxSize; one that is not a number counts as 1.
  BASE_WINDOW(float width, float height);                       // label and title "FLNZ Window"
  BASE_WINDOW(float width, float height, const string& label);  // title "Window: " and the label
  // A panel: only texts and buttons, as large as they need; the label is the title. What is drawn
  // into it is not seen.
  explicit BASE_WINDOW(const string& label);
  // Takes the window from the screen.
  ~BASE_WINDOW();
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
  // A line of text, with the markup of markup.h: "\bf", "\red" and the like.
  void text_item(const string& text);
  // The same without markup, for a text that quotes what somebody else wrote.
  void plain_text_item(const string& text);
  // 0, as at first: as many as fit.
  void set_buttons_per_line(int count) { buttons_per_line_ = count; }

  static constexpr int kMinGridPixels = 3;

  // ----- Appearance: what the setters return is the old value -----

  // Whether the place of the mouse is shown, in the form of `coordinates`.
  void set_show_coordinates(bool show) { show_coordinates_ = show; }
  int set_line_width(int pixels);  // below 1 counts as 1
  int set_line_style(int style);   // 0 solid, 1 dashed, 2 dotted; anything else is drawn solid
  int set_text_size(int pixels);   // the height of the font; below 1 counts as 1; 14 at first
  // What color::kDefault stands for, black at first. A number outside the table changes nothing.
  color set_color(color c);

  // ----- Display -----

  // Whether windows and panels are seen. The first call finds out.
  static bool has_screen();
  // For the x of display and panel_open: at the right edge of the screen.
  static const int kRightEdge;

  // Opens the window, with its left upper corner at (x, y) of the screen or at the default place.
  // The first time, the grid is drawn; after that the picture stays as it is. On an open window the
  // call only repaints it, where it is.
  void display(int x, int y);
  void display();

  // Takes the window from the screen; the picture stays.
  void close();

  // Waits for a mouse button to be pressed in the open window. A panel button: its value. The left,
  // middle, right button in the drawing area: -1, -2, -3. Presses are kept until they are asked
  // for. To close the window by means of the window system is to press its first panel button.
  // Without a screen, and for a closed window: the value of the first panel button at once. That
  // value is 0 if there is no button.
  int read_mouse();

  // Shows the window, waits for a panel button, closes the window and returns the button's value,
  // by the rules of display and read_mouse.
  int panel_open(int x, int y);
  int panel_open();

  // ----- Drawing -----
  // A colour outside the table is the window's default colour.

  // A filled circle of radius r, rounded in pixels; below one pixel a single pixel is set.
  void draw_disc(double x, double y, double r, color c = {});
  // In the current width and style. A segment of no length is a dot of the line's width.
  void draw_segment(double x1, double y1, double x2, double y2, color c = {});
  // A cross of four arms of kCrossArm pixels, solid, in the current width.
  void draw_point(double x, double y, color c = {});

  static constexpr int kCrossArm = 3;

  // One line of text beside (x, y), in the current size (surface::text): the name of a site, say.
  // The gap between both is in pixels, so that a disc or a cross of some pixels stays free.
  void draw_text(double x, double y, const string& text, color c = {},
                 text_place place = text_place::right);

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
  int text_size() const { return text_size_; }
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
  double user_x(double px) const { return xmin_ + px / scale_; }
  double user_y(double py) const { return ymin_ + (height() - py) / scale_; }
  // The user coordinates of a pixel as they are shown, "%8.2f %8.2f".
  string coordinates(double px, double py) const;

 protected:
  // The rule of order 1 above.
  void check_drawing() const;

  // The frame, and the frame with all that is near enough to it to be worth drawing.
  detail::box frame() const { return {xmin_, xmax_, ymin_, ymax_}; }
  detail::box reach() const;

  // Drawing after the clipping, for coordinates inside reach().
  void draw_span(const detail::span& s, color c);
  void fill_polygon(const std::vector<detail::xy>& vertices, color c);

  // What read_mouse returns, and where.
  detail::mouse_press next_press();
  static int answer(const detail::mouse_press& press);

 private:
  BASE_WINDOW(int width, int height, const string& label, const string& title, bool is_panel);
  void show(std::optional<detail::screen_position> at);
  int ask(std::optional<detail::screen_position> at);
  void erase();
  // To be called after every change of the picture.
  void show_changes();
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
  int text_size_ = 14;
  color default_color_ = black;
  bool show_coordinates_ = false;
  bool displayed_ = false;
  bool open_ = false;
  const bool is_panel_;
  int buttons_per_line_ = 0;
  list<panel_item> panel_items_;
  std::unique_ptr<detail::screen_window> screen_;  // while open on a screen
};

}  // namespace planloc

#endif  // PLANLOC_FOUNDATION_WINDOW_BASE_WINDOW_H_
