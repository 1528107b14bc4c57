#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "planloc/facilities/flat_gauged_sites.h"
#include "planloc/facilities/gauge_sum.h"
#include "planloc/facilities/gauged_sites.h"
#include "planloc/facilities/level_cuts.h"
#include "planloc/foundation/geometry/crossings.h"
#include "planloc/foundation/geometry/flat_crossings.h"
#include "planloc/foundation/geometry/hull.h"
#include "tests/facilities/gauge_problems.h"
#include "tests/model/own_process.h"

namespace planloc {
namespace {

using Points = std::vector<std::pair<double, double>>;

struct plain_result {
  bool starts_on_site = false;
  double value = 0.0;
  Points corners = {};  // sorted; empty without a candidate
};

Points sorted(Points points) {
  std::sort(points.begin(), points.end());
  return points;
}

// The steps one by one, with every crossing.
plain_result by_plain_steps(const gauged_sites& P) {
  facilities F = P.sites;
  F.l2squared_sum(0, true);
  const point x0 = F.opt.head().to_point();
  for (const location& a : F) {
    if (a.to_point() == x0) return {true};
  }
  double best = F.gauge_value(P.gauges, P.gauge_of, x0, 0);
  const vector g = F.gauge_gradient(P.gauges, P.gauge_of, x0, 0);
  list<point> I;
  SEGMENT_INTERSECTION(F.fundamental_segments(P.gauges, P.gauge_of, x0, best, 0), I);
  list<point> R;
  for (const point& c : I) {
    if (descent_side(g, c, x0) == 1) continue;
    const double v = F.gauge_value(P.gauges, P.gauge_of, c, 0);
    if (v < best) R.clear();
    if (v <= best) {
      R.append(c);
      best = v;
    }
  }
  plain_result result{false, best};
  for (const point& c : CONVEX_HULL(R)) result.corners.push_back({c.xcoord(), c.ycoord()});
  result.corners = sorted(result.corners);
  return result;
}

Points corners_of(const facilities& F) {
  Points corners;
  for (const location& a : F.opt) corners.push_back({a[0], a[1]});
  return corners;
}

TEST(GaugeSum, IsWhatThePlainStepsYield) {
  const auto check = [](gauged_sites& P, const char* family) {
    if (P.sites.size() == 1) return;
    const plain_result plain = by_plain_steps(P);
    if (plain.starts_on_site || plain.corners.empty()) {
      EXPECT_EQ(in_own_process([&] { P.sites.gauge_sum(P.gauges, P.gauge_of, true); }),
                plain.starts_on_site ? reported(1706, "polygauge: Conenumber is not correct")
                                     : aborted("dlist::head(): empty list"))
          << family << shown(P);
      return;
    }
    ASSERT_EQ(P.sites.gauge_sum(P.gauges, P.gauge_of, true), plain.value) << family << shown(P);
    ASSERT_EQ(sorted(corners_of(P.sites)), plain.corners) << family << shown(P);
  };
  for_gauged_problems(40, check);
  for_gauged_problems(3, check, 60);
}

// Crossings and values of these are dyadic numbers, so that no tie is lost to rounding.
bool ties_exactly(const gauged_sites& P) {
  const auto is_short = [](double t, double step) { return t / step == std::floor(t / step); };
  bool result = true;
  P.for_each([&](const location& a, const polygauge& g) {
    result = result && is_short(a[0], 0.25) && is_short(a[1], 0.25);
    for (const point& v : g.vertices()) {
      result = result && is_short(v.xcoord(), 1) && is_short(v.ycoord(), 1) && g.radius() < 2;
    }
  });
  return result;
}

// Value and set: the places of the least sum reach as far as the corners in every direction, or
// farther where corners have lost a tie.
TEST(GaugeSum, IsTheLinearProgramsOptimum) {
  int exact_problems = 0;
  for_gauged_problems(30, [&](gauged_sites& P, const char* family) {
    const plain_result plain = by_plain_steps(P);
    if (P.sites.size() > 1 && (plain.starts_on_site || plain.corners.empty())) return;
    const double value = P.sites.gauge_sum(P.gauges, P.gauge_of, true);
    const double optimum = program_value(P);
    const location origin = P.sites.head();
    ASSERT_NEAR(value, optimum, 1e-9 * (1 + optimum)) << family << shown(P);

    const bool exact = ties_exactly(P);
    exact_problems += exact;
    const Points corners = corners_of(P.sites);
    point centre(0, 0);
    for (const auto& [x, y] : corners) {
      ASSERT_EQ(P.sites.gauge_value(P.gauges, P.gauge_of, point(x, y), 0), value);
      const double n = static_cast<double>(corners.size());
      centre = centre.translate(x / n, y / n);
    }
    ASSERT_NEAR(P.sites.gauge_value(P.gauges, P.gauge_of, centre, 0), value, 1e-8 * (1 + value));
    for (int i = 0; i < 16; ++i) {
      const double u = std::cos(M_PI * i / 8);
      const double v = std::sin(M_PI * i / 8);
      double reached = -1e300;
      for (const auto& [x, y] : corners) reached = std::max(reached, u * x + v * y);
      const double farthest = u * origin[0] + v * origin[1] -
                              program_value(P, {false, {0, 0}, -u, -v, {optimum * (1 + 1e-12)}});
      const double slack = 1e-6 * (1 + std::fabs(reached));
      ASSERT_GE(farthest, reached - slack) << family << shown(P) << i;
      ASSERT_LE(farthest, exact ? reached + slack : 1e300) << family << shown(P) << i;
    }
  });
  EXPECT_GT(exact_problems, 15);
}

// The supports below the sum and the rounding above them: what is cut off has a higher value, and
// all segments through a place with a lower one are left.
TEST(LevelCuts, LoseNothing) {
  std::mt19937 random(4);
  for_gauged_problems(
      8,
      [&](const gauged_sites& P, const char* family) {
        const detail::flat_gauged_sites sites(P.sites, P.gauges, P.gauge_of);
        const point start = P.sites.head().to_point().translate(0.3, 0.1);
        const double f0 = sites.value(start.xcoord(), start.ycoord());
        const std::vector<detail::xy_segment> segments = sites.near_segments(f0);
        const std::vector<detail::xy> crossings = detail::find_crossings(segments);
        detail::xy_box box(crossings.front());
        for (const detail::xy& c : crossings) box.extend(c);
        detail::level_cuts cuts(sites, 0, box);
        cuts.narrow(segments, 4);
        for (const double above : {1.0, 1.0 + 1e-9, 1.01, 1.3}) {
          const double level = cuts.best() * above;
          const std::vector<detail::xy_segment> left = cuts.reaching(segments, level);
          const std::vector<detail::xy> kept = detail::find_crossings(left);
          for (const detail::xy& c : crossings) {
            if (sites.value(c.x, c.y) > level) continue;
            ASSERT_FALSE(cuts.surely_above(c, level)) << family << shown(P);
            ASSERT_TRUE(std::binary_search(kept.begin(), kept.end(), c, detail::lexicographic))
                << family << shown(P) << c.x << ' ' << c.y;
          }
        }
        // What is left after that many cuts is where the errors are known better.
        if (P.sites.size() > 20) {
          EXPECT_LT(cuts.reaching(segments, cuts.best()).size(), segments.size() / 2) << family;
        }
      },
      40);
}

// Against the largest face of every gauge, in more digits.
TEST(FlatGaugedSites, ErrorIsBounded) {
  std::mt19937 random(6);
  std::uniform_real_distribution<double> u(-1.0, 1.0);
  for_gauged_problems(20, [&](const gauged_sites& P, const char* family) {
    const detail::flat_gauged_sites sites(P.sites, P.gauges, P.gauge_of);
    const double error = sites.relative_error();
    ASSERT_LT(error, 1e-3) << family;
    const auto exact = [&](double x, double y) {
      long double sum = 0.0L;
      P.for_each([&](const location& a, const polygauge& g) {
        long double most = 0.0L;
        for (int i = 1; i <= g.size(); ++i) {
          const point s = g.vertex(i);
          const point t = g.vertex(i % g.size() + 1);
          const long double dx = static_cast<long double>(t.xcoord()) - s.xcoord();
          const long double dy = static_cast<long double>(t.ycoord()) - s.ycoord();
          most = std::max(most, (dy * (static_cast<long double>(x) - a[0]) -
                                 dx * (static_cast<long double>(y) - a[1])) /
                                    (s.xcoord() * dy - s.ycoord() * dx));
        }
        sum += a.weight(0) * most;
      });
      return sum;
    };
    P.for_each([&](const location& a, const polygauge& g) {
      for (const double beside : {0.0, 1e-12, 2e-8, 1e-7, 1.0}) {
        const point v = g.vertex(1 + static_cast<int>(random() % g.size()));
        const double x = a[0] + 7.0 * (v.xcoord() + beside * u(random));
        const double y = a[1] + 7.0 * (v.ycoord() + beside * u(random));
        const long double f = exact(x, y);
        ASSERT_LE(std::fabs(sites.value(x, y) - f), error * f) << family;
        const double side = 1e-3 * a[0];
        const double within = sites.relative_error_within(
            {{x - std::fabs(side), y}, {x, y + std::fabs(side)}}, 0.5 * static_cast<double>(f));
        ASSERT_LE(std::fabs(sites.value(x, y) - f), within * f) << family;
        const detail::support_plane plane = sites.support(x, y);
        const double far[2] = {30 * u(random), 30 * u(random)};
        const double below =
            plane.value * error + (std::fabs(far[0]) + std::fabs(far[1])) * sites.slope_error();
        ASSERT_GE(exact(x + far[0], y + far[1]),
                  plane.value + plane.slope.x * far[0] + plane.slope.y * far[1] - below);
      }
    });
  });
}

// ----- By hand -----

const list<polygauge> kDiamonds = {polygauge::l1_gauge()};

facilities unit_sites(const Points& places) {
  facilities F;
  for (const auto& [x, y] : places) F.append(site(x, y, 1));
  return F;
}

list<int> zeros(int n) {
  list<int> result;
  for (int i = 0; i < n; ++i) result.append(0);
  return result;
}

TEST(GaugeSum, PointEdgeAndPolygon) {
  const std::pair<Points, Points> cases[] = {
      {{{3, 4}}, {{3, 4}}},
      {{{0.1, 0.7}}, {{0.1, 0.7}}},
      {{{0, 0}, {4, 0}, {1, 3}}, {{1, 0}}},
      {{{0, 0}, {4, 0}}, {{0, 0}, {4, 0}}},
      {{{0, 0}, {4, 2}}, {{0, 0}, {0, 2}, {4, 0}, {4, 2}}},
  };
  for (const auto& [places, expected] : cases) {
    facilities F = unit_sites(places);
    F.opt.append(site(9, 9, 9));
    const double value = F.gauge_sum(kDiamonds, zeros(F.size()), false);
    EXPECT_EQ(sorted(corners_of(F)), expected);
    EXPECT_EQ(value, F.objective(1, F.opt.head(), 0));
    for (const location& a : F.opt) EXPECT_EQ(a.weight(0), 1.0);
  }
}

// A gauge that does not surround its origin passes the constructor; its sum is not convex, and
// every crossing is looked at.
TEST(GaugeSum, WithoutTheOriginInside) {
  std::mt19937 random(9);
  int solved = 0;
  for (int trial = 0; trial < 40; ++trial) {
    gauged_sites P;
    P.gauges = {polygauge({point(1, 0), point(1, 1), point(0, 1)}), polygauge::linf_gauge()};
    for (int i = 0; i < 4; ++i) {
      P.sites.append(site(static_cast<double>(random() % 9), static_cast<double>(random() % 9), 1));
      P.gauge_of.append(i / 3);
    }
    EXPECT_EQ(detail::flat_gauged_sites(P.sites, P.gauges, P.gauge_of).relative_error(),
              std::numeric_limits<double>::infinity());
    const plain_result plain = by_plain_steps(P);
    if (plain.corners.empty()) continue;
    ++solved;
    EXPECT_EQ(P.sites.gauge_sum(P.gauges, P.gauge_of, true), plain.value);
    EXPECT_EQ(sorted(corners_of(P.sites)), plain.corners);
  }
  EXPECT_GT(solved, 5);
}

TEST(GaugeSum, Endings) {
  struct ending {
    facilities F;
    list<polygauge> gauges;
    list<int> gauge_of;
    Outcome outcome;
  };
  const std::string number = "False gauge-number.";
  const std::string weight = "Negative entry or 0-row or 0-column in weight-matrix.";
  const list<polygauge> triangle = {polygauge({point(1, 0), point(0, 1), point(-1, -1)})};
  const facilities bad = sites_of({site(0, 0, -1), site(1, 1, 1)});
  const ending cases[] = {
      {sites_of({site(0, 0, -1, 1)}), {}, {}, reported(1339, "False weight-dimension.")},
      {bad, {}, {0}, reported(1340, "Different number of locations and gauges.")},
      {bad, kDiamonds, {0, -1}, reported(1341, number)},
      {bad, kDiamonds, {1, 0}, reported(1341, number)},
      {bad, kDiamonds, {0, 0}, reported(1338, weight)},
      {sites_of({site(0, 0, 1), site(1, 1, 0)}), kDiamonds, {0, 0}, reported(1338, weight)},
      {facilities(), kDiamonds, {}, aborted("dlist::head(): empty list")},
      // The centre of gravity is a facility.
      {unit_sites({{0, 0}, {1, 0}, {2, 0}}),
       kDiamonds,
       {0, 0, 0},
       reported(1706, "polygauge: Conenumber is not correct")},
      // It is in an optimal triangle, whose corners come out a rounding above it.
      {unit_sites({{4, 1}, {2, 2}, {3, 1}}),
       triangle,
       {0, 0, 0},
       aborted("dlist::head(): empty list")},
  };
  for (const ending& e : cases) {
    facilities F = e.F;
    EXPECT_EQ(in_own_process([&] { F.gauge_sum(e.gauges, e.gauge_of, true); }), e.outcome);
  }
}

}  // namespace
}  // namespace planloc
