#include "planloc/driver/cell_geometry.h"

#include <cmath>
#include <sstream>
#include <tuple>
#include <utility>

#include "tests/driver/problem_fixture.h"

namespace planloc {
namespace {

class CellGeometryTest : public ProblemTest {
 protected:
  std::vector<int> cell(const point& x) {
    IlcIntArray sigma;
    cell_of_point(*manager_, x, sigma);
    return entries(sigma);
  }
};

TEST_F(CellGeometryTest, DistanceIsWeightTimesGauge) {
  std::mt19937 random(7);
  std::uniform_real_distribution<double> u(-5.0, 5.0);
  for (int trial = 0; trial < 300; ++trial) {
    clear();
    add_random_gauge(random, 3 + trial % 9);
    add_facility(u(random), u(random), 0.2 + std::fabs(u(random)));
    make_coef({1.0});
    const point x(u(random), u(random));
    const double expected = row_distance(0, x.xcoord(), x.ycoord());
    EXPECT_NEAR(gauge_distance(x, fac.head(), gauges.head()), expected, 1e-11 * (1 + expected));
  }
}

TEST_F(CellGeometryTest, BallHitAtVerticesAndAtTheFacility) {
  add_gauge({{2, 0}, {0, 1}, {-1, 0}, {0, -1}});
  add_facility(1, 1, 2);
  const location& a = fac.head();
  const polygauge& g = gauges.head();
  const std::tuple<point, point, double> cases[] = {
      {{5, 1}, {2, 1}, 4},        // along vertex 1, met by the first and the last edge
      {{1, 3}, {1, 1.5}, 4},      // along vertex 2
      {{-3, 1}, {0.5, 1}, 8},     // along vertex 3: the ball is not symmetric
      {{3, 2}, {1.5, 1.25}, 4},   // inside cone 1
      {{0, 0}, {0.75, 0.75}, 4},  // inside cone 3
      {{1, 1}, {2, 1}, 0},        // the facility itself: the first vertex
  };
  for (const auto& [x, hit, distance] : cases) {
    EXPECT_EQ(ball_hit(to_rat_point(x), a, g).to_point(), hit) << x;
    EXPECT_EQ(gauge_distance(x, a, g), distance) << x;
  }
}

// The ball does not surround the facility: an unmet ray leaves the hit at the origin.
TEST_F(CellGeometryTest, WithoutAMetEdgeTheHitIsTheOrigin) {
  add_gauge({{1, 0}, {1, 1}, {0, 1}});
  add_facility(3, 4, 1);
  EXPECT_EQ(ball_hit(to_rat_point({3, 0}), fac.head(), gauges.head()).to_point(), point(0, 0));
  EXPECT_EQ(gauge_distance({3, 0}, fac.head(), gauges.head()), 4.0 / 5.0);
  clear();
  add_gauge({{1, 0}, {1, 1}, {0, 1}});
  add_facility(0, 0, 1);
  EXPECT_TRUE(std::isinf(gauge_distance({-3, 0}, fac.head(), gauges.head())));
}

// Distances within the tolerance keep the order that the exchanges of the sort give them. The
// expected orders follow from the steps by hand.
TEST_F(CellGeometryTest, TiesAreDecidedByTheSort) {
  const std::pair<std::vector<double>, std::vector<int>> cases[] = {
      {{1, 1}, {1, 2}},
      {{1.0005, 1}, {1, 2}},
      {{1.0015, 1}, {2, 1}},
      {{1, 1, 1}, {1, 2, 3}},
      {{2, 1.0005, 1}, {3, 2, 1}},
      {{1, 1, 1, 1}, {1, 3, 2, 4}},
      {{1, 1, 1, 1, 1}, {1, 4, 3, 2, 5}},
      // Not transitive: each neighbour ties, the ends do not.
      {{1.0016, 1.0008, 1}, {3, 2, 1}},
  };
  for (const auto& [distances, sigma] : cases) {
    clear();
    add_diamond();
    for (const double d : distances) add_facility(-d, 0, 1);
    EXPECT_EQ(cell({0, 0}), sigma) << ::testing::PrintToString(distances);
  }
}

TEST_F(CellGeometryTest, CompareDistance) {
  EXPECT_EQ(compare_distance({1, 1.0}, {2, 1.5}), -1);
  EXPECT_EQ(compare_distance({1, 1.5}, {2, 1.0}), 1);
  EXPECT_EQ(compare_distance({1, 0.0}, {2, 0.001}), 0);
  EXPECT_EQ(compare_distance({1, 0.0}, {2, std::nextafter(0.001, 1)}), -1);
  EXPECT_EQ(compare_distance({1, std::nan("")}, {2, 1.0}), 0);
}

TEST_F(CellGeometryTest, RecordsAreWrittenAndRead) {
  std::ostringstream out;
  out << location_distance{3, 1.5};
  EXPECT_EQ(out.str(), "location: 3, distance: 1.5\n");
  std::istringstream in("4 2.25");
  location_distance e{};
  in >> e;
  EXPECT_EQ(compare_distance(e, {4, 2.25}), 0);
  EXPECT_EQ(e.location, 4);
}

using CellGeometryDeathTest = CellGeometryTest;

TEST_F(CellGeometryDeathTest, FacilityWithoutWeight) {
  add_diamond();
  add_facility(1, 1, 0.0);
  EXPECT_DEATH(cell({0, 0}), "integer\\(double\\): argument infinite");
}

}  // namespace
}  // namespace planloc
