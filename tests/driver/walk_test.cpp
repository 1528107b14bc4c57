#include "planloc/driver/walk.h"

#include <cmath>
#include <sstream>

#include "planloc/driver/cell_geometry.h"
#include "tests/driver/problem_fixture.h"

namespace planloc {
namespace {

class WalkTest : public ProblemTest {
 protected:
  // Facilities at the given distances from the origin, in facility order.
  void set_distances(const std::vector<double>& distances) {
    clear();
    add_diamond();
    for (const double d : distances) add_facility(d, 0, 1);
  }

  std::string walk_from_origin(double** coef) {
    W.init(-10, 10, -10);
    W.display();
    IlcIntArray sigma;
    cell_of_point(*manager_, point(0, 0), sigma);
    std::ostringstream log;
    ::testing::internal::CaptureStdout();
    walk(*manager_, sigma, coef, point(0, 0), log);
    ::testing::internal::GetCapturedStdout();
    return log.str();
  }
};

TEST_F(WalkTest, TieStep) {
  struct Case {
    std::vector<double> distances;
    std::vector<int> sigma;
    std::vector<int> next;
  };
  const Case cases[] = {
      {{1, 2, 3}, {1, 2, 3}, {1, 2, 3}},
      {{1, 1.0005, 3}, {1, 2, 3}, {2, 2, 3}},
      {{1, 2, 2.0005}, {1, 2, 3}, {1, 3, 2}},
      {{1, 1.0005, 1.0009}, {1, 2, 3}, {2, 3, 2}},
      {{1, 1, 5, 5}, {4, 3, 2, 1}, {3, 3, 1, 2}},
      {{1, 2, 2, 4}, {1, 2, 3, 4}, {1, 3, 3, 4}},
      // Only the sorted distances count, not which facility they belong to.
      {{3, 2, 2.0005}, {1, 2, 3}, {2, 2, 3}},
      // 0.001 apart: equal for the sort, no tie for the exchange.
      {{0, 0.001, 3}, {1, 2, 3}, {1, 2, 3}},
      {{7}, {1}, {0}},
  };
  for (const Case& c : cases) {
    set_distances(c.distances);
    IlcIntArray sigma = permutation(c.sigma);
    list<list<int>> visited;
    point origin(0, 0);
    bool done = true;
    next_cell(*manager_, origin, visited, sigma, done);
    EXPECT_FALSE(done);
    EXPECT_EQ(entries(sigma), c.next) << ::testing::PrintToString(c.distances);
    EXPECT_EQ(visited.size(), 1);
  }
}

TEST_F(WalkTest, AVisitedCellStops) {
  set_distances({1, 1, 3});
  list<list<int>> visited;
  IlcIntArray seen = permutation({2, 2, 3});
  IlcIntArray other = permutation({1, 3, 2});
  remember_cell(*manager_, seen, visited);
  remember_cell(*manager_, other, visited);
  IlcIntArray sigma = permutation({1, 2, 3});
  point origin(0, 0);
  bool done = false;
  next_cell(*manager_, origin, visited, sigma, done);
  EXPECT_TRUE(done);
  EXPECT_EQ(entries(sigma), (std::vector<int>{1, 2, 3}));
  EXPECT_EQ(visited.size(), 2);
}

TEST_F(WalkTest, SamePermutation) {
  set_distances({1, 2, 3});
  IlcIntArray a = permutation({1, 2, 3});
  IlcIntArray b = permutation({1, 2, 3});
  IlcIntArray c = permutation({1, 3, 3});
  EXPECT_TRUE(same_permutation(*manager_, a, b));
  EXPECT_FALSE(same_permutation(*manager_, a, c));
}

TEST_F(WalkTest, StopsInTheFirstCellAfterOneProgram) {
  add_diamond();
  add_facility(0, 0, 1);
  add_facility(3, 0, 1);
  EXPECT_EQ(walk_from_origin(make_coef({2, 1})),
            "P_sigma=(1 2 )\n"
            "Sol=(0,0); Value=3\n"
            "sigma=(1 2 )\n");
}

TEST_F(WalkTest, TheLastCellOfALongerWalkIsSolvedTwice) {
  add_diamond();
  add_facility(9, 0, 5);
  add_facility(2, 0, 1);
  // The optimum lies at facility 1, in another cell than the origin.
  EXPECT_EQ(walk_from_origin(make_coef({5, 1})),
            "P_sigma=(2 1 )\n"
            "Sol=(7.83333,0); Value=35\n"
            "sigma=(1 2 )\n"
            "P_sigma=(1 2 )\n"
            "Sol=(9,0); Value=7\n"
            "sigma=(1 2 )\n"
            "P_sigma=(1 2 )\n"
            "Sol=(9,0); Value=7\n"
            "sigma=(1 2 )\n");
}

TEST_F(WalkTest, AFailedProgramEndsTheWalk) {
  set_distances({1, 2});
  EXPECT_EQ(walk_from_origin(make_coef({1, -1})), "P_sigma=(1 2 )\n");
}

using WalkDeathTest = WalkTest;

TEST_F(WalkDeathTest, OneFacilityEndsOnTheIndexCheck) {
  set_distances({2});
  EXPECT_DEATH(walk_from_origin(make_coef({1})), "i >= getIndexMin\\(\\)");
}

}  // namespace
}  // namespace planloc
