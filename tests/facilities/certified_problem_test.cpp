#include "planloc/facilities/certified_problem.h"

#include <gtest/gtest.h>

#include <random>

#include "planloc/optimum/minimise.h"
#include "planloc/optimum/verify.h"

namespace planloc {
namespace {

// Sums of both layers are least at the same places: the stated solvers and the certified one.
TEST(CertifiedProblem, AgreesWithTheSolversOfFacilities) {
  facilities F;
  for (const xy& at : {xy{-2.5, 36.84}, xy{-6.28, 36.53}, xy{-4.78, 37.88}, xy{-3.6, 37.18},
                       xy{-6.96, 37.26}, xy{-3.77, 37.77}, xy{-4.42, 36.72}}) {
    F.append(location(2.0, 1.0, at.x, at.y, 1.0));
  }
  const struct {
    gauge distance;
    double value;
  } cases[] = {{gauge::l1(), F.l1_sum(0, true)},
               {gauge::linf(), F.linf_sum(0, true)},
               {gauge::euclidean(), F.l2_sum(0, 1e-12, true)}};
  for (const auto& c : cases) {
    const problem p = certified_problem(F, 0, c.distance, order_weights::median());
    const solution s = minimise(p);
    EXPECT_NEAR(s.value, c.value, 1e-9);
    EXPECT_TRUE(verify(p, s).accepted);
  }
}

// Up to three new facilities `N_l1_sum` is right; four are another problem for it.
TEST(CertifiedProblem, TiedFacilitiesAgreeWithLinearPrograms) {
  std::mt19937 random(1);
  const auto number = [&] { return 1 + static_cast<double>(random() % 900) / 100; };
  for (int trial = 0; trial < 30; ++trial) {
    const int N = 1 + trial % 3;
    facilities F;
    for (int i = 0; i < 6; ++i) {
      location a(2, N);
      a[0] = number();
      a[1] = number();
      for (int j = 0; j < N; ++j) a.weight(j) = number();
      F.append(a);
    }
    matrix V(N, N);
    for (int j = 0; j < N; ++j)
      for (int k = j + 1; k < N; ++k) V(j, k) = 3 * number();
    const tied_problem p = certified_tied_problem(F, static_cast<std::size_t>(N), V, gauge::l1());
    const tied_solution s = minimise(p);
    EXPECT_EQ(verify(p, s).gap, 0);
    EXPECT_NEAR(F.N_l1_sum(N, V, true), s.value, 1e-8 * s.value);
  }
  facilities F;
  F.append(location(2.0, 4.0, 0.0, 0.0, 1.0, 0.0, 0.0, 0.0));
  F.append(location(2.0, 4.0, 1.0, 0.0, 0.0, 0.0, 0.0, 1.0));
  matrix V(4, 4);
  V(0, 3) = 100;
  const tied_problem p = certified_tied_problem(F, 4, V, gauge::l1());
  EXPECT_EQ(F.N_l1_sum(4, V, true), 0);
  EXPECT_EQ(minimise(p).value, 1);
  EXPECT_TRUE(verify(p, minimise(p)).accepted);
}

TEST(CertifiedProblem, GaugesByNumber) {
  gauged_sites data;
  data.gauges.append(polygauge::linf_gauge());
  data.gauges.append(polygauge({point(2, 0), point(0, 1), point(-1, 0), point(0, -1)}));
  data.sites.append(location(2.0, 2.0, 0.0, 0.0, 1.0, 5.0));
  data.sites.append(location(2.0, 2.0, 4.0, 0.0, 1.0, 5.0));
  data.gauge_of.append(1);
  data.gauge_of.append(0);
  const problem p = certified_problem(data, 1, order_weights::centre());
  EXPECT_EQ(p.sites()[0].gauge, 1);
  EXPECT_EQ(p.sites()[1].weight, 5);
  const solution s = minimise(p);
  // 5 x / 2 = 5 (4 - x), on an edge of optima or at one place.
  EXPECT_DOUBLE_EQ(s.value, 20.0 / 3);
  const list<location> found = certified_locations(s);
  EXPECT_EQ(found.size(), s.optima.corners.size());
  EXPECT_EQ(found.head().weight(0), s.value);
}

}  // namespace
}  // namespace planloc
