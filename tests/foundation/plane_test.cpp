// Points, segments, lines, rays and circles.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>
#include <random>
#include <sstream>
#include <utility>

#include "planloc/foundation/geometry/circle.h"
#include "planloc/foundation/geometry/exact_orientation.h"
#include "planloc/foundation/geometry/line.h"
#include "planloc/foundation/geometry/ray.h"
#include "tests/foundation/rat_cases.h"
#include "tests/foundation/reports.h"

namespace planloc {
namespace {

using rat_cases::fractions;
using testing_support::expect_reports;
using testing_support::text_of;

constexpr double kPi = std::numbers::pi;
const double kInfinity = std::numeric_limits<double>::infinity();

void expect_near(const point& p, const point& q) { EXPECT_NEAR(p.distance(q), 0.0, 1e-14); }

TEST(Point, ValuesAndIds) {
  EXPECT_EQ(point(3, 4, 2), point(vector(1.5, 2, 3)));
  EXPECT_NE(point(1, 2), point(1, 2.0000000001));
  EXPECT_NE(point(std::nan(""), 0), point(std::nan(""), 0));
  EXPECT_EQ(point(0.0, -0.0), point());
  const point p(1, 2);
  const point q(1, 2);
  EXPECT_EQ(q.id(), p.id() + 1);
  EXPECT_EQ(point(p).id(), p.id());
  expect_reports({
      {[] { (void)point(vector(1)); }, "1: vector: index out of range "},
      {[&] { (void)p.translate(vector(1)); }, "1: vector: index out of range "},
      {[&] { (void)p.angle(q, point()); }, "1: point::angle:  zero vector input."},
      {[&] { (void)p.angle(point(), q); }, "1: point::angle:  zero vector input."},
  });
}

TEST(Point, DistancesAndMotions) {
  const point p(1, 2);
  EXPECT_EQ(p.distance(point(4, 6)), 5.0);
  EXPECT_EQ(p.xdist(point(-3, 0)) + 10 * p.ydist(point(-3, 0)), 24.0);
  EXPECT_EQ(p.distance(point(kInfinity, 0)), kInfinity);
  EXPECT_EQ(p.rotate90(), point(-2, 1));
  EXPECT_EQ(p.rotate90(point(1, 1)), point(0, 1));
  expect_near(p.rotate(kPi / 2), point(-2, 1));
  expect_near(p.rotate(point(2, 1), -kPi / 2), point(3, 2));
}

TEST(Point, TextForms) {
  std::istringstream in("(1,2) x = -1.5; y: .25 +3e2-4 [(3,4)===(5,6)] (7");
  point p, q, r;
  segment s;
  in >> p >> q >> r >> s;
  EXPECT_EQ(text_of(list<point>{p, q, r}) + text_of(s),
            "(1,2) (-1.5,0.25) (300,-4)[(3,4)===(5,6)]");
  in >> p;
  EXPECT_TRUE(in.fail());
  EXPECT_EQ(p, point(1, 2));
}

TEST(Segment, Values) {
  const point o;
  const segment s(point(1, 2), point(3, 6));
  EXPECT_EQ(s.slope(), 2.0);
  EXPECT_EQ(s.y_proj(0) + s.x_proj(8), 4.0);
  expect_near(segment(o, kPi / 3, 2).target(), point(1, std::sqrt(3)));
  expect_near(s.rotate(kPi / 2).target(), point(-3, 4));
  EXPECT_FALSE(s == segment(s.target(), s.source()));
  EXPECT_EQ(segment(o, o).slope(), std::numeric_limits<double>::max());
  EXPECT_EQ(segment(o, point(0, -1)).x_proj(17), 0.0);
  EXPECT_EQ(segment(o, point(0, -1)).angle(), -kPi / 2);
  EXPECT_EQ(segment(o, point(-0.0, 0)).angle(), 0.0);
  EXPECT_EQ(segment(o, point(-1, 0)).angle(), kPi);
}

TEST(Segment, AngleToAnother) {
  const point o;
  EXPECT_EQ(segment(o, o).angle(segment(o, point(1, 0))), 0.0);
  std::mt19937 random(3);
  std::uniform_real_distribution<double> coordinate(-1, 1);
  for (int trial = 0; trial < 1000; ++trial) {
    const point p(coordinate(random), coordinate(random));
    const point q(coordinate(random), coordinate(random));
    const segment s(o, p), t(o, q);
    EXPECT_EQ(s.angle(s), 0.0);
    EXPECT_EQ(s.angle(segment(p, o)), kPi);
    // The cosine of a rounded multiple may come out beyond 1: that is no failure of acos.
    const double f = 1.0 + q.xdist(p);
    const segment along(o, point(f * p.xcoord(), f * p.ycoord()));
    EXPECT_NEAR(std::remainder(s.angle(along), 2 * kPi), 0.0, 1e-7);
    EXPECT_NEAR(s.angle(segment(along.target(), o)), kPi, 1e-7);
    const double turn = s.angle(t);
    EXPECT_TRUE(0.0 <= turn && turn < 2 * kPi) << turn;
    EXPECT_NEAR(std::remainder(turn - (t.angle() - s.angle()), 2 * kPi), 0.0, 1e-6);
    EXPECT_EQ(o.angle(p, q), turn);
  }
}

bool before(const point& p, const point& q) { return compare(p, q) < 0; }

// The number of common points (2 stands for more than one) of two closed segments, and one of them.
int common_points(const segment& s, const segment& t, fractions& common) {
  const fractions a(s.source()), c(t.source());
  const fractions u = fractions(s.target()) - a, v = fractions(t.target()) - c, w = c - a;
  const mpq_class turn = cross(u, v);
  if (turn != 0) {
    const mpq_class f = cross(w, v) / turn, g = cross(w, u) / turn;
    common = {a.x + f * u.x, a.y + f * u.y};
    return f >= 0 && f <= 1 && g >= 0 && g <= 1 ? 1 : 0;
  }
  if (cross(w, u) != 0 || cross(w, v) != 0) return 0;
  // All on one line, or two points, which the coordinates order in the same way.
  const auto [s1, s2] = std::minmax(s.source(), s.target(), before);
  const auto [t1, t2] = std::minmax(t.source(), t.target(), before);
  const point low = std::max(s1, t1, before), high = std::min(s2, t2, before);
  common = fractions(low);
  return before(high, low) ? 0 : low == high ? 1 : 2;
}

TEST(Segment, IntersectionIsExactAndRoundedOnce) {
  // Also so small that every product underflows, so large that it overflows, and of all sizes.
  const rat_cases::Coordinate kinds[] = {
      rat_cases::lattice(0),
      rat_cases::reals(0),
      rat_cases::lattice(-600),
      rat_cases::reals(-600),
      rat_cases::lattice(600),
      rat_cases::reals(600),
      rat_cases::mixed({-1074, -500, 0, 60, 1022}),
  };
  rat_cases::Random random(17);
  int seen[3] = {};
  for (int trial = 0; trial < 20000; ++trial) {
    const auto& k = kinds[trial % 7];
    const auto draw = [&] {
      const double x = k(random);
      return point(x, trial % 16 == 0 ? x : k(random));
    };
    const point a = draw(), b = draw(), c = draw();
    const point d = trial % 4 == 1 ? rat_cases::near_line(random, a, b) : draw();
    if (!std::isfinite(d.xcoord()) || !std::isfinite(d.ycoord())) continue;
    const segment s(a, b), t(c, d);
    fractions exact(a);
    const int common = common_points(s, t, exact);
    ++seen[common];
    point p(77, 77);
    point q = p;
    ASSERT_EQ(s.intersection(t, p), common == 1) << s << t;
    ASSERT_EQ(t.intersection(s, q), common == 1) << s << t;
    if (common != 1) exact = fractions(point(77, 77));
    const point nearest(rat_cases::nearest_double(exact.x), rat_cases::nearest_double(exact.y));
    ASSERT_EQ(p, nearest) << s << t;
    ASSERT_EQ(q, p) << s << t;
  }
  EXPECT_GT(std::min({seen[0], seen[1], seen[2]}), 300);
  const segment across(point(1, -1), point(1, 1));
  for (const double end : {kInfinity, -kInfinity, std::nan("")}) {
    point p;
    EXPECT_FALSE(across.intersection(segment(point(0, 0), point(end, 0.5)), p));
    EXPECT_FALSE(segment(point(0, end), point(1, 0)).intersection(across, p));
  }
}

TEST(Line, PointsAndIntersections) {
  const line diagonal(point(), point(1, 1));
  const line steep(segment(point(0.1, 5), point(0.1, 9)));
  const ray r(point(1, 1), point(2, 3));
  EXPECT_EQ(line(point(1, 2), vector(3, -1)).point2(), point(4, 1));
  expect_near(ray(point(1, 1), kPi).point2(), point(0, 1));
  EXPECT_TRUE(steep.is_vertical() && !diagonal.is_vertical());
  EXPECT_EQ(diagonal.side_of(point(0, 1)), 1);
  EXPECT_EQ(r.side_of(point(1, 0)), -1);

  point p(77, 77);
  EXPECT_FALSE(diagonal.intersection(line(point(0, 1), point(1, 2)), p));
  EXPECT_FALSE(r.intersection(line(point(0, 0), point(1, 0)), p));  // behind the source
  EXPECT_FALSE(r.intersection(line(point(0, 0), point(1, 2)), p));  // parallel
  EXPECT_EQ(p, point(77, 77));
  EXPECT_TRUE(diagonal.intersection(line(point(3, 1), kPi / 2), p));
  expect_near(p, point(3, 3));
  EXPECT_TRUE(line(point(-2, 7), point(5, 1)).intersection(steep, p));
  EXPECT_EQ(p.xcoord(), 0.1);
  EXPECT_TRUE(line(point(-9, 0.3), point(5, 0.3)).intersection(diagonal, p));
  EXPECT_EQ(p.ycoord(), 0.3);
  EXPECT_TRUE(r.intersection(diagonal, p));
  EXPECT_EQ(p, r.source());
}

TEST(Circle, CentreAndRadius) {
  const circle c(point(3, 2), point(1, 4), point(-1, 2));
  EXPECT_EQ(c.center(), point(1, 2));
  EXPECT_EQ(c.radius(), 2.0);
  const circle record(point(0.1, 1e17), 0.3);  // keeps both, bit for bit
  EXPECT_EQ(record.center(), point(0.1, 1e17));
  EXPECT_EQ(record.radius(), 0.3);
  const point o, p(1, 1);
  const circle flat(o, p, point(2, 2));
  expect_reports({
      {[&] { (void)flat.center(); }, "1: circle::center(): points are collinear."},
      {[&] { (void)flat.radius(); }, "1: circle::center(): points are collinear."},
      {[&] { circle(o, p, o); }, "1: circle::circle: non-admissable triple"},
  });
}

TEST(Circle, Intersections) {
  const circle five(point(0, 0), 5);
  const std::pair<list<point>, const char*> cases[] = {
      {five.intersection(circle(point(7, 1), 5)), "(3,4) (4,-3)"},
      {circle(point(7, 1), 5).intersection(five), "(4,-3) (3,4)"},
      {five.intersection(line(point(2, 11), point(3, 4))), "(3,4) (4,-3)"},
      {five.intersection(line(point(3, 4), point(2, 11))), "(4,-3) (3,4)"},
      {five.intersection(circle(point(10, 0), 5)), "(5,0)"},
      {five.intersection(circle(point(-1, 0), 6)), "(5,0)"},
      {five.intersection(circle(point(12, 0), 5)), ""},
      {five.intersection(circle(point(1, 0), 12)), ""},
      {five.intersection(five), ""},
      {five.intersection(line(point(-5, 0), point(-5, 5))), "(-5,0)"},
      {five.intersection(line(point(-6, 0), point(-6, 5))), ""},
      {five.intersection(line(point(0, 5), point(0, 5))), ""},
  };
  for (const auto& [common, expected] : cases) EXPECT_EQ(text_of(common), expected);
}

TEST(Orientation, InfiniteAndMissingCoordinates) {
  const point o, east(1, 0), nowhere(std::nan(""), 1);
  EXPECT_EQ(orientation(o, east, nowhere), 0);
  EXPECT_EQ(detail::exact_orientation(o, east, nowhere), 0);
  EXPECT_EQ(detail::exact_orientation(o, east, point(0, kInfinity)), 1);
}

}  // namespace
}  // namespace planloc
