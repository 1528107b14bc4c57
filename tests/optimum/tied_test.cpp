#include <gtest/gtest.h>

#include <ClpSimplex.hpp>
#include <CoinPackedMatrix.hpp>
#include <CoinPackedVector.hpp>
#include <algorithm>
#include <cmath>

#include "instances.h"
#include "message_of.h"
#include "planloc/optimum/minimise.h"
#include "planloc/optimum/tied_facilities.h"

namespace planloc {
namespace {

// A linear program in CLP, column after column: two for the place of each facility, one for each
// term of f.
class tied_program {
 public:
  explicit tied_program(const tied_problem& p) : matrix_(false, 0, 0), facilities_(p.facilities()) {
    lp_.setLogLevel(0);
    int column = 2 * static_cast<int>(p.facilities());
    for (std::size_t j = 0; j < p.facilities(); ++j) {
      for (std::size_t i = 0; i < p.sites().size(); ++i) {
        const tied_site& s = p.sites()[i];
        add_term(p.gauges()[s.gauge], p.weight(j, i), column++, j, p.facilities(), {s.x, s.y});
      }
    }
    for (const tie& b : p.ties())
      add_term(p.gauges()[b.gauge], b.weight, column++, b.first, b.second, {0, 0});
    cost_.insert(cost_.begin(), 2 * p.facilities(), 0);
    const std::vector<double> low(cost_.size(), -COIN_DBL_MAX);
    matrix_.setDimensions(-1, column);
    lp_.loadProblem(matrix_, low.data(), nullptr, cost_.data(), right_.data(), nullptr);
  }

  double least() {
    lp_.dual();
    EXPECT_EQ(lp_.status(), 0);
    return lp_.objectiveValue();
  }

 private:
  // column >= normal . (x_first - x_second - origin) for each edge.
  void add_term(const gauge& g, double weight, int column, std::size_t first, std::size_t second,
                const xy& origin) {
    cost_.push_back(weight);
    const auto v = g.vertices();
    for (std::size_t e = 0; e < v.size(); ++e) {
      const xy a = v[e];
      const xy b = v[(e + 1) % v.size()];
      const double area = a.x * b.y - a.y * b.x;
      const xy n{(b.y - a.y) / area, (a.x - b.x) / area};
      CoinPackedVector row;
      row.insert(column, 1);
      row.insert(2 * static_cast<int>(first), -n.x);
      row.insert(2 * static_cast<int>(first) + 1, -n.y);
      if (second < facilities_) {
        row.insert(2 * static_cast<int>(second), n.x);
        row.insert(2 * static_cast<int>(second) + 1, n.y);
      }
      matrix_.appendRow(row);
      right_.push_back(-(n.x * origin.x + n.y * origin.y));
    }
  }

  ClpSimplex lp_;
  CoinPackedMatrix matrix_;
  std::size_t facilities_ = 0;
  std::vector<double> cost_, right_;
};

// With a spread: weights over twice as many orders of magnitude.
tied_problem random_problem(instance_source& source, layout l, int facilities, int n,
                            const std::vector<gauge>& gauges, double spread = 0) {
  const auto spread_out = [&] { return std::pow(10, source.uniform(-spread, spread)); };
  std::vector<tied_site> sites;
  for (const site& s : source.sites(l, n, static_cast<int>(gauges.size())))
    sites.push_back({s.x, s.y, s.gauge});
  std::vector<double> weights;
  for (int k = 0; k < facilities * n; ++k)
    weights.push_back(source.below(3) == 0     ? 0
                      : spread > 0             ? spread_out()
                      : l == layout::scattered ? source.uniform(0.1, 4)
                      : l == layout::uneven    ? std::pow(10, source.uniform(-3, 3))
                                               : 1 + source.below(3));
  std::vector<tie> ties;
  for (std::uint32_t j = 0; j < static_cast<std::uint32_t>(facilities); ++j) {
    for (std::uint32_t k = 0; k < j; ++k) {
      if (source.below(4) == 0) continue;
      const double weight = spread > 0               ? spread_out()
                            : l == layout::scattered ? source.uniform(0, 3)
                                                     : source.below(4);
      ties.push_back({k, j, weight,
                      static_cast<std::uint32_t>(source.below(static_cast<int>(gauges.size())))});
    }
  }
  return {static_cast<std::size_t>(facilities), sites, gauges, weights, ties};
}

void expect_proved(const tied_problem& p, const tied_solution& s) {
  EXPECT_EQ(s.status, solution_status::optimal);
  const verification v = verify(p, s);
  EXPECT_TRUE(v.accepted) << v.reason;
  EXPECT_EQ(v.gap, 0);
}

TEST(Tied, SeparableAgainstLinearPrograms) {
  instance_source source(1);
  const std::vector<std::vector<gauge>> kinds = {
      {gauge::l1()},
      {gauge::linf()},
      {gauge::l1(), gauge::polyhedral({{2, 0}, {0, 0.5}, {-1, 0}, {0, -4}})},
      {gauge::linf(), gauge::polyhedral({{2, 2}, {-1, 1}, {-4, -4}, {0.5, -0.5}})}};
  for (const layout l : {layout::scattered, layout::lattice, layout::line, layout::one_place}) {
    for (int trial = 0; trial < 100; ++trial) {
      SCOPED_TRACE(testing::Message() << "layout " << static_cast<int>(l) << " trial " << trial);
      const tied_problem p =
          random_problem(source, l, 1 + source.below(6), 1 + source.below(8), kinds[trial % 4]);
      const tied_solution s = minimise(p);
      expect_proved(p, s);
      EXPECT_NEAR(s.value, tied_program(p).least(), 1e-6 * (1 + s.value));
    }
  }
}

TEST(Tied, PolyhedralAgainstLinearPrograms) {
  instance_source source(2);
  for (const layout l : {layout::scattered, layout::lattice, layout::line, layout::one_place}) {
    for (int trial = 0; trial < 100; ++trial) {
      SCOPED_TRACE(testing::Message() << "layout " << static_cast<int>(l) << " trial " << trial);
      auto gauges = source.gauges(l, 2, 3 + source.below(6));
      gauges.push_back(source.below(2) == 0 ? source.ball(5) : gauge::l1());
      const tied_problem p =
          random_problem(source, l, 1 + source.below(6), 1 + source.below(8), gauges);
      const tied_solution s = minimise(p);
      expect_proved(p, s);
      EXPECT_NEAR(s.value, tied_program(p).least(), 1e-6 * (1 + s.value));
    }
  }
}

// So many sites that samples of them come first.
TEST(Tied, ManySites) {
  instance_source source(3);
  for (const layout l : {layout::scattered, layout::lattice, layout::uneven}) {
    const std::vector<gauge> gauges = source.gauges(l, 2, 6);
    for (const double spread : {0.0, 1.0, 6.0}) {
      const tied_problem p = random_problem(source, l, 8, spread > 0 ? 300 : 1100, gauges, spread);
      expect_proved(p, minimise(p));
    }
  }
}

TEST(Tied, FiftyFacilities) {
  instance_source source(4);
  for (const std::vector<gauge>& gauges : {std::vector{gauge::l1()},
                                           {gauge::linf()},
                                           {source.ball(7), gauge::l1()},
                                           {gauge::euclidean()},
                                           {gauge::euclidean(), gauge::lp(3), gauge::linf()}}) {
    const tied_problem p = random_problem(source, layout::scattered, 50, 30, gauges);
    const tied_solution s = minimise(p);
    const verification v = verify(p, s);
    EXPECT_EQ(s.status, solution_status::optimal);
    EXPECT_EQ(v.reason, "");
    EXPECT_LE(v.gap, p.polyhedral() ? 0 : 1e-9 * v.value);
  }
}

TEST(Tied, SmoothAndMixedDistances) {
  instance_source source(5);
  int not_optimal = 0;
  const std::vector<std::vector<gauge>> kinds = {{gauge::euclidean()},
                                                 {gauge::lp(1.5), gauge::lp(3)},
                                                 {gauge::euclidean(), gauge::lp(2.5), gauge::l1(),
                                                  gauge::polyhedral({{2, 0}, {0, 1}, {-1, -1}})}};
  for (const layout l : {layout::scattered, layout::lattice, layout::line, layout::one_place,
                         layout::far_away, layout::uneven}) {
    for (int trial = 0; trial < 60; ++trial) {
      SCOPED_TRACE(testing::Message() << "layout " << static_cast<int>(l) << " trial " << trial);
      const tied_problem p =
          random_problem(source, l, 1 + source.below(8), 1 + source.below(12), kinds[trial % 3]);
      const tied_solution s = minimise(p);
      const verification v = verify(p, s);
      EXPECT_TRUE(v.accepted) << v.reason;
      EXPECT_LE(v.gap, (s.status == solution_status::optimal ? 1e-9 : 1e-8) * v.value);
      not_optimal += s.status == solution_status::optimal ? 0 : 1;
    }
  }
  EXPECT_LE(not_optimal, 3);
}

// Balls that are nearly squares: facilities come together where Newton's method sees no curvature.
TEST(Tied, LargePowers) {
  const std::vector<tied_site> lattice = {{0, 3}, {3, 0}, {4, 4}, {4, 3}, {4, 3}};
  const tied_problem far_off[] = {
      {3,
       lattice,
       {gauge::lp(50)},
       {1, 1, 3, 2, 3, 0, 2, 3, 0, 3, 1, 1, 1, 3, 1},
       {{0, 1, 1}, {0, 2, 3}}},
      {3,
       {{2.7750866154222074, 0.82484842330848041}, {2.4352771673230933, 2.9579438009535162}},
       {gauge::lp(50)},
       {0, 1.6487542557783259, 0, 0.70865382093306373, 2.574212741380792, 0},
       {{0, 2, 1.78438391285739}, {1, 2, 1.193927234614925}}}};
  for (const tied_problem& p : far_off) {
    const tied_solution s = minimise(p);
    EXPECT_EQ(s.status, solution_status::optimal);
    EXPECT_EQ(verify(p, s).reason, "");
  }
  int not_optimal = 0;
  for (const double power : {100.0, 1e3, 1e5, 1e300}) {
    instance_source source(12);
    for (int trial = 0; trial < 100; ++trial) {
      const tied_problem p =
          random_problem(source, trial % 2 == 0 ? layout::lattice : layout::uneven,
                         1 + source.below(4), 1 + source.below(6), {gauge::lp(power)});
      const tied_solution s = minimise(p);
      EXPECT_EQ(verify(p, s).reason, "") << power << ' ' << trial;
      EXPECT_LE(s.gap(), 1e-3 * s.value) << power << ' ' << trial;
      not_optimal += power != 1e5 && s.status != solution_status::optimal;
    }
  }
  EXPECT_LE(not_optimal, 1);
}

TEST(Tied, FacilitiesThatTiesAloneHold) {
  // Facility 1 lies between 0 and 2; 3 and 4 have nothing to do with any site.
  for (const gauge& g : {gauge::l1(), gauge::polyhedral({{2, 0}, {0, 1}, {-1, -1}}),
                         gauge::euclidean(), gauge::lp(3)}) {
    const tied_problem p(
        5, {{.x = 7, .y = 1}, {.x = 3, .y = 5}}, {g}, {9, 0, 0, 0, 0, 9, 0, 0, 0, 0},
        {{.first = 0, .second = 1}, {.first = 1, .second = 2}, {.first = 3, .second = 4}});
    const tied_solution s = minimise(p);
    EXPECT_EQ(s.points[0], (xy{7, 1}));
    EXPECT_EQ(s.points[2], (xy{3, 5}));
    EXPECT_EQ(s.points[3], (xy{7, 1}));
    EXPECT_EQ(s.points[4], (xy{7, 1}));
    EXPECT_NEAR(s.value, g({4, -4}), 1e-11);
    EXPECT_TRUE(verify(p, s).accepted);
    EXPECT_LE(verify(p, s).gap, 1e-10);
  }
}

TEST(Tied, WeightsOverTwelveOrders) {
  instance_source source(11);
  for (const layout l : {layout::scattered, layout::lattice, layout::line, layout::uneven}) {
    for (int trial = 0; trial < 100; ++trial) {
      SCOPED_TRACE(testing::Message() << "layout " << static_cast<int>(l) << " trial " << trial);
      const tied_problem p = random_problem(source, l, 2 + source.below(6), 1 + source.below(9),
                                            source.gauges(l, 2, 3 + source.below(6)), 6);
      expect_proved(p, minimise(p));
    }
  }
}

// Facility 3 hangs on ties that are far heavier than those which lead on to the sites.
TEST(Tied, HeavyTiesAndLightOnes) {
  const tied_problem p(5, {{69, 9}, {39, 16}}, {gauge::lp(1.5)},
                       {1.2, 1.8, 3.6, 3, 1.3, 2.7, 0, 0, 0.9, 2.3},
                       {{0, 1, 3.7},
                        {0, 2, 0.13},
                        {0, 3, 0.0022},
                        {0, 4, 56},
                        {1, 3, 54},
                        {2, 0, 3.4},
                        {2, 3, 220},
                        {3, 0, 10},
                        {3, 2, 0.02},
                        {3, 4, 0.075},
                        {4, 0, 120}});
  const verification v = verify(p, minimise(p));
  EXPECT_EQ(v.reason, "");
  EXPECT_LE(v.gap, 1e-9 * v.value);
}

// One facility and ties of 0 are problems of minimise.h.
// Doubles do not tell terms of the one gauge beside those of the other.
TEST(Tied, GaugesSixteenOrdersApart) {
  instance_source source(91);
  for (int trial = 0; trial < 60; ++trial) {
    SCOPED_TRACE(trial);
    std::vector<gauge> gauges;
    for (const double scale : {1e8, 1e-8}) {
      const gauge ball = source.ball(5 + source.below(4));
      std::vector<xy> v(ball.vertices().begin(), ball.vertices().end());
      for (xy& c : v) c = {scale * c.x, scale * c.y};
      gauges.push_back(gauge::polyhedral(v));
    }
    // The heavy ties join facilities, and every other time one heavy site holds one of them.
    std::vector<tied_site> sites;
    for (int i = 0; i < 5; ++i) sites.push_back({source.uniform(0, 9), source.uniform(0, 9), 0});
    sites.push_back({source.uniform(0, 9), source.uniform(0, 9), 1});
    std::vector<double> weights;
    for (int j = 0; j < 4; ++j) {
      for (int i = 0; i < 5; ++i) weights.push_back(source.below(3));
      weights.push_back(j == 0 && trial % 2 == 0 ? 1 : 0);
    }
    const tied_problem p(4, sites, gauges, weights,
                         {{.first = 0, .second = 1, .weight = 1, .gauge = 1},
                          {.first = 2, .second = 1, .weight = 2, .gauge = trial % 3 == 0 ? 1U : 0U},
                          {.first = 3, .second = 0, .weight = 0.5, .gauge = 0}});
    const tied_solution s = minimise(p);
    EXPECT_EQ(s.status, solution_status::optimal);
    const verification v = verify(p, s);
    EXPECT_TRUE(v.accepted) << v.reason;
    EXPECT_EQ(v.gap, 0);
  }
}

TEST(Tied, FallsApartIntoSingleFacilities) {
  instance_source source(8);
  for (int trial = 0; trial < 30; ++trial) {
    const std::vector<gauge> gauges = {source.ball(5), gauge::euclidean(), gauge::lp(1.7)};
    const auto sites = source.sites(layout::scattered, 9, trial % 2 == 0 ? 1 : 3);
    std::vector<tied_site> places;
    std::vector<double> weights;
    for (const site& t : sites) {
      places.push_back({t.x, t.y, t.gauge});
      weights.push_back(t.weight);
    }
    weights.insert(weights.end(), weights.begin(), weights.begin() + 9);
    const tied_problem p(2, places, gauges, weights, {{.weight = 0}});
    const solution one = minimise(problem(sites, gauges, order_weights::median()));
    EXPECT_NEAR(minimise(p).value, 2 * one.value, 1e-10 * one.value);
  }
}

TEST(Tied, Limits) {
  instance_source source(9);
  for (const gauge& g : {source.ball(7), gauge::euclidean()}) {
    const tied_problem p = random_problem(source, layout::scattered, 4, 30, {g});
    std::stop_source stop;
    stop.request_stop();
    tied_options at_once;
    at_once.stop = stop.get_token();
    tied_options coarse;
    coarse.relative_gap = 1e-3;
    const tied_solution best = minimise(p);
    for (const bool early : {true, false}) {
      const tied_solution s = minimise(p, early ? at_once : coarse);
      const verification v = verify(p, s);
      EXPECT_TRUE(v.accepted) << v.reason;
      EXPECT_GE(v.value, best.lower_bound);
      EXPECT_LE(v.lower_bound, best.value);
      if (!early) {
        EXPECT_LE(v.gap, 1.001e-3 * v.value);
      }
    }
    EXPECT_EQ(minimise(p, at_once).status, solution_status::stopped);
    EXPECT_LT(minimise(p, coarse).counters.rounds, best.counters.rounds);
  }
}

TEST(Tied, BadInputIsRefused) {
  const auto refusal = [](std::size_t facilities, const std::vector<tied_site>& sites,
                          const std::vector<double>& weights, const std::vector<tie>& ties) {
    return message_of([&] { tied_problem(facilities, sites, {gauge::l1()}, weights, ties); });
  };
  const std::vector<tied_site> two = {{.x = 0, .y = 0}, {.x = 1, .y = 2}};
  EXPECT_EQ(refusal(2, two, {1, 0, 0, 0}, {{.weight = 0}}), "");
  EXPECT_EQ(refusal(0, two, {}, {}), "no facility");
  EXPECT_EQ(refusal(1, {}, {}, {}), "no site");
  EXPECT_EQ(refusal(2, two, {1, 2, 3}, {}),
            "3 weights for 2 facilities and 2 sites: must be one a facility and site");
  EXPECT_EQ(refusal(2, two, {1, 2, 3, -4}, {}),
            "weight of facility 1 and site 1 is -4: must be 0 or positive");
  EXPECT_EQ(refusal(1, two, {1, NAN}, {}),
            "weight of facility 0 and site 1 is nan: must be finite");
  EXPECT_EQ(refusal(1, {{.x = 0, .y = 0, .gauge = 1}}, {1}, {}),
            "gauge of site 0 is 1: must be less than the number of gauges, 1");
  EXPECT_EQ(refusal(1, {{.x = 1e40, .y = 0}}, {1}, {}),
            "x of site 0 is 1e+40: must be at most 1e36 in magnitude");
  EXPECT_EQ(refusal(2, two, {1, 1, 1, 1}, {{.first = 0, .second = 2}}),
            "second facility of tie 0 is 2: must be less than the number of facilities, 2");
  EXPECT_EQ(refusal(2, two, {1, 1, 1, 1}, {{.first = 1, .second = 1}}),
            "tie 0 joins facility 1 with itself");
  EXPECT_EQ(refusal(2, two, {1, 1, 1, 1}, {{.weight = 1e-40}}),
            "weight of tie 0 is 1e-40: must be 0 or from 1e-36 to 1e36");
}

TEST(Tied, SpoiledAnswersAreRefused) {
  instance_source source(3);
  const tied_problem p =
      random_problem(source, layout::lattice, 3, 6, {gauge::l1(), source.integral_ball()});
  const tied_solution s = minimise(p);
  expect_proved(p, s);
  const auto refused = [&](const auto& spoil) {
    tied_solution t = s;
    spoil(t);
    const verification v = verify(p, t);
    EXPECT_FALSE(v.accepted);
    return v.reason;
  };
  ASSERT_FALSE(s.proof.bends.empty());
  refused([](tied_solution& t) { t.points[1].x += 1e-3; });
  refused([](tied_solution& t) { t.value *= 1 - 1e-9; });
  refused([](tied_solution& t) { t.lower_bound *= 1 + 1e-9; });
  refused([](tied_solution& t) { t.points.pop_back(); });
  refused([](tied_solution& t) { t.proof.edge.pop_back(); });
  refused([](tied_solution& t) { t.proof.ties.pop_back(); });
  refused([](tied_solution& t) { t.proof.bends.pop_back(); });
  refused([](tied_solution& t) { t.proof.bends.push_back(t.proof.bends[0]); });
  refused([](tied_solution& t) { t.proof.bends[0].at = {{1e-9, 0}, {}}; });
  EXPECT_EQ(refused([](tied_solution& t) {
              t.proof.bends[0].at = {{3, 3}, {}};
            }).substr(0, 8),
            "facility");
  refused([](tied_solution& t) { t.proof.edge[0] ^= 1; });
}

}  // namespace
}  // namespace planloc
