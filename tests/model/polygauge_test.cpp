#include "planloc/model/polygauge.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <sstream>

#include "planloc/foundation/numeric/matrix.h"
#include "tests/model/gauge_samples.h"

namespace planloc {
namespace {

constexpr double kPi = std::numbers::pi;

// The distance from a to b by matrix::solve in the basis of the cone.
double distance_by_matrix(const polygauge& g, const point& a, const point& b) {
  bool interior = false;
  const list<segment> basis = g.cone_segments(a, g.cone_of(a, b, interior));
  matrix M(2, 2);
  M(0, 0) = basis.head().dx();
  M(1, 0) = basis.head().dy();
  M(0, 1) = basis.tail().dx();
  M(1, 1) = basis.tail().dy();
  const vector lambda = M.solve(vector(b.xcoord() - a.xcoord(), b.ycoord() - a.ycoord()));
  return std::fabs(lambda[0]) + std::fabs(lambda[1]);
}

TEST(PolygaugeTest, ConesOfRandomPoints) {
  BallSource source(1);
  for (int trial = 0; trial < 1000; ++trial) {
    const polygauge g(source.ball(3 + trial % 10));
    const point a = source.somewhere(5.0);
    const point d = source.somewhere(5.0);
    const point b = a.translate(d.xcoord(), d.ycoord());
    bool interior = false;
    const int i = g.cone_of(a, b, interior);
    EXPECT_TRUE(interior);
    EXPECT_GE(cross(g.vertex(i), d), 0.0);
    EXPECT_GE(cross(d, g.vertex(i % g.size() + 1)), 0.0);
    for (int j = 1; j <= g.size(); ++j) EXPECT_EQ(g.in_cone(a, j, b, interior), j == i);
    EXPECT_EQ(g.distance(a, b), distance_by_matrix(g, a, b));
  }
}

TEST(PolygaugeTest, NormsOfTheClassicalGauges) {
  BallSource source(3);
  const polygauge l1 = polygauge::l1_gauge();
  const polygauge linf = polygauge::linf_gauge();
  for (int trial = 0; trial < 100; ++trial) {
    const location b = location::from_point(source.somewhere(9.0));
    EXPECT_NEAR(l1.distance(at(2, 1), b), (b - at(2, 1)).norm(1), 1e-13);
    EXPECT_NEAR(linf.distance(at(2, 1), b), (b - at(2, 1)).norm(-1), 1e-13);
    // Both rows could be the pivot here.
    EXPECT_EQ(linf.distance(kZero, b.to_point()), distance_by_matrix(linf, kZero, b.to_point()));
  }
  EXPECT_EQ(text(l1), "(0,1) (-1,0) (0,-1) (1,0)\n");
  EXPECT_EQ(text(linf), "(-1,1) (-1,-1) (1,-1) (1,1)\n");
  const polygauge skew(points("2 0  0 1  -1 0  0 -1"));
  EXPECT_EQ(skew.distance(kZero, point(2, 0)), 1.0);
  EXPECT_EQ(skew.distance(at(2, 0), at(0, 0)), 2.0);
  EXPECT_EQ(skew.distance(point(2, 0), point(2, 0)), 0.0);
}

TEST(PolygaugeTest, ConesOnTheirBoundaries) {
  const polygauge g(kDiamond);
  EXPECT_EQ(g.get_angles(), (list<double>{0.0, kPi / 2, kPi, 2 * kPi - kPi / 2}));
  struct Case {
    double x, y;
    int cone;
    bool interior;
    list<int> holding;  // the cones that in_cone reports
  };
  bool interior = false;
  for (const Case& c :
       {Case{2, 3, 1, true, {1}}, Case{0, 5, 1, false, {1, 2}}, Case{3, 0, 1, false, {1}},
        Case{-1, 0, 2, false, {2, 3}}, Case{0, -2, 3, false, {3}}, Case{1, -2, 4, true, {4}},
        Case{0, 0, 0, false, {}}}) {
    SCOPED_TRACE(c.cone);
    EXPECT_EQ(g.cone_of(kZero, point(c.x, c.y), interior), c.cone);
    EXPECT_EQ(interior, c.interior);
    // The same as seen from another centre.
    const location x = at(c.x - 7, c.y + 3);
    EXPECT_EQ(g.cone_of(at(-7, 3), x, interior), c.cone);
    list<int> holding;
    for (int i = 1; i <= 4; ++i) {
      if (g.in_cone(at(-7, 3), i, x, interior) == 1) holding.append(i);
    }
    EXPECT_EQ(holding, c.holding);
  }
  EXPECT_FALSE(interior);
  EXPECT_EQ(g.in_cone(kZero, 4, point(0, -1), interior), 0);
  EXPECT_FALSE(interior);
  EXPECT_EQ(g.in_cone(kZero, 2, point(0, -1), interior), 0);
  EXPECT_TRUE(interior);
  // Seen from so far away the first direction has no length, and so every angle is 0.0.
  EXPECT_EQ(g.cone_of(point(1e17, 0), point(1e17, -100), interior), 1);
}

TEST(PolygaugeTest, AboutACentre) {
  const polygauge g(kDiamond);
  EXPECT_EQ(g.vertices(), kDiamond);
  EXPECT_EQ(text(g.vertices_at(point(1, 2))), "(2,2) (1,3) (0,2) (1,1)");
  EXPECT_EQ(text(g.directions_at(at(1, 2))),
            "[(1,2)===(2,2)] [(1,2)===(1,3)] [(1,2)===(0,2)] [(1,2)===(1,1)]");
  EXPECT_EQ(text(g.cone_vertices(at(1, 2), 4)), "(1,1) (2,2)");
  EXPECT_EQ(text(g.cone_segments(at(1, 2), 2)), "[(1,2)===(1,3)] [(1,2)===(0,2)]");
  const list<point> L = points("3 3  0 0  1 2  1 5  2 0");
  EXPECT_EQ(text(g.points_in_cone(point(1, 1), 1, L)), "(3,3) (1,2) (1,5)");
  EXPECT_EQ(text(g.points_in_cone(at(1, 1), 4, {at(3, 3), at(2, 0)})), "2 0  1 ");
  const polygauge moved = g.translated(point(5, 6));
  EXPECT_EQ(text(moved.vertex(1)), "(6,6)");
  EXPECT_EQ(moved.get_angles(), g.get_angles());
  EXPECT_EQ(moved.vertices(), kDiamond);
}

TEST(PolygaugeTest, EdgesAndExtentsOfTheBall) {
  const polygauge linf = polygauge::linf_gauge();
  EXPECT_EQ(text(linf.edge_line(at(4, 0), 1)), "1e+50 3");
  EXPECT_EQ(linf.edge_line(point(4, 5), 4), (list<double>{0.0, 6.0}));
  EXPECT_EQ(text(polygauge(kDiamond).edge_line(at(1, 1), 4)), "1 -1");
  // The first vertex wins a tie.
  EXPECT_EQ(linf.max(kZero, 0), point(1, -1));
  EXPECT_EQ(linf.mini(kZero, 0), point(-1, 1));
  EXPECT_EQ(linf.max(point(3, 4), 1), point(2, 5));
  EXPECT_EQ(linf.mini(at(3, 4), 1), point(2, 3));
  const polygauge skew(points("-1 -6  3 4  -2 5"));
  EXPECT_EQ(text(skew.max_diff(0)) + " " + text(skew.max_diff(1)), "5 11");
  EXPECT_EQ(skew.radius(), std::sqrt(37.0));
}

TEST(PolygaugeTest, DerivedGauges) {
  BallSource source(5);
  for (int trial = 0; trial < 100; ++trial) {
    const polygauge g(source.ball(3 + trial % 6));
    const point x = source.somewhere(4.0);
    const double alpha = source.uniform(-4.0, 4.0);
    const double d = g.distance(kZero, x);
    EXPECT_NEAR(g.rotated(alpha).distance(kZero, x.rotate(alpha)), d, 1e-8 * (1 + d));
    EXPECT_NEAR(g.scale(2.0).distance(kZero, x), d / 2, 1e-9 * (1 + d));
    double support = 0.0;
    for (const point& v : g.vertices()) support = std::max(support, dot(v, x));
    EXPECT_NEAR(g.dual().distance(kZero, x), support, 1e-9 * (1 + support));
  }
  const polygauge l1 = polygauge::l1_gauge();
  EXPECT_EQ(text(l1.dual()), "(1,1) (-1,1) (-1,-1) (1,-1)\n");
  // By angle and length, so that (0, 1) does not stay right above the origin.
  EXPECT_EQ(l1.scale(2.0).vertex(1), kZero.translate_by_angle(kPi / 2, 2.0));
  const polygauge unit = polygauge(points("0 2  -1 -1  5 0")).normalized();
  EXPECT_EQ(unit.vertex(1), kZero.translate_by_angle(kPi / 2, 1.0));
  EXPECT_LT(unit.vertex(2).distance(point(-std::sqrt(0.5), -std::sqrt(0.5))), 1e-15);
}

TEST(PolygaugeTest, StreamsSymmetryAndEquality) {
  std::istringstream in("1 0 (0,1) -1 0 (0 -1)\n5 5");
  polygauge g;
  in >> g;
  EXPECT_EQ(text(g), "(1,0) (0,1) (-1,0) (0,-1)\n");
  EXPECT_TRUE(g.is_symmetric());
  for (const char* row :
       {"1 0  -1 1  -1 -1", "2 0  0 1  -1 0  0 -1", "1 0  0 1  -1 0  0 -1.0000000000000002"}) {
    EXPECT_FALSE(polygauge(points(row)).is_symmetric()) << row;
  }
  // The first vertex decides.
  EXPECT_TRUE(g == polygauge(points("1 0  1 2  -3 0  0 -1")));
  EXPECT_TRUE(g != polygauge::l1_gauge() && g != polygauge(points("1 0  -1 1  -1 -1")));
  EXPECT_TRUE(polygauge() == polygauge() && polygauge() != g);
}

TEST(PolygaugeDeathTest, Endings) {
  const polygauge g(kDiamond);
  const location o = at(0, 0);
  const char* const kOrder = "polygauge: must be in counterclockwise order";
  const char* const kGap = "polygauge: alpha > PI";
  const char* const kHull = "polygauge: is not convex";
  const char* const kCone = "polygauge: Conenumber is not correct";
  const polygauge late(points("1 -1  1 1  -1 1  -1 -1"));
  const auto make = [](const char* row) { polygauge{points(row)}; };
  expect_endings({
      {1701, kOrder, [&] { make("1 0  2 0  0 1"); }},
      {1701, kOrder, [&] { make("1 0  0 -1  -1 0  0 1"); }},
      {1702, kGap, [&] { make("1 0  -1 0  0 -1"); }},
      {1702, kGap, [&] { make("1 0  0 1  0 -1"); }},
      {1703, kHull, [&] { make("1 0  0.5 0.5  0 1  -1 -1"); }},
      {1704, "polygauge:scale must be greater than 0", [&] { g.scale(0.0); }},
      {1705, kCone, [&] { g.vertex(5); }},
      {1705, kCone, [&] { polygauge::l1_gauge().merged(g); }},
      // The walk runs through, as the first direction has collected two turns by then.
      {1701, kOrder, [&] { polygauge::l1_gauge().merged(late); }},
      {1701, kOrder, [&] { late.merged(polygauge::l1_gauge()); }},
      {1706, kCone, [&] { g.edge_line(o, 5); }},
      {1203, "Conversion to only possible for dimension 2.",
       [&] { g.distance(o, location(3, 1)); }},
  });
  expect_common_endings(g, "polygauge", 1706);
  // The origin lies outside, and nobody looks.
  EXPECT_EQ(polygauge(points("1 0  1 1  0 1")).size(), 3);
  EXPECT_EXIT(make(""), testing::KilledBySignal(SIGABRT), "dlist::head\\(\\): empty list");
  for (const char* row : {"1e-13 0  0 1  -1 0  0 -1", "1 0  0 1e-13  -1 0  0 -1"}) {
    EXPECT_EXIT(polygauge(points(row)).distance(kZero, point(1, 1)),
                testing::KilledBySignal(SIGABRT), "matrix::solve: matrix has not full rank.");
  }
}

}  // namespace
}  // namespace planloc
