#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <sstream>
#include <vector>

#include "distance_program.h"
#include "plain_steps.h"
#include "planloc/facilities/facilities.h"
#include "planloc/facilities/weighted_median.h"
#include "site_families.h"
#include "tests/model/own_process.h"

namespace planloc {
namespace {

using Points = std::vector<location>;

// ----- l2squared_sum -----

TEST(SquaredSum, CentreOfGravityWithWeightKValuedWithWeight0) {
  facilities F = sites_of({site(0, 0, 1, 3), site(6, 8, 1, 1)});
  EXPECT_EQ(F.l2squared_sum(0, true), 50.0);
  EXPECT_EQ(F.l2squared_sum(1, false), 6.25 + 56.25);
  EXPECT_EQ(results_of(F), (Points{site(3, 4, 0), site(1.5, 2, 1)}));
}

TEST(SquaredSum, NoNeighbourIsBetter) {
  for_random_sites(60, true, [](facilities& F, const site_family& family) {
    const double value = F.l2squared_sum(0, true);
    const location c = F.opt.head();
    const double step = 1e-3 * family.spread;
    const auto value_at = [&](double x, double y) {
      long double sum = 0.0L;
      for (const location& a : F) {
        sum +=
            a.weight(0) * (std::pow((long double)a[0] - x, 2) + std::pow((long double)a[1] - y, 2));
      }
      return static_cast<double>(sum);
    };
    ASSERT_NEAR(value, value_at(c[0], c[1]), 1e-6 * (1 + value)) << shown(F, family.name);
    for (const auto& [dx, dy] : {std::pair{step, 0.0}, {-step, 0.0}, {0.0, step}, {0.0, -step}}) {
      ASSERT_LT(value_at(c[0], c[1]), value_at(c[0] + dx, c[1] + dy)) << shown(F, family.name);
    }
  });
}

// ----- l1_sum -----

TEST(WeightedMedian, OnItsOwn) {
  weighted_median m({{3, 1, 0}, {1, 1, 1}, {2, 0, 2}, {3, 1, 3}, {1, 1, 4}});
  EXPECT_EQ(m.total(), 4.0);
  m.find(2.0);
  EXPECT_EQ(m.site().coordinate, 1.0);
  EXPECT_FALSE(m.passes(2.0));
  m.next([](const line_site& s) { return s.weight != 0.0; });
  EXPECT_EQ(m.site().coordinate, 3.0);
  m.previous([](const line_site&) { return true; });
  EXPECT_EQ(m.site().coordinate, 2.0);
  m.find(2.5);
  EXPECT_EQ(m.site().coordinate, 3.0);
  EXPECT_TRUE(m.passes(2.5));
}

TEST(RectilinearSum, ResultsOfEveryKindOfTie) {
  const struct {
    Points sites;
    int k;
    double value;
    Points results;
  } cases[] = {
      {{site(2, 3, 5)}, 0, 0, {site(2, 3, 0)}},
      {{site(0, 0, 1), site(4, 0, 1)}, 0, 4, {site(0, 0, 0), site(4, 0, 0)}},
      {{site(1, 7, 1), site(1, 2, 1)}, 0, 5, {site(1, 2, 0), site(1, 7, 0)}},
      {{site(0, 0, 1), site(4, 2, 1)},
       0,
       6,
       {site(0, 0, 0), site(4, 0, 0), site(4, 2, 0), site(0, 2, 0)}},
      // Without weight a site is no end of a tie.
      {{site(0, 0, 1), site(4, 0, 1), site(2, 0, 0)}, 0, 4, {site(0, 0, 0), site(4, 0, 0)}},
      // By weight 1 the ends are 0 and 2; the search looks at weight 0 and passes over 2.
      {{site(0, 0, 1, 1), site(2, 0, 0, 1), site(5, 0, 1, 0)},
       1,
       2,
       {site(0, 0, 1), site(5, 0, 1)}}};
  for (const auto& c : cases) {
    facilities F = sites_of(c.sites);
    EXPECT_EQ(F.l1_sum(c.k, true), c.value) << shown(F);
    EXPECT_EQ(results_of(F), c.results) << shown(F);
  }
}

TEST(RectilinearSum, AllOfTheOptimalSetByTheSlopes) {
  for_random_sites(120, true, [](facilities& F, const site_family& family) {
    // In one coordinate a place is a median if at most half of the weight is on either side.
    location low(2, 1);
    location high(2, 1);
    for (int c = 0; c < 2; ++c) {
      bool found = false;
      for (const location& a : F) {
        double below = 0.0;
        double above = 0.0;
        double total = 0.0;
        for (const location& b : F) {
          total += b.weight(0);
          if (b[c] < a[c]) below += b.weight(0);
          if (b[c] > a[c]) above += b.weight(0);
        }
        if (2 * below > total || 2 * above > total) continue;
        low[c] = found ? std::min(low[c], a[c]) : a[c];
        high[c] = found ? std::max(high[c], a[c]) : a[c];
        found = true;
      }
    }
    Points expected{site(low[0], low[1], 0)};
    if (low[0] != high[0]) expected.push_back(site(high[0], low[1], 0));
    if (low[1] != high[1]) expected.push_back(site(expected.back()[0], high[1], 0));
    if (expected.size() == 3) expected.push_back(site(low[0], high[1], 0));
    const double value = F.l1_sum(0, true);
    ASSERT_EQ(results_of(F), expected) << shown(F, family.name);
    for (const location& x : F.opt) ASSERT_NEAR(F.objective(1, x, 0), value, 1e-12 * (1 + value));
  });
}

TEST(RectilinearSum, WithoutClearTheValueIsThatOfTheOlderResult) {
  facilities F = sites_of({site(0, 0, 1, 9), site(4, 0, 3, 1)});
  F.l1_sum(0, true);
  EXPECT_EQ(F.l1_sum(1, false), F.objective(1, site(4, 0, 0), 1));
  EXPECT_EQ(results_of(F), (Points{site(4, 0, 0), site(0, 0, 1)}));
}

TEST(RectilinearSum, Endings) {
  const std::string message =
      "MAVI message: facilities::l1_sum(): All weights are equal zero:The whole plane is optimal\n";
  const auto call = [](facilities F, int k) {
    return in_own_process([&] {
      F.l1_sum(k, true);
      std::cout << "went on";
    });
  };
  EXPECT_EQ(call(sites_of({site(1, 2, 0), site(3, 4, 0)}), 0), ended("", message));
  EXPECT_EQ(call(facilities(), 0), ended("", message));
  // The search for the other end of the tie finds no weight 0.
  EXPECT_EQ(call(sites_of({site(0, 0, 0, 1), site(4, 0, 0, 1)}), 1),
            aborted("dlist::get_item: index out of range"));
  // Half of the smallest double is 0.0: a tie in both coordinates, and no weight to go on to.
  EXPECT_EQ(call(sites_of({site(0, 1, 5e-324), site(1, 0, 0)}), 0),
            aborted("dlist::get_item: index out of range"));
}

TEST(RectilinearSum, BitsOfThePlainSteps) {
  std::mt19937 random(5);
  std::uniform_real_distribution<double> u(0.0, 1.0);
  for (int round = 0; round < 150; ++round) {
    // Odd weights, so that every sum rounds, and coordinates from almost all equal to all
    // different, so that the order of the sort among equals shows in the sums.
    facilities F;
    const int n = 1 + static_cast<int>((round % 10 == 0 ? 3000 : 300) * u(random));
    const double different = std::pow(2.0, 12 * u(random));
    for (int i = 0; i < n; ++i) {
      F.append(site(std::floor(different * u(random)), u(random), u(random), u(random)));
    }
    for (int k : {0, 1}) {
      const double value = F.l1_sum(k, true);
      const Points expected = plain::l1_sum(F, k);
      ASSERT_EQ(results_of(F), expected);
      ASSERT_EQ(value, plain::objective(F, 1, expected.front(), k));
    }
  }
}

// ----- linf_sum -----

TEST(MaximumNormSum, AgreesWithTheLinearProgram) {
  for_random_sites(25, true, [](facilities& F, const site_family& family) {
    for (int k : {0, 1}) {
      // Ends of ties are looked for by weight 0.
      facilities G;
      for (const location& a : F) G.append(site(a[0], a[1], a.weight(k)));
      const double value = G.linf_sum(0, true);
      ASSERT_NEAR(value, program_value(G, -1, 0, false), 1e-8 * (family.spread + value))
          << shown(G, family.name);
      for (const location& x : G.opt) {
        ASSERT_NEAR(G.objective(-1, x, 0), value, 1e-8 * (family.spread + value));
      }
    }
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

// ----- Evaluation -----

TEST(Objective, BitsOfThePlainSteps) {
  std::mt19937 random(17);
  for (const site_family& family : site_families()) {
    facilities F = random_sites(random, family, true);
    F.append(
        location(3.0, 2.0, 1.0, 2.0, 3.0, 4.0, 5.0));  // another dimension counts as distance 0
    for (const location& x : {site(0.1, -7, 0), site(family.x, family.y, 1), F.location(0)}) {
      for (int p : {-1, 0, 1, 2, 3, 7}) {
        ASSERT_EQ(F.objective(p, x, 1), plain::objective(F, p, x, 1)) << family.name << ' ' << p;
      }
    }
  }
}

}  // namespace
}  // namespace planloc
