#include <gtest/gtest.h>

#include <ClpSimplex.hpp>
#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <string>
#include <vector>

#include "arrangement.h"
#include "instances.h"
#include "message_of.h"
#include "planloc/optimum/efficient_set.h"
#include "planloc/optimum/minimise.h"
#include "second_weights.h"

namespace planloc {
namespace {
std::vector<xy> places(const efficient_piece& p) {
  std::vector<xy> result;
  for (const efficient_corner& c : p.corners) result.push_back(c.at);
  return result;
}

double distance_from(const efficient_chain& c, const xy& at) {
  double least = 1e300;
  for (const efficient_piece& p : c.pieces) least = std::min(least, outside(places(p), at));
  return least;
}

// All crossings of the gauges' lines, with both values.
struct valued_place {
  xy at;
  std::array<double, 2> values;
};

std::vector<valued_place> crossings_of(const bicriteria_problem& p) {
  std::vector<site> sites;
  for (const bicriteria_site& s : p.sites()) sites.push_back({s.x, s.y, 1, s.gauge});
  const auto lines =
      break_lines(problem(sites, {p.gauges().begin(), p.gauges().end()}, order_weights::median()));
  std::vector<valued_place> result;
  for (std::size_t i = 0; i < lines.size(); ++i) {
    for (std::size_t k = 0; k < i; ++k) {
      const test_line& f = lines[i];
      const test_line& g = lines[k];
      const double area = f.a * g.b - f.b * g.a;
      if (std::fabs(area) < 1e-6) continue;
      const xy at{(f.c * g.b - f.b * g.c) / area, (f.a * g.c - f.c * g.a) / area};
      result.push_back({at, p.values(at)});
    }
  }
  return result;
}

TEST(EfficientSet, EnumerationFindsTheSameCurveAndPlaces) {
  instance_source source(21);
  std::array<int, 3> kinds{};
  std::array<int, 2> seen{};  // crossings off the set, on it
  for (const layout l : {layout::scattered, layout::lattice, layout::line, layout::one_place,
                         layout::far_away, layout::uneven}) {
    for (int trial = 0; trial < 60; ++trial) {
      SCOPED_TRACE(testing::Message() << "layout " << static_cast<int>(l) << " trial " << trial);
      const auto gauges = source.gauges(l, 1 + source.below(2), 3 + source.below(3));
      const auto sites = source.sites(l, 1 + source.below(5), static_cast<int>(gauges.size()));
      const bicriteria_problem p = with_second_weights(
          source, sites, gauges, kRelations[static_cast<std::size_t>(trial) % kRelations.size()]);
      const efficient_chain c = efficient_set(p);
      ASSERT_EQ(c.status, efficient_status::complete);
      const efficient_verification v = verify(p, c);
      EXPECT_TRUE(v.accepted) << v.reason;
      for (const efficient_piece& piece : c.pieces)
        ++kinds[std::min<std::size_t>(piece.corners.size(), 3) - 1];
      if (l == layout::far_away || l == layout::uneven) continue;  // too rough for the rest
      const auto all = crossings_of(p);
      for (const valued_place& f : all) {
        const auto [a, b] = f.values;
        bool dominated = false;
        for (const trade_off& e : c.curve) {
          // On the hull of the curve and beyond: below no supporting line.
          EXPECT_GE((1 - e.t_low) * (a - e.value1) + e.t_low * (b - e.value2), -1e-8);
          EXPECT_GE((1 - e.t_high) * (a - e.value1) + e.t_high * (b - e.value2), -1e-8);
        }
        for (std::size_t k = 0; k < c.curve.size(); ++k) {
          const trade_off& e = c.curve[k];
          dominated = dominated || (a >= e.value1 - 1e-9 && b >= e.value2 - 1e-9 &&
                                    (a > e.value1 + 1e-7 || b > e.value2 + 1e-7));
          if (k + 1 == c.curve.size()) continue;
          const trade_off& next = c.curve[k + 1];
          const double excess = (1 - e.t_high) * (a - e.value1) + e.t_high * (b - e.value2);
          dominated = dominated || (a >= e.value1 && a <= next.value1 && excess > 1e-7);
        }
        ++seen[dominated ? 0 : 1];
        if (dominated) {
          EXPECT_GT(distance_from(c, f.at), 1e-9);
        } else {
          EXPECT_LT(distance_from(c, f.at), 1e-7);
        }
      }
    }
  }
  for (const int count : kinds) EXPECT_GT(count, 10);
  for (const int count : seen) EXPECT_GT(count, 1000);
}

// By how much f_1 + f_2 can fall from a place without either rising: a linear program.
double domination(const bicriteria_problem& p, const xy& at) {
  const int n = static_cast<int>(p.sites().size());
  std::vector<int> rows;
  std::vector<int> columns;
  std::vector<double> entries;
  std::vector<double> low;
  std::vector<double> high;
  std::vector<double> cost(static_cast<std::size_t>(n) + 2, 0);
  const auto enter = [&](int column, double value) {
    rows.push_back(static_cast<int>(low.size()));
    columns.push_back(column);
    entries.push_back(value);
  };
  for (int i = 0; i < n; ++i) {
    const bicriteria_site& s = p.sites()[static_cast<std::size_t>(i)];
    cost[static_cast<std::size_t>(i) + 2] = s.weight1 + s.weight2;
    const std::span<const xy> v = p.gauge_of(static_cast<std::size_t>(i)).vertices();
    for (std::size_t j = 0; j < v.size(); ++j) {
      const xy a = v[j];
      const xy b = v[(j + 1) % v.size()];
      const double area = a.x * b.y - a.y * b.x;
      const xy slope{(b.y - a.y) / area, (a.x - b.x) / area};
      enter(0, -slope.x);
      enter(1, -slope.y);
      enter(i + 2, 1);
      low.push_back(-(slope.x * s.x + slope.y * s.y));
      high.push_back(COIN_DBL_MAX);
    }
  }
  const std::array<double, 2> f = p.values(at);
  for (std::size_t k = 0; k < 2; ++k) {
    for (int i = 0; i < n; ++i) enter(i + 2, p.weight(k, static_cast<std::size_t>(i)));
    low.push_back(-COIN_DBL_MAX);
    high.push_back(f[k] * (1 + 1e-12));
  }
  const CoinPackedMatrix matrix(true, rows.data(), columns.data(), entries.data(),
                                static_cast<int>(entries.size()));
  const std::vector<double> least(cost.size(), -COIN_DBL_MAX);
  const std::vector<double> most(cost.size(), COIN_DBL_MAX);
  ClpSimplex clp;
  clp.setLogLevel(0);
  clp.loadProblem(matrix, least.data(), most.data(), cost.data(), low.data(), high.data());
  clp.dual();
  EXPECT_TRUE(clp.isProvenOptimal());
  return f[0] + f[1] - clp.objectiveValue();
}

TEST(EfficientSet, LinearProgramsFindWhatDominates) {
  instance_source source(22);
  for (const layout l : {layout::scattered, layout::lattice}) {
    for (int trial = 0; trial < 12; ++trial) {
      SCOPED_TRACE(testing::Message() << "layout " << static_cast<int>(l) << " trial " << trial);
      const auto gauges = source.gauges(l, 3, 6);
      const bicriteria_problem p =
          with_second_weights(source, source.sites(l, 25, 3), gauges,
                              trial % 2 == 0 ? relation::apart : relation::independent);
      const efficient_chain c = efficient_set(p);
      ASSERT_TRUE(verify(p, c).accepted);
      for (const efficient_piece& piece : c.pieces) {
        xy inside{0, 0};
        for (const efficient_corner& k : piece.corners) {
          EXPECT_LT(domination(p, k.at), 1e-5);
          inside.x += k.at.x / static_cast<double>(piece.corners.size());
          inside.y += k.at.y / static_cast<double>(piece.corners.size());
        }
        EXPECT_LT(domination(p, inside), 1e-5);
      }
      for (int k = 0; k < 20; ++k) {
        const double size = l == layout::scattered ? 100 : 3;
        const xy at{source.uniform(0, size), source.uniform(0, size)};
        if (distance_from(c, at) < 0.02 * size) continue;
        EXPECT_GT(domination(p, at), 1e-5);
      }
    }
  }
}

TEST(EfficientSet, KnownChains) {
  using corners = std::vector<std::vector<xy>>;
  const struct {
    const char* name;
    std::vector<bicriteria_site> sites;
    corners pieces;
  } cases[] = {
      {"one site", {{3, 1, 2, 5}}, {{{3, 1}}}},
      {"one site that one criterion ignores", {{3, 1, 0, 5}}, {{{3, 1}}}},
      {"equal criteria: the square of all optima",
       {{0, 0}, {1, 1}, {3, 2}, {4, 5}},
       {{{1, 1}, {3, 1}, {3, 2}, {1, 2}}}},
      // Wendell, Hurter and Lowe: between two sites all of the box is efficient under l1.
      {"a site each: all of the box between them",
       {{0, 0, 1, 0}, {2, 1, 0, 1}},
       {{{0, 0}}, {{0, 0}, {2, 0}, {2, 1}, {0, 1}}, {{2, 1}}}},
      {"on a line",
       {{0, 0, 1, 0}, {1, 0, 0, 1}, {5, 0, 0, 1}, {3, 0, 0, 1}},
       {{{0, 0}}, {{0, 0}, {1, 0}}, {{1, 0}}, {{1, 0}, {3, 0}}, {{3, 0}}}},
      {"at one place", {{1, 1, 1, 2}, {1, 1, 2, 1}, {1, 1, 0, 1}}, {{{1, 1}}}},
      // The sums of the two weights of a site are no doubles: rounded, the other site is as good.
      {"rounded sums tie", {{0, 0, 1, 0x1p-54}, {0, 0, 0x1p-54, 1}, {4, 0, 1, 1}}, {{{0, 0}}}},
      {"the same mirrored", {{4, 0, 1, 0x1p-54}, {4, 0, 0x1p-54, 1}, {0, 0, 1, 1}}, {{{4, 0}}}},
      {"a sum that no weight may have", {{0, 0, 1e36, 1e36}, {2, 1, 1, 1}}, {{{0, 0}}}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    const bicriteria_problem p(c.sites, {gauge::l1()});
    const efficient_chain chain = efficient_set(p);
    EXPECT_TRUE(verify(p, chain).accepted) << verify(p, chain).reason;
    ASSERT_EQ(chain.pieces.size(), c.pieces.size());
    for (std::size_t k = 0; k < c.pieces.size(); ++k) {
      ASSERT_EQ(chain.pieces[k].corners.size(), c.pieces[k].size());
      for (const xy& at : c.pieces[k]) EXPECT_EQ(outside(places(chain.pieces[k]), at), 0);
      for (const xy& at : places(chain.pieces[k])) EXPECT_EQ(outside(c.pieces[k], at), 0);
    }
  }
}

TEST(EfficientSet, VerifyRefusesWhatWasSpoiled) {
  instance_source source(23);
  // Numbers of a common gauge are short; those of many are compared in intervals mostly.
  std::vector<gauge> many;
  for (int k = 0; k < 20; ++k) many.push_back(source.ball(5));
  std::vector<bicriteria_problem> problems;
  for (const std::vector<gauge>& gauges : {std::vector{gauge::l1()}, many}) {
    problems.push_back(with_second_weights(
        source, source.sites(layout::scattered, 20, static_cast<int>(gauges.size())), gauges,
        relation::apart));
  }
  const struct {
    const char* name;
    std::function<void(efficient_chain&)> spoil;
  } cases[] = {
      {"status", [](auto& c) { c.status = efficient_status::stopped; }},
      {"no piece", [](auto& c) { c.pieces.clear(); }},
      {"first pieces left out",
       [](auto& c) {
         c.pieces.erase(c.pieces.begin(), c.pieces.begin() + 2);
         c.pieces[0].t_low = c.curve[1].t_low = 0;
         c.curve.erase(c.curve.begin());
       }},
      {"last pieces left out",
       [](auto& c) {
         c.pieces.resize(c.pieces.size() - 2);
         c.curve.pop_back();
         c.pieces.back().t_high = c.curve.back().t_high = 1;
       }},
      {"pieces amid the chain left out",
       [](auto& c) {
         c.pieces.erase(c.pieces.begin() + 1, c.pieces.begin() + 3);
         c.pieces[0].t_high = c.curve[0].t_high = c.pieces[1].t_low;
         c.curve.erase(c.curve.begin() + 1);
       }},
      {"a corner left out", [](auto& c) { c.pieces[1].corners.pop_back(); }},
      {"a corner moved", [](auto& c) { c.pieces[2].corners[0].at.x += 0.5; }},
      {"a line of a corner", [](auto& c) { c.pieces[2].corners[0].lines[0].site ^= 1U; }},
      {"a line of a site that is not there",
       [](auto& c) { c.pieces[2].corners[0].lines[0].site = 20; }},
      {"parallel lines",
       [](auto& c) { c.pieces[2].corners[0].lines[1] = c.pieces[2].corners[0].lines[0]; }},
      {"a value", [](auto& c) { c.pieces[1].corners[0].value1 *= 1 + 1e-12; }},
      {"t of a face", [](auto& c) { c.pieces[1].t_low = c.pieces[1].t_high *= 1 + 1e-12; }},
      {"t of an interval", [](auto& c) { c.pieces[2].t_high = 1; }},
      {"the curve", [](auto& c) { c.curve[1].value1 *= 1 + 1e-12; }},
      {"the order", [](auto& c) { std::swap(c.pieces[1], c.pieces[3]); }},
  };
  for (const bicriteria_problem& p : problems) {
    const efficient_chain good = efficient_set(p);
    ASSERT_TRUE(verify(p, good).accepted);
    ASSERT_GT(good.pieces.size(), 5);
    for (const auto& c : cases) {
      efficient_chain spoiled = good;
      c.spoil(spoiled);
      const efficient_verification v = verify(p, spoiled);
      EXPECT_FALSE(v.accepted) << c.name;
      EXPECT_FALSE(v.reason.empty()) << c.name;
    }
  }
}

TEST(EfficientSet, LimitsAndBadInput) {
  instance_source source(24);
  const bicriteria_problem p =
      with_second_weights(source, source.sites(layout::scattered, 100, 1),
                          source.gauges(layout::scattered, 1, 8), relation::apart);
  efficient_options few;
  const std::size_t all = efficient_set(p).pieces.size();
  for (const std::size_t most : {std::size_t{0}, std::size_t{1}, std::size_t{6}, all - 1, all}) {
    few.pieces = most;
    const efficient_chain c = efficient_set(p, few);
    EXPECT_EQ(c.status, most < all ? efficient_status::stopped : efficient_status::complete);
    EXPECT_LE(c.pieces.size(), std::max<std::size_t>(most, 1));
    EXPECT_GE(c.pieces.size() + 1, most);
  }
  const struct {
    std::vector<bicriteria_site> sites;
    gauge g;
    const char* text;
  } cases[] = {
      {{{0, 0, 1, 1}, {1, 0, 0, 0}}, gauge::l1(), "both weights of site 1 are 0"},
      {{{0, 0, 1, -2}}, gauge::l1(), "weight 2 of site 0 is -2: must be 0 or from 1e-36 to 1e36"},
      {{{0, 0, 1e-40, 1}},
       gauge::l1(),
       "weight 1 of site 0 is 1e-40: must be 0 or from 1e-36 to 1e36"},
      {{}, gauge::l1(), "no site"},
      {{{0, 0, 1, 1, 3}},
       gauge::l1(),
       "gauge of site 0 is 3: must be less than the number of gauges, 1"},
      {{{0, 0}}, gauge::euclidean(), "efficient set: the gauge of site 0 is not polyhedral"},
  };
  for (const auto& c : cases) {
    const auto call = [&] { efficient_set(bicriteria_problem(c.sites, {c.g})); };
    EXPECT_EQ(message_of(call), c.text);
  }
}

// Steps from ray to ray are below the roundings of such places.
TEST(EfficientSet, WalksToPlacesFarAwayEnd) {
  instance_source source(31);
  for (const double e : {1e-16, 1e-18, 1e-22}) {
    std::vector<bicriteria_site> sites = {{0, 0, 1, 0}, {0, 1, 0, 1}};
    for (int i = 0; i < 10; ++i)
      sites.push_back({1e-3 * source.uniform(0, 1), source.uniform(0.3, 0.7), 1e-6, 1e-6, 1});
    const gauge thin = gauge::polyhedral({{1, 2 * e}, {-1, e}, {-1, -e}, {1, -2 * e}});
    const bicriteria_problem p(sites, {thin, gauge::l1()});
    efficient_options options;
    options.seconds = 5;
    const efficient_chain c = efficient_set(p, options);
    EXPECT_EQ(c.status, efficient_status::complete) << e;
    EXPECT_EQ(verify(p, c).reason, "") << e;
  }
}

TEST(EfficientSet, VerifyRefusesCornersBeyondDoubles) {
  const gauge one = gauge::polyhedral({{1e36, 1e-300}, {-1, 1}, {-1, -1}});
  const gauge other = gauge::polyhedral({{1e36, 2e-300}, {-1, 1}, {-1, -1}});
  const bicriteria_problem p({{0, 0, 1, 0, 0}, {0, 1, 0, 1, 1}}, {one, other});
  efficient_chain c = efficient_set(p);
  EXPECT_EQ(verify(p, c).reason, "");
  c.pieces[0].corners[0].lines = {ray_line{0, 0}, ray_line{1, 0}};
  EXPECT_EQ(verify(p, c).reason, "a corner is too far away");
}

TEST(EfficientSet, VerifyOfManySitesAtOnePlaceComparesFewEdgesInFractions) {
  const bicriteria_problem p(std::vector<bicriteria_site>(20, {1, 2, 1, 3}),
                             {pressed_polygon(200, 1)});
  const efficient_chain c = efficient_set(p);
  EXPECT_EQ(c.pieces.size(), 1);
  EXPECT_EQ(verify(p, c).reason, "");
}

}  // namespace
}  // namespace planloc
