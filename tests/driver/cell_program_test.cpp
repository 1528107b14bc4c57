#include "planloc/driver/cell_program.h"

#include <algorithm>
#include <cmath>
#include <numeric>

#include "tests/driver/problem_fixture.h"

namespace planloc {
namespace {

class CellProgramTest : public ProblemTest {
 protected:
  struct Result {
    bool feasible = true;
    point sol{-77, -78};
    double value = -79;
    std::string output;
  };

  Result solve(const std::vector<int>& cell, double** coef) {
    Result r;
    IlcIntArray sigma = permutation(cell);
    ::testing::internal::CaptureStdout();
    solve_cell_lp(*manager_, sigma, coef, r.feasible, r.sol, r.value);
    r.output = ::testing::internal::GetCapturedStdout();
    return r;
  }

  // For order weights that are not negative the smallest Z along the cell are running maxima, so
  // that the program is the minimum of a convex function of the plane.
  double objective(const std::vector<int>& cell, const std::vector<double>& weights, double x,
                   double y) const {
    double sum = 0.0;
    double largest = 0.0;
    for (std::size_t i = 0; i < cell.size(); ++i) {
      largest = std::max(largest, row_distance(cell[i] - 1, x, y));
      sum += weights[i] * largest;
    }
    return sum;
  }

  // By ternary search in x over ternary searches in y.
  double smallest(const std::vector<int>& cell, const std::vector<double>& weights) const {
    return ternary([&](double x) {
      return ternary([&](double y) { return objective(cell, weights, x, y); });
    });
  }

 private:
  template <class F>
  static double ternary(F f) {
    double low = -6.0;
    double high = 6.0;
    for (int step = 0; step < 60; ++step) {
      const double a = low + (high - low) / 3;
      const double b = high - (high - low) / 3;
      (f(a) < f(b) ? high : low) = f(a) < f(b) ? b : a;
    }
    return f((low + high) / 2);
  }
};

TEST_F(CellProgramTest, ValueIsTheMinimumOfTheCellObjective) {
  std::mt19937 random(11);
  std::uniform_real_distribution<double> u(-5.0, 5.0);
  for (int trial = 0; trial < 15; ++trial) {
    clear();
    const int n = 1 + trial % 5;
    add_random_gauge(random, 4 + trial % 3);
    add_random_gauge(random, 5);
    std::vector<double> weights;
    std::vector<int> cell(static_cast<std::size_t>(n));
    for (int f = 0; f < n; ++f) {
      add_facility(u(random), u(random), 0.5 + std::fabs(u(random)) / 5, f % 2);
      weights.push_back(trial % 3 == 0 && f + 1 < n ? 0.0 : std::fabs(u(random)));
    }
    std::iota(cell.begin(), cell.end(), 1);
    std::shuffle(cell.begin(), cell.end(), random);
    const Result r = solve(cell, make_coef(weights));
    ASSERT_TRUE(r.feasible);
    EXPECT_NEAR(r.value, smallest(cell, weights), 1e-5 * (1 + r.value));
    EXPECT_NEAR(r.value, objective(cell, weights, r.sol.xcoord(), r.sol.ycoord()),
                1e-9 * (1 + r.value));
  }
}

TEST_F(CellProgramTest, TellsTheSolutionInFacilityOrder) {
  add_diamond();
  add_facility(0, 0, 1);
  add_facility(4, 0, 2);
  const Result r = solve({2, 1}, make_coef({1, 1}));
  EXPECT_EQ(r.sol, point(4, 0));
  EXPECT_EQ(r.output.substr(0, r.output.find("Total Time2=")),
            "The solution is found\nX=(4, 0)\nZ=(4 0 )\nThe objective value is=4\n");
}

TEST_F(CellProgramTest, WithoutOptimumNothingIsSet) {
  add_diamond();
  add_facility(0, 0, 1);
  add_facility(4, 0, 2);
  const Result r = solve({1, 2}, make_coef({1, -1}));
  EXPECT_EQ(r.output, "The problem is unbounded\n");
  EXPECT_FALSE(r.feasible);
  EXPECT_EQ(r.sol, point(-77, -78));
  EXPECT_EQ(r.value, -79);
  // A weight on the last place alone is bounded, whatever the earlier ones are within it.
  EXPECT_TRUE(solve({1, 2}, make_coef({-1, 2})).feasible);
}

}  // namespace
}  // namespace planloc
