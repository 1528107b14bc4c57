#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <iostream>
#include <limits>
#include <random>
#include <utility>
#include <vector>

#include "planloc/facilities/facilities.h"
#include "planloc/facilities/weighted_median.h"
#include "tests/facilities/gauge_problems.h"
#include "tests/facilities/site_families.h"
#include "tests/model/own_process.h"

namespace planloc {
namespace {

using Points = std::vector<location>;

TEST(SquaredSum, CentreOfGravityWithWeightKValuedWithWeight0) {
  facilities F = sites_of({site(1, 2, 1, 3), site(7, 10, 1, 5)});
  EXPECT_EQ(F.l2squared_sum(0, true), 50.0);
  EXPECT_DOUBLE_EQ(F.l2squared_sum(1, false), 53.125);
  EXPECT_EQ(results_of(F), (Points{site(4, 6, 0), site(4.75, 7, 1)}));
}

// Where the sum is least the pulls cancel out, and it is the value there.
TEST(SquaredSum, BalancesThePulls) {
  for_random_sites(60, true, [](facilities& F, const site_family& family) {
    const double value = F.l2squared_sum(0, true);
    const location c = F.opt.head();
    long double pull[2] = {0.0L, 0.0L};
    long double sum = 0.0L;
    for (const location& a : F) {
      for (int d : {0, 1}) {
        const long double away = static_cast<long double>(a[d]) - c[d];
        pull[d] += a.weight(0) * away;
        sum += a.weight(0) * away * away;
      }
    }
    const double slack = 1e-12 * (std::fabs(family.x) + std::fabs(family.y) + family.spread);
    for (long double p : pull) ASSERT_NEAR(static_cast<double>(p), 0.0, 100 * slack) << shown(F);
    ASSERT_NEAR(value, static_cast<double>(sum), 1e-9 * (1 + value) + 100 * slack) << shown(F);
  });
}

// ----- l1_sum -----

// Where the median without a sort answers, the sorted one is that, and the only one.
TEST(RectilinearSum, AClearMedianIsTheSortedOne) {
  std::mt19937 random(3);
  int answers = 0;
  for (int round = 0; round < 3000; ++round) {
    const bool lattice = round % 3 == 0;
    std::vector<double> c(1 + random() % 70), w(c.size());
    std::vector<line_site> sites;
    for (std::size_t i = 0; i < c.size(); ++i) {
      c[i] = lattice ? static_cast<int>(random() % 9) - 4 : std::ldexp(random(), -20) - 2000.0;
      w[i] = round % 2 ? static_cast<double>(random() % 3) : std::ldexp(random(), -32);
      sites.push_back({c[i], w[i], static_cast<int>(i)});
    }
    const auto clear = clear_median(c, w);
    weighted_median sorted(sites);
    if (!clear || sorted.total() == 0.0) continue;
    ++answers;
    const double half = 0.5 * sorted.total();
    sorted.find(half);
    ASSERT_TRUE(sorted.passes(half));
    ASSERT_EQ(sorted.site().coordinate, *clear);
  }
  EXPECT_GT(answers, 2000);
  const double infinite = std::numeric_limits<double>::infinity();
  const std::pair<std::vector<double>, std::vector<double>> unclear[] = {
      {{1, 2}, {1, 1}}, {{1, 2, 3}, {0.1, 0.2, 0.3}},  {{-0.0, 0.0}, {1, 1}},   {{}, {}},
      {{1}, {0}},       {{1, infinite, 2}, {1, 1, 1}}, {{1, 2, 3}, {3, -1, 3}},
  };
  for (const auto& [c, w] : unclear) EXPECT_FALSE(clear_median(c, w)) << c.size();
}

// The corners in walking order, also where a site without weight stands in a tie.
TEST(RectilinearSum, AllOfTheOptimalSetByTheSlopes) {
  for_random_sites(120, true, [](facilities& F, const site_family& family) {
    // In one coordinate a place is a median if at most half of the weight is on either side.
    std::vector<double> medians[2];
    for (int c = 0; c < 2; ++c) {
      for (const location& a : F) {
        double slope[2] = {0.0, 0.0};
        for (const location& b : F) {
          slope[0] += b[c] < a[c] ? b.weight(0) : -b.weight(0);
          slope[1] += b[c] > a[c] ? b.weight(0) : -b.weight(0);
        }
        if (slope[0] <= 0.0 && slope[1] <= 0.0) medians[c].push_back(a[c]);
      }
    }
    const auto [x0, x1] = std::minmax_element(medians[0].begin(), medians[0].end());
    const auto [y0, y1] = std::minmax_element(medians[1].begin(), medians[1].end());
    Points expected{site(*x0, *y0, 0)};
    if (*x0 != *x1) expected.push_back(site(*x1, *y0, 0));
    if (*y0 != *y1) expected.push_back(site(*x1, *y1, 0));
    if (expected.size() == 3) expected.push_back(site(*x0, *y1, 0));
    const double value = F.l1_sum(0, true);
    ASSERT_EQ(results_of(F), expected) << shown(F, family.name);
    for (const location& x : F.opt) ASSERT_NEAR(F.objective(1, x, 0), value, 1e-12 * (1 + value));
  });
}

TEST(RectilinearSum, OtherWeightsAndOlderResults) {
  // By weight 1 the ends are 0 and 2; the search looks at weight 0 and passes over 2.
  facilities F = sites_of({site(0, 0, 1, 1), site(2, 0, 0, 1), site(5, 0, 1, 0)});
  EXPECT_EQ(F.l1_sum(1, true), 2.0);
  EXPECT_EQ(results_of(F), (Points{site(0, 0, 1), site(5, 0, 1)}));
  // The value is that of the older result.
  F = sites_of({site(0, 0, 1, 9), site(4, 0, 3, 1)});
  F.l1_sum(0, true);
  EXPECT_EQ(F.l1_sum(1, false), 36.0);
  EXPECT_EQ(results_of(F), (Points{site(4, 0, 0), site(0, 0, 1)}));
}

// Weights are added up from the left, those at one coordinate first. Ten times 0.1 are less than
// twice five times 0.1, so that there is no tie between the fifth and the sixth.
TEST(RectilinearSum, RoundingDecidesOnTies) {
  facilities F;
  for (int i = 0; i < 10; ++i) F.append(site(i, 0, 0.1));
  F.l1_sum(0, true);
  EXPECT_EQ(results_of(F), (Points{site(4, 0, 0)}));
}

TEST(RectilinearSum, Endings) {
  const Outcome message = ended("",
                                "MAVI message: facilities::l1_sum(): All weights are equal "
                                "zero:The whole plane is optimal\n");
  const Outcome no_end = aborted("dlist::get_item: index out of range");
  const struct {
    Points sites;
    int k;
    Outcome outcome;
  } cases[] = {
      {{site(1, 2, 0), site(3, 4, 0)}, 0, message},
      {{}, 0, message},
      // The search for the other end of the tie finds no weight 0.
      {{site(0, 0, 0, 1), site(4, 0, 0, 1)}, 1, no_end},
      // Half of the smallest double is 0.0: a tie in both coordinates, and no weight to go on to.
      {{site(0, 1, 5e-324), site(1, 0, 0)}, 0, no_end},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(in_own_process([&] {
                sites_of(c.sites).l1_sum(c.k, true);
                std::cout << "went on";
              }),
              c.outcome);
  }
}

// ----- linf_sum -----

TEST(MaximumNormSum, AgreesWithTheLinearProgram) {
  for_random_sites(40, true, [](facilities& F, const site_family& family) {
    const double value = F.linf_sum(0, true);
    const double slack = 1e-8 * (family.spread + value);
    ASSERT_NEAR(value, program_value(with_norm(F, -1)), slack) << shown(F, family.name);
    for (const location& x : F.opt) ASSERT_NEAR(F.objective(-1, x, 0), value, slack);
  });
}

TEST(MaximumNormSum, TurnsOlderResultsToo) {
  facilities F = sites_of({site(2, 1, 1, 5)});
  F.opt.append(site(1, 3, 7));
  EXPECT_EQ(F.linf_sum(1, false), F.objective(-1, site(-2, 4, 0), 1));
  EXPECT_EQ(results_of(F), (Points{site(-2, 4, 7), site(2, 1, 1)}));
  EXPECT_EQ(F.linf_sum(0, true), 0.0);
  EXPECT_EQ(results_of(F), (Points{site(2, 1, 0)}));
}

}  // namespace
}  // namespace planloc
