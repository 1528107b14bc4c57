#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <optional>
#include <vector>

#include "planloc/facilities/facilities.h"
#include "planloc/facilities/weighted_circles.h"
#include "tests/facilities/site_families.h"
#include "tests/model/own_process.h"

namespace planloc {

void PrintTo(const circle_record& c, std::ostream* out) {
  *out << "(" << c.x << ", " << c.y << "; " << c.radius << ")";
}

namespace {

location at(double x, double y, double w = 1.0) { return site(x, y, w); }

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

double largest(const facilities& F, double x, double y) {
  double value = 0.0;
  for (const location& a : F) {
    value = std::max(value, a.weight(0) * std::hypot(a[0] - x, a[1] - y));
  }
  return value;
}

// The walk of `l2_max` step by step on locations, with a bound on its passes: which instances end,
// and with which result to the bit. REQUIRES: F is not empty.
std::optional<circle_record> plain_walk(const facilities& F, int bound) {
  location P = F.head();
  location Q = F.tail();
  location R(2, 1);
  location X(2, 1);
  circle_record C;
  circle_record without_p{0, 0, 1e+50};
  circle_record without_q = without_p;
  circle_record without_r = without_p;
  const auto same = [](const location& a, const location& b) { return a.coords() == b.coords(); };
  const auto try_circle = [&](const location& a, const location& b, const location& third,
                              circle_record& candidate) {
    if (pair_covers_third(a, b, X)) return;
    const circle_record c = three_point_circle(a, b, X);
    if (is_covered(third, c)) candidate = c;
  };
  for (int active = 2; bound > 0; --bound) {
    if (active == 2) {
      C = two_point_circle(P, Q);
      R = worst_location(C, F);
      if (R.weight(0) == 0.0) return C;
      if (!same(R, P) && !same(R, Q)) {
        active = 3;
        sort_pair(P, Q, R);
      }
      for (location* l : {&P, &Q}) {
        if (same(*l, R)) l->weight(0) = R.weight(0);
      }
    } else if (active == 3) {
      sort_pair(P, Q, R);
      C = two_point_circle(P, R);
      if (is_covered(Q, C)) {
        Q = R;
        active = 2;
        continue;
      }
      C = three_point_circle(P, Q, R);
      X = worst_location(C, F);
      if (X.weight(0) == 0.0) return C;
      if (!same(X, P) && !same(X, Q) && !same(X, R)) {
        active = 4;
        sort_triple(P, Q, R, X);
        continue;
      }
      for (location* l : {&P, &Q, &R}) {
        if (!same(*l, X)) continue;
        l->weight(0) = X.weight(0);
        sort_pair(P, Q, R);
      }
    } else {
      sort_triple(P, Q, R, X);
      C = two_point_circle(P, X);
      active = is_covered(Q, C) && is_covered(R, C) ? 2 : 3;
      if (active == 3) {
        without_q = {without_p.x, without_p.y, 1e+50};
        if (!is_covered(R, C)) try_circle(P, R, Q, without_q);
        if (!is_covered(Q, C)) try_circle(P, Q, R, without_r);
        try_circle(Q, R, P, without_p);
      }
      const double p = without_p.radius;
      const double q = without_q.radius;
      const double r = without_r.radius;
      if (active == 2 || (r > q && p > q)) Q = X;
      if (active == 3 && q > r && p > r) R = X;
      if (active == 3 && r > p && q > p) P = X;
    }
  }
  return std::nullopt;
}

// ----- The solver -----

TEST(L2Max, SmallCases) {
  const struct {
    std::vector<location> sites;
    circle_record optimum;
  } cases[] = {
      {{}, {0, 0, 0}},
      {{at(3, -4, 2)}, {3, -4, 0}},
      {{at(0, 0), at(4, 0), at(2, 3)}, {2, 5.0 / 6.0, 13.0 / 6.0}},
      // The farthest has no weight.
      {{at(0, 0), at(100, 0, 0), at(4, 0)}, {2, 0, 2}},
      // The heavier of two at one place counts, in an active set of two and of three.
      {{at(0, 0, 1), at(4, 0, 1), at(0, 0, 3)}, {1, 0, 3}},
      {{at(4, 0, 1), at(0, 0, 1), at(0, 0, 3), at(4, 0, 1)}, {1, 0, 3}},
      {{at(2, 3, 1), at(0, 0), at(4, 0), at(2, 3, 1), at(0, 0)}, {2, 5.0 / 6.0, 13.0 / 6.0}},
  };
  for (const auto& c : cases) {
    facilities F = sites_of(c.sites);
    SCOPED_TRACE(testing::PrintToString(c.optimum));
    expect_near(solved(F), c.optimum, 1e-12);
  }
  facilities F = sites_of({at(0, 0), at(4, 0)});
  F.opt.append(at(9, 9));
  EXPECT_EQ(F.l2_max(false), 2.0);
  EXPECT_EQ(results_of(F), (std::vector<location>{at(9, 9), at(2, 0, 0)}));
}

// Covers all sites, is no larger than the optimum that a search of another kind finds, and is what
// the plain steps yield, bit for bit, also for more sites than one slice of the flat arrays, with
// ties at its boundaries. The instances on which the walk never ends are left out.
TEST(L2Max, RandomInstances) {
  int endless = 0;
  const auto check = [&](facilities& F, const site_family& family) {
    if (F.size() % 3 == 0) {
      for (location& a : F) a.weight(0) = 1.0;
    }
    const auto plain = plain_walk(F, 5000);
    if (!plain) {
      ++endless;
      return;
    }
    const circle_record c = solved(F);
    ASSERT_EQ(std::memcmp(&c, &*plain, sizeof c), 0) << shown(F, family.name);
    ASSERT_LE(largest(F, c.x, c.y), c.radius + 1.001 * kCoveringTolerance);
    if (F.size() > 12) return;
    const auto value = [&](long double x, long double y) {
      return largest(F, static_cast<double>(x), static_cast<double>(y));
    };
    const double optimum =
        static_cast<double>(least_value(value, family.x, family.y, 2 * family.spread + 1));
    const double slack = family.x > 1e5 ? kCoveringTolerance : 1e-9;
    ASSERT_LE(c.radius, optimum * (1 + 1e-7) + slack) << shown(F, family.name);
  };
  for_random_sites(150, false, check);
  for_random_sites(10, false, check, 3000);
  EXPECT_LE(endless, 40);
}

TEST(L2Max, MayGoRoundWithoutEnd) {
  for (const auto& sites : {
           std::vector<location>{at(0, 1, 3), at(2, 0, 1), at(1, 1, 3), at(1, 3, 1)},
           std::vector<location>{at(7, 10), at(1, 8), at(9, 10), at(9, 0), at(4, 9)},
       }) {
    facilities F = sites_of(sites);
    EXPECT_FALSE(plain_walk(F, 100000));
    const Outcome outcome = in_own_process([&] {
      alarm(1);
      F.l2_max(true);
    });
    EXPECT_EQ(outcome, (Outcome{-SIGALRM, "", ""}));
  }
}

TEST(L2Max, WithoutWeightIsNotANumber) {
  facilities F = sites_of({at(1, 2, 0)});
  EXPECT_TRUE(std::isnan(F.l2_max(true)));
  F.head() = location(2, 0);
  EXPECT_EQ(in_own_process([&] { F.l2_max(true); }), reported(1210, "Index out of range."));
}

// ----- Circles and loci -----

TEST(WeightedCircles, TwoAndThreePoints) {
  EXPECT_EQ(two_point_circle(at(0, 0, 3), at(4, 0, 1)), (circle_record{1, 0, 3}));
  // The nearer of two: both points of equal distance to these are on the diagonal.
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
      // Nearly touching is touching: the discriminant of a vertical line at 1 + t is -4 (2 t +
      // t^2).
      {unit, {kNowhere, 1 + 1e-14, 0}, {1, 0, 1}, {1, 0, 1}},
      {unit, {kNowhere, 1 + 2e-14, 0}, {kNowhere, kNowhere, 0}, {kNowhere, 8, 0}},
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

TEST(WeightedCircles, Covering) {
  const circle_record unit{0, 0, 1};
  EXPECT_EQ(is_covered(at(1.0009, 0), unit), 1);
  EXPECT_EQ(is_covered(at(1.0011, 0), unit), 0);
  EXPECT_EQ(is_covered(at(0.6, 0, 2), unit), 0);
  EXPECT_EQ(is_covered(at(50, 0, 0), unit), 1);
  const facilities F = sites_of({at(1.0009, 0), at(0, 2, 1), at(0.5, 0, 4), at(90, 0, 0)});
  EXPECT_EQ(worst_location(unit, F), at(0, 2, 1));
  EXPECT_EQ(worst_location({0, 0, 2}, F), location(2, 1));
  // A pair covers the third one, whichever it is; the corners of an acute triangle need all three.
  std::vector<location> obtuse = {at(0, 0), at(1, 0.5), at(4, 0)};
  do {
    EXPECT_EQ(pair_covers_third(obtuse[0], obtuse[1], obtuse[2]), 1);
  } while (std::next_permutation(obtuse.begin(), obtuse.end()));
  EXPECT_EQ(pair_covers_third(at(0, 0), at(4, 0), at(2, 3)), 0);
}

TEST(WeightedCircles, OrderOfTheActiveSet) {
  using order = std::vector<double>;
  const location to = at(0, 0);
  for (const auto& [given, sorted] :
       {std::pair(order{1, 2}, order{2, 1}), std::pair(order{2, -2}, order{2, -2}),
        std::pair(order{3, 2, 1}, order{3, 2, 1}), std::pair(order{1, 3, 2}, order{3, 1, 2}),
        std::pair(order{1, 2, 3}, order{3, 2, 1}), std::pair(order{1, 3, -3}, order{3, 1, -3}),
        std::pair(order{2, 1, -2}, order{2, 1, -2})}) {
    std::vector<location> s;
    for (double x : given) s.push_back(at(x, 0));
    if (s.size() == 2) sort_pair(s[0], s[1], to);
    if (s.size() == 3) sort_triple(s[0], s[1], s[2], to);
    for (std::size_t i = 0; i < s.size(); ++i) EXPECT_EQ(s[i][0], sorted[i]);
  }
}

}  // namespace
}  // namespace planloc
