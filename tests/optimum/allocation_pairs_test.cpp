// Two new facilities, solved to the end by pairs of rectangles.
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <stop_token>
#include <string>
#include <vector>

#include "instances.h"
#include "partitions.h"
#include "planloc/optimum/allocation/local_search.h"
#include "planloc/optimum/allocation/pair_search.h"
#include "planloc/optimum/location_allocation.h"

namespace planloc {
namespace {

void expect_proved(const allocation_problem& p, const allocation& a) {
  const allocation_check c = verify(p, a);
  EXPECT_TRUE(c.accepted) << c.reason;
  EXPECT_EQ(c.lower_bound, a.lower_bound);
}

TEST(AllocationPairs, AllPartitions) {
  instance_source source(17);
  const std::vector<gauge> balls = {gauge::euclidean(), gauge::l1(),     gauge::linf(),
                                    source.ball(6),     gauge::lp(1.5),  gauge::lp(4),
                                    source.ball(3),     gauge::lp(1.05), source.ball(40)};
  int solved = 0;
  for (int k = 0; k < 18; ++k) {
    // One gauge for all, then mixed ones; weights, and some with existing facilities.
    std::vector<gauge> gauges;
    gauges.push_back(balls[static_cast<std::size_t>(k) % balls.size()]);
    if (k >= 9) gauges.push_back(balls[static_cast<std::size_t>(k + k / 9) % balls.size()]);
    const layout l = kLayouts[k % 3 == 2 ? (k / 3) % 6 : 0];
    const std::vector<site> sites =
        source.sites(l, 5 + source.below(4), static_cast<int>(gauges.size()));
    std::vector<xy> existing;
    if (k % 4 == 3) existing.push_back({sites[0].x + 1, sites[1].y - 1});
    const allocation_problem p(sites, gauges, 2, existing);
    const allocation a = allocate(p, {.lower_bound = true});
    const double least = least_over_partitions(p);
    EXPECT_NEAR(a.value, least, 1e-9 * least) << "instance " << k;
    EXPECT_LE(*a.lower_bound, least * (1 + 1e-14)) << "instance " << k;
    EXPECT_LE(a.gap(), 1e-4 * a.value) << "instance " << k;
    if (a.status == allocation_status::optimal) ++solved;
    SCOPED_TRACE(k);
    expect_proved(p, a);
  }
  EXPECT_GE(solved, 12);
}

std::vector<site> scattered(unsigned seed, int n) {
  instance_source source(seed);
  std::vector<site> sites;
  for (int i = 0; i < n; ++i)
    sites.push_back({source.uniform(0, 1), source.uniform(0, 1), source.uniform(1, 5)});
  return sites;
}

TEST(AllocationPairs, HundredsOfSites) {
  const struct {
    gauge ball;
    int sites;
  } cases[] = {{gauge::euclidean(), 200}, {gauge::linf(), 200}, {gauge::lp(1.5), 100}};
  for (const auto& [ball, sites] : cases) {
    const allocation_problem p(scattered(4, sites), {ball}, 2);
    const allocation a = allocate(p, {.lower_bound = true});
    EXPECT_EQ(a.status, allocation_status::optimal);
    EXPECT_LE(a.gap(), 5e-10 * a.value);
    expect_proved(p, a);
  }
}

// Many places are best, sites are equally far from both facilities, and others lie at them. With a
// facility on a site, nobody else is nearer by more than roundings.
TEST(AllocationPairs, Lattices) {
  const gauge balls[] = {gauge::l1(), gauge::linf(), gauge::euclidean(), gauge::lp(1.5)};
  for (unsigned seed = 1; seed <= 4; ++seed) {
    for (const gauge& ball : balls) {
      instance_source source(seed);
      std::vector<site> sites;
      for (int i = 0; i < 40; ++i)
        sites.push_back({1.0 * source.below(6), 1.0 * source.below(6), 1});
      std::vector<xy> existing;
      if (seed == 4) existing.push_back({sites[0].x, sites[0].y});
      const allocation_problem p(sites, {ball}, 2, existing);
      const allocation a = allocate(p, {.lower_bound = true});
      SCOPED_TRACE(seed);
      EXPECT_EQ(a.status, allocation_status::optimal);
      EXPECT_LE(a.counters.cells, 10000);
      expect_proved(p, a);
    }
  }
}

// From far off, the pairs themselves find the best places.
TEST(AllocationPairs, BetterPlacesAreTaken) {
  const allocation_problem p(scattered(2, 60), {gauge::euclidean()}, 2);
  const allocation best = allocate(p);
  const detail::allocation_ground ground(p);
  allocation poor;
  poor.points = {{0, 0}, {0.1, 0}};
  poor.value = 1e3;
  detail::search_pairs(ground, poor, 1e-4, [] { return false; }, {});
  EXPECT_NEAR(poor.value, best.value, 1e-9 * best.value);
  EXPECT_LE(poor.gap(), 5e-10 * poor.value);
}

TEST(AllocationPairs, StopsWithTheBoundSoFar) {
  const allocation_problem p(scattered(3, 200), {gauge::l1()}, 2);
  std::stop_source source;
  allocate_options options{.lower_bound = true, .relative_gap = 0};
  options.stop = source.get_token();
  options.progress = [&](const allocation_progress& now) {
    if (now.lower_bound > 0.5 * now.value) source.request_stop();
  };
  const allocation a = allocate(p, options);
  EXPECT_EQ(a.status, allocation_status::stopped);
  EXPECT_GT(*a.lower_bound, 0.5 * a.value);
  EXPECT_GT(a.gap(), 1e-9 * a.value);
  expect_proved(p, a);
}

TEST(AllocationPairs, SpoiledPairsAreRefused) {
  using step = allocation_pairs::step;
  const allocation_problem p(scattered(5, 30), {gauge::euclidean()}, 2);
  const allocation good = allocate(p, {.lower_bound = true});
  ASSERT_EQ(good.status, allocation_status::optimal);
  const char* const unproved = "the pairs do not prove the lower bound";
  const char* const small = "the rectangle might not hold the best places";
  const struct {
    void (*spoil)(allocation_pairs&);
    const char* reason;
  } cases[] = {
      {[](auto& c) { c.steps.clear(); }, "a pair is missing"},
      {[](auto& c) { c.steps.pop_back(); }, "a pair is missing"},
      {[](auto& c) { c.steps.push_back(step::bound); }, "there are more pairs than the steps make"},
      {[](auto& c) { c.steps = {step::bound}; }, unproved},
      {[](auto& c) { c.steps[0] = step::first; }, "a pair is divided as it cannot be"},
      {[](auto& c) { c.steps.assign(100000, step::both); }, "a pair is missing"},
      {[](auto& c) { c.low.x += 0.1; }, small},
      {[](auto& c) {
         c.high = {NAN, 1};
       },
       "a corner of the pairs is not finite"},
      {[](auto& c) { c.high.y = 1e200; }, "a corner of the pairs is too large"},
      {[](auto& c) { c.base.x += 1; }, small},
      {[](auto& c) { std::swap(c.low, c.high); }, small},
      {[](auto& c) { c.high.y += 0.01; }, unproved},
      {[](auto& c) { c.places.pop_back(); }, "a place of a pair is missing"},
      {[](auto& c) {
         c.places.assign(c.places.size(), {0.7, 0.7});
       },
       unproved},
      {[](auto& c) { c.places[1].y = NAN; }, "a place of the pairs is not finite"},
  };
  for (const auto& c : cases) {
    allocation bad = good;
    c.spoil(*bad.pairs);
    EXPECT_EQ(verify(p, bad).reason, c.reason);
  }
  // Each step counts.
  const std::vector<step>& steps = good.pairs->steps;
  for (std::size_t k = 0; k < steps.size(); k += 1 + steps.size() / 40) {
    allocation bad = good;
    if (steps[k] == step::bound) {
      bad.pairs->steps.erase(bad.pairs->steps.begin() + static_cast<std::ptrdiff_t>(k));
    } else {
      bad.pairs->steps[k] = step::bound;
    }
    EXPECT_FALSE(verify(p, bad).accepted) << k;
  }
  allocation bad = good;
  bad.lower_bound = *good.lower_bound * (1 + 1e-8);
  EXPECT_EQ(verify(p, bad).reason, unproved);
  const allocation_problem three({p.sites().begin(), p.sites().end()}, {gauge::euclidean()}, 3);
  allocation other = allocate(three, {.starts = 1, .shakes = 1});
  other.lower_bound = good.lower_bound;
  other.pairs = good.pairs;
  EXPECT_EQ(verify(three, other).reason, "pairs prove nothing unless there are two new facilities");
}

}  // namespace
}  // namespace planloc
