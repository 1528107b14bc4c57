#include "planloc/model/mixgauge.h"

#include <gtest/gtest.h>

#include <cmath>
#include <sstream>

#include "planloc/model/polygauge.h"
#include "tests/model/gauge_samples.h"

namespace planloc {
namespace {

// The types as a row of 0 and 1.
std::string types_of(const mixgauge& g) {
  std::string row;
  for (int i = 1; i <= g.size(); ++i) row += g.cone_type(i) ? '1' : '0';
  return row;
}

list<bool> types(const std::string& row) {
  list<bool> result;
  for (char c : row) result.append(c == '1');
  return result;
}

TEST(MixgaugeTest, WithoutArcsItIsAPolygauge) {
  BallSource source(21);
  for (int trial = 0; trial < 100; ++trial) {
    const polygauge p(source.ball(3 + trial % 6));
    const mixgauge m(p.vertices(), types(std::string(3 + trial % 6, '0')));
    const point a = source.somewhere(3.0);
    const point b = source.somewhere(3.0);
    EXPECT_EQ(m.distance(a, b), p.distance(a, b));
    EXPECT_EQ(m.vertices_at(a), p.vertices_at(a));
    EXPECT_EQ(m.get_angles(), p.get_angles());
    EXPECT_EQ(m.edge_line(a, 2), p.edge_line(a, 2));
    EXPECT_EQ(m.dual().vertices(), p.dual().vertices());
    EXPECT_EQ(m.rotated(0.3).vertices(), p.rotated(0.3).vertices());
    EXPECT_EQ(m.normalized().vertices(), p.normalized().vertices());
    EXPECT_EQ(m.scale(0.3).vertices(), p.scale(0.3).vertices());
  }
  const mixgauge l1(polygauge::l1_gauge().vertices(), types("0000"));
  const mixgauge linf(polygauge::linf_gauge().vertices(), types("0000"));
  EXPECT_EQ(l1.merged(linf).vertices(),
            polygauge::l1_gauge().merged(polygauge::linf_gauge()).vertices());
}

TEST(MixgaugeTest, ArcsKeepTheirFirstPoint) {
  struct Case {
    const char* given;
    const char* vertices;
    const char* kept;
  };
  const char* const kAll = "(1,0) (0,1) (-1,0) (0,-1)\n";
  for (const Case& c : {Case{"0000", kAll, "0000"}, Case{"1010", kAll, "1010"},
                        Case{"1100", "(1,0) (-1,0) (0,-1)\n", "100"},
                        Case{"1001", "(0,1) (-1,0) (0,-1)\n", "001"}, Case{"0001", kAll, "0001"}}) {
    SCOPED_TRACE(c.given);
    const mixgauge g(kDiamond, types(c.given));
    EXPECT_EQ(text(g), c.vertices);
    EXPECT_EQ(types_of(g), c.kept);
  }
}

TEST(MixgaugeTest, DistanceAndEdgesFollowTheTypeOfTheCone) {
  // Euclidean whatever the lengths of the vertices are.
  const mixgauge g(points("3 0  0 1  -1 0  0 -1"), types("1010"));
  EXPECT_DOUBLE_EQ(g.distance(at(0, 0), at(2, 2)), 2 * std::sqrt(2.0));
  EXPECT_EQ(g.distance(kZero, point(-2, 2)), 4.0);
  EXPECT_EQ(g.distance(kZero, kZero), 0.0);
  EXPECT_EQ(mixgauge(kDiamond, types("1000")).distance(at(2, 2), at(0, 0)), 4.0);
  EXPECT_EQ(text(g.edge_line(point(3, 4), 1)), "0 0");
  EXPECT_EQ(text(g.edge_line(at(0, 0), 2)), "1 1");
}

TEST(MixgaugeTest, DerivedGaugesKeepTheTypes) {
  std::istringstream in("(1,0) (0,1) (-1,0) (0,-1)\n1 0 1 0\nrest");
  mixgauge g;
  in >> g;
  std::string rest;
  in >> rest;
  EXPECT_EQ(rest, "rest");
  for (const mixgauge& h : {g, g.rotated(0.4), g.dual(), g.normalized(), g.scale(2.0)}) {
    EXPECT_EQ(types_of(h), "1010");
  }
  EXPECT_TRUE(mixgauge(kDiamond, types("1000")).is_symmetric());
  EXPECT_TRUE(g == mixgauge(kDiamond, types("0000")));
}

TEST(MixgaugeTest, MergedCarriesTheTypes) {
  const list<point> l1 = polygauge::l1_gauge().vertices();
  const list<point> linf = polygauge::linf_gauge().vertices();
  struct Case {
    const char* of_l1;
    const char* of_linf;
    std::vector<int> eighths;  // directions of the result, in eighths of a turn from the x axis
    const char* merged;
  };
  for (const Case& c : {Case{"0000", "0000", {2, 3, 4, 5, 6, 7, 8, 9}, "00000000"},
                        // The direction that follows on an arc is dropped.
                        Case{"1000", "0000", {2, 4, 5, 6, 7, 8, 9}, "1000000"},
                        Case{"0000", "0100", {2, 3, 4, 5, 7, 8, 9}, "0001000"},
                        // An arc at the end costs the first direction, whatever its type is.
                        Case{"0001", "0000", {3, 4, 5, 6, 7, 8}, "000001"},
                        Case{"0000", "0001", {3, 4, 5, 6, 7, 8, 9}, "0000001"}}) {
    SCOPED_TRACE(std::string(c.of_l1) + " " + c.of_linf);
    const mixgauge m = mixgauge(l1, types(c.of_l1)).merged(mixgauge(linf, types(c.of_linf)));
    EXPECT_EQ(types_of(m), c.merged);
    ASSERT_EQ(m.size(), static_cast<int>(c.eighths.size()));
    for (int i = 1; i <= m.size(); ++i) {
      const double alpha = c.eighths[static_cast<std::size_t>(i) - 1] * std::numbers::pi / 4;
      EXPECT_LT(m.vertex(i).distance(point(std::cos(alpha), std::sin(alpha))), 1e-15);
    }
  }
  // Where both have a direction, one arc is enough.
  EXPECT_EQ(types_of(mixgauge(l1, types("0000")).merged(mixgauge(l1, types("0100")))), "010");
}

TEST(MixgaugeDeathTest, Endings) {
  const mixgauge g(kDiamond, types("1010"));
  const mixgauge late(polygauge::l1_gauge().vertices(), types("0000"));
  const char* const kSizes = "mixgauge: must be the same size for points and conetyps";
  const char* const kOrder = "mixgauge: must be in counterclockwise order";
  const char* const kGap = "mixgauge: alpha > PI";
  const char* const kHull = "mixgauge: not convex";
  const char* const kCone = "mixgauge: Conenumber is not correct";
  int five = 5;
  const auto make = [](const char* row, const char* c) { mixgauge(points(row), types(c)); };
  expect_endings({
      {1717, kSizes, [&] { make("1 0  0 1  -1 0  0 -1", "000"); }},
      {1717, kSizes, [&] { make("", "1"); }},
      {1718, kOrder, [&] { make("1 0  2 0  0 1", "000"); }},
      {1720, kGap, [&] { make("1 0  -1 -1  0 -1", "100"); }},
      {1721, kHull, [&] { make("1 0  0.5 0.5  0 1  -1 -1", "1000"); }},
      {1722, kCone, [&] { g.vertex(5); }},
      {1723, kCone, [&] { g.cone_type(five); }},
      {1723, kCone, [&] { g.edge_line(kZero, 0); }},
      {1723, kCone, [&] { late.merged(g); }},
      {1735, "mixgauge:scale must be greater than 0", [&] { g.scale(0.0); }},
  });
  expect_common_endings(g, "mixgauge", 1724);
  EXPECT_EXIT(make("1 0", "1"), testing::KilledBySignal(SIGABRT), "dlist::head\\(\\): empty list");
}

}  // namespace
}  // namespace planloc
