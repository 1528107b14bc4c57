#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <ctime>
#include <functional>
#include <limits>
#include <numbers>
#include <vector>

#include "arrangement.h"
#include "instances.h"
#include "planloc/optimum/minimise.h"
#include "planloc/optimum/verify.h"
#include "proved.h"

namespace planloc {
namespace {

using reason = branch_certificate::reason;

// Convex problems solved by both methods.
TEST(General, AgreesWithCuttingPlanes) {
  instance_source source(12);
  for (int trial = 0; trial < 20; ++trial) {
    const int n = 3 + source.below(20);
    const problem p(source.sites(layout::scattered, n, 2),
                    {source.ball(5), trial % 2 == 0 ? gauge::euclidean() : gauge::l1()},
                    order_weights::k_centrum(static_cast<std::size_t>(1 + source.below(n))));
    const double value = minimise_convex(p).value;
    EXPECT_NEAR(minimise_general(p).value, value, 1e-9 * value);
  }
}

TEST(General, SmoothGaugesProvedByIntervals) {
  instance_source source(13);
  const std::vector<std::vector<gauge>> families = {
      {gauge::euclidean()},
      {gauge::lp(3)},
      {gauge::euclidean(), gauge::lp(1.5), gauge::l1()},
      {gauge::lp(1e6), gauge::lp(1e20)}};
  for (int trial = 0; trial < 16; ++trial) {
    SCOPED_TRACE(trial);
    const auto& gauges = families[static_cast<std::size_t>(trial) % families.size()];
    const int n = 4 + source.below(5);
    const problem p(source.sites(layout::scattered, n, static_cast<int>(gauges.size())), gauges,
                    trial % 2 == 0 ? order_weights::trimmed_mean(1, 1)
                                   : order_weights::anti_centrum(static_cast<std::size_t>(n - 1)));
    const solution s = expect_solved(p, {.relative = 1.01e-10});
    EXPECT_LE(s.value, p.value({s.point.x + 1e-3, s.point.y}));
  }
}

// Curves of optima, sites that stand for others, bisectors of sites that coincide: what halving
// alone would follow for ever.
TEST(General, SmoothTies) {
  const gauge nearly_l1 = gauge::lp(1.0001);
  const struct {
    const char* name;
    problem p;
    double value;
  } cases[] = {
      {"a segment",
       {{{0, 0}, {4, 1}, {10, 9}}, {gauge::euclidean()}, order_weights({1, 1, 0})},
       std::sqrt(17)},
      {"a segment under lp",
       {{{37.8, 70}, {29.6, 67.9}, {72.7, 32.5}}, {gauge::lp(2)}, order_weights({1, 1, 0})},
       std::hypot(8.2, 2.1)},
      {"bisector of twins",
       {{{-5, 5}, {-5, 5}, {1, 2}, {1, 2}}, {gauge::euclidean()}, order_weights({0, 0, 1, 0})},
       std::sqrt(45) / 2},
      {"one place, two weights",
       {{{0, 0, 2}, {0, 1, 1}, {0, 0, 1}}, {gauge::euclidean()}, order_weights({-1, 1, 1})},
       1},
      {"twins in a row",
       {{{0, 1, 3}, {2, 1, 1}, {1, 1, 3}, {2, 1, 3}},
        {gauge::euclidean()},
        order_weights({0, 1, 1, 0})},
       3},
      {"edges beside circles",
       {{{42.5, 20.2, 2, 1}, {6.7, 40.8, 2, 1}, {61.5, 32.6, 1, 1}, {74.3, 75.6}},
        {gauge::euclidean(), gauge::linf()},
        order_weights::order_statistic(3)},
       2 * 54.8 / 3},
      {"nearly l1, nearly l-infinity",
       {{{-1, 9}, {2, 3}, {2, 3}, {0, 7, 1, 1}},
        {nearly_l1, gauge::lp(300)},
        order_weights({0, 1, 1, 0})},
       4},
      {"a segment on a line of sites, the farthest but one of which takes off",
       {{{-1, 9, 2}, {0, 7, 2}, {1, 5, 1}, {0, 7, 3}},
        {gauge::euclidean()},
        order_weights({0, 1, -1, 1})},
       std::sqrt(5)},
      {"twins between which no order is decided",
       {{{0, 2}, {0, 2}, {0, 1}, {1, 3}}, {gauge::euclidean()}, order_weights({1, -1, 1, 1})},
       std::sqrt(5)}};
  minimise_options options;
  options.cells = 8000;
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    const solution s = expect_solved(c.p, {.relative = 1.01e-10}, options);
    EXPECT_NEAR(s.value, c.value, 2e-10 * c.value);
    solution spoiled = s;
    spoiled.lower_bound = c.value * (1 + 1e-9);
    EXPECT_FALSE(verify(c.p, spoiled).accepted);
  }
}

// Terms that cancel to much less than their sizes. The optimum lies on a small circle around the
// heavy site of the first problem; roundings of the terms of the second are near its tolerance. On
// triangles of the third, planes that nearly all tie and one that is steep prove a bound together.
// The optimum of the fourth is at a heavy site whose difference to the middle of the sites is no
// double. Those of the next two are in valleys between two orders, whose sides are 1e5 times as
// steep as their floors; that of the last is so near to a heavy site that its terms are less than
// the rounding of differences to the middle.
TEST(General, SmoothTermsThatCancel) {
  const problem problems[] = {
      {{{3.1, 9.7, 4e-4}, {6, 7, 56206.7}, {1.2, 0.5, 4.76}},
       {gauge::lp(2.4)},
       order_weights({1, -1, 1})},
      {{{6.2, 3.4, 0.1433}, {2.3, 5.8, 154.2753}, {4.4, 2.6, 140.2159}},
       {gauge::lp(300)},
       order_weights({1, -1, 1})},
      {{{0.4, 5.5, 0.01, 1}, {6.6, 5.8, 1000}, {3.1, 5.3, 0.01}, {8.1, 5.7, 1, 1}},
       {gauge::euclidean(), gauge::l1()},
       order_weights::anti_centrum(3)},
      {{{7.9, 5.7, 0.001}, {3.6, 3.8, 0.001, 1}, {3.9, 1.7, 1000}},
       {gauge::euclidean(), gauge::linf()},
       order_weights::anti_centrum(2)},
      {{{1.32, 9.67, 0.0753},
        {4.85, 6.08, 77352},
        {2.66, 9.4, 786.2},
        {8.78, 8.99, 4754},
        {7, 6.6}},
       {gauge::euclidean()},
       order_weights({1, 0, -1, 1, 0})},
      {{{1, 0, 3}, {1, 0}, {2, 3}, {2, 2, 2.9e-4}, {1, 3, 2}, {2, 2, 6456.6}},
       {gauge::euclidean()},
       order_weights({-1, 0, 0, 0, -1, 1})},
      {{{10000000.743356537, -9999996.9421848822, 0.8938, 1},
        {10000000.743356537, -9999996.9421848822, 7.013},
        {10000000.15405423, -9999993.946680285, 4.754e-5}},
       {gauge::euclidean(), gauge::lp(1.5)},
       order_weights::range()}};
  for (const problem& p : problems) {
    minimise_options options;
    options.cells = 2000;
    double size = 0;  // of the terms amid the sites
    for (const site& t : p.sites()) size += 5 * t.weight;
    expect_solved(p, {.relative = 1e-10, .absolute = 1e-14 * size}, options);
  }
}

// Smooth f that levels off: the nearest less the farthest distance is least on a ray; other order
// weights, whose value may fall for ever towards its infimum, have a bound all the same.
TEST(General, SmoothAndLevelFarAway) {
  const std::vector<site> sites = {{1, 2}, {4, 6}, {2, 3}, {3, 3}};
  for (const gauge& g : {gauge::euclidean(), gauge::lp(1.5)}) {
    const problem p(sites, {g}, order_weights({1, 0, 0, -1}));
    const solution s = expect_solved(p, {.relative = 1e-10});
    EXPECT_NEAR(s.value, -g({3, 4}), 1e-9);
    solution spoiled = s;
    spoiled.lower_bound = s.value + 1e-6;
    EXPECT_FALSE(verify(p, spoiled).accepted);
  }
  // Sites that tie along diagonals, where the slopes nearly leap: triangles need many halvings.
  const problem ties({{2, 2}, {1, 0}, {0, 2}, {3, 1}, {1, 1}}, {gauge::lp(1000)},
                     order_weights::range());
  EXPECT_EQ(verify(ties, minimise(ties)).reason, "");
  const problem nowhere({{0.1, -0.7}, {0.1, -0.7}}, {gauge::lp(1.5)}, order_weights({1, -1}));
  expect_solved(nowhere, {.absolute = 1e-300});
  minimise_options options;
  options.cells = 500;
  const problem p(sites, {gauge::euclidean()}, order_weights({0, 1, 1, -2}));
  solution s = minimise(p, options);
  EXPECT_EQ(s.status, solution_status::stopped);
  EXPECT_GE(s.value, s.lower_bound);
  EXPECT_NEAR(s.lower_bound, -10, 1e-9);
  EXPECT_TRUE(verify(p, s).accepted);
  s.lower_bound = -9.99;
  EXPECT_FALSE(verify(p, s).accepted);
}

// The least value is 0, along a curve or far from where a search looks first; or what the rounding
// of the terms leaves open is more than 1e-10 of it.
TEST(General, SmoothAndNearlyZero) {
  const problem problems[] = {
      {{{0, -2}, {2, 0}, {-1, -3}, {2, 0}}, {gauge::euclidean()}, order_weights({-3, 0, 3, 0})},
      {{{10000008.797589848, -9999994.9960840791}, {10000005.744107654, -9999993.6845367774}},
       {gauge::euclidean()},
       order_weights({-3, 3})},
      {{{1, 1, 2}, {3, 2, 3}, {2, 2, 2}}, {gauge::euclidean()}, order_weights({-1, 1, 0})},
      {{{2, 3}, {0, 0}, {0, 1}}, {gauge::lp(3)}, order_weights({0, -1, 1})},
      {{{3, 3}, {3, 4, 1, 1}, {3, 5, 1, 1}, {3, 2, 1, 1}},
       {gauge::euclidean(), gauge::linf()},
       order_weights::range()},
      {{{10000003.010227375, -9999998.0721853711},
        {10000001.962485451, -9999999.703194581},
        {10000006.474352833, -9999991.4874532744},
        {10000005.059813142, -9999994.6006261092}},
       {gauge::euclidean()},
       order_weights::range()}};
  for (const problem& p : problems) {
    minimise_options options;
    options.cells = 5000;
    const solution s = minimise(p, options);
    EXPECT_EQ(s.status, solution_status::optimal);
    EXPECT_LT(s.value, 0.1);
    const verification v = verify(p, s);
    EXPECT_TRUE(v.accepted) << v.reason;
    EXPECT_LE(v.gap, 1e-10);
  }
}

// f levels off where two gauges, or multiples of one, grow alike: boxes to infinity prove what a
// sample of places near and far agrees with.
TEST(General, MixedAndLevelFarAway) {
  const std::vector<gauge> pair = {gauge::euclidean(), gauge::linf()};
  const auto end = solution_status::optimal;
  const struct {
    const char* name;
    problem p;
    solution_status status;
  } cases[] = {
      {"a ring between two gauges",
       {{{3, 0}, {3, 0}, {2, 1, 1, 1}, {3, 2, 1, 1}, {2, 0}}, pair, order_weights::range()},
       end},
      {"the two farthest",
       {{{0, 1, 1, 1}, {0, 0, 1, 1}, {3, 3}, {0, 3}, {2, 1, 1, 1}},
        pair,
        order_weights({0, 0, 0, 1, -1})},
       solution_status::stopped},
      {"three norms, the largest of which falls",
       {{{0, 3}, {0, 3, 3, 1}, {2, 1, 2, 2}},
        {gauge::lp(1.5), gauge::euclidean(), gauge::l1()},
        order_weights({1, 1, -1})},
       end},
      {"weights that cancel",
       {{{3, 3}, {3, 9}, {3, 3, 2}, {3, 5, 3}, {3, 3}, {3, 1}, {3, 5}},
        {gauge::lp(2.2)},
        order_weights({-1, -1, 1, -1, 1, -1, 1})},
       end},
      {"0 everywhere",
       {{{0.1, -0.7, 3}, {0.1, -0.7}, {0.1, -0.7}, {0.1, -0.7, 3}},
        {gauge::lp(3.4)},
        order_weights({1, -1, 1, -1})},
       end},
      {"slow growth",
       {{{3, 1}, {4, 1}, {7, 1}, {4, 1}, {6, 1}},
        {gauge::euclidean()},
        order_weights({0.748, -0.328, -0.466, 0.058, -0.01})},
       end}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    minimise_options options;
    options.cells = 20000;
    const solution s = minimise(c.p, options);
    EXPECT_EQ(s.status, c.status);
    const verification v = verify(c.p, s);
    EXPECT_EQ(v.reason, "");
    EXPECT_LE(v.gap, c.status == end ? 1e-9 : 1e-4);
    for (double r = 0.5; r < 1e6; r *= 1.25) {
      for (int k = 0; k < 240; ++k) {
        const double angle = k / 2 * std::numbers::pi / 60;
        const double aside = k % 2 == 0 ? 0 : std::sqrt(r);
        const xy at{3 + r * std::cos(angle) - aside * std::sin(angle),
                    1 + r * std::sin(angle) + aside * std::cos(angle)};
        EXPECT_GE(c.p.value(at), v.lower_bound - 1e-14 * r) << at.x << ' ' << at.y;
      }
    }
    solution spoiled = s;
    spoiled.lower_bound = spoiled.value + 1e-6;
    EXPECT_FALSE(verify(c.p, spoiled).accepted);
    spoiled = s;
    auto& proof = std::get<branch_certificate>(spoiled.proof);
    if (proof.outside.empty()) continue;
    proof.to_infinity = false;
    EXPECT_FALSE(verify(c.p, spoiled).accepted);
    proof.to_infinity = true;
    proof.outside = {reason::bound, reason::bound, reason::bound, reason::bound};
    EXPECT_FALSE(verify(c.p, spoiled).accepted);
  }
}

// The narrowest ring that holds all points: its middle has two of them on each circle, or three on
// one, so it is a crossing of two bisectors, unless strips between parallel lines are narrower.
struct narrowest {
  double ring = std::numeric_limits<double>::infinity();
  double strip = std::numeric_limits<double>::infinity();
};

narrowest narrowest_ring(const std::vector<site>& s) {
  const problem p(s, {gauge::euclidean()}, order_weights::range());
  struct bisector {
    double a, b, c;  // a x + b y == c
  };
  narrowest best;
  std::vector<bisector> lines;
  for (const site& q : s) {
    for (const site& r : s) {
      const double a = r.x - q.x;
      const double b = r.y - q.y;
      if (a < 0 || (a == 0 && b <= 0)) continue;
      lines.push_back({a, b, (a * (q.x + r.x) + b * (q.y + r.y)) / 2});
      const auto across = [&](const site& t) { return (a * t.y - b * t.x) / std::hypot(a, b); };
      const auto [low, high] = std::minmax_element(
          s.begin(), s.end(), [&](const site& t, const site& u) { return across(t) < across(u); });
      best.strip = std::min(best.strip, across(*high) - across(*low));
    }
  }
  for (const bisector& l : lines) {
    for (const bisector& m : lines) {
      const double d = l.a * m.b - m.a * l.b;
      const xy at{(l.c * m.b - m.c * l.b) / d, (l.a * m.c - m.a * l.c) / d};
      if (std::hypot(at.x, at.y) < 1e6) best.ring = std::min(best.ring, p.value(at));
    }
  }
  return best;
}

TEST(General, NarrowestRing) {
  instance_source source(16);
  std::vector<std::vector<site>> cases;
  for (int n = 3; n <= 12; ++n) {
    cases.emplace_back();
    for (int i = 0; i < n; ++i)
      cases.back().push_back({.x = source.uniform(0, 1), .y = source.uniform(0, 1)});
  }
  for (const int n : {8, 24}) {  // points near a circle
    cases.emplace_back();
    for (int i = 0; i < n; ++i) {
      const double r = 1 + source.uniform(-0.02, 0.02);
      const double angle = 2 * std::numbers::pi * i / n;
      cases.back().push_back({.x = 5 + r * std::cos(angle), .y = r * std::sin(angle)});
    }
  }
  cases.emplace_back();  // a lattice
  for (int i = 0; i < 16; ++i)
    cases.back().push_back({.x = static_cast<double>(i % 4), .y = static_cast<double>(i / 4)});
  int rings = 0;
  for (const std::vector<site>& sites : cases) {
    SCOPED_TRACE(sites.size());
    const narrowest best = narrowest_ring(sites);
    const problem p(sites, {gauge::euclidean()}, order_weights::range());
    minimise_options options;
    options.cells = 20000;
    const solution s = minimise(p, options);
    const verification v = verify(p, s);
    EXPECT_TRUE(v.accepted) << v.reason;
    EXPECT_LE(v.lower_bound, std::min(best.ring, best.strip) + 1e-12);
    if (best.ring < best.strip * (1 - 1e-6)) {
      ++rings;
      EXPECT_EQ(s.status, solution_status::optimal);
      EXPECT_NEAR(s.value, best.ring, 1e-9 * best.ring + 1e-14);
      EXPECT_LE(v.gap, 1e-10 * static_cast<double>(sites.size()));
      solution spoiled = s;
      spoiled.point = {s.point.x + 1e15, s.point.y};
      spoiled.exact = {};
      spoiled.value = p.value(spoiled.point);
      EXPECT_FALSE(verify(p, spoiled).accepted) << "a place where doubles tell nothing";
    } else {
      EXPECT_GE(v.lower_bound, best.strip * (1 - 1e-4));
      EXPECT_LE(s.value, best.strip * (1 + 1e-4));
    }
  }
  EXPECT_GE(rings, 6);
  // A search that is to end does not look for better places first, neither near nor far away.
  const problem p(cases[9], {gauge::euclidean()}, order_weights::range());
  const solution s = minimise(p, stopped_at_once());
  EXPECT_EQ(s.status, solution_status::stopped);
  EXPECT_GT(s.value, 1.001 * minimise(p).value);
  EXPECT_EQ(verify(p, s).reason, "");
}

// Places as far from all sites as from any other, one or a whole curve of them: no relative gap can
// be reached at 0.
TEST(General, SmoothOptimumOfZero) {
  const std::vector<site> curve = {{.x = 4.898063027663567, .y = 9.796126055327134, .weight = 3.5},
                                   {.x = 3.3295964989327134, .y = 6.659192997865427, .weight = 2}};
  const problem problems[] = {{{{.x = 1, .y = 5}, {.x = 4, .y = 2}, {.x = 0, .y = 1}},
                               {gauge::euclidean()},
                               order_weights::range()},
                              {curve, {gauge::euclidean()}, order_weights::range()},
                              {curve, {gauge::lp(1.5)}, order_weights::range()}};
  for (const problem& p : problems) {
    minimise_options options;
    options.cells = 10000;
    const solution s = expect_solved(p, {.absolute = 1e-11}, options);
    EXPECT_EQ(s.lower_bound, 0);
  }
}

TEST(General, LimitsAndNarrowCases) {
  instance_source source(14);
  const problem p(source.sites(layout::scattered, 60, 1), source.gauges(layout::scattered, 1, 8),
                  order_weights::trimmed_mean(10, 10));
  solution stopped;
  double proved = 0;
  for (std::size_t cells = 1; cells <= 100; cells += 9) {
    minimise_options few;
    few.cells = cells;
    stopped = minimise(p, few);
    EXPECT_EQ(stopped.status, solution_status::stopped);
    EXPECT_GE(stopped.lower_bound, proved) << "a longer search proves less";
    proved = stopped.lower_bound;
    const verification v = verify(p, stopped);
    EXPECT_TRUE(v.accepted) << v.reason;
    EXPECT_LE(v.lower_bound, stopped.value);
    EXPECT_GE(v.lower_bound, stopped.lower_bound);
    solution spoiled = stopped;
    spoiled.lower_bound = stopped.value * 1.001;
    EXPECT_FALSE(verify(p, spoiled).accepted);
  }
  minimise_options coarse;
  coarse.relative_gap = 1e-2;
  const solution near = minimise(p, coarse);
  EXPECT_EQ(near.status, solution_status::within_gap);
  EXPECT_LE(near.gap(), 1.001e-2 * near.value);
  const verification v = verify(p, near);
  EXPECT_TRUE(v.accepted) << v.reason;
  EXPECT_GE(stopped.value, near.lower_bound);
  EXPECT_LE(stopped.lower_bound, near.value);
  // To find out whether f falls far away takes a second of a processor here, which the search has
  // not.
  std::vector<double> alternating;
  for (int k = 0; k < 1200; ++k) alternating.push_back(k % 2 == 0 ? -1 : 1);
  auto sites = source.sites(layout::scattered, 1200, 1);
  for (site& s : sites) s.weight = source.uniform(0.5, 1.5);
  const problem hard(sites, {gauge::euclidean()}, order_weights(alternating));
  const std::clock_t before = std::clock();
  const solution early = minimise(hard, stopped_at_once());
  EXPECT_LT(std::clock() - before, CLOCKS_PER_SEC / 2);
  EXPECT_EQ(early.status, solution_status::stopped);
  EXPECT_EQ(verify(hard, early).reason, "");
  // Half of all sites lie at one place: the median distance is 0 there.
  const problem zero({{1, 1}, {1, 1}, {4, 2}, {0, 5}}, {gauge::l1()},
                     order_weights::order_statistic(2));
  EXPECT_EQ(expect_solved(zero).value, 0);
}

// The exact value is a little less than its double, which a search that is stopped must not claim
// as its bound.
TEST(General, StoppedAtANegativeValue) {
  const gauge ball = gauge::polyhedral({{-0.94274411698232652, 0.4179891086410602},
                                        {-0.83389800181174722, -0.84624979504862741},
                                        {0.22026905949889708, -1.0887999425022574},
                                        {0.88163547045317481, -0.16525607500502129},
                                        {0.10515911910707691, 0.82690636366766312}});
  const problem p({{10000005.920502696, -9999996.0409353673},
                   {10000009.485155715, -9999992.8004112933},
                   {10000000.729260789, -9999998.889675213},
                   {10000002.809875665, -9999992.8618163634}},
                  {ball}, order_weights({1, 1, 1, -1}));
  for (std::size_t cells = 1; cells <= 60; ++cells) {
    minimise_options few;
    few.cells = cells;
    EXPECT_EQ(verify(p, minimise(p, few)).reason, "") << cells;
  }
  // Where any gap will do, no bound is needed.
  minimise_options any;
  any.absolute_gap = std::numeric_limits<double>::infinity();
  EXPECT_EQ(verify(p, minimise(p, any)).reason, "");
}

// Of large values: a unit in the last place of the bound counts.
TEST(General, SmallAbsoluteGapsAreReached) {
  instance_source source(17);
  for (int trial = 0; trial < 40; ++trial) {
    auto sites = source.sites(layout::scattered, 9, 1);
    for (site& s : sites) s.weight = 1e4;
    const problem p(sites, {gauge::l1()}, order_weights::trimmed_mean(1, 1));
    minimise_options options;
    options.absolute_gap = source.uniform(1e-9, 1e-3);
    const solution s = minimise(p, options);
    EXPECT_NE(s.status, solution_status::stopped);
    EXPECT_LE(s.gap(), options.absolute_gap);
  }
}

// f is its own recession function there: 0 is the least value if that is nowhere negative.
TEST(General, AllSitesAtOnePlace) {
  const gauge triangle = gauge::polyhedral({{3, 1}, {-1, 2}, {-1, -2}});
  for (const auto& gauges : {std::vector{gauge::euclidean(), gauge::lp(1.5), triangle},
                             std::vector{gauge::l1(), gauge::linf(), triangle}}) {
    const auto problem_of = [&](double last_x, double middle_weight) {
      return problem({{37.1, -2.3, 1.3, 0}, {37.1, -2.3, 2.1, 1}, {last_x, -2.3, 0.7, 2}}, gauges,
                     order_weights({1.5, middle_weight, 0.3}));
    };
    const problem p = problem_of(37.1, -0.4);
    solution s = expect_solved(p, {.absolute = 1e-300});
    EXPECT_EQ(s.value, 0);
    EXPECT_EQ(s.lower_bound, 0);
    EXPECT_FALSE(verify(problem_of(37.1, -3), s).accepted) << "f falls there";
    s.status = solution_status::stopped;
    s.value = problem_of(37.2, -0.4).value(s.point);
    EXPECT_EQ(verify(problem_of(37.2, -0.4), s).reason, "the sites do not lie at one place");
    s.value = 0;
    s.lower_bound = 1e-9;
    EXPECT_FALSE(verify(p, s).accepted);
  }
}

// Each ends with a proved gap of 0, which all but one of the means would miss.
TEST(General, HardEndings) {
  const gauge triangle = gauge::polyhedral({{2, 0}, {0, 1}, {-1, -1}});
  const gauge diamond = gauge::polyhedral({{2, 1}, {-1, 2}, {-2, -1}, {1, -2}});
  const struct {
    const char* name;
    problem p;
  } cases[] = {
      {"a light site decides on triangles far below the extent of the square",
       {{{9.15, 8.26, 29833},
         {9.15, 8.26, 3472},
         {8.5, 8.68, 5e-5},
         {3.2, 6.36, 2.3e-5},
         {6.9, 7.7, 3e-5},
         {.6, 9, .01},
         {4.7, 7.5, 1.2e-4}},
        {gauge::l1()},
        order_weights({0, 1, 1, 0, 0, 0, 0})}},
      {"planes that tie at a corner, of which the check has to take other ones than the search",
       {{{2, 2, 2, 0},
         {2, 1, 2, 2},
         {3, 3, 0.0028482227267504555, 1},
         {2, 2, 2, 1},
         {1, 3, 1, 2},
         {3, 1, 1, 0},
         {3, 3, 8013.5357627209278, 2},
         {2, 1, 1, 1}},
        {triangle, diamond, diamond},
        order_weights({0, 1, 1, 1, 0, 1, 1, 0})}},
      {"a range, and a tangent that falls below the least of all distances, where f falls with it",
       {{{2.84, 2.33, .0016},
         {.76, 2.11, .557},
         {5.18, 9.71, 321},
         {1.03, 6.06, 393},
         {3.31, 4.37, .1},
         {9.27, 2.63, 21500},
         {5.45, 0.03, 84835}},
        {gauge::polyhedral({{.92, .31}, {-.21, 1.14}, {-1.05, -.02}, {.31, -.78}})},
        order_weights::range()}},
      {"level far away in all directions, with lines that cross there",
       {{{20.9, 73.2, 3},
         {20.9, 73.2, 2},
         {28.5, 16.8, 1},
         {28.4, 49.1, 1},
         {41, 18.7, 3},
         {20.1, 67, 2},
         {79, 58.4, 2},
         {47.9, 52.8, 3},
         {70.4, 82.5, 1},
         {56.7, 29.6, 1}},
        {gauge::polyhedral(
            {{.91, -.49}, {.98, .49}, {.23, 1.06}, {-.65, .75}, {-.83, -.36}, {0, -.93}})},
        order_weights({0, 1, 0, 1, 1, 1, 0, 0, -1, -1})}},
      {"level where one gauge grows faster, from directions on that are hard to tell apart",
       {{{6.2, 8.5, 1, 1}, {0, 2.2, 1, 1}, {7, 4.8, 1, 0}, {3.8, .7, 1, 1}, {6.7, 5.1, 1, 1}},
        {gauge::polyhedral(
             {{1.06, .12}, {.35, .79}, {-.65, .47}, {-.84, -.5}, {-.12, -1.15}, {.81, -.88}}),
         gauge::polyhedral(
             {{1.04, .04}, {.49, .86}, {-.6, .73}, {-.95, -.15}, {-.37, -.94}, {.67, -.82}})},
        order_weights({-1, -1, 1, 1, 0})}},
      {"order weights that nearly cancel, so that f hardly grows far away",
       {{{9.92, 4.04},
         {2.98, 9.73},
         {5.03, 9.23},
         {.67, 3.63},
         {8.68, 9.03},
         {1.35, 9.48},
         {6.64, .8}},
        {gauge::polyhedral({{-.52, .89},
                            {-1.02, .07},
                            {-.71, -.7},
                            {.06, -.97},
                            {.83, -.5},
                            {.91, .39},
                            {.24, .99}})},
        order_weights({.559, -.139, -.416, .343, .311, -.306, -.351})}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    minimise_options options;
    options.cells = 20000;
    const solution s = expect_solved(c.p, {}, options);
    const branch_certificate& proof = std::get<branch_certificate>(s.proof);
    if (proof.outside.empty() && !proof.cells.empty()) {
      solution spoiled = s;
      std::get<branch_certificate>(spoiled.proof).half /= 2;
      EXPECT_EQ(verify(c.p, spoiled).reason, "the square is too small");
    }
    const arrangement::optima best = arrangement(c.p).find();
    EXPECT_NEAR(s.value, best.value, 1e-12 * best.size);
  }
}

// A large triangle that is called exact has millions of crossings.
TEST(General, MadeUpCertificatesAreRefusedSoon) {
  instance_source source(16);
  const std::vector<gauge> gauges = source.gauges(layout::scattered, 2, 8);
  const std::vector<site> sites = source.sites(layout::scattered, 60, 2);
  const regions lake{{}, {{{{30, 30}, {70, 30}, {60, 70}}}}};
  for (const problem& p : {problem(sites, gauges, order_weights::trimmed_mean(9, 9)),
                           problem(sites, gauges, order_weights::trimmed_mean(9, 9), lake)}) {
    const solution s = expect_solved(p);
    const auto& cells = std::get<branch_certificate>(s.proof).cells;
    int refused = 0;
    for (std::size_t k = 0; k < cells.size() && refused < 2; ++k) {
      if (cells[k] != reason::halved) continue;
      solution spoiled = s;
      std::get<branch_certificate>(spoiled.proof).cells[k] = reason::exact;
      EXPECT_EQ(verify(p, spoiled).reason,
                "triangle " + std::to_string(k) + ": too many lines cross it");
      ++refused;
    }
    EXPECT_EQ(refused, 2);
  }
}

TEST(General, VerifyRefusesWhatWasSpoiled) {
  instance_source source(15);
  const auto proof = [](solution& s) -> branch_certificate& {
    return std::get<branch_certificate>(s.proof);
  };
  const struct {
    const char* name;
    std::function<void(solution&)> spoil;
  } cases[] = {{"leaf left out", [&](solution& s) { proof(s).cells.pop_back(); }},
               {"leaf too many", [&](solution& s) { proof(s).cells.push_back(reason::bound); }},
               {"exact called bound",
                [&](solution& s) {
                  auto& cells = proof(s).cells;
                  std::replace(cells.begin(), cells.end(), reason::exact, reason::bound);
                }},
               {"halves left out",
                [&](solution& s) {
                  auto& cells = proof(s).cells;
                  cells.erase(cells.begin() + 1, cells.begin() + 3);
                }},
               {"root called bound",
                [&](solution& s) {
                  proof(s).cells = {reason::bound, reason::bound};
                }},
               {"square moved", [&](solution& s) { proof(s).base.x += 3 * proof(s).half; }},
               {"square too small", [&](solution& s) { proof(s).half /= 64; }},
               {"outside left out", [&](solution& s) { proof(s).outside.clear(); }},
               {"outside cut short", [&](solution& s) { proof(s).outside.pop_back(); }},
               {"no cells", [&](solution& s) { proof(s).cells.clear(); }},
               {"value lowered", [&](solution& s) { s.value -= 1e-6 * std::fabs(s.value); }},
               {"bound raised", [&](solution& s) { s.lower_bound += 1e-6 * std::fabs(s.value); }},
               {"point moved", [&](solution& s) { s.point.x += 0.5; }},
               {"another place",
                [&](solution& s) {
                  s.point.x += 0.5;
                  s.exact = {};
                }},
               {"certificate", [&](solution& s) { s.proof = {}; }}};
  for (int trial = 0; trial < 5; ++trial) {
    const problem p(source.sites(layout::scattered, 9, 2), source.gauges(layout::scattered, 2, 6),
                    order_weights::trimmed_mean(2, 3));
    const solution good = minimise(p);
    ASSERT_EQ(verify(p, good).gap, 0) << verify(p, good).reason;
    for (const auto& c : cases) {
      solution spoiled = good;
      c.spoil(spoiled);
      const verification v = verify(p, spoiled);
      EXPECT_FALSE(v.accepted) << c.name;
      EXPECT_FALSE(v.reason.empty()) << c.name;
    }
  }
  const problem falls({{0, 0}, {1, 0, 2}}, {gauge::l1()}, order_weights({0.5, -1}));
  solution s = minimise(falls);
  EXPECT_EQ(s.status, solution_status::unbounded);
  EXPECT_TRUE(verify(falls, s).accepted);
  const problem rises({{0, 0}, {1, 0, 2}}, {gauge::l1()}, order_weights({1, -0.25}));
  EXPECT_FALSE(verify(rises, s).accepted);
}

}  // namespace
}  // namespace planloc
