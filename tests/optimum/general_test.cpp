#include <gtest/gtest.h>

#include <cmath>
#include <ctime>
#include <functional>
#include <limits>
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

// Cells that are as thin as the balls end soon.
TEST(General, ThinBalls) {
  instance_source source(21);
  for (const double width : {1e-2, 1e-3, 1e-6}) {
    for (const double turn : {0.0, 0.7, 1.5}) {
      for (const order_weights& order : {order_weights::trimmed_mean(1, 1), order_weights::range(),
                                         order_weights({1, -0.5, 0.25, 1, -0.75, 1})}) {
        SCOPED_TRACE(testing::Message() << width << " turned by " << turn);
        const problem p(source.sites(layout::scattered, 6, 2),
                        {source.thin_ball(6, width, turn), source.thin_ball(4, 2 * width, turn)},
                        order);
        minimise_options options;
        options.cells = 3000;
        const solution s = expect_solved(p, {}, options);
        const arrangement::optima best = arrangement(p).find();
        EXPECT_NEAR(s.value, best.value, 1e-10 * best.size);
      }
    }
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
  } cases[] = {
      {"leaf left out", [&](solution& s) { proof(s).cells.pop_back(); }},
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
      {"square too thin", [&](solution& s) { proof(s).axes.across.y /= 64; }},
      {"axes of one direction",
       [&](solution& s) {
         proof(s).axes.across = {3, 0};
       }},
      {"axes of many digits", [&](solution& s) { proof(s).axes.along.y = 1.0 / 3; }},
      {"axes that are no numbers",
       [&](solution& s) { proof(s).axes.along.x = std::numeric_limits<double>::quiet_NaN(); }},
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
