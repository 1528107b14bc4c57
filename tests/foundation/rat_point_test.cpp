#include "planloc/foundation/geometry/rat_point.h"

#include <gtest/gtest.h>

#include "tests/foundation/rat_cases.h"
#include "tests/foundation/reports.h"

namespace planloc {
namespace {

using namespace rat_cases;

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
  const rat_point q(-2, 3, -4);
  EXPECT_TRUE(q.X() == 2 && q.Y() == -3 && q.W() == 4 && q == rat_point(point(0.5, -0.75)));
  EXPECT_TRUE(rat_point(point(-0.0, 0.0)) == origin);
  EXPECT_EQ(rat_point(p).id(), p.id());
  EXPECT_NE(rat_point(-2, 3, -4).id(), q.id());
  // A common factor must not matter, even one beyond all doubles.
  const integer factor = (integer(1) << 3000) + 1;
  const rat_point s(factor, integer(-7) * factor, integer(3) * factor);
  EXPECT_EQ(s.to_point(), point(1.0 / 3.0, -7.0 / 3.0));
  EXPECT_EQ(compare(s, rat_point(point(1.0 / 3.0, -7.0 / 3.0))), 1);
  EXPECT_TRUE(s == rat_point(1, -7, 3));
}

TEST(RatPoint, LazyAndEagerPointsAreTheSame) {
  Random random(11);
  for (const Coordinate& k : {reals(0), lattice(0), reals(-1060), lattice(-1074), reals(1018),
                              mixed({-1074, -1022, -500, 0, 60, 500, 1022})}) {
    for (int run = 0; run < 300; ++run) {
      const point p(k(random), k(random));
      const point other(pick(random, 0, 1) == 0 ? p.xcoord() : nudge(random, p.xcoord()),
                        pick(random, 0, 1) == 0 ? p.ycoord() : k(random));
      const rat_point full = eager(p);
      for (const rat_point& q : {rat_point(p), full, rat_point(full.xcoord(), full.ycoord())}) {
        ASSERT_TRUE(q.X() == full.X() && q.Y() == full.Y() && q.W() == full.W());
        ASSERT_EQ(q.to_point(), p);
        ASSERT_EQ(compare(q, full), 0);
        ASSERT_EQ(compare(q, rat_point(other)), compare(p, other));
        ASSERT_EQ(compare(eager(other), q), compare(other, p));
      }
    }
  }
}

TEST(RatPoint, Reports) {
  const double inf = std::numeric_limits<double>::infinity();
  testing_support::expect_reports({
      {[=] { rat_point{point(inf, 0)}; }, "1: integer(double): argument infinite"},
      {[=] { rat_point{point(0, -inf)}; }, "1: integer(double): argument infinite"},
      {[] { rat_point{point(0, std::nan(""))}; }, "1: integer(double): argument infinite"},
      {[] { rat_point(1, 2, 0); }, "1: division by zero"},
  });
}

}  // namespace
}  // namespace planloc
