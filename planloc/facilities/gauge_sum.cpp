// The sum of polyhedral gauge distances: the best of the crossings of the fundamental directions.
#include <algorithm>
#include <cmath>
#include <vector>

#include "planloc/facilities/best_candidates.h"
#include "planloc/facilities/facilities.h"
#include "planloc/facilities/flat_gauged_sites.h"
#include "planloc/facilities/level_cuts.h"
#include "planloc/foundation/geometry/flat_crossings.h"
#include "planloc/foundation/geometry/hull.h"
#include "planloc/model/reporter.h"

namespace planloc {
namespace {

using detail::best_candidates;
using detail::flat_gauged_sites;
using detail::plane_xy;
using detail::xy_segment;

// By what a level grows at which there was nothing.
constexpr double kLevelGrowth = 16.0;

// Those with the least value, and that value.
struct selection {
  best_candidates best;
  std::vector<plane_xy> tied = {};

  void offer(const plane_xy& c) {
    const detail::standing s = best.offer(c);
    if (s == detail::standing::better) tied.clear();
    if (s != detail::standing::worse) tied.push_back(c);
  }
};

// The best of all crossings of the segments, in their order, of which only those at a low level are
// made. A level at which there is a value v holds all that could be as low as v if it is at least
// safe_level(v); one of safe_level(best) holds every candidate that counts.
std::vector<plane_xy> best_crossings(const flat_gauged_sites& sites,
                                     const std::vector<xy_segment>& segments,
                                     const best_candidates& start) {
  detail::xy_box box(segments.front().a);
  for (const xy_segment& s : segments) {
    box.extend(s.a);
    box.extend(s.b);
  }
  detail::level_cuts cuts(sites, 0, box);
  cuts.narrow(segments);
  const double highest = cuts.safe_level(start.best());
  double level = std::min(highest, cuts.safe_level(std::min(cuts.best(), start.best())));
  double width = level - cuts.best();
  for (;;) {
    selection found{start};
    for (const plane_xy& c : detail::find_crossings(cuts.reaching(segments, level))) {
      if (!cuts.surely_above(c, level)) found.offer(c);
    }
    if (level >= highest) return found.tied;
    if (!found.tied.empty() && cuts.safe_level(found.best.best()) <= level) return found.tied;
    width *= kLevelGrowth;
    const double next = found.tied.empty() ? level + width : cuts.safe_level(found.best.best());
    level = std::min(highest, next);
  }
}

}  // namespace

double facilities::gauge_sum(const list<polygauge>& gauges, const list<int>& gauge_of, bool clear) {
  if (clear) opt.clear();
  if (weight_count() > 1) MaviError("False weight-dimension.", 1339, 1, true);
  if (size() != gauge_of.size()) {
    MaviError("Different number of locations and gauges.", 1340, 1, true);
  }
  const auto [least, largest] = std::minmax_element(gauge_of.begin(), gauge_of.end());
  if (*least < 0 || *largest > gauges.size() - 1) MaviError("False gauge-number.", 1341, 1, true);
  for (const planloc::location& a : *this) {
    if (a.weight(0) <= 0.0) {
      MaviError("Negative entry or 0-row or 0-column in weight-matrix.", 1338, 1, true);
    }
  }

  l2squared_sum(0, false);
  // An older first result, if there is one: intended, so that a caller can choose the start.
  const plane_xy x0{opt.head()[0], opt.head()[1]};
  const flat_gauged_sites sites(*this, gauges, gauge_of);
  std::vector<plane_xy> best;
  if (size() == 1) {
    best.push_back(sites.at(0));
  } else {
    const double f0 = sites.value(x0.x, x0.y);
    const best_candidates start(sites, x0, f0);
    const std::vector<xy_segment> segments = sites.near_segments(f0);
    if (std::isfinite(sites.relative_error()) && std::isfinite(f0)) {
      best = best_crossings(sites, segments, start);
    } else {
      selection all{start};
      for (const plane_xy& c : detail::find_crossings(segments)) all.offer(c);
      best = all.tied;
    }
  }

  list<point> R;
  for (const plane_xy& c : best) R.append(detail::to_point(c));
  if (R.size() >= 2) R = CONVEX_HULL(R);
  const point first = R.head();
  opt.clear();
  for (const point& c : R) opt.append(planloc::location::from_point(c));
  return sites.value(first.xcoord(), first.ycoord());
}

}  // namespace planloc
