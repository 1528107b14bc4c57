#include <gtest/gtest.h>

#include <ClpSimplex.hpp>
#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <numbers>
#include <string>
#include <vector>

#include "arrangement.h"
#include "instances.h"
#include "message_of.h"
#include "planloc/optimum/efficient_polyline.h"
#include "planloc/optimum/efficient_set.h"
#include "planloc/optimum/minimise.h"

namespace planloc {
namespace {

// How the second weights come from the first.
enum class relation { equal, proportional, independent, opposite, apart, zeros };
constexpr std::array kRelations{relation::equal,    relation::proportional, relation::independent,
                                relation::opposite, relation::apart,        relation::zeros};

bicriteria_problem with_second_weights(instance_source& source, const std::vector<site>& sites,
                                       const std::vector<gauge>& gauges, relation r) {
  std::vector<bicriteria_site> result;
  for (const site& s : sites) {
    bicriteria_site b{s.x, s.y, s.weight, s.weight, s.gauge};
    const bool second = source.below(2) == 0;
    if (r == relation::proportional) b.weight2 *= 3;
    if (r == relation::independent) b.weight2 = source.uniform(0.5, 4);
    if (r == relation::opposite) b.weight2 = 1 / s.weight;
    if (r == relation::apart) (second ? b.weight1 : b.weight2) = 0;
    if (r == relation::zeros && source.below(3) == 0) (second ? b.weight1 : b.weight2) = 0;
    result.push_back(b);
  }
  return {result, gauges};
}

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
  const bicriteria_problem p = with_second_weights(source, source.sites(layout::scattered, 20, 1),
                                                   {gauge::l1()}, relation::apart);
  const efficient_chain good = efficient_set(p);
  ASSERT_TRUE(verify(p, good).accepted);
  ASSERT_GT(good.pieces.size(), 5);
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
  for (const auto& c : cases) {
    efficient_chain spoiled = good;
    c.spoil(spoiled);
    const efficient_verification v = verify(p, spoiled);
    EXPECT_FALSE(v.accepted) << c.name;
    EXPECT_FALSE(v.reason.empty()) << c.name;
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

// ----- Any convex criteria -----

bicriteria_problem mixed_problem(instance_source& source, layout l, int n, relation r) {
  auto gauges = source.gauges(l, 2, 5);
  gauges.push_back(gauge::euclidean());
  gauges.push_back(gauge::lp(source.uniform(1.1, 4)));
  const bicriteria_problem plain = with_second_weights(source, source.sites(l, n, 4), gauges, r);
  return {{plain.sites().begin(), plain.sites().end()},
          gauges,
          source.convex_order(n),
          source.convex_order(n)};
}

bool knows_sites(const bicriteria_problem& p) {
  const auto sites = p.sites();
  return std::any_of(sites.begin(), sites.end(), [](const auto& s) { return s.weight1 > 0; }) &&
         std::any_of(sites.begin(), sites.end(), [](const auto& s) { return s.weight2 > 0; });
}

// By how many ranges both criteria can be less than on the polyline, at the values of a place.
double beyond(const efficient_polyline& l, const std::array<double, 2>& f) {
  const polyline_point& first = l.points.front();
  const polyline_point& last = l.points.back();
  const auto range = [](double a, double b) {
    const double r = std::max(std::fabs(b - a), 1e-4 * std::min(a, b));
    return r == 0 ? 1 : r;
  };
  const double range1 = range(first.value1, last.value1);
  const double range2 = range(first.value2, last.value2);
  double most = std::max((first.value1 - f[0]) / range1, (last.value2 - f[1]) / range2);
  for (std::size_t k = 0; k + 1 < l.points.size(); ++k) {
    const polyline_point& a = l.points[k];
    const polyline_point& b = l.points[k + 1];
    const double fall = a.value2 - b.value2;
    const double rise = b.value1 - a.value1;
    most = std::max(most, (fall * (a.value1 - f[0]) + rise * (a.value2 - f[1])) /
                              (fall * range1 + rise * range2));
  }
  return most;
}

TEST(EfficientPolyline, NoPlaceIsFurtherThanTheProvedDistance) {
  instance_source source(25);
  for (const layout l : {layout::scattered, layout::lattice, layout::line, layout::one_place,
                         layout::far_away, layout::uneven}) {
    for (int trial = 0; trial < 12; ++trial) {
      SCOPED_TRACE(testing::Message() << "layout " << static_cast<int>(l) << " trial " << trial);
      const bicriteria_problem p =
          mixed_problem(source, l, 1 + source.below(12),
                        kRelations[static_cast<std::size_t>(trial) % kRelations.size()]);
      if (!knows_sites(p)) continue;
      const double tolerance = trial % 2 == 0 ? 1e-2 : 1e-4;
      const efficient_polyline line = approximate_efficient_set(p, tolerance);
      EXPECT_EQ(line.status, polyline_status::within_tolerance) << line.distance;
      const polyline_verification v = verify(p, line);
      EXPECT_TRUE(v.accepted) << v.reason;
      EXPECT_LE(v.distance, tolerance);
      // Independently of the proof: the points themselves, optima of either criterion, any places.
      for (const polyline_point& q : line.points)
        EXPECT_NEAR(p.values(q.at)[0], q.value1, 1e-11 * q.value1);
      EXPECT_LE(beyond(line, p.values(minimise(p.criterion(0)).point)), tolerance * 1.001);
      EXPECT_LE(beyond(line, p.values(minimise(p.criterion(1)).point)), tolerance * 1.001);
      for (int k = 0; k < 50; ++k) {
        const bicriteria_site& s =
            p.sites()[static_cast<std::size_t>(source.below(static_cast<int>(p.sites().size())))];
        const bicriteria_site& t =
            p.sites()[static_cast<std::size_t>(source.below(static_cast<int>(p.sites().size())))];
        const double share = source.uniform(0, 1);
        const xy at{s.x + share * (t.x - s.x), s.y + share * (t.y - s.y)};
        EXPECT_LE(beyond(line, p.values(at)), tolerance * 1.001);
      }
    }
  }
}

// A regular polygon around a place off the origin, pressed together.
gauge pressed_polygon(int vertices, double thickness) {
  std::vector<xy> v;
  for (int k = 0; k < vertices; ++k) {
    const double angle = 0.3 + 2 * std::numbers::pi * k / vertices;
    v.push_back({std::cos(angle) - 0.2, thickness * (std::sin(angle) + 0.1)});
  }
  return gauge::polyhedral(v);
}

TEST(EfficientPolyline, ClaimsWhatIsProvedUnderThinBallsAndWhereACriterionIs0) {
  const std::vector<bicriteria_site> sites = {
      {0, 0, 1, 2}, {1, 6, 1, 1, 1}, {5, 5, 0, 3}, {4, 1, 2, 0}};
  for (const gauge& other : {gauge::linf(), gauge::euclidean(), gauge::lp(3)}) {
    for (const double thickness : {1e-3, 1e-6, 1e-8}) {
      const bicriteria_problem p(sites, {pressed_polygon(7, thickness), other});
      EXPECT_EQ(verify(p, approximate_efficient_set(p, 1e-3)).reason, "") << thickness;
    }
  }
  const bicriteria_problem at_site({{0, 2, 1.985902481093881, 0}, {0, 1, 2.7982351144850632, 2.8}},
                                   {gauge::linf()});
  EXPECT_EQ(verify(at_site, approximate_efficient_set(at_site, 3e-3)).reason, "");
}

// An end where a criterion is 0, or that is nearly as good as another place; ranges that are small
// once such places are left out.
TEST(EfficientPolyline, EndsThatRoundingsBlur) {
  const order_weights sum = order_weights::median();
  const order_weights worst = order_weights::centre();
  const gauge octagon = gauge::polyhedral({{1, 0.25},
                                           {0.5, 0.875},
                                           {-0.125, 1},
                                           {-0.875, 0.375},
                                           {-1, -0.375},
                                           {-0.625, -0.75},
                                           {0.375, -1},
                                           {0.875, -0.5}});
  const gauge other = gauge::polyhedral({{1, 0},
                                         {0.5, 0.875},
                                         {-0.125, 1},
                                         {-0.875, 0.625},
                                         {-1, 0},
                                         {-0.625, -0.75},
                                         {0.25, -1},
                                         {0.75, -0.75}});
  const struct {
    std::vector<bicriteria_site> sites;
    gauge distance;
    order_weights first, second;
  } cases[] = {
      {{{0, 4, 2, 0}, {0, 3, 3, 3}}, octagon, sum, sum},
      {{{3, 1, 0, 1}, {1, 2, 1, 1}, {4, 3, 1, 2}, {1, 3, 3, 1}, {0, 2, 1, 2}, {0, 2, 2, 1}},
       gauge::l1(),
       worst,
       order_weights::cent_dian(0.3)},
      {{{3, 0, 0, 1}, {3, 4, 2, 1}, {0, 4, 1, 0}, {0, 1, 2, 3}, {4, 3, 1, 2}}, other, sum, sum},
      {{{3, 2, 2, 3}, {3, 0, 2, 3}, {4, 4, 2, 3}}, gauge::lp(50), worst, sum}};
  for (const auto& c : cases) {
    const bicriteria_problem p(c.sites, {c.distance}, c.first, c.second);
    const efficient_polyline l = approximate_efficient_set(p, 1e-2);
    EXPECT_EQ(l.status, polyline_status::within_tolerance) << &c - cases;
    EXPECT_EQ(verify(p, l).reason, "") << &c - cases;
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

TEST(EfficientSet, VerifyOfManySitesAtOnePlaceComparesFewEdgesInFractions) {
  const bicriteria_problem p(std::vector<bicriteria_site>(20, {1, 2, 1, 3}),
                             {pressed_polygon(200, 1)});
  const efficient_chain c = efficient_set(p);
  EXPECT_EQ(c.pieces.size(), 1);
  EXPECT_EQ(verify(p, c).reason, "");
}

// Both ways on the same problems.
TEST(EfficientPolyline, CloseToTheExactChain) {
  instance_source source(26);
  for (int trial = 0; trial < 20; ++trial) {
    const layout l = trial % 2 == 0 ? layout::scattered : layout::lattice;
    const bicriteria_problem p = with_second_weights(source, source.sites(l, 30, 2),
                                                     source.gauges(l, 2, 6), relation::independent);
    const efficient_polyline line = approximate_efficient_set(p, 1e-3);
    const efficient_chain chain = efficient_set(p);
    for (const trade_off& t : chain.curve) EXPECT_LE(beyond(line, {t.value1, t.value2}), 1.001e-3);
    // The ends differ by little, and no point is below the curve.
    const double range = chain.curve.back().value1 - chain.curve.front().value1;
    EXPECT_LE(line.points.front().value1, chain.curve.front().value1 + 1.001e-3 * range + 1e-9);
    for (const polyline_point& q : line.points) {
      for (const trade_off& t : chain.curve) {
        for (const double s : {t.t_low, t.t_high}) {
          EXPECT_GE((1 - s) * (q.value1 - t.value1) + s * (q.value2 - t.value2), -1e-9);
        }
      }
    }
  }
}

TEST(EfficientPolyline, VerifyRefusesWhatWasSpoiled) {
  instance_source source(27);
  const bicriteria_problem p = mixed_problem(source, layout::scattered, 20, relation::apart);
  const efficient_polyline good = approximate_efficient_set(p, 1e-2);
  ASSERT_TRUE(verify(p, good).accepted);
  ASSERT_GT(good.points.size(), 4);
  const struct {
    const char* name;
    std::function<void(efficient_polyline&)> spoil;
  } cases[] = {
      {"no point", [](auto& l) { l.points.clear(); }},
      {"first point left out", [](auto& l) { l.points.erase(l.points.begin()); }},
      {"last point left out", [](auto& l) { l.points.pop_back(); }},
      {"points left out amid the line",
       [](auto& l) { l.points.erase(l.points.begin() + 1, l.points.end() - 1); }},
      {"order", [](auto& l) { std::swap(l.points[1], l.points[2]); }},
      {"a value", [](auto& l) { l.points[1].value2 *= 1 + 1e-12; }},
      {"a place", [](auto& l) { l.points[1].at.x += 0.5; }},
      {"a smaller distance", [](auto& l) { l.distance *= 0.99; }},
      {"a greater bound", [](auto& l) { l.bounds[1].bound *= 1.0001; }},
      {"a factor", [](auto& l) { l.bounds[1].factor1 *= 0.9; }},
      {"a negative factor", [](auto& l) { l.bounds[1].factor1 *= -1; }},
      {"a multiplier", [](auto& l) { l.bounds[1].shares[0].second *= 1.5; }},
      {"a negative multiplier", [](auto& l) { l.bounds[1].shares[0].second *= -1; }},
      {"a cut that is not there", [](auto& l) { l.bounds[1].shares[0].first = 9999; }},
      {"an edge of a cut",
       [](auto& l) {
         for (auto& c : l.cuts) {
           for (auto& e : c.first.edge) e = 7;
         }
       }},
      {"no bound", [](auto& l) { l.bounds.clear(); }},
      {"order of bounds", [](auto& l) { std::swap(l.bounds[0], l.bounds[1]); }},
  };
  for (const auto& c : cases) {
    efficient_polyline spoiled = good;
    c.spoil(spoiled);
    const polyline_verification v = verify(p, spoiled);
    EXPECT_FALSE(v.accepted) << c.name;
    EXPECT_FALSE(v.reason.empty()) << c.name;
  }
}

TEST(EfficientPolyline, LimitsAndBadInput) {
  instance_source source(28);
  const bicriteria_problem p = mixed_problem(source, layout::scattered, 50, relation::apart);
  for (const std::size_t most : {0, 1, 2, 5, 25}) {
    polyline_options few;
    few.evaluations = most;
    const efficient_polyline early = approximate_efficient_set(p, 1e-6, few);
    EXPECT_EQ(early.status, polyline_status::stopped);
    EXPECT_EQ(early.counters.evaluations, std::max<std::size_t>(most, 1));
    EXPECT_GT(early.distance, 1e-6);
    EXPECT_TRUE(verify(p, early).accepted) << verify(p, early).reason;
  }
  const std::vector<bicriteria_site> two{{0, 0, 1, 1}, {1, 0, 1, 1}};
  const struct {
    std::function<void()> call;
    const char* text;
  } cases[] = {
      {[&] { approximate_efficient_set(p, -1e-9); }, "tolerance is -1e-09: must be positive"},
      {[&] {
         approximate_efficient_set({{{0, 0, 0, 1}}, {gauge::l1()}}, 0.1);
       },
       "criterion 1 knows no site"},
      {[&] {
         bicriteria_problem(two, {gauge::l1()}, order_weights::median(), order_weights::range());
       },
       "order weight 0 of criterion 2 is -1: must be at least 0, since they rise from 0 or more"},
      {[&] { efficient_set(bicriteria_problem(two, {gauge::l1()}, order_weights::centre())); },
       "efficient set: an order weight of criterion 1 is 0: must be 1, the criteria plain sums"},
  };
  for (const auto& c : cases) EXPECT_EQ(message_of(c.call), c.text);
}

}  // namespace
}  // namespace planloc
