#include "planloc/foundation/window/window.h"

#include <vector>

namespace planloc {

namespace {

detail::xy xy_of(const point& p) { return {p.xcoord(), p.ycoord()}; }

}  // namespace

int window::read_mouse(point& /*p*/) { return read_mouse(); }

void window::draw_segment(const segment& s, color c) {
  draw_segment(s.xcoord1(), s.ycoord1(), s.xcoord2(), s.ycoord2(), c);
}

void window::draw_ray(const ray& r, color c) {
  check_drawing();
  const detail::xy source = xy_of(r.point1());
  const detail::xy through = xy_of(r.point2());
  const auto inside = detail::clip_ray(frame(), source, through);
  if (!inside) return;
  // From the source, or from where the ray comes near: an end rounded on the frame's border would
  // turn the ray more than one rounded far off.
  const auto near = detail::clip_ray(reach(), source, through);
  draw_span({near ? near->from : inside->from, inside->to}, c);
}

void window::draw_line(const line& l, color c) {
  check_drawing();
  if (const auto inside = detail::clip_line(frame(), xy_of(l.point1()), xy_of(l.point2()))) {
    draw_span(*inside, c);
  }
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
