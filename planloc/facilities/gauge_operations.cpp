// What the solvers with polyhedral gauges are made of.
#include <algorithm>
#include <cmath>
#include <vector>

#include "planloc/facilities/best_candidates.h"
#include "planloc/facilities/facilities.h"
#include "planloc/facilities/flat_gauged_sites.h"
#include "planloc/facilities/gauge_sum.h"
#include "planloc/model/gauge_distance.h"

namespace planloc {
namespace {

const point kOrigin(0, 0);

double closed_tour(const list<location>& sites) {
  double length = 0.0;
  point previous = sites.tail().to_point();
  for (const location& a : sites) {
    const point p = a.to_point();
    length += p.distance(previous);
    previous = p;
  }
  return length;
}

}  // namespace

double facilities::gauge_value(const list<polygauge>& gauges, const list<int>& gauge_of,
                               const point& x, int q) const {
  double value = 0.0;
  for_each_with_gauge(*this, gauges, gauge_of, [&](const planloc::location& a, const polygauge& g) {
    value += g.distance(a.to_point(), x) * a.weight(q);
  });
  return value;
}

vector facilities::gauge_gradient(const list<polygauge>& gauges, const list<int>& gauge_of,
                                  const point& x, int q) const {
  const detail::plane_xy g =
      detail::flat_gauged_sites(*this, gauges, gauge_of, {q}).gradient(x.xcoord(), x.ycoord());
  return vector(g.x, g.y);
}

vector facilities::gauge_normal(const list<polygauge>& gauges, const list<int>& gauge_of,
                                const point& x, int q) const {
  return gauge_gradient(gauges, gauge_of, x, q).rotate90();
}

int descent_side(const vector& g, const point& c, const point& x0) {
  const double s = g * (c.to_vector() - x0.to_vector());
  return s > 0.0 ? 1 : s == 0.0 ? 0 : -1;
}

list<segment> facilities::fundamental_segments(const list<polygauge>& gauges,
                                               const list<int>& gauge_of, const point& x0,
                                               double bound, int mode) const {
  list<segment> segments;
  if (mode == 0) {
    const detail::flat_gauged_sites sites(*this, gauges, gauge_of);
    for (const detail::xy_segment& s : sites.near_segments(bound)) {
      segments.append(segment(detail::to_point(s.a), detail::to_point(s.b)));
    }
    return segments;
  }

  double radius = 0.0;
  for_each_with_gauge(*this, gauges, gauge_of, [&](const planloc::location&, const polygauge& g) {
    radius = std::max(radius, g.radius());
  });
  double r = 0.0;
  for (int q = 0; q < weight_count(); ++q) {
    double total = 0.0;
    for (const planloc::location& a : *this) total += a.weight(q);
    r = std::max(r, gauge_value(gauges, gauge_of, x0, q) / total);
  }
  const double reach = r * radius + closed_tour(*this);
  for_each_with_gauge(*this, gauges, gauge_of, [&](const planloc::location& a, const polygauge& g) {
    const point p = a.to_point();
    for (const point& v : g.vertices()) {
      const double t = std::ceil(reach / v.distance(kOrigin));
      segments.append(segment(p, p.translate(t * v.xcoord(), t * v.ycoord())));
    }
  });
  return segments;
}

list<point> facilities::best_points(const list<polygauge>& gauges, const list<int>& gauge_of,
                                    const list<point>& candidates, const point& x0, double best,
                                    int q) const {
  const detail::flat_gauged_sites sites(*this, gauges, gauge_of, {q});
  detail::best_candidates chosen(sites, {x0.xcoord(), x0.ycoord()}, best);
  list<point> R;
  for (const point& c : candidates) {
    const detail::standing s = chosen.offer({c.xcoord(), c.ycoord()});
    if (s == detail::standing::better) R.clear();
    if (s != detail::standing::worse) R.append(c);
  }
  return R;
}

}  // namespace planloc
