#include <gmpxx.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>
#include <vector>

#include "instances.h"
#include "planloc/optimum/minimise.h"
#include "planloc/optimum/verify.h"
#include "proved.h"

namespace planloc {
namespace {

using reason = branch_certificate::reason;

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
       std::sqrt(5)},
      {"two gauges at the optimum, one of which takes off",
       {{{89.15, 56.85}, {89.15, 56.85, 2, 1}, {76.45, 1.25, 2, 1}},
        {nearly_l1, gauge::lp(300)},
        order_weights({-0.33, 0.69, 0.068})},
       0.068 * 2 * 55.6},
      {"circles and squares on a lattice",
       {{{1, 0},
         {2, 1},
         {3, 1, 1, 1},
         {2, 1, 1, 1},
         {1, 0},
         {3, 2, 1, 1},
         {3, 2, 1, 1},
         {1, 1},
         {1, 0},
         {2, 3},
         {1, 1},
         {3, 0, 1, 1}},
        {gauge::euclidean(), gauge::linf()},
        order_weights({1, -1, 1, -1, 1, 1, 0, -1, 0, -1, 0, 1})},
       -1}};
  minimise_options options;
  options.cells = 8000;
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    const solution s = expect_solved(c.p, {.relative = 1.01e-10}, options);
    EXPECT_NEAR(s.value, c.value, 2e-10 * std::fabs(c.value));
    solution spoiled = s;
    spoiled.lower_bound = c.value + 1e-9 * std::fabs(c.value);
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

// Sites in a line look more and more alike across it: the infimum is 0 and taken nowhere.
TEST(General, InfimumFarAway) {
  const struct {
    problem p;
    double infimum;
  } cases[] = {
      {{{{0, 0}, {1, 0}, {3, 0}}, {gauge::euclidean()}, order_weights::range()}, 0},
      {{{{2, 2}, {1, 1}, {3, 3}, {0, 0}}, {gauge::lp(3)}, order_weights({-1, 0, 1, 0})}, 0},
      {{{{9, -5}, {9, -5}, {11, -7}, {11, -7}, {7, -3}},
        {gauge::lp(3)},
        order_weights({-1, -2, 1, 1, 1})},
       0},
      {{{{0, 0}, {0, 4}, {0, 9}}, {gauge::lp(1.5)}, order_weights({-1, -1, 2})}, 0}};
  for (const auto& [p, infimum] : cases) {
    SCOPED_TRACE(infimum);
    const solution s = minimise(p);
    EXPECT_EQ(s.status, solution_status::far_away);
    const verification v = verify(p, s);
    EXPECT_EQ(v.reason, "");
    EXPECT_NEAR(v.value, infimum, 1e-9);
    EXPECT_LE(v.lower_bound, infimum);
    EXPECT_LE(v.gap, 1e-9);
    solution spoiled = s;
    spoiled.value = s.value - 1e-6;
    EXPECT_FALSE(verify(p, spoiled).accepted) << "not the value of the place";
    spoiled = s;
    spoiled.point = {p.sites()[0].x + 1, p.sites()[0].y + 1};
    spoiled.exact = {};
    spoiled.value = p.value(spoiled.point);
    EXPECT_FALSE(verify(p, spoiled).accepted) << "not far away";
  }
}

// The limit of f along a direction: what a distance has more than the base's is the slope along the
// way to the site, and where gauges grow differently that decides the order. One smooth gauge.
double limit_along(const problem& p, double angle) {
  const gauge& g = p.gauges()[0];
  const xy u{std::cos(angle), std::sin(angle)};
  const auto slope = [&](double c) {
    return std::copysign(std::pow(std::fabs(c) / g(u), g.p() - 1), c);
  };
  std::vector<std::pair<double, double>> order;
  for (const site& s : p.sites())
    order.emplace_back(s.weight, -s.weight * (slope(u.x) * s.x + slope(u.y) * s.y));
  std::sort(order.begin(), order.end());
  double sum = 0;
  for (std::size_t k = 0; k < order.size(); ++k) sum += p.lambda(k) * order[k].second;
  return sum;
}

// Where the limit is least between kinks, boxes in the order of their sizes' squares are needed.
TEST(General, SmoothInfimumFarAway) {
  const problem cases[] = {
      {{{43.25, 1, 2}, {36.25, 98.75}, {34, 63.5}, {73, 62}},
       {gauge::lp(3.2)},
       order_weights({1, 0, 1, -1})},
      {{{90, 65}, {88, 90.75, 2}, {91.75, 77, 3}, {7.5, 19.75}},
       {gauge::lp(6)},
       order_weights({1, 0, 1, -1})},
      {{{1, 2}, {4, 6}, {2, 3}, {3, 3}}, {gauge::euclidean()}, order_weights({0, 1, 1, -2})}};
  for (const problem& p : cases) {
    double limit = std::numeric_limits<double>::infinity();
    for (int k = 0; k < 200000; ++k)
      limit = std::min(limit, limit_along(p, 2 * std::numbers::pi * k / 200000));
    const solution s = minimise(p);
    EXPECT_EQ(s.status, solution_status::far_away);
    const verification v = verify(p, s);
    EXPECT_EQ(v.reason, "");
    EXPECT_NEAR(v.value, limit, 1e-6);
    EXPECT_LE(v.gap, 1e-7);
    solution spoiled = s;
    spoiled.lower_bound = v.value + 1e-6;
    spoiled.value = v.value + 2e-6;
    EXPECT_FALSE(verify(p, spoiled).accepted);
  }
}

// f at (X, y), less what all distances have in common, by the first term of the norm's series: the
// logarithm of X may be any.
double far_along_x(const problem& p, double log_x, double y) {
  const double e = p.gauges()[0].p();
  std::vector<double> more;
  for (const site& s : p.sites())
    more.push_back(-s.x + std::exp((1 - e) * log_x + e * std::log(std::fabs(y - s.y))) / e);
  std::sort(more.begin(), more.end());
  double sum = 0;
  for (std::size_t k = 0; k < more.size(); ++k) sum += p.lambda(k) * more[k];
  return sum;
}

// With p near 1 slopes along an axis vanish so slowly that the infimum is come near beyond all
// doubles.
TEST(General, SmoothInfimumBeyondDoubles) {
  const std::vector<site> sites = {{24.9, 9.9}, {21.3, 51}, {22.9, 75.7}, {27.2, 22.7}};
  for (const double e : {1.0001, 1.001}) {
    SCOPED_TRACE(e);
    const problem p(sites, {gauge::lp(e)}, order_weights::range());
    double least = std::numeric_limits<double>::infinity();
    for (int j = 0; j < 400; ++j) {
      for (int k = 0; k < 400; ++k)
        least = std::min(least, far_along_x(p, j / 40. / (e - 1), k / 4. + 1. / 64));
    }
    const solution s = minimise(p);
    ASSERT_EQ(s.status, solution_status::far_away);
    EXPECT_EQ(s.point.x, 1e100);
    const verification v = verify(p, s);
    EXPECT_EQ(v.reason, "");
    EXPECT_LE(v.gap, 1e-8);
    EXPECT_LE(v.lower_bound, least);
    EXPECT_NEAR(v.value, least, 0.1);
    long exponent = 0;
    const double mantissa = mpz_get_d_2exp(&exponent, mpz_class(s.exact.x).get_mpz_t());
    const double log_x = std::log(mantissa) + static_cast<double>(exponent) * std::numbers::ln2;
    EXPECT_NEAR(v.value, far_along_x(p, log_x, mpq_class(s.exact.y).get_d()), 1e-8);
    solution spoiled = s;
    spoiled.exact.x += "0";
    EXPECT_FALSE(verify(p, spoiled).accepted) << "f is another one ten times as far";
    spoiled = s;
    spoiled.point.x = 1e99;
    EXPECT_FALSE(verify(p, spoiled).accepted);
    spoiled = s;
    spoiled.lower_bound = spoiled.value = v.value + 1e-6;
    EXPECT_FALSE(verify(p, spoiled).accepted);
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
      {"kinds whose order doubles tell and intervals do not",
       {{{0, 0, 1, 1}, {3, 2, 2, 1}, {2, 3, 3}, {3, 2, 2}}, pair, order_weights({-1, -1, 0, 1})},
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

// Far away along a diagonal one distance is surely the largest, by little.
TEST(General, GrowthThatHardlyDiffers) {
  const problem p({{0, 0}, {2, 2, 1, 1}, {3, 2, 2, 1}}, {gauge::lp(1.0001), gauge::lp(300)},
                  order_weights({1, 1, -1}));
  minimise_options options;
  options.cells = 20000;
  const solution s = minimise(p, options);
  EXPECT_GT(s.lower_bound, -6);
  EXPECT_EQ(verify(p, s).reason, "");
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
    } else {  // no place has the least value, the width of the strip
      EXPECT_EQ(s.status, solution_status::far_away);
      EXPECT_NEAR(v.value, best.strip, 1e-10 * static_cast<double>(sites.size()));
      EXPECT_LE(v.gap, 1e-10 * static_cast<double>(sites.size()));
      for (const double way : {0x1p-30, 0x1p-14}) {  // less far away, where f is more
        solution spoiled = s;
        spoiled.point = {s.point.x * way, s.point.y * way};
        spoiled.exact = {};
        EXPECT_FALSE(verify(p, spoiled).accepted) << way;
      }
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

}  // namespace
}  // namespace planloc
