#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <utility>
#include <vector>

#include "arrangement.h"
#include "instances.h"
#include "planloc/optimum/lp_norm.h"
#include "planloc/optimum/minimise.h"
#include "planloc/optimum/verify.h"
#include "proved.h"

namespace planloc {
namespace {

const std::vector<site> kCapitals = {
    {-6.28333333333333, 36.5333333333333}, {-4.77888888888889, 37.8847222222222},
    {-3.5975, 37.1758333333333},           {-6.96305555555556, 37.2638888888889},
    {-3.76666666666667, 37.7666666666667}, {-4.42, 36.7194444444444},
    {-5.99638888888889, 37.3830555555556}, {-2.4675, 36.84}};

TEST(Convex, TheWholeSetOfOptima) {
  // Four sites under l1: all of the square between the middle ones.
  const problem square({{0, 0}, {1, 1}, {3, 2}, {4, 5}}, {gauge::l1()}, order_weights::median());
  EXPECT_EQ(minimise(square).optima.corners, (std::vector<xy>{{1, 2}, {1, 1}, {3, 1}, {3, 2}}));
  const solution good = minimise(square);
  EXPECT_TRUE(verify(square, good).optima_proved);
  const problem segment({{.x = 0, .gauge = 0}, {.x = 3, .gauge = 0}}, {gauge::l1()},
                        order_weights::median());
  const solution between = minimise(segment);
  EXPECT_EQ(between.optima.corners.size(), 2);
  EXPECT_TRUE(verify(segment, between).optima_proved);
  // One function alone is the bound, and the corners are fractions.
  const problem slanted({{1, -1}, {1, -1}, {3, 1}, {.x = 2, .y = 0, .gauge = 1}},
                        {gauge::linf(), gauge::l1()}, order_weights::k_centrum(2));
  const solution thirds = minimise(slanted);
  EXPECT_EQ(thirds.optima.corners.size(), 2);
  EXPECT_TRUE(verify(slanted, thirds).optima_proved);
  for (const auto& [p, s] :
       {std::pair{&square, &good}, {&segment, &between}, {&slanted, &thirds}}) {
    for (std::size_t k = 0; k < s->optima.corners.size(); ++k) {
      solution spoiled = *s;
      spoiled.optima.corners[k].x = std::nextafter(spoiled.optima.corners[k].x, 9);
      EXPECT_FALSE(verify(*p, spoiled).optima_proved);
      spoiled.optima.corners.erase(spoiled.optima.corners.begin() + static_cast<std::ptrdiff_t>(k));
      EXPECT_FALSE(verify(*p, spoiled).optima_proved);
      EXPECT_TRUE(verify(*p, spoiled).accepted);
    }
  }
  solution twice = good;
  const std::vector<xy>& around = good.optima.corners;
  twice.optima.corners.insert(twice.optima.corners.end(), around.begin(), around.end());
  EXPECT_FALSE(verify(square, twice).optima_proved);
  // With order weights of 0 every place is an optimum.
  const problem nothing({{0, 0}, {1, 1}}, {gauge::l1()}, order_weights({0, 0}));
  EXPECT_TRUE(minimise(nothing).optima.whole_plane);
  EXPECT_TRUE(verify(nothing, minimise(nothing)).optima_proved);
}

TEST(Convex, LimitsAreKept) {
  instance_source source(7);
  const problem p(source.sites(layout::scattered, 500, 3), source.gauges(layout::scattered, 3, 8),
                  order_weights::k_centrum(100));
  minimise_options options;
  options.relative_gap = 1e-3;
  std::size_t calls = 0;
  double last = 0;
  options.progress = [&](const search_progress& now) {
    ++calls;
    EXPECT_LE(now.lower_bound, now.value * (1 + 1e-12));
    last = now.value;
  };
  const solution near = minimise(p, options);
  EXPECT_EQ(near.status, solution_status::within_gap);
  EXPECT_LE(near.gap(), 1e-3 * near.value);
  EXPECT_GT(calls, 1);
  EXPECT_EQ(last, near.value);
  EXPECT_TRUE(verify(p, near).accepted) << verify(p, near).reason;
  minimise_options none;
  none.seconds = 0;
  EXPECT_EQ(minimise(p, none).status, solution_status::stopped);
  const solution early = minimise(p, stopped_at_once());
  EXPECT_EQ(early.status, solution_status::stopped);
  EXPECT_GE(early.value, minimise(p).value);
}

// Lopsided balls, and sites with so many digits that places count from the origin: where a side of
// the square that is searched first holds the search back, the bound says nothing of the plane.
TEST(Convex, GapsThatAreAskedForHoldInThePlane) {
  instance_source source(8);
  for (int trial = 0; trial < 150; ++trial) {
    SCOPED_TRACE(trial);
    const double wide = 1 + source.below(9);
    const std::vector<gauge> gauges = {gauge::polyhedral({{20 * wide, 0}, {-1, wide}, {-1, -wide}}),
                                       gauge::euclidean(), gauge::lp(1.7)};
    const int n = 1 + source.below(9);
    std::vector<site> sites = source.sites(layout::scattered, n, 1 + trial % 3);
    for (site& s : sites) s = {5 + s.x / 30, s.y / 30, s.weight, s.gauge};
    const problem p(sites, gauges,
                    trial % 2 == 0 ? order_weights::median() : order_weights::centre());
    const double least = minimise(p).value;
    for (const double gap : {0.5, 0.05, 1e-3}) {
      minimise_options options;
      options.relative_gap = gap;
      const solution s = minimise(p, options);
      EXPECT_LE(s.lower_bound, least * (1 + 1e-11));
      EXPECT_LE(s.gap(), gap * s.value);
      EXPECT_EQ(verify(p, s).reason, "");
    }
  }
}

// Weights and coordinates over so many orders of magnitude that doubles neither know how far the
// optimum may be nor tell its pieces apart, and a ball as thin.
TEST(Convex, ManyOrdersOfMagnitude) {
  const auto ball = [](double thin) {
    return gauge::polyhedral({{1, -thin}, {1, thin}, {-1, thin}, {-1, -thin}});
  };
  const problem problems[] = {
      {{{-0.032789127562335096, -237134869.04145089, 1.330801872472423e-28},
        {6.4109974575999737e-08, -3.0056542655920677e-08, 0.00036170505055613982}},
       {ball(1e-4)},
       order_weights({0.312155, 0.687845})},
      {{{-16.5838903685368, -3233.3978125495487, 1.181140252696745e-13},
        {-24.460035327671971, 1.3229063693966572e-07, 1.0000000000000919},
        {56712.403326916385, -2.2346793451479737e-10, 1.4789310051986975e+28}},
       {ball(3e-7)},
       order_weights({0.0328264, 0.879347, 1.13478})},
      // The value of the best place in doubles, 4e-307, is all roundings.
      {{{-2238849.0503436388, 1.8477655894381706e-09}},
       {ball(1.1449457578735169e-08)},
       order_weights::median()}};
  for (const problem& p : problems) {
    minimise_options options;
    options.seconds = 20;
    expect_solved(p, {}, options);
  }
  instance_source source(4);
  for (int trial = 0; trial < 100; ++trial) {
    SCOPED_TRACE(trial);
    const auto coordinate = [&] {
      return source.uniform(-1, 1) * std::pow(10, source.uniform(-9, 9));
    };
    std::vector<site> sites;
    for (int i = 0; i <= trial % 8; ++i)
      sites.push_back({coordinate(), coordinate(), 1, static_cast<std::uint32_t>(source.below(2))});
    const problem p(sites, {gauge::euclidean(), ball(std::pow(10, source.uniform(-8, -1)))},
                    source.convex_order(static_cast<int>(sites.size())));
    const verification v = verify(p, minimise(p));
    EXPECT_TRUE(v.accepted) << v.reason;
  }
}

// Under a thin ball a distance is a small difference of large terms, which smooth distances beside
// it do not show.
TEST(Convex, ThinBallsBesideSmoothGauges) {
  instance_source source(17);
  for (int trial = 0; trial < 1000; ++trial) {
    SCOPED_TRACE(trial);
    const double thin = std::pow(10, source.uniform(-8, 0));
    const double turn = source.uniform(0, 6);
    const auto turned = [&](double x, double y) {
      return xy{x * std::cos(turn) - y * std::sin(turn), x * std::sin(turn) + y * std::cos(turn)};
    };
    std::vector<site> sites;
    for (int i = 0; i < 2 + trial % 7; ++i) {
      sites.push_back({source.uniform(0, 4), source.uniform(0, 4),
                       std::pow(10, source.uniform(-1, 1)), static_cast<std::uint32_t>(i % 2)});
    }
    const problem p(sites,
                    {gauge::polyhedral({turned(1, 0), turned(-1, thin), turned(-1, -thin)}),
                     gauge::euclidean()},
                    trial % 2 == 0 ? order_weights::median() : order_weights::centre());
    EXPECT_EQ(verify(p, minimise(p)).reason, "");
  }
}

// Under slanted triangles, too, terms of one distance cancel, if by less.
TEST(Convex, ValuesToTheLastBits) {
  instance_source source(5);
  for (int trial = 0; trial < 1000; ++trial) {
    SCOPED_TRACE(trial);
    const double thin = std::pow(2, -source.uniform(0, 5));
    const double turn = source.uniform(0, 6);
    const auto turned = [&](double x, double y) {
      return xy{x * std::cos(turn) - y * std::sin(turn), x * std::sin(turn) + y * std::cos(turn)};
    };
    std::vector<site> sites;
    for (int i = 0; i < 3 + trial % 4; ++i) {
      sites.push_back(
          {source.uniform(0, 4), source.uniform(0, 4), std::pow(10, source.uniform(-1, 1))});
    }
    const problem p(sites, {gauge::polyhedral({turned(1, 0), turned(-1, thin), turned(-1, -thin)})},
                    trial % 2 == 0 ? order_weights::median() : order_weights::centre());
    const solution s = minimise(p);
    const mpq_class value = exact_value(p, s);
    EXPECT_LE(abs(mpq_class(s.value) - value), 0x1p-50 * value);
  }
}

TEST(Convex, ManySites) {
  instance_source source(2);
  for (const layout l : {layout::scattered, layout::lattice, layout::far_away}) {
    for (int trial = 0; trial < 8; ++trial) {
      const int n = 200;
      const auto gauges = source.gauges(l, 5, 8);
      const problem p(source.sites(l, n, 5), gauges, source.convex_order(n));
      expect_solved(p);
    }
  }
  // The centre, of which only the far sites are solved; under smooth gauges they may be polyhedral.
  for (const layout l :
       {layout::scattered, layout::lattice, layout::line, layout::far_away, layout::uneven}) {
    const auto gauges = source.gauges(l, 2, 6);
    for (const std::vector<gauge>& used :
         {gauges, {gauge::euclidean(), gauges[0], gauges[1]}, {gauge::lp(1.5)}}) {
      const problem p(source.sites(l, 600, static_cast<int>(used.size())), used,
                      order_weights::centre());
      const solution s = expect_solved(p, {.relative = p.polyhedral() ? 0 : 1e-10});
      EXPECT_FALSE(p.polyhedral() && s.optima.corners.empty());
    }
  }
  // Enough for those that are linear near the optimum to be summed up.
  for (const layout l : {layout::scattered, layout::lattice}) {
    const problem p(source.sites(l, 5000, 2), source.gauges(l, 2, 8), order_weights::median());
    const solution s = expect_solved(p);
    if (l == layout::scattered) {
      EXPECT_LT(s.counters.evaluations, 30);
    }
  }
}

// Thousands of sites share each place, and their lines: those that differ must be found.
TEST(Convex, ManySitesAtFewPlaces) {
  const gauge hexagon =
      gauge::polyhedral({{1, 0}, {0.5, 1}, {-0.5, 1}, {-1, 0}, {-0.5, -1}, {0.5, -1}});
  for (const int width : {1, 4, 10, 16}) {
    SCOPED_TRACE(width);
    instance_source source(static_cast<unsigned>(width));
    std::vector<site> sites;
    for (int i = 0; i < 20000; ++i) {
      const auto row = static_cast<double>(source.below(width == 16 ? 1 : width));
      sites.push_back({100.0 * source.below(width) + 7 * row, 100 * row});
    }
    for (const std::size_t k : {2000U, 18000U}) {
      const solution s = expect_solved({sites, {hexagon}, order_weights::k_centrum(k)});
      EXPECT_LT(s.counters.evaluations, 30);
    }
  }
}

// Gauges without exact optimum: solved to 1e-11, and proved so by intervals.
TEST(Convex, SmoothGaugesProvedByIntervals) {
  instance_source source(3);
  const std::vector<std::vector<gauge>> families = {
      {gauge::euclidean()},
      {gauge::lp(1.5)},
      {gauge::lp(3.3)},
      {gauge::lp(1.0001), gauge::lp(300)},
      {gauge::lp(2.6), gauge::euclidean()},
      {gauge::euclidean(), gauge::lp(1.2), gauge::lp(7), gauge::l1(), source.ball(7)}};
  for (const layout l : {layout::scattered, layout::lattice, layout::line, layout::one_place,
                         layout::far_away, layout::uneven}) {
    for (int trial = 0; trial < 200; ++trial) {
      SCOPED_TRACE(testing::Message() << "layout " << static_cast<int>(l) << " trial " << trial);
      const auto& gauges = families[static_cast<std::size_t>(trial) % families.size()];
      const int n = 1 + source.below(trial % 10 == 0 ? 200 : 12);
      const problem p(source.sites(l, n, static_cast<int>(gauges.size())), gauges,
                      trial % 3 == 0 ? order_weights::median() : source.convex_order(n));
      expect_solved(p, {.relative = 1e-10});
    }
  }
}

// Where p is small, second derivatives next to the sites' axes say little of a step.
TEST(Convex, FewEvaluationsOfLpSums) {
  instance_source source(21);
  for (const double power : {1.2, 1.3, 1.5, 3.0}) {
    int many = 0;
    for (int trial = 0; trial < 20; ++trial) {
      const problem p(source.sites(layout::scattered, 300, 1), {gauge::lp(power)},
                      order_weights::median());
      many += expect_solved(p, {.relative = 1e-10}).counters.evaluations > 20 ? 1 : 0;
    }
    EXPECT_LE(many, 1) << power;  // the optimum may lie closer to an axis than doubles tell
  }
}

// Each ball lies between that of the limit of p and one of 2^(1/p), or 2^(1-1/p), times its size;
// problems under the limit are solved in fractions.
TEST(Convex, PowersNearTheirLimits) {
  instance_source source(12);
  for (const double power : {1 + 1e-12, 1 + 1e-6, 1 + 1e-3, 1e4, 1e6, 1e9, 1e14, 1e20, 1e300}) {
    const bool large = power > 2;
    const double width = std::pow(2, large ? 1 / power : 1 - 1 / power) * (1 + 1e-10);
    for (const layout l : {layout::scattered, layout::lattice, layout::line, layout::one_place,
                           layout::far_away, layout::uneven}) {
      for (int trial = 0; trial < 10; ++trial) {
        SCOPED_TRACE(testing::Message() << power << ", " << static_cast<int>(l) << ' ' << trial);
        const int n = 1 + source.below(trial == 0 ? 200 : 12);
        const auto sites = source.sites(l, n, 1);
        const order_weights lambda = source.convex_order(n);
        const problem p(sites, {gauge::lp(power)}, lambda);
        const solution s = expect_solved(p, {.relative = 1e-10});
        const problem limit(sites, {large ? gauge::linf() : gauge::l1()}, lambda);
        const double value = minimise(limit).value;
        EXPECT_GE(s.value * (large ? 1 + 1e-10 : width), value);
        EXPECT_LE(s.value, value * (large ? width : 1 + 1e-10));
      }
    }
  }
}

// The kernel of the searches against the library's powers in long doubles.
TEST(Convex, NormsAndTheirDerivatives) {
  instance_source source(9);
  for (const double p : {1.003, 1.25, 1.5, 1.7, 2.5, 3.0, 4.0, 9.0, 9.6, 40.0, 700.0}) {
    const detail::lp_norm norm(p);
    for (int trial = 0; trial < 400; ++trial) {
      const double tilt = std::ldexp(source.below(1000) / 1000.0, -source.below(60));
      const double x = trial % 7 == 0 ? 0 : trial % 2 == 0 ? -tilt : 3 * tilt;
      const double y = trial % 3 == 0 ? 1 : -tilt * 2.5;
      double n, gx, gy, xx, xy, yy;
      norm.expand({&x, &y, 1}, &n, {&gx, &gy}, {&xx, &xy, &yy});
      if (x == 0 && y == 0) {
        EXPECT_EQ(n, 0);
        continue;
      }
      const long double large = std::max(std::fabs(x), std::fabs(y));
      const long double a = std::fabs(x) / large, b = std::fabs(y) / large, q = p;
      const long double s = std::pow(a, q) + std::pow(b, q), root = std::pow(s, 1 / q);
      const long double bend = (q - 1) * root / (s * s) / large;
      const auto near = [&](double is, long double should, double error) {
        return is == should || std::fabs(is - should) <= error;
      };
      const double rounding = (10 + p) * 0x1p-52;
      EXPECT_TRUE(near(n, large * root, rounding * n)) << p << ' ' << x << ' ' << y;
      EXPECT_TRUE(near(gx, std::copysign(root / s * std::pow(a, q - 1), x), rounding));
      EXPECT_TRUE(near(gy, std::copysign(root / s * std::pow(b, q - 1), y), rounding));
      // These only steer; powers below 2^-1000 count as 0.
      EXPECT_TRUE(near(xx, bend * std::pow(a, q - 2) * std::pow(b, q), 1e-12 * xx + 1e-200));
      EXPECT_TRUE(near(yy, bend * std::pow(b, q - 2) * std::pow(a, q), 1e-12 * yy + 1e-200));
      EXPECT_TRUE(near(xy, -bend * std::copysign(std::pow(a * b, q - 1), x * y), 1e-12 * p / n));
    }
  }
}

// Break lines by the ten millions: values in doubles do not tell neighbouring crossings apart, and
// sums in fractions would take minutes.
TEST(Convex, ManyVertices) {
  const struct {
    unsigned seed;
    int vertices;
    order_weights lambda;
  } cases[] = {{1, 1000, order_weights::median()}, {3, 2000, order_weights::cent_dian(0.5)}};
  for (const auto& c : cases) {
    instance_source source(c.seed);
    std::vector<gauge> gauges;
    for (int g = 0; g < 200; ++g) gauges.push_back(source.ball(c.vertices));
    auto sites = source.sites(layout::scattered, 20000, 200);
    for (site& s : sites) s.weight = source.uniform(0.5, 3);
    const problem p(sites, gauges, c.lambda);
    minimise_options options;
    options.seconds = 60;
    const solution s = expect_solved(p, {}, options);
    EXPECT_TRUE(verify(p, s).optima_proved);
    const std::function<void(solution&)> spoils[] = {
        [](solution& t) { t.value *= 1 + 1e-12; }, [](solution& t) { t.lower_bound *= 1 + 1e-12; },
        [](solution& t) {
          for (auto& e : std::get<convex_certificate>(t.proof).pieces[0].edge) e ^= 1;
        },
        [](solution& t) { std::get<convex_certificate>(t.proof).pieces[0].multiplier += 1e-4; }};
    for (const auto& spoil : spoils) {
      solution spoiled = s;
      spoil(spoiled);
      EXPECT_FALSE(verify(p, spoiled).accepted);
    }
  }
}

TEST(Convex, PublishedPlaces) {
  const gauge e = gauge::euclidean();
  const auto solve = [](const std::vector<site>& sites, const gauge& g, const order_weights& o) {
    return expect_solved({sites, {g}, o}, {.relative = 1e-10});
  };
  // The eight provincial capitals of Andalusia.
  const solution weber = solve(kCapitals, e, order_weights::median());
  EXPECT_NEAR(weber.point.x, -4.610503979, 1e-9);
  EXPECT_NEAR(weber.point.y, 37.248600397, 1e-9);
  EXPECT_NEAR(weber.value, 10.972160925, 1e-9);
  const solution square = solve({{0, 0}, {1, 0}, {0, 1}, {1, 1}}, e, order_weights::centre());
  EXPECT_NEAR(square.point.x, 0.5, 1e-9);
  EXPECT_NEAR(square.value, std::sqrt(0.5), 1e-12);
  // Fermat: three sites at 120 degrees around the point; and an angle above 120 degrees, where it
  // is the site of the angle.
  const double h = std::sqrt(3) / 2;
  const solution fermat = solve({{1, 0}, {-0.5, h}, {-0.5, -h}}, e, order_weights::median());
  EXPECT_NEAR(fermat.value, 3, 1e-12);
  EXPECT_NEAR(fermat.point.x, 0, 1e-6);
  const solution flat = solve({{0, 0}, {10, 1}, {-10, 1}}, e, order_weights::median());
  EXPECT_EQ(flat.point, (xy{0, 0}));
}

// Every smallest circle passes through two or three sites.
TEST(Convex, SmallestCircleByBruteForceAndManySitesUnderEuclid) {
  instance_source source(4);
  for (int trial = 0; trial < 30; ++trial) {
    const int n = 2 + source.below(12);
    auto sites = source.sites(trial % 2 == 0 ? layout::scattered : layout::lattice, n, 1);
    for (site& s : sites) s.weight = 1;
    const problem p(sites, {gauge::euclidean()}, order_weights::centre());
    double least = std::numeric_limits<double>::infinity();
    for (const site& a : sites) {
      for (const site& b : sites) {
        least = std::min(least, p.value({(a.x + b.x) / 2, (a.y + b.y) / 2}));
        for (const site& c : sites) {
          const xy u{b.x - a.x, b.y - a.y};
          const xy v{c.x - a.x, c.y - a.y};
          const double area = 2 * (u.x * v.y - u.y * v.x);
          if (std::fabs(area) < 1e-9) continue;
          const double uu = u.x * u.x + u.y * u.y;
          const double vv = v.x * v.x + v.y * v.y;
          least = std::min(least, p.value({a.x + (v.y * uu - u.y * vv) / area,
                                           a.y + (u.x * vv - v.x * uu) / area}));
        }
      }
    }
    EXPECT_NEAR(minimise(p).value, least, 1e-11 * (1 + least));
  }
  // So many that most of them are passed once: on a circle and in a square, equal weights and not.
  for (int trial = 0; trial < 8; ++trial) {
    auto sites = source.sites(trial % 2 == 0 ? layout::scattered : layout::far_away, 5000, 1);
    for (std::size_t i = 0; i < sites.size(); ++i) {
      site& s = sites[i];
      s.weight = trial < 4 ? 3 : 1 + static_cast<double>(i % 7);
      if (trial % 4 < 2) continue;
      const double angle = 0.1 * static_cast<double>(i);
      s.x = 2 * std::cos(angle);
      s.y = 2 * std::sin(angle);
    }
    for (const order_weights& lambda : {order_weights::centre(), order_weights::median()}) {
      const problem p(sites, {gauge::euclidean()}, lambda);
      EXPECT_LT(expect_solved(p, {.relative = 1e-11}).counters.evaluations, 10);
    }
  }
}

TEST(Verify, RefusesWhatWasSpoiled) {
  instance_source source(5);
  const auto convex = [](solution& s) -> convex_certificate& {
    return std::get<convex_certificate>(s.proof);
  };
  const struct {
    const char* name;
    std::function<void(solution&)> spoil;
    bool also_smooth;
  } cases[] = {
      {"multiplier", [&](solution& s) { convex(s).pieces[0].multiplier += 0.01; }, true},
      {"edge", [&](solution& s) { convex(s).pieces[1].edge[3] ^= 1; }, false},
      {"order",
       [&](solution& s) {
         auto& rank = convex(s).pieces[2].rank;
         std::swap(*std::min_element(rank.begin(), rank.end()),
                   *std::max_element(rank.begin(), rank.end()));
       },
       true},
      {"rank twice",
       [&](solution& s) { convex(s).pieces[0].rank[0] = convex(s).pieces[0].rank[1]; }, true},
      {"rank missing", [&](solution& s) { convex(s).pieces[0].rank.pop_back(); }, true},
      {"piece left out", [&](solution& s) { convex(s).pieces.pop_back(); }, true},
      {"no such edge", [&](solution& s) { convex(s).pieces[0].edge[0] = 99; }, false},
      {"bound", [&](solution& s) { s.lower_bound *= 1 + 1e-9; }, true},
      {"value", [&](solution& s) { s.value *= 1 - 1e-9; }, true},
      {"point", [&](solution& s) { s.point.x += 0.5; }, true},
      {"exact point", [&](solution& s) { s.exact.x = "1/3"; }, true},
      {"no fraction", [&](solution& s) { s.exact.y = "1/0"; }, true},
      {"certificate", [&](solution& s) { s.proof = {}; }, true}};
  for (const bool smooth : {false, true}) {
    for (int trial = 0; trial < 10; ++trial) {
      const std::vector<gauge> gauges =
          smooth ? std::vector<gauge>{gauge::euclidean()} : source.gauges(layout::scattered, 2, 6);
      const problem p(source.sites(layout::scattered, 9, static_cast<int>(gauges.size())), gauges,
                      order_weights({1, 1, 2, 2, 3, 4, 5, 6, 7}));
      const solution good = minimise(p);
      ASSERT_TRUE(verify(p, good).accepted);
      if (convex(const_cast<solution&>(good)).pieces.size() < 3 || good.exact.empty()) continue;
      for (const auto& c : cases) {
        if (smooth && !c.also_smooth) continue;
        solution spoiled = good;
        c.spoil(spoiled);
        EXPECT_FALSE(verify(p, spoiled).accepted) << c.name << (smooth ? ", smooth" : "");
        EXPECT_FALSE(verify(p, spoiled).reason.empty());
      }
    }
  }
}

}  // namespace
}  // namespace planloc
