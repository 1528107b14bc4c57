#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>

#include "message_of.h"
#include "planloc/optimum/problem.h"

namespace planloc {
namespace {

TEST(Problem, BadInputIsNamed) {
  constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
  const auto with = [](const site& s) {
    return [s] { problem({{}, s}, {gauge::l1()}, order_weights::median()); };
  };
  const auto ball = [](std::vector<xy> v) { return [v] { gauge::polyhedral(v); }; };
  const auto order = [](const order_weights& o) {
    return [o] { problem({{}, {}}, {gauge::l1()}, o); };
  };
  const struct {
    std::function<void()> call;
    const char* text;
  } cases[] = {
      {[] { problem({}, {}, order_weights::median()); }, "no site"},
      {with({.weight = -2}), "weight of site 1 is -2: must be positive"},
      {with({.weight = INFINITY}), "weight of site 1 is inf: must be finite"},
      {with({.y = kNan}), "y of site 1 is nan: must be finite"},
      {with({.weight = 1e150}), "weight of site 1 is 1e+150: must be from 1e-36 to 1e36"},
      {with({.x = -1e150}), "x of site 1 is -1e+150: must be at most 1e36 in magnitude"},
      {with({.x = 5e-324}),
       "the sites lie within 5e-324 of each other: must be at one place or 1e-36 apart"},
      {ball({{1e-200, 0}, {0, 1e-200}, {-1e-200, -1e-200}}),
       "gauge: the origin is within 1e-36 of the edge of the vertices 0 and 1"},
      {[] {
         order_weights({0, 1e-310});
       },
       "order weight 1 is 1e-310: must be 0 or from 1e-36 to 1e36 in magnitude"},
      {with({.gauge = 1}), "gauge of site 1 is 1: must be less than the number of gauges, 1"},
      {ball({{1, 0}, {0, 1}}), "gauge: 2 vertices: at least 3 are needed"},
      {ball({{1, 0}, {0, 1}, {kNan, 0}}), "gauge: vertex 2 is (nan, 0): must be finite"},
      {ball({{1, 0}, {0, 1}, {-1, 0}}),
       "gauge: the origin is not strictly inside at the edge of the vertices 2 and 0"},
      {ball({{0, 1}, {1, 0}, {2, 1}}),
       "gauge: the origin is not strictly inside at the edge of the vertices 2 and 1"},
      {ball({{2, 0}, {0.1, 0.1}, {0, 2}, {-2, -2}}), "gauge: not convex at vertex 1"},
      {ball({{1, 0}, {-1, 1}, {-1, -1}, {1, -0.5}, {1, 0.5}, {-1, 1.5}, {-1, -1.5}}),
       "gauge: the vertices go around the origin more than once"},
      {[] { gauge::lp(0.5); }, "gauge: p is 0.5: must be at least 1"},
      {ball({{1, 0}, {0, 1}, {-1, 0}, {0, -1}, {1, 0}}),
       "gauge: the vertices 4 and 0 are both (1, 0)"},
      {order(order_weights({1})), "1 order weight for 2 sites"},
      {[] {
         order_weights({0, kNan});
       },
       "order weight 1 is nan: must be finite"},
      {order(order_weights::k_centrum(3)),
       "k-centrum: k is 3: must be from 1 to the number of sites, 2"},
      {order(order_weights::trimmed_mean(1, 1)), "trimmed mean: 1 and 1 of 2 sites leave none"},
      {[] { order_weights::cent_dian(1.5); }, "cent-dian: alpha is 1.5: must be from 0 to 1"},
  };
  for (const auto& c : cases) EXPECT_EQ(message_of(c.call), c.text);
}

TEST(Problem, OrderWeightsByName) {
  using runs = std::vector<order_run>;
  EXPECT_EQ(order_weights::median().runs(5), (runs{{1, 5}}));
  EXPECT_EQ(order_weights::centre().runs(5), (runs{{0, 4}, {1, 1}}));
  EXPECT_EQ(order_weights::k_centrum(5).runs(5), (runs{{1, 5}}));
  EXPECT_EQ(order_weights::cent_dian(0.5).runs(2), (runs{{0.25, 1}, {0.75, 1}}));
  EXPECT_EQ(order_weights::anti_centrum(2).runs(5), (runs{{1, 2}, {0, 3}}));
  EXPECT_EQ(order_weights::range().runs(2), (runs{{-1, 1}, {1, 1}}));
  EXPECT_EQ(order_weights::range().runs(1), (runs{{0, 1}}));
  EXPECT_EQ(order_weights::order_statistic(1).runs(3), (runs{{1, 1}, {0, 2}}));
  EXPECT_EQ(order_weights::quantile(0.5).runs(4), (runs{{0, 1}, {1, 1}, {0, 2}}));
  EXPECT_EQ(order_weights::trimmed_mean(1, 2).runs(5), (runs{{0, 1}, {1, 2}, {0, 2}}));
  EXPECT_EQ(order_weights({2, 2, 1}).runs(3), (runs{{2, 2}, {1, 1}}));
}

TEST(Problem, DistancesOfAllGauges) {
  const gauge triangle = gauge::polyhedral({{2, 0}, {0, 1}, {-1, -1}});
  const gauge reversed = gauge::polyhedral({{-1, -1}, {0, 1}, {1, 0.5}, {2, 0}});
  const struct {
    gauge g;
    xy u;
    double distance;
  } cases[] = {{gauge::l1(), {3, -4}, 7},
               {gauge::linf(), {3, -4}, 4},
               {gauge::euclidean(), {3, -4}, 5},
               {gauge::lp(1), {3, -4}, 7},
               {gauge::lp(3), {3, -4}, std::cbrt(91)},
               {gauge::lp(INFINITY), {3, -4}, 4},
               {triangle, {1, 0}, 0.5},
               {triangle, {-2, -2}, 2},
               {reversed, {4, 0}, 2}};
  for (const auto& c : cases) {
    EXPECT_DOUBLE_EQ(c.g(c.u), c.distance);
    const problem p({{.x = 1, .y = 1, .weight = 3}}, {c.g}, order_weights::centre());
    EXPECT_DOUBLE_EQ(p.value({c.u.x + 1, c.u.y + 1}), 3 * c.distance);
  }
  EXPECT_EQ(reversed.vertices().size(), 3);
}

}  // namespace
}  // namespace planloc
