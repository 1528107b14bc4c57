#include <gtest/gtest.h>

#include <cmath>
#include <iostream>
#include <vector>

#include "planloc/facilities/facilities.h"
#include "tests/facilities/gauge_problems.h"
#include "tests/facilities/site_families.h"
#include "tests/model/own_process.h"

namespace planloc {
namespace {

using Points = std::vector<location>;

// The value is that of the linear program. Every result has it, and so has every place between two
// of them; beyond, it is worse.
void check(const facilities& F, const site_family& family, int p, double value) {
  const double slack = 1e-8 * family.spread;
  ASSERT_NEAR(value, program_value(with_norm(F, p), {.largest = true}), 2 * slack)
      << shown(F, family.name);
  if (value == 0.0 || F.opt.empty()) return;
  ASSERT_LE(F.opt.size(), 2);
  const location& a = F.opt.head();
  const location& b = F.opt.tail();
  const auto largest_at = [&](double t) {
    const location x(2.0, 1.0, a[0] + t * (b[0] - a[0]), a[1] + t * (b[1] - a[1]), 0.0);
    double largest = 0.0;
    for (const location& s : F) largest = std::max(largest, s.weight(0) * (s - x).norm(p));
    return largest;
  };
  for (double t : {0.0, 0.5, 1.0}) ASSERT_NEAR(largest_at(t), value, slack);
  const double length = std::hypot(b[0] - a[0], b[1] - a[1]);
  if (length < 1000 * slack) return;
  ASSERT_GT(largest_at(-100 * slack / length), value + slack);
  ASSERT_GT(largest_at(1 + 100 * slack / length), value + slack);
}

TEST(RectilinearMaxima, AgreeWithTheLinearProgram) {
  int results = 0;
  for_random_sites(25, true, [&](facilities& F, const site_family& family) {
    check(F, family, -1, F.linf_max(true));
    ASSERT_FALSE(F.opt.empty());
    check(F, family, 1, F.l1_max(true));
    ASSERT_FALSE(F.opt.empty());
    for (location& a : F) a.weight(0) = 2.0;
    check(F, family, -1, 2 * F.linf_max_equal(false));
    results += F.opt.size();
    for (const location& x : F.opt) ASSERT_EQ(x.weight(0), 0.0);
    check(F, family, 1, 2 * F.l1_max_equal(false));
    results += F.opt.size();
  });
  EXPECT_GT(results, 400);  // none now and then, by rounding
}

TEST(MaximumNormMax, Cases) {
  const struct {
    Points sites;
    double value;
    Points results;
  } cases[] = {{{site(0, 0, 1), site(4, 0, 1)}, 2, {site(2, -2, 1), site(2, 2, 1)}},
               {{site(0, 0, 1), site(4, 0, 3)}, 3, {site(3, -1, 1), site(3, 1, 1)}},
               {{site(0, 0, 1), site(2, 2, 1)}, 1, {site(1, 1, 1)}},
               // One place with weight: its first facility, as it stands.
               {{site(5, 6, 7, 8)}, 0, {site(5, 6, 7, 8)}},
               {{site(1, 1, 0), site(2, 2, 1), site(2, 2, 3)}, 0, {site(2, 2, 1)}}};
  for (const auto& c : cases) {
    facilities F = sites_of(c.sites);
    EXPECT_EQ(F.linf_max(true), c.value) << shown(F);
    EXPECT_EQ(results_of(F), c.results) << shown(F);
    EXPECT_EQ(F.linf_max(false), c.value);
    EXPECT_EQ(F.opt.size(), 2 * static_cast<int>(c.results.size()));
  }
}

TEST(MaximumNormMax, CornersAreSnappedToTheUpperOne) {
  facilities F = sites_of({site(0.1, 0, 1), site(0.8, 0.6, 1.3)});
  const double D = F.linf_max(true);
  const double lower = F.linf_lower_corner(D)[0];
  const double upper = F.linf_upper_corner(D)[0];
  ASSERT_NE(lower, upper);  // else the case shows nothing
  EXPECT_EQ(F.opt.head()[0], upper);
  EXPECT_EQ(F.opt.tail()[0], upper);
  // Far from the origin rounding leaves more than that: a thin box instead of a segment.
  F = sites_of({site(100.7, 100.2, 1.3), site(100.7, 100.6, 1.3)});
  F.linf_max(true);
  EXPECT_LT(F.opt.head()[0], F.opt.tail()[0]);
  EXPECT_GT(F.opt.head()[1], F.opt.tail()[1]);
}

TEST(RectilinearMaxima, EqualWeightsCases) {
  const struct {
    Points sites;
    double value;
    Points results;
  } cases[] = {{{site(0.1, 0.1, 1), site(0.5, 0.5, 1)}, 0.2, {}},  // by rounding
               {{site(3, 4, 2), site(3, 4, 2)}, 0, {site(3, 4, 0)}},
               {{site(0, 0, 2), site(4, 2, 2)}, 2, {site(2, 0, 0), site(2, 2, 0)}}};
  for (const auto& c : cases) {
    facilities F = sites_of(c.sites);
    F.opt.append(site(9, 9, 9));  // goes in any case
    EXPECT_EQ(F.linf_max_equal(false), c.value);
    EXPECT_EQ(results_of(F), c.results);
  }
  EXPECT_EQ(facilities().reserved_max(3), 0.0);
}

TEST(RectilinearMaxima, TurnOlderResultsOnce) {
  facilities F = sites_of({site(0, 0, 1), site(2, 2, 1)});
  F.opt.append(site(2, 4, 7));
  EXPECT_EQ(F.l1_max(false), 2.0);
  EXPECT_EQ(results_of(F), (Points{site(3, 1, 7), site(0, 2, 1), site(2, 0, 1)}));
}

TEST(RectilinearMaxima, Endings) {
  const facilities without = sites_of({site(1, 2, 0), site(3, 4, 0)});
  const std::string message =
      "MAVI message: facilities::linf_max: No weight is unequal to zero and the whole plane is "
      "optimal\n";
  EXPECT_EQ(in_own_process([&] {
              facilities F = without;
              const double D = F.linf_max(true);
              std::cout << D << ' ' << F.opt.size() << ' ' << std::isnan(F.opt.head()[0]);
            }),
            ended("", message + "0 2 1"));
  EXPECT_EQ(in_own_process([] { facilities().linf_max(true); }).out, message);
  facilities F = sites_of({site(0, 0, 1), site(4, 0, 2)});
  for (double (facilities::*solve)(bool) :
       {&facilities::linf_max_equal, &facilities::l1_max_equal}) {
    EXPECT_EQ(in_own_process([&] { (F.*solve)(true); }),
              reported(1307, "All weights must be equal!"));
  }
}

}  // namespace
}  // namespace planloc
