#include "planloc/facilities/gauge_max.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "planloc/facilities/contact_values.h"
#include "planloc/facilities/facilities.h"
#include "planloc/facilities/halving.h"
#include "planloc/facilities/level_sets.h"
#include "planloc/foundation/containers/error_handler.h"

namespace planloc {
namespace {

constexpr std::size_t kSelectionLimit = 120;

using detail::candidates;

// Brings an entry to position k that none before is above and none behind is below.
void select(candidates& C, std::size_t k) {
  std::size_t lo = 0;
  std::size_t hi = C.size() - 1;
  while (hi > lo) {
    const double pivot = C[hi];
    std::size_t i = lo;
    std::size_t j = hi;
    while (j > i) {
      while (C[i] < pivot && j > i) ++i;
      while (C[j] >= pivot && j > i) --j;
      std::swap(C[i], C[j]);
    }
    std::swap(C[i], C[hi]);
    if (i <= k) lo = i + 1;
    if (i >= k) {
      if (i == 0) return;
      hi = i - 1;
    }
  }
}

candidates to_candidates(const list<double>& C) { return candidates(C.begin(), C.end()); }

void assign(list<double>& C, const candidates& entries) {
  C.clear();
  for (const double z : entries) C.append(z);
}

// A median that is not reached is lost in the pair phase, and stays in the triple phase.
enum class phase { kPairs, kTriples };

void reduce(candidates& C, detail::level_sets& levels, phase p) {
  const double m = detail::median_of(C);
  if (detail::is_reached(levels, m)) {
    detail::keep_below(C, m);
    C.push_back(m);
  } else {
    detail::keep_above(C, m);
    if (p == phase::kTriples) C.insert(C.begin(), m);
  }
  if (C.size() != 2) return;
  const bool front_is_median = !(C.front() != m);
  const bool reached = detail::is_reached(levels, front_is_median ? C.back() : C.front());
  C.erase(reached == front_is_median ? C.end() - 1 : C.begin());
}

list<point> to_points(detail::closed_chain chain) {
  list<point> points;
  for (const detail::xy& p : chain) points.append(detail::to_point(p));
  return points;
}

}  // namespace

double detail::median_of(candidates& C) {
  C.size() < kSelectionLimit ? detail::sort_candidates(C) : select(C, (C.size() - 1) / 2);
  return detail::middle(C);
}

double median_of(list<double>& C) {
  candidates entries = to_candidates(C);
  const double m = detail::median_of(entries);
  assign(C, entries);
  return m;
}

double facilities::gauge_max(const list<polygauge>& gauges, const list<int>& gauge_of,
                             bool /*keep*/) {
  const detail::ball_sites sites(*this, gauges, gauge_of);
  detail::level_sets levels(sites);
  const auto take_result = [&](double z) {
    const detail::closed_chain corners = levels.intersection(z + kLevelOffset);
    if (corners.empty()) return false;
    keep_distinct(to_points(corners));
    return true;
  };

  candidates C = detail::pair_contacts(sites);
  std::reverse(C.begin(), C.end());  // each was pushed to the front
  detail::double_front(C);
  while (C.size() >= 2) reduce(C, levels, phase::kPairs);
  if (C.empty()) {
    error_handler(1, "dlist::head(): empty list");
    return 0.0;
  }
  const double lower = C.front();
  if (take_result(lower)) return lower;

  C = detail::far_contacts(sites, lower, levels);
  while (C.size() >= 2) reduce(C, levels, phase::kTriples);
  const double z = C.front();
  take_result(z);
  return z;
}

polygon& facilities::gauge_level_set(polygon& out, const double& z, const list<int>& gauge_of,
                                     const list<polygauge>& gauges) const {
  const detail::ball_sites sites(*this, gauges, gauge_of);
  if (sites.size() == 0) error_handler(1, "dlist::head(): empty list");
  polygon common;
  for (std::size_t i = 0; i < sites.size() && (i == 0 || !common.empty()); ++i) {
    const double f = z / sites[i].w;
    list<point> corners;
    for (const detail::xy& v : sites[i].ball) {
      corners.append(point(sites[i].x + f * v.x, sites[i].y + f * v.y));
    }
    const polygon scaled(corners, true, true);
    common = i == 0 ? scaled : convex_intersection(common, scaled);
  }
  out = common;
  return out;
}

int facilities::level_reached(const double& z, const list<int>& gauge_of,
                              const list<polygauge>& gauges) const {
  const detail::ball_sites sites(*this, gauges, gauge_of);
  detail::level_sets levels(sites);
  return detail::is_reached(levels, z) ? 1 : 0;
}

int facilities::level_reached(const double& z, const list<int>& gauge_of,
                              const list<polygauge>& gauges, double* /*upper*/) const {
  return level_reached(z, gauge_of, gauges);
}

double facilities::level_result(double& z, const list<int>& gauge_of, const list<polygauge>& gauges,
                                int& empty, list<point>& out) {
  const detail::ball_sites sites(*this, gauges, gauge_of);
  detail::level_sets levels(sites);
  const detail::closed_chain corners = levels.intersection(z + kLevelOffset);
  empty = corners.empty() ? 1 : 0;
  if (empty != 0) return z;
  out = to_points(corners);
  keep_distinct(out);
  return z;
}

double facilities::bulk_step(list<double>& C, const list<int>& gauge_of,
                             const list<polygauge>& gauges, double /*lower*/,
                             double /*upper*/) const {
  const detail::ball_sites sites(*this, gauges, gauge_of);
  detail::level_sets levels(sites);
  candidates entries = to_candidates(C);
  const double m = detail::halve(entries, levels);
  detail::sort_candidates(entries);
  assign(C, entries);
  return m;
}

void facilities::keep_distinct(const list<point>& L) {
  list<planloc::location> distinct;
  for (const point& p : L) {
    const bool is_new =
        std::none_of(distinct.begin(), distinct.end(), [&](const planloc::location& q) {
          return std::fabs(p.xcoord() - q[0]) <= kResultTolerance &&
                 std::fabs(p.ycoord() - q[1]) <= kResultTolerance;
        });
    if (is_new) distinct.append(planloc::location::from_point(p));
  }
  opt = distinct;
}

}  // namespace planloc
