#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "planloc/facilities/flat_gauged_sites.h"
#include "planloc/facilities/gauge_sum.h"
#include "planloc/facilities/gauged_sites.h"
#include "tests/facilities/gauge_problems.h"
#include "tests/model/own_process.h"

namespace planloc {
namespace {

// Places that try every branch of a cone: on sites, on fundamental directions, hairs beside them,
// crossings, and far away.
std::vector<point> places_about(const gauged_sites& problem, std::mt19937& random) {
  std::uniform_real_distribution<double> u(-3.0, 3.0);
  std::vector<point> places = {point(1e80, 0), point(1e-80, 1e-90), point(0, 0)};
  problem.for_each([&](const location& a, const polygauge& g) {
    const point p = a.to_point();
    places.push_back(p);
    places.push_back(p.translate(1e-200, 0));
    places.push_back(p.translate(u(random), u(random)));
    for (const point& v : g.vertices()) {
      const double t = 3 + u(random);
      const point q = p.translate(t * v.xcoord(), t * v.ycoord());
      places.push_back(q);
      places.push_back(q.translate(1e-8 * u(random), 1e-8 * u(random)));
      places.push_back(q.translate(1e-7 * u(random), 1e-7 * u(random)));
      places.push_back(point(q.xcoord(), std::nextafter(q.ycoord(), 0.0)));
    }
  });
  return places;
}

TEST(FlatGaugedSites, AreThePlainStepsBitForBit) {
  std::mt19937 random(5);
  for_gauged_problems(25, [&](const gauged_sites& problem, const char* family) {
    const detail::flat_gauged_sites flat(problem.sites, problem.gauges, problem.gauge_of);
    for (const point& x : places_about(problem, random)) {
      std::size_t i = 0;
      bool on_site = false;
      problem.for_each([&](const location& a, const polygauge& g) {
        bool interior = false;
        const point p = a.to_point();
        on_site = on_site || p == x;
        ASSERT_EQ(flat.cone(i, x.xcoord(), x.ycoord()), g.cone_of(p, x, interior)) << family << x;
        ASSERT_EQ(flat.distance(i++, x.xcoord(), x.ycoord()), g.distance(p, x)) << family << x;
      });
      ASSERT_EQ(flat.value(x.xcoord(), x.ycoord()),
                problem.sites.gauge_value(problem.gauges, problem.gauge_of, x, 0));
      if (on_site) continue;
      vector g(2);
      problem.for_each([&](const location& a, const polygauge& ball) {
        bool interior = false;
        const list<point> ends =
            ball.cone_vertices(point(0, 0), ball.cone_of(a.to_point(), x, interior));
        const point P = ends.head();
        const point Q = ends.tail();
        const double D =
            P.xcoord() * (Q.ycoord() - P.ycoord()) - P.ycoord() * (Q.xcoord() - P.xcoord());
        g[0] += a.weight(0) * (Q.ycoord() - P.ycoord()) / D;
        g[1] -= a.weight(0) * (Q.xcoord() - P.xcoord()) / D;
      });
      ASSERT_EQ(problem.sites.gauge_gradient(problem.gauges, problem.gauge_of, x, 0), g) << x;
    }
  });
}

// The exact distance, the largest row and the solvers' distance are three ways to one number.
TEST(GaugedSites, DistancesAgree) {
  std::mt19937 random(8);
  std::uniform_real_distribution<double> u(-60.0, 60.0);
  for_gauged_problems(10, [&](const gauged_sites& problem, const char* family) {
    problem.for_each([&](const location& a, const polygauge& g) {
      const point x = a.to_point().translate(u(random), u(random));
      double largest = 0.0;
      for (const gauge_row& row : gauge_rows(a, g)) {
        largest = std::max(largest, row.a * (x.xcoord() - a[0]) + row.b * (x.ycoord() - a[1]));
      }
      const double exact = gauge_distance(x, a, g);
      EXPECT_NEAR(largest, exact, 1e-7 * exact) << family << x;
      EXPECT_NEAR(g.distance(a.to_point(), x) * a.weight(0), exact, 1e-7 * exact) << family << x;
    });
  });
}

const list<polygauge> kGauges = {polygauge::l1_gauge(),
                                 polygauge({point(2, 0), point(0, 1), point(-1, 0), point(0, -1)})};

facilities two_sites() { return sites_of({site(0, 0, 2, 1), site(4, 2, 1, 3)}); }

TEST(GaugeOperations, ByHand) {
  const facilities F = two_sites();
  const list<int> gauge_of = {0, 1};
  // From (4,2) to (1,1): 3 + 1.
  EXPECT_EQ(F.gauge_value(kGauges, gauge_of, point(1, 1), 0), 2 * 2.0 + 4.0);
  EXPECT_EQ(F.gauge_value(kGauges, gauge_of, point(8, 2), 1), 10.0 + 3 * 2.0);
  // The slopes of the first are (1,1), those of the second (-1,-1), and (1/2,1) on the far side.
  EXPECT_EQ(F.gauge_gradient(kGauges, gauge_of, point(1, 1), 0), vector(1, 1));
  EXPECT_EQ(F.gauge_gradient(kGauges, gauge_of, point(8, 3), 1), vector(2.5, 4));
  EXPECT_EQ(F.gauge_normal(kGauges, gauge_of, point(8, 3), 1), vector(-4, 2.5));
  EXPECT_EQ(descent_side(vector(1, 2), point(3, 0), point(1, 1)), 0);
  EXPECT_EQ(descent_side(vector(1, 2), point(3, 1), point(1, 1)), 1);
  EXPECT_EQ(descent_side(vector(1, 2), point(3, -1), point(1, 1)), -1);
}

TEST(GaugeOperations, FundamentalSegments) {
  const facilities F = two_sites();
  const list<int> gauge_of = {0, 1};
  const point x0(-0.03, 0);
  const std::vector<point> near = {{0, 3},  {-3, 0}, {0, -3}, {3, 0},
                                   {16, 2}, {4, 8},  {-2, 2}, {4, -4}};
  // Both criteria: the values at x0 are 0.06 + 6.03 and 0.03 + 18.09, over 3 and 4; the tour is
  // 2 sqrt(20), and the largest radius 2: ceil(9.06 + 8.944) = 19, and ceil(9.002) = 10 along the
  // vertex of length 2.
  const std::vector<point> far = {{0, 19}, {-19, 0}, {0, -19}, {19, 0},
                                  {24, 2}, {4, 21},  {-15, 2}, {4, -17}};
  for (int mode : {0, 1}) {
    std::size_t i = 0;
    for (const segment& s : F.fundamental_segments(kGauges, gauge_of, x0, 6.0, mode)) {
      EXPECT_EQ(s.source(), i < 4 ? point(0, 0) : point(4, 2));
      EXPECT_EQ(s.target(), (mode == 0 ? near : far)[i]) << mode << ' ' << i;
      ++i;
    }
    EXPECT_EQ(i, 8u);
  }
}

TEST(GaugeOperations, BestPoints) {
  const facilities F = two_sites();
  const list<int> gauge_of = {0, 0};
  const point x0(1, 1);  // value 4 + 4, slopes (1, 1)
  const list<point> candidates = {{0.5, 1}, {0, 0.5}, {0.5, 0}, {2, 0.5}, {0.5, 0}, {-1, 0}};
  const auto best = [&](double bound) {
    const list<point> R = F.best_points(kGauges, gauge_of, candidates, x0, bound, 0);
    return std::vector<point>(R.begin(), R.end());
  };
  const std::vector<point> tied = {{0, 0.5}, {0.5, 0}, {0.5, 0}};
  EXPECT_EQ(best(8.0), tied);
  EXPECT_EQ(best(6.5), tied);
  EXPECT_EQ(best(6.0), std::vector<point>());
}

TEST(GaugeOperations, Endings) {
  const facilities F = two_sites();
  const Outcome no_gauge = aborted("dlist::get_item: index out of range");
  const auto value = [&](const list<int>& gauge_of) {
    return in_own_process([&] { F.gauge_value(kGauges, gauge_of, point(1, 1), 0); });
  };
  EXPECT_EQ(value({0}), no_gauge);
  EXPECT_EQ(value({0, 2}), no_gauge);
  EXPECT_EQ(value({-1, 0}), no_gauge);
  const list<int> gauge_of = {0, 1};
  EXPECT_EQ(in_own_process([&] { F.gauge_gradient(kGauges, gauge_of, point(4, 2), 0); }),
            reported(1706, "polygauge: Conenumber is not correct"));
}

}  // namespace
}  // namespace planloc
