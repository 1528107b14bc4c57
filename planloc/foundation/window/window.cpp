#include "planloc/foundation/window/window.h"

#include <vector>

#include "planloc/foundation/containers/error_handler.h"
#include "planloc/foundation/window/screen.h"

namespace planloc {

namespace {

detail::xy xy_of(const point& p) { return {p.xcoord(), p.ycoord()}; }

}  // namespace

window::window(float width, float height) : BASE_WINDOW(width, height) {
  set_error_handler(window_error_handler);
}

window::window(float width, float height, const string& label) : BASE_WINDOW(width, height, label) {
  set_error_handler(window_error_handler);
}

int window::read_mouse(point& p) {
  const detail::mouse_press press = next_press();
  if (!press.on_button) p = point(user_x(press.px), user_y(press.py));
  return answer(press);
}

void window::draw_segment(const segment& s, color c) {
  draw_segment(s.xcoord1(), s.ycoord1(), s.xcoord2(), s.ycoord2(), c);
}

void window::draw_ray(const ray& r, color c) {
  check_drawing();
  const detail::xy source = xy_of(r.point1());
  const detail::xy through = xy_of(r.point2());
  const auto inside = detail::clip_ray(frame(), source, through);
  if (!inside) return;
  // From where the ray comes near to where it is far off: an end rounded on the frame's border
  // would turn it, and a window of another shape shows more than the frame.
  draw_span(detail::clip_ray(reach(), source, through).value_or(*inside), c);
}

void window::draw_line(const line& l, color c) {
  check_drawing();
  const detail::xy p = xy_of(l.point1());
  const detail::xy q = xy_of(l.point2());
  const auto inside = detail::clip_line(frame(), p, q);
  if (inside) draw_span(detail::clip_line(reach(), p, q).value_or(*inside), c);
}

void window::draw_polygon(const list<point>& vertices, color c) {
  check_drawing();
  for (list_item it = vertices.first(); it; it = vertices.succ(it)) {
    const detail::xy p = xy_of(vertices[it]);
    const detail::xy q = xy_of(vertices[vertices.cyclic_succ(it)]);
    draw_segment(p.x, p.y, q.x, q.y, c);
  }
}

void window::draw_filled_polygon(const list<point>& vertices, color c) {
  check_drawing();
  std::vector<detail::xy> corners;
  for (const point& p : vertices) corners.push_back(xy_of(p));
  fill_polygon(detail::clip_polygon(reach(), std::move(corners)), c);
}

}  // namespace planloc
