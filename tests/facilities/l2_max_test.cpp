#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <random>
#include <vector>

#include "planloc/facilities/facilities.h"
#include "planloc/facilities/weighted_circles.h"
#include "tests/facilities/plain_l2_max.h"
#include "tests/model/own_process.h"

namespace planloc {

void PrintTo(const circle_record& c, std::ostream* out) {
  *out << "(" << c.x << ", " << c.y << "; " << c.radius << ")";
}

namespace {

location at(double x, double y, double w = 1.0) { return location(2.0, 1.0, x, y, w); }

facilities of(const std::vector<location>& locations) {
  facilities F;
  for (const location& a : locations) F.append(a);
  return F;
}

circle_record solved(facilities& F) {
  const double value = F.l2_max(true);
  EXPECT_EQ(F.opt.size(), 1);
  EXPECT_EQ(F.opt.head().weight(0), 0.0);
  return {F.opt.head()[0], F.opt.head()[1], value};
}

void expect_near(const circle_record& c, const circle_record& expected, double tolerance) {
  EXPECT_NEAR(c.x, expected.x, tolerance);
  EXPECT_NEAR(c.y, expected.y, tolerance);
  EXPECT_NEAR(c.radius, expected.radius, tolerance);
}

double weighted_distance(const location& a, double x, double y) {
  return a.weight(0) * std::hypot(a[0] - x, a[1] - y);
}

double largest(const facilities& F, double x, double y) {
  double value = 0.0;
  for (const location& a : F) value = std::max(value, weighted_distance(a, x, y));
  return value;
}

// The smallest value of a convex function by the golden section.
template <class Function>
double minimum(Function f, double a, double b) {
  constexpr double kRatio = 0.61803398874989485;
  double c = b - kRatio * (b - a);
  double d = a + kRatio * (b - a);
  double fc = f(c);
  double fd = f(d);
  for (int i = 0; i < 60; ++i) {
    if (fc < fd) {
      b = d;
      d = c;
      fd = fc;
      c = b - kRatio * (b - a);
      fc = f(c);
    } else {
      a = c;
      c = d;
      fc = fd;
      d = a + kRatio * (b - a);
      fd = f(d);
    }
  }
  return std::min(fc, fd);
}

double optimum(const facilities& F) {
  const double y0 = F.min_coordinate(1);
  const double y1 = F.max_coordinate(1);
  const auto best_on_vertical = [&](double x) {
    return minimum([&](double y) { return largest(F, x, y); }, y0, y1);
  };
  return minimum(best_on_vertical, F.min_coordinate(0), F.max_coordinate(0));
}

// Random instances of one kind: coordinates offset + extent * step-wise [0, 1), weights from 1.
struct Kind {
  const char* name;
  double offset;
  double extent;
  int steps;    // coordinates are multiples of extent / steps; 0 for reals
  int weights;  // 1..weights, integers; 0 for reals in [1, 5)
  bool collinear;
};

facilities instance(const Kind& kind, int n, std::mt19937& random) {
  std::uniform_real_distribution<double> real(0.0, 1.0);
  const auto coordinate = [&] {
    double t = real(random);
    if (kind.steps > 0) t = std::floor(t * kind.steps) / kind.steps;
    return t * kind.extent;
  };
  facilities F;
  for (int i = 0; i < n; ++i) {
    const double x = coordinate();
    const double y = kind.collinear ? 0.5 * x + 3.0 : coordinate();
    const double t = real(random);
    const double w = kind.weights > 0 ? 1.0 + std::floor(t * kind.weights) : 1.0 + 4.0 * t;
    F.append(at(kind.offset + x, kind.offset + y, w));
  }
  return F;
}

const Kind kKinds[] = {
    {"equal weights", 0, 100, 0, 1, false},
    {"real weights", 0, 100, 0, 0, false},
    {"lattice, equal weights", 0, 6, 6, 1, false},
    {"lattice", 0, 6, 6, 3, false},
    {"collinear", 0, 100, 0, 0, true},
    {"collinear lattice", 0, 10, 10, 1, true},
    {"metres on a map", 4e6, 1e5, 0, 0, false},
    {"one place", 7, 0, 0, 3, false},
};

// ----- The solver -----

TEST(L2Max, SmallCases) {
  const struct {
    std::vector<location> sites;
    circle_record optimum;
  } cases[] = {
      {{}, {0, 0, 0}},
      {{at(3, -4, 2)}, {3, -4, 0}},
      {{at(0, 0), at(4, 2)}, {2, 1, std::sqrt(5.0)}},
      {{at(0, 0, 3), at(4, 0, 1)}, {1, 0, 3}},
      {{at(0, 0), at(1, 0), at(4, 0)}, {2, 0, 2}},
      {{at(4, 0), at(0, 0), at(1, 0)}, {2, 0, 2}},
      {{at(0, 0), at(4, 0), at(2, 3)}, {2, 5.0 / 6.0, 13.0 / 6.0}},
      {{at(0, 0), at(4, 0), at(0, 4), at(4, 4)}, {2, 2, std::sqrt(8.0)}},
      // The farthest has no weight.
      {{at(0, 0), at(100, 0, 0), at(4, 0)}, {2, 0, 2}},
      // The heavier of two at one place counts, in an active set of two and of three.
      {{at(0, 0, 1), at(4, 0, 1), at(0, 0, 3)}, {1, 0, 3}},
      {{at(4, 0, 1), at(0, 0, 1), at(0, 0, 3), at(4, 0, 1)}, {1, 0, 3}},
      {{at(2, 3, 1), at(0, 0), at(4, 0), at(2, 3, 1), at(0, 0)}, {2, 5.0 / 6.0, 13.0 / 6.0}},
  };
  for (const auto& c : cases) {
    facilities F = of(c.sites);
    SCOPED_TRACE(testing::PrintToString(c.optimum));
    expect_near(solved(F), c.optimum, 1e-12);
  }
}

TEST(L2Max, ClearDecidesOnOlderResults) {
  facilities F = of({at(0, 0), at(4, 0)});
  F.opt.append(at(9, 9));
  EXPECT_EQ(F.l2_max(false), 2.0);
  EXPECT_EQ(F.opt, (list<location>{at(9, 9), at(2, 0, 0)}));
  F.l2_max(true);
  EXPECT_EQ(F.opt, (list<location>{at(2, 0, 0)}));
}

// Covers all sites, is no larger than the optimum that a search of another kind finds, and is what
// the plain steps yield, bit for bit. The few instances on which the walk never ends are left out.
TEST(L2Max, RandomInstances) {
  for (const Kind& kind : kKinds) {
    SCOPED_TRACE(kind.name);
    std::mt19937 random(11);
    int endless = 0;
    for (int trial = 0; trial < 100; ++trial) {
      facilities F = instance(kind, 1 + trial % 20, random);
      const auto plain = plain_l2_max(F, 5000);
      if (!plain) {
        ++endless;
        continue;
      }
      const circle_record c = solved(F);
      EXPECT_EQ(std::memcmp(&c, &*plain, sizeof c), 0) << testing::PrintToString(c);
      EXPECT_LE(largest(F, c.x, c.y), c.radius + 1.001 * kCoveringTolerance);
      EXPECT_LE(c.radius, optimum(F) * (1.0 + 1e-7) + 1e-9) << "trial " << trial;
    }
    EXPECT_LE(endless, 2);
  }
}

// More sites than one slice of the flat arrays, ties at the boundaries among them.
TEST(L2Max, ManySitesAreThePlainStepsBitForBit) {
  for (const Kind& kind : kKinds) {
    std::mt19937 random(3);
    for (int n : {7, 8, 9, 127, 128, 129, 256, 1000, 3000}) {
      facilities F = instance(kind, n, random);
      const auto plain = plain_l2_max(F, 5000);
      if (!plain) continue;
      const circle_record c = solved(F);
      EXPECT_EQ(std::memcmp(&c, &*plain, sizeof c), 0) << kind.name << ' ' << n;
    }
  }
}

TEST(L2Max, MayGoRoundWithoutEnd) {
  for (const auto& sites : {
           std::vector<location>{at(0, 1, 3), at(2, 0, 1), at(1, 1, 3), at(1, 3, 1)},
           std::vector<location>{at(7, 10), at(1, 8), at(9, 10), at(9, 0), at(4, 9)},
       }) {
    facilities F = of(sites);
    EXPECT_FALSE(plain_l2_max(F, 100000));
    const Outcome outcome = in_own_process([&] {
      alarm(1);
      F.l2_max(true);
    });
    EXPECT_EQ(outcome, (Outcome{-SIGALRM, "", ""}));
  }
}

TEST(L2Max, WithoutWeightIsNotANumber) {
  facilities F = of({at(1, 2, 0)});
  EXPECT_TRUE(std::isnan(F.l2_max(true)));
  EXPECT_EQ(in_own_process([] {
              facilities G;
              G.append(at(1, 2));
              G.head() = location(2, 0);
              G.l2_max(true);
            }),
            reported(1210, "Index out of range."));
}

// ----- Circles and loci -----

TEST(WeightedCircles, TwoPoints) {
  EXPECT_EQ(two_point_circle(at(0, 0, 3), at(4, 0, 1)), (circle_record{1, 0, 3}));
  EXPECT_EQ(two_point_circle(at(1, 1, 2), at(1, 1, 2)), (circle_record{1, 1, 0}));
}

TEST(WeightedCircles, LociAndThreePointsHaveEqualWeightedDistances) {
  std::mt19937 random(5);
  std::uniform_real_distribution<double> real(0.0, 1.0);
  for (int trial = 0; trial < 300; ++trial) {
    location sites[3] = {at(0, 0), at(0, 0), at(0, 0)};
    for (location& s : sites) {
      s = at(10 * real(random), 10 * real(random), 1.0 + (trial % 3 ? 2 * real(random) : 0.0));
    }
    if (trial % 3 == 1) sites[1].weight(0) = sites[0].weight(0);
    const auto& [a, b, c] = sites;
    if (a.weight(0) != b.weight(0)) {
      const circle_record l = apollonius_circle(a, b);
      for (double angle : {0.0, 2.0, 4.0}) {
        const double x = l.x + l.radius * std::cos(angle);
        const double y = l.y + l.radius * std::sin(angle);
        EXPECT_NEAR(weighted_distance(a, x, y) / weighted_distance(b, x, y), 1.0, 1e-7);
      }
    } else {
      const circle_record l = detail::bisector(a, b);
      EXPECT_EQ(l.radius, 0.0);
      EXPECT_NEAR(weighted_distance(a, 5, l.x * 5 + l.y) / weighted_distance(b, 5, l.x * 5 + l.y),
                  1.0, 1e-9);
    }
    const circle_record t = three_point_circle(a, b, c);
    if (t.x == kNowhere) continue;  // the loci do not meet
    for (const location& s : sites) {
      EXPECT_NEAR(weighted_distance(s, t.x, t.y) / t.radius, 1.0, 1e-5) << "trial " << trial;
    }
  }
}

TEST(WeightedCircles, ThreePointsTakeTheNearerOfTwo) {
  // Both points of equal distance to (0, 0; 2), (2, 0; 1), (0, 2; 1) are on the diagonal.
  const circle_record c = three_point_circle(at(0, 0, 2), at(2, 0, 1), at(0, 2, 1));
  const double t = (-2.0 + std::sqrt(28.0)) / 6.0;  // 6 t^2 + 4 t - 4 = 0
  expect_near(c, {t, t, 2.0 * t * std::sqrt(2.0)}, 1e-12);
  // On a line they mirror each other, and the second root is the one.
  expect_near(three_point_circle(at(4, 0, 3), at(-4, 0, 3), at(0, 0, 5)), {0, -3, 15}, 1e-12);
  EXPECT_GE(three_point_circle(at(0, 0), at(1, 0), at(2, 0)).radius, 1e+49);
}

TEST(WeightedCircles, CommonPointsOfLoci) {
  const circle_record unit{0, 0, 1};
  const circle_record diagonal{1, 0, 0};  // y = x
  const circle_record raised{1, 1, 0};    // y = x + 1
  const circle_record upright{kNowhere, 0.6, 0};
  const circle_record far{kNowhere, 2, 0};
  const double h = std::sqrt(0.5);
  const struct {
    circle_record l1, l2, p, q;  // of the points: x, y and weight
  } cases[] = {
      {unit, {1.2, 0, 1}, {0.6, 0.8, 1}, {0.6, -0.8, 1}},
      {unit, {0, 1.2, 1}, {0.8, 0.6, 1}, {-0.8, 0.6, 1}},
      {unit, {2, 0, 1}, {1, 0, 1}, {1, 0, 1}},
      {unit, {5, 5, 1}, {kNowhere, kNowhere, 0}, {kNowhere, 8, 0}},
      {unit, far, {kNowhere, kNowhere, 0}, {kNowhere, 8, 0}},
      {unit, diagonal, {h, h, 1}, {-h, -h, 1}},
      {diagonal, unit, {h, h, 1}, {-h, -h, 1}},
      {unit, upright, {0.6, 0.8, 1}, {0.6, -0.8, 1}},
      {diagonal, {-1, 4, 0}, {2, 2, 7}, {2, 2, 7}},
      {diagonal, upright, {0.6, 0.6, 7}, {0.6, 0.6, 7}},
      {upright, diagonal, {0.6, 0.6, 7}, {0.6, 0.6, 7}},
      {diagonal, raised, {kNowhere, 9, 7}, {kNowhere, 9, 7}},
      {upright, far, {kNowhere, 9, 7}, {kNowhere, 9, 7}},
      {unit, {0, 0, -1}, {9, 9, 7}, {8, 8, 7}},
  };
  for (const auto& c : cases) {
    location p = at(9, 9, 7);
    location q = at(8, 8, 7);
    locus_intersection(c.l1, c.l2, p, q);
    SCOPED_TRACE(testing::PrintToString(c.l1) + testing::PrintToString(c.l2));
    expect_near({p[0], p[1], p.weight(0)}, c.p, 1e-12);
    expect_near({q[0], q[1], q.weight(0)}, c.q, 1e-12);
  }
}

TEST(WeightedCircles, NearlyTouchingCirclesTouch) {
  weighted_site p;
  weighted_site q;
  // The discriminant of a vertical line at 1 + t is -4 (2 t + t^2).
  locus_intersection({0, 0, 1}, {kNowhere, 1 + 1e-14, 0}, p, q);
  EXPECT_EQ(p.weight, 1.0);
  EXPECT_EQ(p.y, 0.0);
  locus_intersection({0, 0, 1}, {kNowhere, 1 + 2e-14, 0}, p, q);
  EXPECT_EQ(p.x, kNowhere);
}

TEST(WeightedCircles, Covering) {
  const circle_record unit{0, 0, 1};
  EXPECT_EQ(is_covered(at(1.0009, 0), unit), 1);
  EXPECT_EQ(is_covered(at(1.0011, 0), unit), 0);
  EXPECT_EQ(is_covered(at(0.6, 0, 2), unit), 0);
  EXPECT_EQ(is_covered(at(50, 0, 0), unit), 1);
  const facilities F = of({at(1.0009, 0), at(0, 2, 1), at(0.5, 0, 4), at(90, 0, 0)});
  EXPECT_EQ(worst_location(unit, F), at(0, 2, 1));
  EXPECT_EQ(worst_location({0, 0, 2}, F), location(2, 1));
  // A pair covers the third one, whichever it is; the corners of an acute triangle need all three.
  const location a = at(0, 0);
  const location b = at(4, 0);
  const location c = at(1, 0.5);
  EXPECT_EQ(pair_covers_third(a, b, c), 1);
  EXPECT_EQ(pair_covers_third(a, c, b), 1);
  EXPECT_EQ(pair_covers_third(c, a, b), 1);
  EXPECT_EQ(pair_covers_third(a, b, at(2, 3)), 0);
}

TEST(WeightedCircles, OrderOfTheActiveSet) {
  const location to = at(0, 0);
  const auto order_of = [&](std::vector<double> xs) {
    std::vector<location> s;
    for (double x : xs) s.push_back(at(x, 0));
    if (s.size() == 2) sort_pair(s[0], s[1], to);
    if (s.size() == 3) sort_triple(s[0], s[1], s[2], to);
    for (std::size_t i = 0; i < s.size(); ++i) xs[i] = s[i][0];
    return xs;
  };
  using order = std::vector<double>;
  EXPECT_EQ(order_of({1, 2}), (order{2, 1}));
  EXPECT_EQ(order_of({2, -2}), (order{2, -2}));
  EXPECT_EQ(order_of({3, 2, 1}), (order{3, 2, 1}));
  EXPECT_EQ(order_of({1, 3, 2}), (order{3, 1, 2}));
  EXPECT_EQ(order_of({1, 2, 3}), (order{3, 2, 1}));
  EXPECT_EQ(order_of({1, 3, -3}), (order{3, 1, -3}));
  EXPECT_EQ(order_of({2, 1, -2}), (order{2, 1, -2}));
}

}  // namespace
}  // namespace planloc
