#include "planloc/driver/walk.h"

#include <tuple>

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
};

TEST_F(WalkTest, TieStep) {
  const std::tuple<std::vector<double>, std::vector<int>, std::vector<int>> cases[] = {
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
  for (const auto& [distances, from, to] : cases) {
    set_distances(distances);
    IlcIntArray sigma = permutation(from);
    list<list<int>> visited;
    point origin(0, 0);
    bool done = true;
    next_cell(*manager_, origin, visited, sigma, done);
    EXPECT_FALSE(done);
    EXPECT_EQ(entries(sigma), to) << ::testing::PrintToString(distances);
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

}  // namespace
}  // namespace planloc
