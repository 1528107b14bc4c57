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
#include "planloc/foundation/geometry/point.h"
#include "planloc/foundation/geometry/ray.h"
#include "planloc/foundation/geometry/segment.h"
#include "tests/foundation/rat_cases.h"
#include "tests/foundation/reports.h"

namespace planloc {
namespace {

using rat_cases::fractions;
using testing_support::report_of;
using testing_support::text_of;

constexpr double kPi = std::numbers::pi;
const double kInfinity = std::numeric_limits<double>::infinity();

void expect_near(const point& p, const point& q, double tolerance = 1e-14) {
  EXPECT_NEAR(p.xcoord(), q.xcoord(), tolerance);
  EXPECT_NEAR(p.ycoord(), q.ycoord(), tolerance);
}

TEST(Point, ValuesAndIds) {
  EXPECT_EQ(point(3, 4, 2), point(1.5, 2));
  EXPECT_EQ(point(vector(1, 2, 3)), point(1, 2));
  EXPECT_EQ(point(1, 2).to_vector(), vector(1, 2));
  EXPECT_NE(point(1, 2), point(1, 2.0000000001));
  EXPECT_NE(point(std::nan(""), 0), point(std::nan(""), 0));
  EXPECT_EQ(point(0.0, -0.0), point());
  const point p(1, 2);
  const point q(1, 2);
  const point copy = p;
  EXPECT_EQ(q.id(), p.id() + 1);
  EXPECT_EQ(copy.id(), p.id());
  EXPECT_EQ(report_of([] { (void)point(vector(1)); }), "1: vector: index out of range ");
  EXPECT_EQ(report_of([&] { (void)p.translate(vector(1)); }), "1: vector: index out of range ");
  EXPECT_EQ(compare(point(1, 2), point(1, 3)), -1);
  EXPECT_EQ(compare(point(2, 0), point(1, 3)), 1);
  EXPECT_EQ(compare(p, q), 0);
}

TEST(Point, DistancesAndMotions) {
  const point p(1, 2);
  EXPECT_EQ(p.sqr_dist(point(4, 6)), 25.0);
  EXPECT_EQ(p.distance(point(4, 6)), 5.0);
  EXPECT_EQ(p.xdist(point(-3, 0)), 4.0);
  EXPECT_EQ(p.ydist(point(-3, 0)), 2.0);
  EXPECT_EQ(p.distance(point(kInfinity, 0)), kInfinity);
  EXPECT_EQ(p.translate(vector(1, -1)), point(2, 1));
  EXPECT_EQ(p.rotate90(), point(-2, 1));
  EXPECT_EQ(p.rotate90(point(1, 1)), point(0, 1));
  expect_near(p.translate_by_angle(kPi / 2, 3), point(1, 5));
  expect_near(p.rotate(kPi / 2), point(-2, 1));
  expect_near(p.rotate(point(1, 1), -kPi / 2), point(2, 1));
}

TEST(Point, TextForms) {
  EXPECT_EQ(text_of(point(1, 2)), "(1,2)");
  EXPECT_EQ(text_of(point(-1.5, 1e-20)), "(-1.5,1e-20)");
  const struct {
    const char* text;
    point expected;
  } cases[] = {{"(1,2)", point(1, 2)},
               {"1 2", point(1, 2)},
               {"x = -1.5; y: .25", point(-1.5, 0.25)},
               {"+3e2-4", point(300, -4)}};
  for (const auto& c : cases) {
    std::istringstream in(c.text);
    point p;
    in >> p;
    EXPECT_EQ(p, c.expected) << c.text;
  }
  std::istringstream two("(1,2) [(3,4)===(5,6)] (7");
  point p;
  segment s;
  two >> p >> s;
  EXPECT_EQ(s, segment(point(3, 4), point(5, 6)));
  EXPECT_EQ(text_of(s), "[(3,4)===(5,6)]");
  two >> p;
  EXPECT_TRUE(two.fail());
  EXPECT_EQ(p, point(1, 2));
}

TEST(Segment, Values) {
  const point o;
  const segment s(point(1, 2), point(3, 6));
  EXPECT_EQ(s.dx() + 10 * s.dy(), 42.0);
  EXPECT_EQ(s.slope(), 2.0);
  EXPECT_EQ(s.y_proj(0), 0.0);
  EXPECT_EQ(s.x_proj(8), 4.0);
  EXPECT_EQ(segment(o, point(3, 4)).length(), 5.0);
  expect_near(segment(o, kPi / 3, 2).target(), point(1, std::sqrt(3)));
  expect_near(s.rotate(kPi / 2).target(), point(-3, 4));
  EXPECT_EQ(s.rotate(1.0).source(), s.source());
  EXPECT_FALSE(s == segment(s.target(), s.source()));

  const segment vertical(point(1, 2), point(1, 0));
  EXPECT_EQ(vertical.slope(), std::numeric_limits<double>::max());
  EXPECT_EQ(vertical.x_proj(17), 1.0);
  EXPECT_EQ(vertical.angle(), -kPi / 2);
  EXPECT_EQ(segment(o, o).slope(), std::numeric_limits<double>::max());
  EXPECT_EQ(segment(o, o).angle(), 0.0);
  EXPECT_EQ(segment(point(0, 0), point(-0.0, 0)).angle(), 0.0);
  EXPECT_EQ(segment(o, point(-1, 0)).angle(), kPi);
}

TEST(Segment, AngleToAnother) {
  const auto angle = [](double x1, double y1, double x2, double y2) {
    return segment(point(), point(x1, y1)).angle(segment(point(), point(x2, y2)));
  };
  EXPECT_EQ(angle(1, 0, 0, 1), kPi / 2);
  EXPECT_NEAR(angle(0, 1, 1, 0), 1.5 * kPi, 1e-15);
  EXPECT_EQ(angle(0, 0, 1, 0), 0.0);
  EXPECT_EQ(angle(1, 0, 0, 0), 0.0);
  std::mt19937 random(3);
  std::uniform_real_distribution<double> coordinate(-1, 1);
  for (int trial = 0; trial < 1000; ++trial) {
    const point p(coordinate(random), coordinate(random));
    const point q(coordinate(random), coordinate(random));
    const segment s(point(), p);
    EXPECT_EQ(s.angle(s), 0.0);
    EXPECT_EQ(s.angle(segment(p, point())), kPi);
    // The cosine of a rounded multiple may come out beyond 1: that is no failure of acos.
    const double f = 1.0 + q.xdist(p);
    const segment t(point(), point(f * p.xcoord(), f * p.ycoord()));
    const segment u(t.target(), t.source());
    const double along = s.angle(t);
    EXPECT_NEAR(s.dy() * t.dx() > s.dx() * t.dy() && along > 0.0 ? 2 * kPi - along : along, 0.0,
                1e-7);
    EXPECT_NEAR(s.angle(u), kPi, 1e-7);
    double turn = segment(point(), q).angle() - s.angle();
    if (turn < 0.0) turn += 2 * kPi;
    EXPECT_NEAR(s.angle(segment(point(), q)), turn, 1e-6);
    EXPECT_EQ(point().angle(p, q), s.angle(segment(point(), q)));
  }
  EXPECT_EQ(report_of([] { (void)point().angle(point(), point(1, 0)); }),
            "1: point::angle:  zero vector input.");
  EXPECT_EQ(report_of([] { (void)point().angle(point(1, 0), point()); }),
            "1: point::angle:  zero vector input.");
}

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
  const auto ends = [](const segment& x) {
    return compare(x.source(), x.target()) < 0 ? std::pair(x.source(), x.target())
                                               : std::pair(x.target(), x.source());
  };
  const auto [s1, s2] = ends(s);
  const auto [t1, t2] = ends(t);
  const point low = compare(s1, t1) > 0 ? s1 : t1, high = compare(s2, t2) < 0 ? s2 : t2;
  common = fractions(low);
  const int order = compare(low, high);
  return order > 0 ? 0 : order == 0 ? 1 : 2;
}

TEST(Segment, IntersectionIsExactAndRoundedOnce) {
  rat_cases::Random random(17);
  int seen[3] = {};
  for (int trial = 0; trial < 20000; ++trial) {
    // From time to time so small that every product underflows, or so large that it overflows; and
    // every other time with ends of all bits, some next to the other segment.
    const int exponent = trial % 5 == 0 ? -600 : trial % 5 == 1 ? 600 : 0;
    const auto k = trial % 2 == 0 ? rat_cases::lattice(exponent) : rat_cases::reals(exponent);
    const auto draw = [&] {
      const double x = k(random);
      return point(x, trial % 16 == 0 ? x : k(random));
    };
    const point a = draw(), b = draw(), c = draw();
    const point d = trial % 4 == 1 ? rat_cases::near_line(random, a, b) : draw();
    const segment s(a, b), t(c, d);
    fractions exact(a);
    const int common = common_points(s, t, exact);
    ++seen[common];
    const point untouched(77, 77);
    point p = untouched;
    point q;
    ASSERT_EQ(s.intersection(t, p), common == 1) << s << t;
    ASSERT_EQ(t.intersection(s, q), common == 1) << s << t;
    if (common == 1) {
      const point nearest(rat_cases::nearest_double(exact.x), rat_cases::nearest_double(exact.y));
      ASSERT_EQ(p, nearest) << s << t;
      ASSERT_EQ(q, nearest) << s << t;
    } else {
      EXPECT_EQ(p, untouched);
    }
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
  const point o;
  const line diagonal(o, point(1, 1));
  const line vertical(point(3, 1), kPi / 2);
  const line steep(segment(point(0.1, 5), point(0.1, 9)));
  EXPECT_EQ(line(point(1, 2), vector(3, -1)).point2(), point(4, 1));
  EXPECT_TRUE(steep.is_vertical());
  EXPECT_FALSE(diagonal.is_vertical());
  EXPECT_EQ(diagonal.side_of(point(0, 1)), 1);
  EXPECT_EQ(diagonal.side_of(point(5, 5)), 0);
  EXPECT_EQ(diagonal.side_of(point(1, 0)), -1);
  point p(77, 77);
  EXPECT_FALSE(diagonal.intersection(line(point(0, 1), point(1, 2)), p));
  EXPECT_FALSE(diagonal.intersection(diagonal, p));
  EXPECT_FALSE(diagonal.intersection(line(), p));
  EXPECT_EQ(p, point(77, 77));
  ASSERT_TRUE(diagonal.intersection(vertical, p));
  expect_near(p, point(3, 3));
  ASSERT_TRUE(line(point(-2, 7), point(5, 1)).intersection(steep, p));
  EXPECT_EQ(p.xcoord(), 0.1);
  ASSERT_TRUE(line(point(-9, 0.3), point(5, 0.3)).intersection(diagonal, p));
  EXPECT_EQ(p.ycoord(), 0.3);

  const ray r(point(1, 1), point(2, 3));
  EXPECT_EQ(r.source(), point(1, 1));
  EXPECT_EQ(r.slope() + r.y_proj(0) + r.x_proj(5), 2.0 - 1.0 + 3.0);
  expect_near(ray(point(1, 1), kPi).point2(), point(0, 1));
  EXPECT_EQ(r.side_of(point(0, 1)), 1);
  ASSERT_TRUE(r.intersection(line(point(0, 5), point(1, 5)), p));
  EXPECT_EQ(p, point(3, 5));
  ASSERT_TRUE(r.intersection(diagonal, p));  // in its source
  EXPECT_EQ(p, r.source());
  EXPECT_FALSE(r.intersection(line(point(0, 0), point(1, 0)), p));
  EXPECT_FALSE(r.intersection(line(point(0, 0), point(1, 2)), p));
  EXPECT_EQ(p, r.source());
}

TEST(Circle, CentreAndRadius) {
  const circle c(point(3, 2), point(1, 4), point(-1, 2));
  EXPECT_EQ(c.center(), point(1, 2));
  EXPECT_EQ(c.radius(), 2.0);
  // A record of centre and radius, as the covering solvers use it.
  const circle record(point(0.1, 1e17), 0.3);
  EXPECT_EQ(record.center(), point(0.1, 1e17));
  EXPECT_EQ(record.radius(), 0.3);
  EXPECT_EQ(circle(point(1, 2), 1e50).radius(), 1e50);
  EXPECT_EQ(circle().radius(), 0.0);
  const circle flat(point(0, 0), point(1, 1), point(2, 2));
  EXPECT_EQ(report_of([&] { (void)flat.center(); }), "1: circle::center(): points are collinear.");
  EXPECT_EQ(report_of([&] { (void)flat.radius(); }), "1: circle::center(): points are collinear.");
  EXPECT_EQ(report_of([] { circle(point(0, 0), point(1, 1), point(0, 0)); }),
            "1: circle::circle: non-admissable triple");
}

TEST(Circle, Intersections) {
  const circle unit(point(0, 0), 1);
  const auto with_circle = [&](double x, double r) {
    return text_of(unit.intersection(circle(point(x, 0), r)));
  };
  EXPECT_EQ(with_circle(1.2, 1), "(0.6,0.8) (0.6,-0.8)");
  EXPECT_EQ(with_circle(-1.2, 1), "(-0.6,-0.8) (-0.6,0.8)");
  EXPECT_EQ(with_circle(2, 1), "(1,0)");
  EXPECT_EQ(with_circle(-1, 2), "(1,0)");
  EXPECT_EQ(with_circle(2.5, 1), "");
  EXPECT_EQ(with_circle(0.5, 2), "");
  EXPECT_EQ(with_circle(0, 1), "");
  const auto with_line = [&](double x1, double y1, double x2, double y2) {
    return text_of(unit.intersection(line(point(x1, y1), point(x2, y2))));
  };
  EXPECT_EQ(with_line(7, 0.6, 9, 0.6), "(-0.8,0.6) (0.8,0.6)");
  EXPECT_EQ(with_line(9, 0.6, 7, 0.6), "(0.8,0.6) (-0.8,0.6)");
  EXPECT_EQ(with_line(-1, 0, -1, 5), "(-1,0)");
  EXPECT_EQ(with_line(-1.5, 0, -1.5, 5), "");
  EXPECT_EQ(with_line(0, 1, 0, 1), "");

  std::mt19937 random(23);
  std::uniform_real_distribution<double> coordinate(-5, 5);
  for (int trial = 0; trial < 500; ++trial) {
    const point a(coordinate(random), coordinate(random));
    const point b(coordinate(random), coordinate(random));
    const double r = a.distance(b);
    const list<point> common = circle(a, r).intersection(circle(b, r));
    ASSERT_EQ(common.size(), 2);
    for (const point& p : common) {
      EXPECT_NEAR(p.distance(a), r, 1e-12);
      EXPECT_NEAR(p.distance(b), r, 1e-12);
    }
    EXPECT_EQ(orientation(a, b, common.head()), 1);
    EXPECT_EQ(orientation(a, b, common.tail()), -1);
  }
}

TEST(Orientation, SignInDoubles) {
  EXPECT_EQ(orientation(point(0, 0), point(1, 0), point(0, 1)), 1);
  EXPECT_EQ(orientation(point(0, 0), point(1, 0), point(0, -1)), -1);
  EXPECT_EQ(orientation(point(0, 0), point(1, 0), point(std::nan(""), 1)), 0);
  EXPECT_EQ(detail::exact_orientation(point(0, 0), point(1, 0), point(0, kInfinity)), 1);
  EXPECT_EQ(detail::exact_orientation(point(0, 0), point(1, 0), point(std::nan(""), 1)), 0);
}

}  // namespace
}  // namespace planloc
