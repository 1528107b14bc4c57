// The drawing window of a run: user coordinates, a strip of panel items above, and the plane
// objects of planloc/foundation/geometry/ drawn into it. State, order of calls, coordinates and
// drawing of plain numbers are those of base_window.h, which is the other half of this page.
//
//   window W(650, 500);
//   W.init(-10, 10, -8);
//   W.button("Close", 0);
//   W.display(60, 20);
//   W.draw_segment(segment(p, q), blue);
//   W.save("picture.svg");
#ifndef PLANLOC_FOUNDATION_WINDOW_WINDOW_H_
#define PLANLOC_FOUNDATION_WINDOW_WINDOW_H_

#include "planloc/foundation/containers/list.h"
#include "planloc/foundation/geometry/line.h"
#include "planloc/foundation/geometry/point.h"
#include "planloc/foundation/geometry/polygon.h"
#include "planloc/foundation/geometry/ray.h"
#include "planloc/foundation/geometry/segment.h"
#include "planloc/foundation/window/base_window.h"

namespace planloc {

class window : public BASE_WINDOW {
 public:
  // As the constructors of BASE_WINDOW. The first two also install `window_error_handler`.
  window(float width, float height);
  window(float width, float height, const string& label);
  explicit window(const string& label) : BASE_WINDOW(label) {}

  using BASE_WINDOW::read_mouse;
  // The same, with the user coordinates of a click in the drawing area in p. A panel button leaves
  // p as it was; so does every call without a display.
  int read_mouse(point& p);

  // ----- Drawing: in the current line width and style -----

  using BASE_WINDOW::draw_segment;
  void draw_segment(const segment& s, color c = {});

  // From the source, wherever it is, to the point where the ray leaves the frame; nothing if it
  // misses the frame. A ray or line without a direction is a dot at its point.
  void draw_ray(const ray& r, color c = {});
  // What of the line lies in the frame.
  void draw_line(const line& l, color c = {});

  using BASE_WINDOW::draw_point;
  void draw_point(const point& p, color c = {}) { draw_point(p.xcoord(), p.ycoord(), c); }

  using BASE_WINDOW::draw_text;
  void draw_text(const point& p, const string& text, color c = {},
                 text_place place = text_place::right) {
    draw_text(p.xcoord(), p.ycoord(), text, c, place);
  }

  // The closed curve through the vertices in list order, edge by edge. One vertex is a dot.
  void draw_polygon(const list<point>& vertices, color c = {});
  void draw_polygon(const polygon& p, color c = {}) { draw_polygon(p.vertices(), c); }
  // Inside (non-zero winding) and boundary. Nothing if a coordinate is not a number.
  void draw_filled_polygon(const list<point>& vertices, color c = {});
  void draw_filled_polygon(const polygon& p, color c = {}) { draw_filled_polygon(p.vertices(), c); }
};

// The foundation's error handler (containers/error_handler.h) of a program with a window. Without a
// screen it is `default_error_handler`. With one it asks in a panel "FLNZ EXCEPTION HANDLER":
// 1. code 0: "continue" returns.
// 2. any other code: "ignore" returns, "exit" ends the process with status 0, "abort" shows the
// calls
//    on the stack in a panel "FLNZ Stack Trace", where they can be found out, and aborts.
void window_error_handler(int code, const char* message);

}  // namespace planloc

#endif  // PLANLOC_FOUNDATION_WINDOW_WINDOW_H_
