// Efficient sets of several sums.
#include <algorithm>
#include <utility>
#include <vector>

#include "planloc/facilities/efficient_set.h"
#include "planloc/facilities/efficient_walk.h"
#include "planloc/facilities/facilities.h"
#include "planloc/facilities/flat_gauged_sites.h"
#include "planloc/foundation/geometry/crossings.h"
#include "planloc/foundation/geometry/flat_crossings.h"
#include "planloc/foundation/geometry/hull.h"
#include "planloc/model/reporter.h"

namespace planloc {
namespace {

void check_bicriteria(const facilities& F, const list<polygauge>& gauges,
                      const list<int>& gauge_of) {
  if (F.weight_count() != 2) MaviError("False weight-dimension.", 1343, 1, true);
  if (F.size() != gauge_of.size()) {
    MaviError("Different number of locations and gauges.", 1344, 1, true);
  }
  const auto [least, most] = std::minmax_element(gauge_of.begin(), gauge_of.end());
  if (*least < 0 || *most > gauges.size() - 1) MaviError("False gauge-number.", 1345, 1, true);
  double totals[2] = {0.0, 0.0};
  for (const location& a : F) {
    const double s = a.weight(0);
    const double t = a.weight(1);
    if (s < 0.0 || t < 0.0 || (s == 0.0 && t == 0.0)) {
      MaviError("Negative entry or 0-row or 0-column in weight-matrix.", 1346, 1, true);
    }
    totals[0] += s;
    totals[1] += t;
  }
  if (totals[0] == 0.0 || totals[1] == 0.0) {
    MaviError("Negative entry or 0-row or 0-column in weight-matrix.", 1342, 1, true);
  }
}

double bicriteria_with(facilities& F, const list<point>& vertices, bool clear) {
  list<int> gauge_of;
  for (int i = 0; i < F.size(); ++i) gauge_of.append(0);
  list<polygauge> gauges;
  gauges.append(polygauge(vertices));
  return F.gauge_bicriteria(gauges, gauge_of, clear);
}

}  // namespace

double facilities::gauge_bicriteria(const list<polygauge>& gauges, const list<int>& gauge_of,
                                    bool clear) {
  if (clear) opt.clear();
  check_bicriteria(*this, gauges, gauge_of);
  // An older result stands in front of the centre of gravity, and is then the start: intended, so
  // that a caller can choose it.
  l2squared_sum(0, false);
  const point x0 = opt.head().to_point();
  const std::vector<detail::xy_segment> segments =
      detail::flat_segments(fundamental_segments(gauges, gauge_of, x0, 0.0, 1));
  const detail::flat_map map = detail::prepared_map(detail::cut_segments(segments));
  const detail::flat_gauged_sites sites(*this, gauges, gauge_of, {0, 1});
  const list<point> first = detail::lexicographic_points(sites, x0, 0, 1, map, segments);
  const list<point> second = detail::lexicographic_points(sites, x0, 1, 0, map, segments);
  opt.clear();
  if (point_list_contains(second, first.head()) == 0) {
    opt = detail::efficient_walk(sites, first, second, map);
  } else {
    for (const point& p : first) {
      planloc::location l(dimension(), 1);
      l[0] = p.xcoord();
      l[1] = p.ycoord();
      l.weight(0) = 1.0;
      opt.append(l);
    }
  }
  return opt.tail().weight(0);
}

double facilities::l1_bicriteria(bool clear) {
  return bicriteria_with(*this, {point(1, 0), point(0, 1), point(-1, 0), point(0, -1)}, clear);
}

double facilities::linf_bicriteria(bool clear) {
  return bicriteria_with(*this, {point(1, 1), point(-1, 1), point(-1, -1), point(1, -1)}, clear);
}

list<point> facilities::lexicographic_points(const list<polygauge>& gauges,
                                             const list<int>& gauge_of, const point& x0, int q1,
                                             int q2, const GRAPH<point, segment>& map) const {
  const detail::flat_gauged_sites sites(*this, gauges, gauge_of, {q1, q2});
  return detail::lexicographic_points(sites, x0, 0, 1, detail::flat_map_of(map));
}

list<location> facilities::efficient_walk(const list<polygauge>& gauges, const list<int>& gauge_of,
                                          const list<point>& start, const list<point>& goal,
                                          const GRAPH<point, segment>& map) const {
  const detail::flat_gauged_sites sites(*this, gauges, gauge_of, {0, 1});
  return detail::efficient_walk(sites, start, goal, detail::flat_map_of(map));
}

double facilities::l2squared_multicriteria(bool clear) {
  if (clear) opt.clear();
  list<point> centres;
  for (int q = 0; q < weight_count(); ++q) {
    opt.clear();
    l2squared_sum(q, false);
    centres.append(opt.head().to_point());
  }
  opt.clear();
  for (const point& p : CONVEX_HULL(centres)) opt.append(planloc::location::from_point(p));
  return 0.0;
}

}  // namespace planloc
