#include "planloc/foundation/geometry/rat_point.h"

#include <gtest/gtest.h>

#include <csignal>
#include <utility>

#include "planloc/foundation/geometry/exact_orientation.h"
#include "planloc/foundation/geometry/fixed_crossing.h"
#include "tests/foundation/rat_cases.h"
#include "tests/foundation/reports.h"

namespace planloc {
namespace {

using namespace rat_cases;

const Coordinate kCoordinates[] = {
    reals(0),       lattice(0),  reals(-1060),
    lattice(-1074), reals(1018), mixed({-1074, -1022, -500, 0, 60, 500, 1022}),
};

// The same point without any knowledge of doubles.
rat_point eager(const point& p) {
  const fractions f(p);
  return rat_point(integer(mpz_class(f.x.get_num() * f.y.get_den())),
                   integer(mpz_class(f.y.get_num() * f.x.get_den())),
                   integer(mpz_class(f.x.get_den() * f.y.get_den())));
}

TEST(RatPoint, HomogeneousCoordinates) {
  const rat_point origin;
  EXPECT_TRUE(origin.X() == 0 && origin.Y() == 0 && origin.W() == 1);
  const rat_point p(rational(1, 6), rational(-3, 4));
  EXPECT_TRUE(p.X() == 4 && p.Y() == -18 && p.W() == 24);
  const rat_point q(point(0.5, -0.75));
  EXPECT_TRUE(q.X() == 4 && q.Y() == -6 && q.W() == 8);
  const rat_point r(-2, 3, -4);
  EXPECT_TRUE(r.X() == 2 && r.Y() == -3 && r.W() == 4 && r == q);
  EXPECT_TRUE(rat_point(point(-0.0, 0.0)) == origin);
  const point zero = rat_point(point(-0.0, 0.0)).to_point();
  EXPECT_FALSE(std::signbit(zero.xcoord()));
  EXPECT_EQ(rat_point(p).id(), p.id());
  EXPECT_NE(rat_point(point(0.5, -0.75)).id(), q.id());
}

TEST(RatPoint, LazyAndEagerPointsAreTheSame) {
  Random random(11);
  for (const Coordinate& k : kCoordinates) {
    for (int run = 0; run < 300; ++run) {
      const point p(k(random), k(random));
      const rat_point lazy(p), of_rationals{rational(p.xcoord()), rational(p.ycoord())};
      const rat_point full = eager(p);
      ASSERT_TRUE(lazy == full && of_rationals == full && lazy == of_rationals);
      ASSERT_TRUE(lazy.X() == full.X() && lazy.Y() == full.Y() && lazy.W() == full.W());
      ASSERT_TRUE(lazy.xcoord() == full.xcoord() && lazy.ycoord() == full.ycoord());
      ASSERT_TRUE(lazy.to_point() == p && full.to_point() == p && of_rationals.to_point() == p);
    }
  }
}

// A common factor of the homogeneous coordinates must not matter, even one beyond all doubles.
TEST(RatPoint, ToPointIgnoresCommonFactors) {
  const integer factor = (integer(1) << 3000) + 1;
  const rat_point p(factor, integer(-7) * factor, integer(3) * factor);
  EXPECT_EQ(p.to_point().xcoord(), 1.0 / 3.0);
  EXPECT_EQ(p.to_point().ycoord(), -7.0 / 3.0);
  EXPECT_TRUE(p == rat_point(1, -7, 3));
}

TEST(RatPoint, CompareIsExactAndLexicographic) {
  Random random(12);
  for (const Coordinate& k : kCoordinates) {
    for (int run = 0; run < 300; ++run) {
      const point p(k(random), k(random));
      const point q(pick(random, 0, 1) == 0 ? p.xcoord() : nudge(random, p.xcoord()),
                    pick(random, 0, 1) == 0 ? p.ycoord() : k(random));
      const int expected = compare(p, q);
      for (const rat_point& a : {rat_point(p), eager(p)}) {
        ASSERT_EQ(compare(a, rat_point(q)), expected);
        ASSERT_EQ(compare(eager(q), a), -expected);
      }
    }
  }
  EXPECT_EQ(compare(rat_point(1, 0, 3), rat_point(point(1.0 / 3.0, 0.0))), 1);
}

TEST(RatPoint, OrientationIsTheSignOfTheExactDeterminant) {
  Random random(13);
  int certain = 0;
  int fixed = 0;
  int different = 0;
  int runs = 0;
  for (const Coordinate& k : {reals(0), lattice(0), reals(-538), reals(-1060), reals(1019),
                              mixed({-1074, -20, 0, 20, 60, 1022})}) {
    for (int run = 0; run < 3000; ++run, ++runs) {
      point a(k(random), k(random));
      point b(k(random), k(random));
      point c = pick(random, 0, 1) == 0 ? near_line(random, a, b) : point(k(random), k(random));
      if (!std::isfinite(c.xcoord()) || !std::isfinite(c.ycoord())) c = a;
      if (pick(random, 0, 1) == 0) std::swap(a, c);
      const fractions fa(a);
      const int expected = sgn(cross(fractions(b) - fa, fractions(c) - fa));
      const rat_point ra(a), rb(b), rc(c);
      ASSERT_EQ(orientation(ra, rb, rc), expected) << a << b << c;
      ASSERT_EQ(orientation(rb, ra, rc), -expected);
      ASSERT_EQ(orientation(eager(a), rb, rc), expected);
      ASSERT_EQ(detail::orientation_exact(ra, rb, rc), expected);
      ASSERT_EQ(detail::exact_orientation(a, b, c), expected);
      different += orientation(a, b, c) != expected;
      const detail::xy xa = ra.doubles();
      certain += detail::certain_cross_sign(detail::rounded_difference(xa, rb.doubles()),
                                            detail::rounded_difference(xa, rc.doubles())) != 0;
      fixed += detail::orientation_fixed(xa, rb.doubles(), rc.doubles()).has_value();
    }
  }
  EXPECT_GT(certain, runs / 10);
  EXPECT_LT(certain, runs - runs / 10);
  EXPECT_GT(fixed, runs / 2);
  EXPECT_LT(fixed, runs);
  EXPECT_GT(different, 100);  // doubles alone are often wrong here
}

TEST(RatPoint, Reports) {
  using testing_support::report_of;
  const double inf = std::numeric_limits<double>::infinity();
  for (const point& p : {point(inf, 0), point(0, -inf), point(0, std::nan(""))}) {
    EXPECT_EQ(report_of([&] { rat_point{p}; }), "1: integer(double): argument infinite");
  }
  EXPECT_EQ(report_of([] { rat_point(1, 2, 0); }), "1: division by zero");
  EXPECT_EXIT(rat_point(point(0, inf)), testing::KilledBySignal(SIGABRT),
              "FLNZ ERROR HANDLER\n\tinteger\\(double\\): argument infinite");
}

}  // namespace
}  // namespace planloc
