// Several facilities against published optima and against all partitions of the sites.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <fstream>
#include <functional>
#include <limits>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "instances.h"
#include "message_of.h"
#include "partitions.h"
#include "planloc/optimum/location_allocation.h"
#include "planloc/optimum/minimise.h"

namespace planloc {
namespace {

// Eilon, Watson-Gandy and Christofides, "Distribution Management" (1971): 50 sites of weight 1.
std::vector<site> read_fifty() {
  std::vector<site> sites;
  std::ifstream in(EXAMPLES "/eilon50.xy");
  for (site s; in >> s.x >> s.y;) sites.push_back(s);
  return sites;
}

allocation_problem fifty(std::size_t count) { return {read_fifty(), {gauge::euclidean()}, count}; }

void expect_proved(const allocation_problem& p, const allocation& a) {
  const allocation_check c = verify(p, a);
  EXPECT_TRUE(c.accepted) << c.reason;
  EXPECT_EQ(c.lower_bound.has_value(), a.lower_bound.has_value());
}

TEST(LocationAllocation, PublishedOptima) {
  const struct {
    std::size_t count;
    double value;
  } cases[] = {{2, 135.5222}, {3, 105.2139}, {4, 84.1536},  {5, 72.2369},
               {6, 60.9713},  {7, 54.5020},  {8, 49.9393},  {9, 45.6884},
               {10, 41.6851}, {15, 27.6282}, {20, 19.3560}, {25, 13.3016}};
  for (const auto& c : cases) {
    const allocation_problem p = fifty(c.count);
    const allocation a = allocate(p, {.shakes = 20});
    EXPECT_NEAR(a.value, c.value, 1e-4) << c.count;
    EXPECT_EQ(a.status, allocation_status::searched);
    expect_proved(p, a);
  }
}

TEST(LocationAllocation, CertifiedOptima) {
  for (const std::size_t count : {3, 5, 10, 25}) {
    const allocation_problem p = fifty(count);
    const allocation a = allocate(p, {.shakes = 20, .lower_bound = true, .relative_gap = 2e-5});
    EXPECT_EQ(a.status, allocation_status::within_gap) << count;
    EXPECT_LE(a.gap(), 2e-5 * a.value);
    expect_proved(p, a);
  }
}

TEST(LocationAllocation, AllPartitions) {
  instance_source source(5);
  const layout layouts[] = {layout::scattered, layout::lattice, layout::line, layout::one_place,
                            layout::far_away};
  for (int k = 0; k < 40; ++k) {
    const layout l = layouts[k % 5];
    std::vector<gauge> gauges = source.gauges(l, 2, 5);
    gauges.push_back(k % 2 == 0 ? gauge::euclidean() : gauge::lp(1.5));
    const std::vector<site> sites = source.sites(l, 3 + source.below(5), 3);
    std::vector<xy> existing;
    for (int e = source.below(3); e > 0; --e) {
      existing.push_back({sites[0].x + source.below(3), sites[1].y - source.below(2)});
    }
    const auto count = static_cast<std::size_t>(existing.empty() ? 1 : 0) + source.below(4);
    const allocation_problem p(sites, gauges, count, existing);
    const allocation a = allocate(p, {.shakes = 20, .lower_bound = true});
    const double least = least_over_partitions(p);
    EXPECT_NEAR(a.value, least, 1e-9 * least + 1e-12) << "instance " << k;
    EXPECT_LE(*a.lower_bound, least * (1 + 1e-14)) << "instance " << k;
    expect_proved(p, a);
  }
}

// With some seeds prices of the sites alone leave a gap of some 1e-3.
allocation_problem scattered(unsigned seed, std::size_t n, std::size_t count, const gauge& g) {
  std::mt19937_64 random(seed);
  const auto coordinate = [&] { return 100 * (static_cast<double>(random() >> 11) * 0x1p-53); };
  std::vector<site> sites;
  for (std::size_t i = 0; i < n; ++i) {
    const double x = coordinate();
    sites.push_back({x, coordinate()});
  }
  return {sites, {g}, count};
}

TEST(LocationAllocation, TriplesAndCasesAgainstAllPartitions) {
  for (const allocation_problem& p :
       {scattered(23, 11, 3, gauge::l1()), scattered(31, 12, 3, gauge::euclidean()),
        scattered(16, 12, 3, gauge::l1())}) {
    const allocation a = allocate(p, {.starts = 4, .shakes = 20, .lower_bound = true});
    ASSERT_FALSE(a.triples.empty() && a.cases.empty());
    const double least = least_over_partitions(p);
    EXPECT_NEAR(a.value, least, 1e-9 * least);
    EXPECT_LE(*a.lower_bound, least * (1 + 1e-14));
    expect_proved(p, a);
  }
}

TEST(LocationAllocation, TriplesCloseTheGap) {
  const allocation_problem p = scattered(12, 40, 4, gauge::l1());
  const allocation good = allocate(p, {.starts = 4, .shakes = 20, .lower_bound = true});
  EXPECT_EQ(good.status, allocation_status::within_gap);
  ASSERT_GT(good.triples.size(), 2U);
  expect_proved(p, good);
  const char* const unproved = "the prices do not prove the lower bound";
  const struct {
    void (*spoil)(std::vector<priced_triple>&);
    const char* reason;
  } cases[] = {
      {[](auto& t) { t.clear(); }, unproved},
      {[](auto& t) { t[0].price *= 2; }, unproved},
      {[](auto& t) { t[0].price /= 2; }, unproved},
      {[](auto& t) {
         t.push_back({t[0].sites, 0});
       },
       ""},
      {[](auto& t) { t[1].sites[2] = t[1].sites[0]; }, "a triple is not of three sites"},
      {[](auto& t) { t[1].sites[2] = 40; }, "a triple is not of three sites"},
      {[](auto& t) { t[1].price = -1; }, "the price of a triple is not from 0 up"},
      {[](auto& t) { t[1].price = INFINITY; }, "the price of a triple is not from 0 up"},
      {[](auto& t) {
         for (std::uint32_t i = 0; i < 8; ++i) t.push_back({{i, i + 1, i + 2}, 0});
       },
       "triples link more than eight sites"},
  };
  for (const auto& c : cases) {
    allocation bad = good;
    c.spoil(bad.triples);
    EXPECT_EQ(verify(p, bad).reason, c.reason);
  }
}

TEST(LocationAllocation, CasesCloseTheGap) {
  for (const allocation_problem& p :
       {scattered(5, 40, 5, gauge::l1()), scattered(6, 60, 6, gauge::euclidean())}) {
    allocation a = allocate(p, {.starts = 4, .shakes = 20, .lower_bound = true});
    EXPECT_EQ(a.status, allocation_status::within_gap);
    ASSERT_FALSE(a.cases.empty());
    expect_proved(p, a);
    a.cases[0].prices = std::exchange(a.cases[1].prices, {});  // prices may be handed down
    a.cases[0].triples = std::exchange(a.cases[1].triples, {});
    expect_proved(p, a);
    for (const auto& spoil : std::vector<std::function<void(std::vector<allocation_case>&)>>{
             [](auto& c) { c.pop_back(); }, [](auto& c) { c.push_back(c.back()); },
             [](auto& c) { c[0].at += 10; }, [](auto& c) { c[0].cell = 1; },
             [](auto& c) { c.back().least[0] *= 0.5; }, [](auto& c) { c.back().least.pop_back(); },
             [](auto& c) {
               for (allocation_case& k : c) k.prices.clear();
             },
             [](auto& c) {
               for (allocation_case& k : c)
                 for (double& u : k.prices) u *= 0.5;
             }}) {
      allocation spoiled = a;
      spoil(spoiled.cases);
      EXPECT_FALSE(verify(p, spoiled).accepted);
    }
  }
}

// Where all prices move as far, the master's simplex method stands still for most of the time.
TEST(LocationAllocation, WeightsOverThreeOrders) {
  instance_source source(4);
  std::vector<site> sites;
  for (int i = 0; i < 200; ++i)
    sites.push_back({source.uniform(0, 1000), source.uniform(0, 1000),
                     std::pow(10, source.uniform(-1.5, 1.5))});
  const allocation_problem p(sites, {gauge::euclidean()}, 10);
  const allocation a = allocate(p, {.starts = 2, .shakes = 10, .lower_bound = true});
  EXPECT_EQ(a.status, allocation_status::within_gap);
  EXPECT_LT(a.counters.prices, 130U);
  expect_proved(p, a);
}

// Where doubles have few bits left for a place: around a heavy site, and for a cut between sites.
TEST(LocationAllocation, PlacesOfFewBits) {
  const allocation_problem heavy({{3.8872107858788445e30, 2.3895874773892688e30, 0.00494},
                                  {2.6136113822587151e30, 2.3486074410299356e30, 9554.99},
                                  {2.9515188901577115e29, 5.3614859218362031e30, 264694.6},
                                  {2.2914076574106589e30, 1.3580491933613881e29, 5.155e-6}},
                                 {gauge::euclidean()}, 3);
  const allocation of_heavy = allocate(heavy, {.lower_bound = true});
  EXPECT_EQ(of_heavy.status, allocation_status::within_gap);
  expect_proved(heavy, of_heavy);

  std::vector<site> sites;
  instance_source source(3);
  for (int i = 0; i < 25; ++i)
    sites.push_back({1e15 + source.uniform(0, 50), -1e15 + source.uniform(0, 50)});
  const allocation_problem far(sites, {gauge::l1()}, 4);
  const allocation of_far =
      allocate(far, {.starts = 4, .shakes = 20, .lower_bound = true, .relative_gap = 1e-5});
  EXPECT_FALSE(of_far.cases.empty());
  expect_proved(far, of_far);
}

TEST(LocationAllocation, ThinBalls) {
  const auto thin = [](const xy& along) {
    const xy across{-along.y * 1e-6, along.x * 1e-6};
    return gauge::polyhedral({along, across, {-along.x, -along.y}, {-across.x, -across.y}});
  };
  std::vector<site> sites;
  instance_source source(8);
  for (int i = 0; i < 12; ++i) sites.push_back({source.uniform(0, 100), source.uniform(0, 100)});
  for (const std::vector<gauge>& gauges :
       {std::vector{thin({1, 0})}, {thin({1, 0}), thin({0, 1}), gauge::euclidean()}}) {
    for (std::size_t i = 0; i < sites.size(); ++i)
      sites[i].gauge = static_cast<std::uint32_t>(i % gauges.size());
    const allocation_problem p(sites, gauges, 3);
    const allocation a = allocate(p, {.starts = 4, .shakes = 20, .lower_bound = true});
    EXPECT_EQ(a.status, allocation_status::within_gap);
    const double least = least_over_partitions(p);
    EXPECT_LE(a.value * (1 - 1e-4), least);
    EXPECT_LE(*a.lower_bound, least * (1 + 1e-14));
    expect_proved(p, a);
  }
  // Askew, the search for a bound gives up.
  for (site& s : sites) s.gauge = 0;
  const allocation_problem askew(sites, {thin({0.8, 0.6})}, 3);
  EXPECT_EQ(allocate(askew, {.starts = 4, .shakes = 20, .lower_bound = true}).status,
            allocation_status::searched);
}

// So many that prices move in groups: without them the bound is a third below the value.
TEST(LocationAllocation, ManySites) {
  instance_source source(12);
  std::vector<site> sites;
  for (int i = 0; i < 4100; ++i)
    sites.push_back({source.uniform(0, 100), source.uniform(0, 100), source.uniform(1, 3)});
  const allocation_problem p(sites, {gauge::euclidean()}, 100, {{30, 30}, {70, 40}});
  const allocation a =
      allocate(p, {.starts = 1, .shakes = 2, .lower_bound = true, .relative_gap = 0.15});
  EXPECT_EQ(a.status, allocation_status::within_gap);
  expect_proved(p, a);
}

TEST(LocationAllocation, TheSameWhateverTheThreads) {
  const allocation_problem p = fifty(7);
  const allocation one =
      allocate(p, {.seed = 9, .starts = 3, .shakes = 2, .threads = 1, .lower_bound = true});
  const allocation many =
      allocate(p, {.seed = 9, .starts = 3, .shakes = 2, .threads = 4, .lower_bound = true});
  EXPECT_EQ(one.points, many.points);
  EXPECT_EQ(one.assignment, many.assignment);
  EXPECT_EQ(one.value, many.value);
  EXPECT_EQ(one.prices, many.prices);
}

TEST(LocationAllocation, OneFacilityIsTheMedian) {
  const allocation a = allocate(fifty(1));
  EXPECT_EQ(a.status, allocation_status::optimal);
  EXPECT_EQ(a.points[0], minimise(fifty(1).single()).point);
  expect_proved(fifty(1), a);
}

TEST(LocationAllocation, EnoughForAllSites) {
  const std::vector<site> sites = {{0, 0}, {3, 1}, {0, 0, 2}, {5, 5}};
  for (const std::size_t count : {2, 3, 5}) {
    const allocation_problem p(sites, {gauge::linf()}, count, {{5, 5}});
    const allocation a = allocate(p);
    EXPECT_EQ(a.status, allocation_status::optimal);
    EXPECT_EQ(a.value, 0);
    EXPECT_EQ(a.points.size(), count);
    EXPECT_EQ(a.assignment, (std::vector<std::uint32_t>{0, static_cast<std::uint32_t>(count - 1), 0,
                                                        static_cast<std::uint32_t>(count)}));
    expect_proved(p, a);
  }
}

TEST(LocationAllocation, StopsWithTheBestSoFar) {
  std::stop_source source;
  allocate_options options;
  options.starts = options.shakes = 1000000;
  options.stop = source.get_token();
  options.progress = [&](const allocation_progress& now) {
    if (now.value < 60) source.request_stop();
  };
  const allocation a = allocate(fifty(7), options);
  EXPECT_EQ(a.status, allocation_status::stopped);
  EXPECT_LT(a.value, 60);
  expect_proved(fifty(7), a);
}

TEST(LocationAllocation, SpoiledAnswersAreRefused) {
  const allocation_problem p = fifty(3);
  const allocation good = allocate(p, {.lower_bound = true});
  const struct {
    void (*spoil)(allocation&);
    const char* reason;
  } cases[] = {
      {[](allocation& a) { a.value *= 1 - 1e-9; }, "the value is not that of the points"},
      {[](allocation& a) { a.assignment[4] = (a.assignment[4] + 1) % 3; },
       "site 4 has a nearer facility than its own"},
      {[](allocation& a) { a.assignment[7] = 3; },
       "site 7 is assigned to facility 3, which does not exist"},
      {[](allocation& a) { a.points.pop_back(); }, "3 points are needed"},
      {[](allocation& a) { a.points[1].x = NAN; }, "a point is not finite"},
      {[](allocation& a) { a.lower_bound = a.value * (1 + 1e-7); },
       "the prices do not prove the lower bound"},
      {[](allocation& a) { a.prices[11] *= 1.5; }, "the prices do not prove the lower bound"},
      {[](allocation& a) { a.prices[11] *= 0.5; }, "the prices do not prove the lower bound"},
      {[](allocation& a) { a.prices[5] = NAN; }, "the price of site 5 is not finite"},
      {[](allocation& a) { a.prices.pop_back(); }, "one price a site is needed"},
      {[](allocation& a) { a.prices.clear(); }, "the lower bound is above the one that is proved"},
      {[](allocation& a) { a.one_facility = minimise(fifty(1).single()), a.lower_bound = 1; },
       "the solution of one new facility proves nothing of several"},
      {[](allocation& a) { a.lower_bound.reset(); }, "an optimum is claimed without a bound"},
      {[](allocation& a) { a.status = allocation_status::optimal; },
       "the optimum that is claimed is not proved"},
  };
  for (const auto& c : cases) {
    allocation bad = good;
    c.spoil(bad);
    EXPECT_EQ(verify(p, bad).reason, c.reason);
  }
}

TEST(LocationAllocation, BadInputIsNamed) {
  const auto beside = [](const std::vector<xy>& existing) {
    return message_of([&] { allocation_problem({{}}, {gauge::l1()}, 0, existing); });
  };
  EXPECT_EQ(beside({}), "no facility, new or existing");
  EXPECT_EQ(message_of([] { allocation_problem({{}}, {gauge::l1()}, 4294967295, {{}}); }),
            "4294967295 new facilities and 1 existing: must be at most 4294967295");
  EXPECT_EQ(beside({{0, 0}, {0, INFINITY}}), "y of existing facility 1 is inf: must be finite");
  EXPECT_EQ(beside({{-1e40, 0}}),
            "x of existing facility 0 is -1e+40: must be at most 1e36 in magnitude");
}

}  // namespace
}  // namespace planloc
