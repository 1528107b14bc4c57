#include "planloc/driver/drawing.h"

#include "planloc/driver/page.h"
#include "planloc/driver/problem.h"
#include "planloc/foundation/geometry/ray.h"
#include "planloc/foundation/geometry/segment.h"
#include "planloc/foundation/window/color.h"
#include "planloc/model/gauge_distance.h"

namespace planloc {
namespace {

constexpr int kDotted = 2;

}  // namespace

void draw_facility(const location& a, const polygauge& g) {
  W.set_line_width(1);
  const point p(a[0], a[1]);
  draw_facility_point(p);
  ps_point(p);
  const double w = a.weight(0);
  const int s = g.size();
  for (int i = 1; i <= s; ++i) {
    const point from = ball_vertex(p, w, g, i);
    const point to = ball_vertex(p, w, g, i == s ? 1 : i + 1);
    draw_gauge_edge(from, to);
    ps_ball_edge(from, to);
    draw_direction(p, from);
    ps_fundamental_direction(p, from);
  }
}

void draw_facility_point(const point& p) { W.draw_disc(p.xcoord(), p.ycoord(), 0.05, black); }

void draw_point(const point& p) { W.draw_disc(p.xcoord(), p.ycoord(), 0.08, blue); }

void draw_gauge_edge(const point& a, const point& b) {
  W.set_line_width(2);
  W.draw_segment(a.xcoord(), a.ycoord(), b.xcoord(), b.ycoord(), orange);
}

void draw_direction(const point& a, const point& b) {
  W.set_line_width(1);
  W.draw_ray(ray(a, b), black);
}

void draw_route_segment(const point& a, const point& b) {
  W.set_line_style(kDotted);
  W.draw_segment(segment(a, b), blue);
}

}  // namespace planloc
