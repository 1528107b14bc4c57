#include "planloc/model/gauge_distance.h"

#include "planloc/foundation/geometry/rat_ray.h"
#include "planloc/foundation/geometry/rat_segment.h"

namespace planloc {

rat_point to_rat_point(const point& p) { return rat_point(p); }

point ball_vertex(const point& p, double w, const polygauge& g, int i) {
  const point v = g.vertex(i);
  return point(p.xcoord() + v.xcoord() / w, p.ycoord() + v.ycoord() / w);
}

rat_point ball_hit(const rat_point& x, const location& a, const polygauge& g) {
  const point p = a.to_point();
  const double w = a.weight(0);
  const int s = g.size();
  const auto vertex = [&](int i) { return to_rat_point(ball_vertex(p, w, g, i)); };
  const rat_ray ray(to_rat_point(p), x);
  rat_point hit;
  if (s == 0) return hit;
  const rat_point first = vertex(1);
  rat_point from = first;
  for (int i = 1; i <= s; ++i) {
    const rat_point to = i == s ? first : vertex(i + 1);
    if (ray.intersection(rat_segment(from, to), hit)) break;
    from = to;
  }
  return hit;
}

double gauge_distance(const point& x, const location& a, const polygauge& g) {
  const point p = a.to_point();
  const point q = ball_hit(to_rat_point(x), a, g).to_point();
  return p.distance(x) / p.distance(q);
}

std::vector<gauge_row> gauge_rows(const location& l, const polygauge& g) {
  const double w = l.weight(0);
  std::vector<gauge_row> rows;
  for (const point& y : g.dual().vertices()) rows.push_back({w * y.xcoord(), w * y.ycoord()});
  return rows;
}

}  // namespace planloc
