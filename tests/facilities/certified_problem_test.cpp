#include "planloc/facilities/certified_problem.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <utility>
#include <vector>

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

// The largest term is another problem than the sum; for one new facility it is the centre.
TEST(CertifiedProblem, TheLargestTermOfOneFacilityIsItsCentre) {
  std::mt19937 random(2);
  const auto number = [&] { return 1 + static_cast<double>(random() % 900) / 100; };
  for (int trial = 0; trial < 30; ++trial) {
    facilities F;
    for (int i = 0; i < 2 + trial % 7; ++i)
      F.append(location(2.0, 1.0, number(), number(), number()));
    const problem p = certified_problem(F, 0, gauge::linf(), order_weights::centre());
    const solution s = minimise(p);
    EXPECT_EQ(verify(p, s).gap, 0);
    EXPECT_NEAR(F.N_linf_max(1, matrix(1, 1), true), s.value, 1e-8 * s.value);
  }
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

// Back and forth: the same sites under one distance and with gauges by number.
TEST(CertifiedProblem, SeveralFacilitiesAndTwoCriteria) {
  gauged_sites data;
  data.gauges.append(polygauge::linf_gauge());
  for (const xy& at : {xy{0, 0}, xy{1, 0}, xy{8, 0}, xy{9, 1}, xy{4, 6}}) {
    data.sites.append(location(2.0, 2.0, at.x, at.y, 1.0, 1.0 + at.x));
    data.gauge_of.append(0);
  }
  list<location> existing;
  existing.append(location(2.0, 1.0, 4.0, 6.0, 0.0));
  const allocation_problem by_number = certified_allocation_problem(data, 0, 2, existing);
  const allocation_problem by_distance =
      certified_allocation_problem(data.sites, 0, gauge::linf(), 2, existing);
  EXPECT_EQ(by_number.existing()[0], (xy{4, 6}));
  const allocation a = allocate(by_number);
  EXPECT_DOUBLE_EQ(a.value, 2);
  EXPECT_TRUE(verify(by_distance, a).accepted);
  EXPECT_EQ(certified_locations(a).size(), 2);
  EXPECT_EQ(certified_locations(a).head()[0], a.points[0].x);

  matrix V(2, 2);
  V(0, 1) = 1;
  const tied_solution t = minimise(certified_tied_problem(data.sites, 2, V, gauge::linf()));
  const list<location> tied = certified_locations(t);
  EXPECT_EQ(tied.size(), 2);
  EXPECT_EQ(tied.tail()[1], t.points[1].y);
  EXPECT_EQ(tied.tail().weight(0), t.value);

  const efficient_chain chain = efficient_set(certified_bicriteria_problem(data));
  const bicriteria_problem both = certified_bicriteria_problem(data.sites, gauge::linf());
  EXPECT_TRUE(verify(both, chain).accepted);
  const bicriteria_problem mixed = certified_bicriteria_problem(
      data.sites, gauge::euclidean(), order_weights::median(), order_weights::centre());
  const efficient_polyline line = approximate_efficient_set(mixed, 1e-2);
  EXPECT_TRUE(verify(mixed, line).accepted);
  const list<location> points = certified_locations(line);
  EXPECT_EQ(points.size(), line.points.size());
  EXPECT_EQ(points.head().weight(1), line.points[0].value2);
}

gauged_sites two_weights(const polygauge& g, const std::vector<bicriteria_site>& sites) {
  gauged_sites data;
  data.gauges.append(g);
  for (const bicriteria_site& s : sites) {
    data.sites.append(location(2.0, 2.0, s.x, s.y, s.weight1, s.weight2));
    data.gauge_of.append(0);
  }
  return data;
}

// By label the corners, each piece's sorted.
std::vector<std::vector<std::pair<double, double>>> pieces_of(const list<location>& chain) {
  std::vector<std::vector<std::pair<double, double>>> pieces;
  for (const location& l : chain) {
    pieces.resize(static_cast<std::size_t>(l.weight(0)));
    pieces.back().emplace_back(l[0], l[1]);
  }
  for (auto& p : pieces) std::sort(p.begin(), p.end());
  return pieces;
}

TEST(CertifiedProblem, EfficientSetsAgree) {
  gauged_sites data =
      two_weights(polygauge({point(2, 0), point(1, 2), point(-1, 2), point(-2, 0), point(-1, -2),
                             point(1, -2)}),
                  {{2, 2, 3, 1}, {6, 4, 1, 2}, {12, 2, 1, 4}, {14, 7, 2, 5}, {1, 7, 4, 1}});
  data.sites.gauge_bicriteria(data.gauges, data.gauge_of, true);
  const efficient_chain c = efficient_set(certified_bicriteria_problem(data));
  EXPECT_EQ(pieces_of(certified_locations(c)), pieces_of(data.sites.opt));
  EXPECT_EQ(pieces_of(data.sites.opt).size(), 4);
}

// Those that docs/solvers.md names: `gauge_bicriteria` finds a dominated place or no end.
TEST(CertifiedProblem, EfficientSetsThatRoundingSplits) {
  const polygauge l1({point(1, 0), point(0, 1), point(-1, 0), point(0, -1)});
  const struct {
    std::vector<bicriteria_site> sites;
    std::vector<std::pair<double, double>> efficient;
  } cases[] = {
      {{{0, 0.5, 3, 1}, {1, 0.6, 3, 3}}, {{1, 0.6}}},
      {{{0.5, 0.6, 2, 2}, {0.5, 0.4, 1, 2}}, {{0.5, 0.6}}},
      {{{0.4, 0.8, 1, 3}, {0.1, 0.2, 1, 3}}, {{0.1, 0.2}, {0.1, 0.8}, {0.4, 0.2}, {0.4, 0.8}}},
      {{{0, 0, 1, 0}, {1, 0, 0, 1}}, {{0, 0}, {1, 0}}},
  };
  for (const auto& c : cases) {
    const bicriteria_problem p = certified_bicriteria_problem(two_weights(l1, c.sites));
    const efficient_chain chain = efficient_set(p);
    EXPECT_TRUE(verify(p, chain).accepted);
    const auto pieces = pieces_of(certified_locations(chain));
    ASSERT_EQ(pieces.size(), 1);
    EXPECT_EQ(pieces[0], c.efficient);
  }
}

}  // namespace
}  // namespace planloc
