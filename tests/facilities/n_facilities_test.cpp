#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <string>
#include <vector>

#include "planloc/facilities/facilities.h"
#include "tests/facilities/site_families.h"
#include "tests/model/own_process.h"

namespace planloc {
namespace {

matrix square(int n, double entry) {
  matrix V(n, n);
  for (int j = 0; j < n; ++j) {
    for (int k = 0; k < n; ++k) V(j, k) = entry;
  }
  return V;
}

matrix random_ties(int n, std::mt19937& random) {
  matrix V(n, n);
  for (int j = 0; j < n; ++j) {
    for (int k = j; k < n; ++k) V(j, k) = V(k, j) = static_cast<double>(random() % 3000) / 1e3;
  }
  return V;
}

// Facilities with as many weights as new facilities, near the origin or far out on a map.
facilities random_facilities(int N, int trial, std::mt19937& random) {
  std::uniform_real_distribution<double> real(0.0, 10.0);
  const auto number = [&] { return trial % 2 ? std::floor(real(random) / 3.0) : real(random); };
  const double offset = trial % 3 ? 0.0 : 4e6;
  facilities F;
  for (int i = 1 + static_cast<int>(random() % 12); i > 0; --i) {
    location a(2, N);
    a[0] = offset + number();
    a[1] = offset - number();
    for (int j = 0; j < N; ++j) a.weight(j) = 0.125 + number();
    F.append(a);
  }
  return F;
}

// Two facilities that pull x_0 and x_1 apart.
facilities pair() { return sites_of({site(0, 0, 2, 1), site(1, 0, 1, 2)}); }

// The new cost with x_j = xs[j], written out once more.
double new_cost(const std::vector<location>& xs, const matrix& V, int p) {
  double sum = 0.0;
  for (std::size_t j = 0; j < xs.size(); ++j) {
    for (std::size_t k = j + 1; k < xs.size(); ++k) {
      sum += V(static_cast<int>(j), static_cast<int>(k)) * (xs[j] - xs[k]).norm(p);
    }
  }
  return sum;
}

// ----- Independent problems -----

TEST(NFacilities, CostsTakeTheElementNumberForTheNewFacility) {
  facilities F = pair();
  F.opt = {site(0, 3, 7), site(1, 4, 7)};
  matrix V = square(2, 9);
  V(0, 1) = 5;
  EXPECT_DOUBLE_EQ(F.N_existing_cost(0, 1), 2 * 3 + 1 * 4);
  EXPECT_DOUBLE_EQ(F.N_existing_cost(1, -1), 1 * 4 + 2 * 4);
  EXPECT_DOUBLE_EQ(F.N_existing_cost(1), (2 * 3 + 4) + (1 * 5 + 2 * 4));
  EXPECT_DOUBLE_EQ(F.N_new_cost(V, 2), 5 * std::sqrt(2.0));
  F.opt.clear();
  EXPECT_EQ(F.N_existing_cost(1), 0.0);
  EXPECT_EQ(F.N_new_cost(V, 1), 0.0);
}

// Every x_j is what its single problem gives, and the record is the objective at the first results.
TEST(NFacilities, IndependentProblemsAreTheSingleOnes) {
  std::mt19937 random(2);
  for (int trial = 0; trial < 120; ++trial) {
    const int N = 1 + trial % 4;
    const facilities given = random_facilities(N, trial, random);
    const matrix V = random_ties(N, random);
    for (int p : {-1, 1, 2, 3}) {
      facilities F = given;
      const auto record = F.N_lp_sum_v1(N, p, V, true);
      std::vector<location> all;
      std::vector<location> firsts;
      double existing = 0.0;
      for (int j = 0; j < N; ++j) {
        facilities single = given;
        if (p == -1) single.linf_sum(j, true);
        if (p == 1) single.l1_sum(j, true);
        if (p == 2) single.l2_sum(j, 0.0001, true);
        if (p == 3) single.lp_sum(3, 0.0001, 0.01, 500, j, true);
        for (const location& x : single.opt) all.push_back(x);
        firsts.push_back(single.opt.head());
        existing += single.result_value(p, j);
      }
      SCOPED_TRACE(shown(given) + "p " + std::to_string(p));
      EXPECT_EQ(results_of(F), all);
      if (std::isnan(existing)) continue;  // an iterate of l2_sum on a facility
      const double between = new_cost(firsts, V, p);
      EXPECT_NEAR(record->value, existing + between, 1e-9 * (1.0 + existing + between));
      if (existing > 0.0) {
        EXPECT_NEAR(record->ratio, between / existing, 1e-9 * (1.0 + record->ratio));
      }
      if (p == -1) {
        F.opt.append(site(5, 5, 5));
        EXPECT_EQ(F.N_linf_sum_v1(N, V, false), record->value);
        EXPECT_EQ(results_of(F), all);
      }
    }
  }
}

TEST(NFacilities, OlderResultsStayAndCount) {
  const matrix V = square(2, 1);
  // An older result of label 0 takes the place of the new x_0.
  facilities F = pair();
  F.opt.append(site(5, 0, 0));
  const auto record = F.N_lp_sum_v1(2, 1, V, false);
  EXPECT_EQ(results_of(F), (std::vector<location>{site(5, 0, 0), site(0, 0, 0), site(1, 0, 1)}));
  EXPECT_EQ(record->value, (2 * 5 + 1 * 4) + 1 + 4);
  // In the maximum norm they go.
  F.opt = {site(5, 0, 0)};
  F.N_lp_sum_v1(2, -1, V, false);
  EXPECT_EQ(results_of(F), (std::vector<location>{site(0, 0, 0), site(1, 0, 1)}));
  // Without any cost the ratio is not a number.
  facilities one = sites_of({site(3, 4, 1, 1)});
  EXPECT_TRUE(std::isnan(one.N_lp_sum_v1(2, 1, V, true)->ratio));
}

// ----- Alternating -----

TEST(NFacilities, AlternatingKeepsIndependentResultsOfSmallRatio) {
  for (int p : {-1, 1, 2, 3}) {
    facilities independent = pair();
    const auto first = independent.N_lp_sum_v1(2, p, square(2, 1), true);
    facilities F = pair();
    F.opt.append(site(9, 9, 9));
    const auto record = F.N_lp_sum(2, p, square(2, 1), 0.6, true);
    EXPECT_EQ(record->value, first->value);
    EXPECT_EQ(record->ratio, first->ratio);
    EXPECT_EQ(F.opt, independent.opt);
  }
}

TEST(NFacilities, AlternatingEndsInTheReportOfTheList) {
  const Outcome report = aborted("dlist::get_item: index out of range");
  for (int p : {-1, 1, 2, 3}) {
    EXPECT_EQ(in_own_process([&] { pair().N_lp_sum(2, p, square(2, 1), 0.3, true); }), report);
  }
  // A ratio of exactly eps is not below it.
  EXPECT_EQ(in_own_process([] { pair().N_lp_sum(2, 1, square(2, 1), 0.5, true); }), report);
  // One element more than new facilities: the sizes agree behind the second round.
  facilities tied = sites_of(
      {location(2.0, 3.0, 0.0, 0.0, 1.0, 2.0, 1.0), location(2.0, 3.0, 1.0, 0.0, 1.0, 1.0, 1.0)});
  EXPECT_EQ(in_own_process([&] { tied.N_lp_sum(2, 1, square(3, 1), 0.01, true); }), report);
  // With two weights there is no tie for a third element.
  facilities few = sites_of({site(0, 0, 1, 2), site(1, 0, 1, 1)});
  EXPECT_EQ(in_own_process([&] { few.N_lp_sum(2, 1, square(2, 1), 0.01, true); }),
            aborted("matrix: col index out of range"));
}

// ----- Counts -----

TEST(NFacilities, CountsThatDoNotFit) {
  const std::string text =
      "MAVI message: facilities::N_lp_sum_v1(): Matrix of interdependencies is non-quadratic: We "
      "are taking the upperleft submatrix of dimension 2 in account\n";
  const std::string fatal = "Cannot compute more optima than there is provided data.";
  const struct {
    int N, rows, cols;
    Outcome outcome;
  } cases[] = {
      {2, 2, 2, ended("")},
      {1, 1, 1, ended("")},
      {3, 2, 2, reported(1306, fatal)},
      {2, 1, 1, reported(1306, fatal)},
      {2, 3, 3, reported(1306, fatal)},
      {2, 3, 2, ended("", text)},
      {2, 2, 3, ended("", text)},
      {2, 4, 1, reported(1306, fatal, text)},
      {0, 2, 2, aborted("dlist::head(): empty list")},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(in_own_process([&] { pair().N_lp_sum_v1(c.N, 1, matrix(c.rows, c.cols), true); }),
              c.outcome)
        << c.N << ' ' << c.rows << ' ' << c.cols;
  }
  EXPECT_EQ(in_own_process([] { pair().N_lp_sum(2, 0, square(2, 1), 0.5, true); }),
            reported(1201, "Bad p-Norm argument in location::norm(int p)."));
}

// ----- Squared Euclidean distances -----

// The objective is convex and smooth: the optimum is where its gradient vanishes.
TEST(NFacilities, SquaredDistancesBalanceThePulls) {
  std::mt19937 random(9);
  for (int trial = 0; trial < 300; ++trial) {
    const int N = 1 + trial % 5;
    facilities F = random_facilities(N, trial, random);
    matrix V = random_ties(N, random);
    const double value = F.N_l2squared_sum(N, V, true);
    const std::vector<location> xs = results_of(F);
    ASSERT_EQ(xs.size(), static_cast<std::size_t>(N));
    double expected = 0.0;
    for (int j = 0; j < N; ++j) {
      const location& x = xs[static_cast<std::size_t>(j)];
      EXPECT_EQ(x.weight(0), j);
      location pull(2, 1);
      const auto pulled = [&](const location& to, double weight) {
        for (int c : {0, 1}) pull[c] += weight * (to[c] - x[c]);
        return weight * std::pow((to - x).norm(2), 2);
      };
      for (const location& a : F) expected += pulled(a, a.weight(j));
      for (int k = 0; k < N; ++k) {
        if (k == j) continue;
        expected += pulled(xs[static_cast<std::size_t>(k)], V(j, k)) / 2;
      }
      EXPECT_NEAR(pull.norm(1), 0.0, 1e-12 * (1 + F.size() * 20 * x.norm(1))) << "trial " << trial;
    }
    EXPECT_NEAR(value, expected, 1e-9 * (1.0 + expected));
    // Nothing below the diagonal, nor on it, is read.
    for (int j = 0; j < N; ++j) {
      for (int k = 0; k <= j; ++k) V(j, k) = NAN;
    }
    EXPECT_EQ(F.N_l2squared_sum(N, V, true), value);
  }
}

TEST(NFacilities, SquaredDistancesWithoutTiesAreCentresOfGravity) {
  facilities F = sites_of({site(0, 0, 1, 3), site(4, 8, 3, 1)});
  EXPECT_EQ(F.N_l2squared_sum(2, square(2, 0), true), 60.0 + 60.0);
  EXPECT_EQ(results_of(F), (std::vector<location>{site(3, 6, 0), site(1, 2, 1)}));
  EXPECT_EQ(F.diagonal_entry(2, 0, square(2, 7)), 11.0);
  // An older result is valued in the place of x_0, x_0 in that of x_1.
  F.opt = {site(0, 0, 0)};
  EXPECT_EQ(F.N_l2squared_sum(2, square(2, 0), false), 3 * 80.0 + (3 * 45.0 + 5.0));
  EXPECT_EQ(F.opt.size(), 3);
}

TEST(NFacilities, SquaredDistancesNeedATieToAFacility) {
  // Nothing holds x_1 but x_0.
  facilities F = sites_of({site(0, 0, 1, 0), site(2, 0, 1, 0)});
  EXPECT_EQ(in_own_process([&] { F.N_l2squared_sum(2, square(2, 0), true); }),
            aborted("matrix::solve: matrix has not full rank."));
  EXPECT_EQ(in_own_process([] { pair().N_l2squared_sum(2, matrix(1, 1), true); }),
            aborted("matrix: col index out of range"));
}

}  // namespace
}  // namespace planloc
