#include <gtest/gtest.h>
#include <sys/resource.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <iostream>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "planloc/facilities/facilities.h"
#include "planloc/facilities/lpsolver.h"
#include "tests/facilities/plain_programs.h"
#include "tests/facilities/site_families.h"
#include "tests/model/own_process.h"

namespace planloc {
namespace {

struct problem {
  facilities F;
  matrix V;
};

// Positive weights and ties, coordinates around the offset, whole ones if `lattice`. The part of V
// below the diagonal is left at 0.
problem random_problem(int N, int largest, bool lattice, double offset, std::mt19937& random) {
  std::uniform_real_distribution<double> real(0.25, 10.0);
  const auto number = [&] { return lattice ? std::ceil(real(random) / 2) : real(random); };
  problem p{{}, matrix(N, N)};
  for (int i = 1 + static_cast<int>(random() % largest); i > 0; --i) {
    location a(2, N);
    a[0] = offset + number();
    a[1] = number() - 5.0;
    for (int j = 0; j < N; ++j) a.weight(j) = number();
    p.F.append(a);
  }
  for (int j = 0; j < N; ++j) {
    for (int k = j + 1; k < N; ++k) p.V(j, k) = number() * p.F.size() / 3;
  }
  return p;
}

// The results are the ones found, bit for bit, with their labels.
void expect_results(const facilities& F, const both_solutions& found) {
  std::vector<location> expected;
  for (std::size_t j = 0; j < found.x.size(); ++j) {
    expected.push_back(site(found.x[j], found.y[j], static_cast<double>(j)));
  }
  EXPECT_EQ(results_of(F), expected);
}

double value_by_engine(const plain_program& P, bool maximum) {
  const double x = value_by_engine(P, P.bx);
  const double y = value_by_engine(P, P.by);
  return maximum ? std::max(x, y) : x + y;
}

// The largest term of the maximum problem, under the norm p.
double largest_term(const problem& q, const std::vector<location>& xs, int p) {
  double largest = 0.0;
  const auto length = [p](const location& a, const location& b) {
    return (a.coords() - b.coords()).norm(p);
  };
  for (int j = 0; j < static_cast<int>(xs.size()); ++j) {
    for (const location& a : q.F) largest = std::max(largest, a.weight(j) * length(a, xs[j]));
    for (int k = j + 1; k < static_cast<int>(xs.size()); ++k) {
      largest = std::max(largest, q.V(j, k) * length(xs[j], xs[k]));
    }
  }
  return largest;
}

// ----- Sums -----

TEST(NewFacilitiesSum, IsOptimal) {
  std::mt19937 random(3);
  for (int round = 0; round < 400; ++round) {
    const int N = 1 + round % 3;
    const double offset = round % 5 == 0 ? 4131602.5 : 0.0;
    problem q = random_problem(N, N == 3 ? 6 : 12, round % 2 == 0, offset, random);
    const double value = q.F.N_l1_sum(N, q.V, round % 7 != 0);
    const double least = least_sum_by_enumeration(q.F, q.V);
    ASSERT_EQ(q.F.opt.size(), N);
    const double tolerance = 1e-9 * (1.0 + least) + 1e-13 * offset;
    EXPECT_NEAR(value, least, 1e3 * tolerance) << "round " << round;
    EXPECT_NEAR(q.F.N_existing_cost(1) + q.F.N_new_cost(q.V, 1), least, tolerance);
    if (N > 1) continue;
    EXPECT_NEAR(q.F.l1_sum(0, true), least, tolerance);
  }
}

TEST(NewFacilitiesSum, LargerOnesAgreeWithAnotherLibrary) {
  std::mt19937 random(4);
  for (int N = 1; N <= 3; ++N) {
    problem q = random_problem(N, 1, false, 0.0, random);
    while (q.F.size() < 60) q.F.append(random_problem(N, 1, false, 0.0, random).F.head());
    const plain_program P = plain_l1(q.F, N, q.V);
    const double value = value_by_engine(P, false);
    EXPECT_NEAR(q.F.N_l1_sum(N, q.V, true), value, 1e-8 * value);
  }
}

// The same numbers as from the stated steps, which set the matrix entry by entry; for N >= 4 too,
// where pairs share rows.
TEST(NewFacilitiesSum, NumbersOfThePlainSteps) {
  std::mt19937 random(5);
  for (int round = 0; round < 200; ++round) {
    const int N = 1 + round % 5;
    problem q = random_problem(N, 8, round % 2 == 0, 0.0, random);
    const plain_program P = plain_l1(q.F, N, q.V);
    const both_solutions found = solved_entry_by_entry(P);
    const double value = q.F.N_l1_sum(N, q.V, true);
    EXPECT_EQ(value, found.value_x + found.value_y) << "round " << round;
    expect_results(q.F, found);
    if (N == 4) {
      EXPECT_NEAR(value, value_by_engine(P, false), 1e-8 * value);
    }
  }
}

TEST(NewFacilitiesSum, FourNewFacilitiesAreAnotherProblem) {
  facilities F;
  for (int i : {0, 1}) {
    location a(2, 4);
    a[0] = i;
    a.weight(3 * i) = 1.0;
    F.append(a);
  }
  matrix V(4, 4);
  V(0, 3) = 100.0;
  EXPECT_EQ(F.N_l1_sum(4, V, true), 0.0);
  EXPECT_EQ(F.N_existing_cost(1) + F.N_new_cost(V, 1), 100.0);
  V(1, 2) = 100.0;  // in the row, and with the costs, of the other pair
  EXPECT_EQ(F.N_l1_sum(4, V, true), 0.0);
}

TEST(NewFacilitiesSum, ClearAndNothingToSolve) {
  facilities F = sites_of({site(2, 3, 1), site(4, 9, 5)});
  F.N_l1_sum(1, matrix(1, 1), true);
  EXPECT_EQ(F.N_l1_sum(1, matrix(1, 1), false), 8.0);
  EXPECT_EQ(results_of(F), (std::vector{site(4, 9, 0), site(4, 9, 0)}));
  F.N_l1_sum(1, matrix(1, 1), true);
  EXPECT_EQ(F.opt.size(), 1);

  facilities none = sites_of({location(2, 0)});
  EXPECT_EQ(none.N_l1_sum(0, matrix(0, 0), true), 0.0);
  EXPECT_TRUE(none.opt.empty());
}

// ----- Maxima -----

TEST(NewFacilitiesMaximum, IsOptimal) {
  std::mt19937 random(6);
  for (int round = 0; round < 300; ++round) {
    const int N = 1 + round % 4;
    problem q = random_problem(N, 8, round % 2 == 0, 0.0, random);
    const plain_program P = plain_linf(q.F, N, q.V);
    const both_solutions found = solved_entry_by_entry(P);
    const double value = q.F.N_linf_max(N, q.V, true);
    EXPECT_EQ(value, std::max(found.value_x, found.value_y)) << "round " << round;
    expect_results(q.F, found);
    EXPECT_NEAR(value, value_by_engine(P, true), 1e-8);
    EXPECT_NEAR(largest_term(q, results_of(q.F), -1), value, 1e-8);
    if (N > 1) continue;
    EXPECT_NEAR(q.F.linf_max(true), value, 1e-8);
    EXPECT_NEAR(q.F.N_l1_max(1, q.V, true), q.F.l1_max(true), 1e-8);
  }
}

TEST(NewFacilitiesMaximum, RectilinearOnesOfAGrid) {
  std::mt19937 random(7);
  constexpr double kStep = 0.5;
  std::vector<location> grid;  // over the square of all facilities
  for (int u = 0; u <= 10; ++u) {
    for (int v = 0; v <= 10; ++v) grid.push_back(site(kStep * u, kStep * v - 5.0, 0));
  }
  for (int round = 0; round < 20; ++round) {
    problem q = random_problem(2, 4, true, 0.0, random);
    const double value = q.F.N_l1_max(2, q.V, true);
    EXPECT_NEAR(largest_term(q, results_of(q.F), 1), value, 1e-8);
    double least = std::numeric_limits<double>::infinity();
    for (const location& s : grid) {
      for (const location& t : grid) least = std::min(least, largest_term(q, {s, t}, 1));
    }
    // No pair of grid points is better, and the best of them is as near as the grid is fine.
    EXPECT_GE(least, value - 1e-8);
    EXPECT_LE(least, value + kStep * std::max(5.0, 2 * q.V(0, 1)));
  }
}

TEST(NewFacilitiesMaximum, OlderResults) {
  facilities F = sites_of({site(0, 0, 1), site(4, 0, 1)});
  const matrix V(1, 1);
  for (int i = 1; i <= 2; ++i) {
    EXPECT_NEAR(F.N_linf_max(1, V, true), 2.0, 1e-12);
    EXPECT_EQ(F.opt.size(), i);  // whatever clear is
  }
  F.opt.clear();
  F.opt.append(site(1, 0, 7));
  EXPECT_NEAR(F.N_l1_max(1, V, false), 2.0, 1e-12);
  ASSERT_EQ(F.opt.size(), 2);
  EXPECT_EQ(F.opt.head(), planloc::location(2.0, 1.0, 0.5, -0.5, 7.0));  // turned like the new one
  F.N_l1_max(1, V, true);
  EXPECT_EQ(F.opt.size(), 1);

  facilities none;
  EXPECT_EQ(none.N_linf_max(1, V, true), 0.0);
  EXPECT_EQ(none.N_linf_max(-1, V, true), 0.0);
  EXPECT_EQ(none.opt.size(), 1);
}

TEST(NewFacilitiesMaximum, Substitutes) {
  const std::string notice =
      "This is a substitute function for the original CPLEX\n"
      "based algorithm, because there is no CPLEX on this system.\n";
  facilities F = sites_of({site(0, 0, 1), site(4, 0, 1)});
  F.opt.append(site(1, 1, 0));
  const matrix V(1, 1);
  EXPECT_EQ(in_own_process([&] {
              const double value = F.N_linf_max_substitute(1, V, true);
              std::cerr << value << ' ' << F.opt.size();
            }),
            ended("2 2", notice));
  EXPECT_EQ(in_own_process([&] {
              const double value = F.N_l1_max_substitute(1, V, true);
              std::cerr << value << ' ' << F.opt.size();
            }),
            ended("2 1", notice));
}

// ----- Endings -----

TEST(NewFacilitiesPrograms, Reports) {
  facilities F = sites_of({site(0, 0, 1, 2), site(1, 0, 1, 0)});
  const matrix two(2, 2);
  struct {
    std::function<void()> call;
    int code;
    const char* text;
  } const cases[] = {
      {[&] { F.N_l1_sum(3, matrix(2, 3), true); }, 1331, "Unequal matrix dimensions."},
      {[&] { F.N_l1_sum(3, two, true); }, 1332,
       "Matrix dimensions and number of new locations do not fit."},
      {[&] { F.N_l1_sum(1, two, true); }, 1332,
       "Matrix dimensions and number of new locations do not fit."},
      {[&] { F.N_l1_sum(3, matrix(3, 3), true); }, 1333,
       "Weight dimensions and number of new location do not fit."},
      {[&] { F.N_l1_sum(1, matrix(1, 1), true); }, 1333,
       "Weight dimensions and number of new location do not fit."},
      {[&] { F.N_linf_max(2, two, true); }, 1336,
       "facilities::N_linf_max(): Every weight must be unequal to zero"},
      {[&] {
         F.tail().weight(1) = 1;
         F.N_l1_max(2, two, true);
       },
       1337,
       "facilities::N_linf_max(): The entries of the dependency matrix must be unequal to zero"}};
  for (const auto& c : cases) EXPECT_EQ(in_own_process(c.call), reported(c.code, c.text));
  EXPECT_EQ(in_own_process([] { facilities().N_l1_sum(1, matrix(1, 1), true); }),
            aborted("dlist::head(): empty list"));
}

// lp_solve's verdict is not looked at, and says nothing either: unbounded programs, and one whose
// optimum lies beyond the bound of its coordinates.
TEST(NewFacilitiesPrograms, VerdictsPassInSilence) {
  EXPECT_EQ(in_own_process([] {
              facilities F = sites_of({site(0, 0, -1, 1), site(1, -1e15, 1, 1)});
              matrix V(2, 2);
              V(0, 1) = -1.0;
              std::cerr << F.N_l1_sum(2, V, true) << ' ' << F.N_linf_max(2, V, true) << ' '
                        << F.opt.size() << ' ';
              facilities far = sites_of({site(1, -1e15, 1)});
              far.N_l1_sum(1, matrix(1, 1), true);
              std::cerr << far.opt.head()[1];
            }),
            ended("2e+30 1e+30 4 -9e+14"));
}

// The second program of a sum starts from the basis of the first, from where lp_solve loses a few
// far ones; each coordinate alone is solved from none.
TEST(NewFacilitiesPrograms, FarSumsAreSolvedAgainWhereTheirStartMisleads) {
  std::mt19937 random(5);
  const auto uniform = [&](double low, double high) {
    return std::uniform_real_distribution<double>(low, high)(random);
  };
  for (int trial = 0; trial < 1500; ++trial) {
    facilities F;
    for (auto sites = 1 + random() % 8; sites > 0; --sites) {
      location a(2, 3);
      for (int c = 0; c < 2; ++c) a[c] = 1e8 + uniform(0, 10);
      for (int j = 0; j < 3; ++j) a.weight(j) = uniform(0.1, 5);
      F.append(a);
    }
    matrix V(3, 3);
    for (int j = 0; j < 3; ++j) {
      for (int k = 0; k < j; ++k) V(j, k) = V(k, j) = uniform(0.1, 3);
    }
    ASSERT_LT(F.N_l1_sum(3, V, true), 8 * 15 * 20.0) << "trial " << trial;
  }
}

#ifndef __SANITIZE_ADDRESS__
TEST(NewFacilitiesPrograms, NoMemoryForTheCosts) {
  EXPECT_EQ(in_own_process([] {
              const rlimit limit = {1 << 30, 1 << 30};
              setrlimit(RLIMIT_AS, &limit);
              linf_lp_solve(200000000, 0, 0, nullptr, nullptr, nullptr, nullptr, nullptr);
            }),
            (Outcome{1, "", "malloc of 1600000016 bytes failed on line 69 of file lpsolver\n"}));
}
#endif

}  // namespace
}  // namespace planloc
