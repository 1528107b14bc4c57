#include <gtest/gtest.h>

#include "arrangement.h"
#include "instances.h"
#include "planloc/optimum/minimise.h"
#include "planloc/optimum/verify.h"

namespace planloc {
namespace {

// Solved to the end, and proved so by fractions.
void expect_proved(const problem& p, const solution& s) {
  EXPECT_EQ(s.status, solution_status::optimal);
  const verification v = verify(p, s);
  EXPECT_TRUE(v.accepted) << v.reason;
  EXPECT_EQ(v.gap, 0);
}

TEST(Convex, EnumerationFindsNothingBetter) {
  instance_source source(1);
  for (const layout l :
       {layout::scattered, layout::lattice, layout::line, layout::one_place, layout::far_away}) {
    for (int trial = 0; trial < 150; ++trial) {
      SCOPED_TRACE(testing::Message() << "layout " << static_cast<int>(l) << " trial " << trial);
      const int n = 1 + source.below(4);
      const auto gauges = source.gauges(l, 1 + source.below(2), 3 + source.below(3));
      const problem p(source.sites(l, n, static_cast<int>(gauges.size())), gauges,
                      source.convex_order(n));
      const solution s = minimise(p);
      expect_proved(p, s);
      const double least = least_value_of_arrangement(p);
      // The crossings are rounded to the spacing of doubles at the sites.
      double weights = 0;
      for (const site& t : p.sites()) weights += t.weight;
      const double rounding = l == layout::far_away ? 4e-8 * weights : 0;
      EXPECT_NEAR(s.value, least, 1e-9 * (1 + least) + rounding);
    }
  }
}

TEST(Convex, ManySites) {
  instance_source source(2);
  for (const layout l : {layout::scattered, layout::lattice, layout::far_away}) {
    for (int trial = 0; trial < 20; ++trial) {
      const int n = 300;
      const auto gauges = source.gauges(l, 5, 8);
      const problem p(source.sites(l, n, 5), gauges, source.convex_order(n));
      expect_proved(p, minimise(p));
    }
  }
}

}  // namespace
}  // namespace planloc
