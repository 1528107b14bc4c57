#include <gtest/gtest.h>

#include <gmpxx.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <span>
#include <vector>

#include "instances.h"
#include "planloc/optimum/problem.h"
#include "planloc/optimum/proof/far_axis.h"
#include "planloc/optimum/proof/gauge_interval.h"
#include "planloc/optimum/proof/interval.h"

namespace planloc {
namespace {

// a^(j/k) in intervals: low^k <= a^j <= high^k in fractions, and narrow enough to prove with.
TEST(Intervals, PowersHoldTheExactOnes) {
  const auto raised = [](const mpq_class& q, int k) {
    mpq_class result = 1;
    for (; k > 0; --k) result *= q;
    return result;
  };
  instance_source source(11);
  for (int trial = 0; trial < 20000; ++trial) {
    const int j = 1 + source.below(24);
    const int k = 1 + source.below(12);
    const double tilt = std::ldexp(source.below(1 << 30) - (1 << 29), -30 - source.below(50));
    const double a = std::ldexp(1 + tilt, trial % 3 == 0 ? source.below(80) - 40 : 0);
    const double b = trial % 4 == 0 ? a * (1 + std::ldexp(1, -source.below(52))) : a;
    const auto held = detail::power({a, b}, divided(detail::interval(j), k));
    ASSERT_LE(raised(held.low, k), raised(a, j)) << a << ' ' << j << '/' << k;
    ASSERT_GE(raised(held.high, k), raised(b, j)) << a << ' ' << j << '/' << k;
    const double powers_of_two = std::fabs(std::log2(b) * j / k);
    const double width = 12 * (1 + powers_of_two) * 0x1p-52 + 2.0 * j / k * (b - a) / a;
    ASSERT_LE(held.high - held.low, held.high * width) << a << ' ' << j << '/' << k;
  }
}

// On rays, between them and nearly so, thin balls and triangles among them; narrow intervals do not
// take in values of other edges.
TEST(Intervals, GaugesHoldTheExactOnes) {
  instance_source source(91);
  const auto exactly = [](const gauge& g, const xy& u) {
    const std::span<const xy> v = g.vertices();
    mpq_class most = 0;
    for (std::size_t j = 0; j < v.size(); ++j) {
      const mpq_class ax(v[j].x), ay(v[j].y);
      const xy& b = v[(j + 1) % v.size()];
      most =
          std::max<mpq_class>(most, ((b.y - ay) * u.x - (b.x - ax) * u.y) / (ax * b.y - ay * b.x));
    }
    return most;
  };
  for (int trial = 0; trial < 60; ++trial) {
    std::vector<xy> v;
    const gauge ball = trial % 2 == 0 ? source.integral_ball() : source.ball(3 + trial % 40);
    for (const xy& a : ball.vertices())
      v.push_back({a.x, trial % 3 == 0 ? a.y * std::ldexp(1, -trial % 30) : a.y});
    const gauge g = gauge::polyhedral(v);
    for (std::size_t j = 0; j < g.vertices().size(); ++j) {
      const xy ray = g.vertices()[j];
      const double along = source.uniform(-3, 3);
      const xy off{source.uniform(-1, 1), source.uniform(-1, 1)};
      const double far = std::ldexp(1, -source.below(60));
      for (const xy& u : {ray, xy{-ray.x, -ray.y}, xy{along * ray.x, along * ray.y}, off,
                          xy{ray.x + far * off.x, ray.y + far * off.y}}) {
        const double wide = trial % 5 == 0 ? std::ldexp(u.x, -source.below(40)) : 0;
        const detail::interval x(std::min(u.x - wide, u.x + wide),
                                 std::max(u.x - wide, u.x + wide));
        const detail::interval d = detail::gauge_value(g, {x, u.y});
        for (const double one : {x.low, u.x, x.high}) {
          const mpq_class exact = exactly(g, {one, u.y});
          EXPECT_TRUE(d.low <= exact && d.high >= exact) << trial;
          const double size = std::max(exact.get_d(), std::fabs(off.x));
          const bool narrow = wide == 0 && trial % 3 != 0;
          EXPECT_LE(d.high - d.low, narrow ? 1e-13 * size : INFINITY) << trial;
        }
      }
    }
  }
}

// On a ray the difference of two distances rises and falls again, so f is least amid the box.
TEST(Intervals, BoxesNearAnAxisHoldTheirPlaces) {
  const problem p({{0, -0.99}, {0, 0.9}, {0, 0}}, {gauge::lp(1.1)}, order_weights({1, 0, -1}));
  std::vector<detail::interval_pair> places;
  for (const site& s : p.sites()) places.push_back({s.x, s.y});
  const detail::interval slopes{0x1p-21, 0x1p-20};
  const detail::interval away{0x1p22, std::numeric_limits<double>::infinity()};
  double least = 0;
  for (int k = 0; k < 100; ++k) {
    const double x = std::ldexp(std::exp2(k / 25.), 22);
    const xy at{x, x * slopes.high};
    least = std::min(least, p.distance(1, at) - p.distance(0, at));
  }
  detail::far_axis axis(p, places, 0.99);
  EXPECT_TRUE(axis.nowhere_below(least - 2e-5, 0, slopes, away));
  EXPECT_FALSE(axis.nowhere_below(least + 2e-5, 0, slopes, away));
}

}  // namespace
}  // namespace planloc
