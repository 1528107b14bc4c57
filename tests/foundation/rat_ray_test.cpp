#include "planloc/foundation/geometry/rat_ray.h"

#include <gtest/gtest.h>

#include <csignal>
#include <optional>
#include <string>
#include <vector>

#include "planloc/foundation/geometry/fixed_crossing.h"
#include "tests/foundation/rat_cases.h"

namespace planloc {
namespace {

using namespace rat_cases;

struct scene {
  point a, b;  // the ray
  point c, d;  // the segment
};

using Scenes = std::function<scene(Random&)>;

// The rules on fractions, by the equation of the ray's line instead of parameters.
std::optional<fractions> reference(const scene& s) {
  const fractions a(s.a), b(s.b), c(s.c), d(s.d);
  const auto side = [&](const fractions& p) { return cross(b - a, p - a); };
  const auto on_ray = [&](const fractions& p) { return side(p) == 0 && dot(b - a, p - a) >= 0; };
  if ((c.x == d.x && c.y == d.y) || side(c) == side(d)) {
    if (on_ray(c)) return c;
    if (on_ray(d)) return d;
    return std::nullopt;
  }
  if (side(c) * side(d) > 0) return std::nullopt;
  const mpq_class share = side(c) / (side(c) - side(d));
  const fractions p(c.x * (1 - share) + d.x * share, c.y * (1 - share) + d.y * share);
  return on_ray(p) ? std::optional(p) : std::nullopt;
}

Scenes independent(const Coordinate& k) {
  return [=](Random& r) {
    const auto p = [&] { return point(k(r), k(r)); };
    return scene{p(), p(), p(), p()};
  };
}
// Ends of the segment next to the ray's line.
Scenes grazing(const Coordinate& k) {
  return [=](Random& r) {
    scene s = independent(k)(r);
    s.c = near_line(r, s.a, s.b);
    if (pick(r, 0, 2) == 0) s.d = near_line(r, s.a, s.b);
    if (pick(r, 0, 1) == 0) std::swap(s.c, s.d);
    return s;
  };
}
// The source next to the line of the segment.
Scenes source_on_edge(const Coordinate& k) {
  return [=](Random& r) {
    scene s = independent(k)(r);
    s.a = near_line(r, s.c, s.d);
    return s;
  };
}
Scenes nearly_parallel(const Coordinate& k) {
  return [=](Random& r) {
    scene s = independent(k)(r);
    const double f = pick(r, 0, 1) == 0 ? pick(r, -2, 2) : real(r, -2.0, 2.0);
    s.c = near_line(r, s.a, s.b);
    s.d = point(nudge(r, s.c.xcoord() + f * (s.b.xcoord() - s.a.xcoord())),
                nudge(r, s.c.ycoord() + f * (s.b.ycoord() - s.a.ycoord())));
    return s;
  };
}
// The facility inside a ball whose vertices are rounded sums, the point on a vertex or beyond it.
Scenes ball_edges() {
  return [](Random& r) {
    const point p(pick(r, -50, 50) / 10.0, pick(r, -50, 50) / 10.0);
    const double w = pick(r, 1, 30) / 10.0;
    const int i = pick(r, 0, 7);
    const auto vertex = [&](int k, double f) {
      return point(p.xcoord() + f * std::cos(k * M_PI / 4) / w,
                   p.ycoord() + f * std::sin(k * M_PI / 4) / w);
    };
    return scene{p, vertex(i + pick(r, -1, 4), real(r, 0.5, 4.0)), vertex(i, 1.0),
                 vertex(i + 1, 1.0)};
  };
}

enum Expected { kNothing = 0, kHits = 1, kMisses = 2, kFiltered = 4, kFixed = 8, kBig = 16 };
constexpr int kOrdinary = kHits | kMisses | kFiltered | kFixed;

struct family {
  std::string name;
  Scenes scenes;
  int expected;  // what must occur; kBig and kFiltered must not occur otherwise
};

const std::vector<int> kAllSizes = {-1074, -1060, -1022, -540, -300, -1, 0, 1, 60, 500, 1000, 1022};

const family kFamilies[] = {
    {"reals", independent(reals(0)), kOrdinary},
    {"integers", independent(lattice(0)), kOrdinary},
    {"ends next to the line", grazing(reals(0)), kOrdinary},
    {"ends next to a lattice line", grazing(lattice(0)), kOrdinary | kBig},
    {"source next to the edge", source_on_edge(reals(0)), kOrdinary},
    {"nearly parallel", nearly_parallel(reals(0)), kOrdinary},
    {"nearly parallel on the lattice", nearly_parallel(lattice(0)), kOrdinary | kBig},
    {"edges of a ball", ball_edges(), kOrdinary},
    {"all sizes", independent(mixed(kAllSizes)), kOrdinary | kBig},
    {"close sizes", independent(mixed({-36, -20, 0, 20, 36})), kOrdinary | kBig},
    {"1e300 and 1e-300", independent(mixed({-997, 997})), kOrdinary | kBig},
    {"differences overflow", independent(mixed({1021, 1022})), kHits | kMisses | kFixed},
    {"products overflow", grazing(reals(600)), kHits | kMisses | kFixed},
    {"products are denormal", grazing(reals(-538)), kHits | kMisses | kFixed},
    {"products nearly denormal", grazing(reals(-512)), kOrdinary},
    {"products vanish", grazing(reals(-700)), kHits | kMisses | kFixed},
    {"denormal lattice", independent(lattice(-1074)), kHits | kMisses | kFixed},
    {"denormals", independent(reals(-1060)), kHits | kMisses | kFixed},
};

void PrintTo(const family& f, std::ostream* out) { *out << f.name; }

class RatRayAgreement : public testing::TestWithParam<family> {};

TEST_P(RatRayAgreement, FilterFixedAndBigNumbersAgreeWithFractions) {
  Random random(20);
  int seen = kNothing;
  int filtered = 0;
  int misses = 0;
  constexpr int kRuns = 3000;
  for (int run = 0; run < kRuns; ++run) {
    const scene s = GetParam().scenes(random);
    SCOPED_TRACE(testing::Message() << std::hexfloat << s.a << s.b << s.c << s.d);
    const rat_ray ray{rat_point(s.a), rat_point(s.b)};
    const rat_segment segment{rat_point(s.c), rat_point(s.d)};
    const auto expected = reference(s);

    const rat_point untouched(point(17.0, 4.0));
    rat_point r = untouched;
    rat_point exact_r = untouched;
    ASSERT_EQ(ray.intersection(segment, r), expected.has_value());
    ASSERT_EQ(detail::intersection_exact(ray, segment, exact_r), expected.has_value());
    ASSERT_TRUE(r == exact_r);
    if (expected) {
      const point rounded = r.to_point();
      ASSERT_EQ(rounded.xcoord(), nearest_double(expected->x));
      ASSERT_EQ(rounded.ycoord(), nearest_double(expected->y));
      ASSERT_TRUE(exact_r.to_point() == rounded);
      ASSERT_TRUE(mpq_class(r.X().value()) == expected->x * r.W().value());
      ASSERT_TRUE(mpq_class(r.Y().value()) == expected->y * r.W().value());
    } else {
      ASSERT_EQ(r.id(), untouched.id());
    }

    const auto double_pair = [](const point& p) { return detail::xy{p.xcoord(), p.ycoord()}; };
    const detail::xy a = double_pair(s.a), b = double_pair(s.b);
    const detail::xy c = double_pair(s.c), d = double_pair(s.d);
    detail::fixed_point cut;
    seen |= expected ? kHits : kMisses;
    misses += !expected;
    seen |= detail::meet_fixed(a, b, c, d, cut) == detail::meeting::kUnknown ? kBig : kFixed;
    if (detail::certainly_misses(a, b, c, d)) ++filtered;
  }
  if (filtered > kRuns / 100) seen |= kFiltered;
  EXPECT_EQ(seen, GetParam().expected);
  EXPECT_LT(filtered, kRuns);
  if (GetParam().name == "reals") {
    EXPECT_GT(filtered, misses * 999 / 1000);
  }
}

INSTANTIATE_TEST_SUITE_P(Families, RatRayAgreement, testing::ValuesIn(kFamilies));

struct rule {
  const char* name;
  scene s;
  std::optional<point> r;
};

TEST(RatRay, RulesOfIntersection) {
  const rule rules[] = {
      {"trivial segment on the ray", {{0, 0}, {1, 1}, {3, 3}, {3, 3}}, point(3, 3)},
      {"trivial segment behind", {{0, 0}, {1, 1}, {-3, -3}, {-3, -3}}, {}},
      {"trivial segment and ray", {{0, 0}, {0, 0}, {5, 7}, {5, 7}}, point(5, 7)},
      {"trivial ray takes the source", {{2, 2}, {2, 2}, {5, 7}, {-1, 0}}, point(5, 7)},
      {"parallel, source first", {{0, 0}, {1, 0}, {9, 0}, {2, 0}}, point(9, 0)},
      {"parallel, source behind", {{0, 0}, {1, 0}, {-9, 0}, {2, 0}}, point(2, 0)},
      {"parallel, all behind", {{0, 0}, {1, 0}, {-9, 0}, {-2, 0}}, {}},
      {"parallel beside", {{0, 0}, {1, 0}, {-9, 1}, {2, 1}}, {}},
      {"starts at the end", {{4, 4}, {9, 1}, {4, 4}, {0, 0}}, point(4, 4)},
      {"starts inside", {{1, 1}, {9, 1}, {0, 0}, {4, 4}}, point(1, 1)},
      {"cuts the end", {{0, 0}, {1, 1}, {3, 3}, {3, 0}}, point(3, 3)},
      {"cuts behind the second point", {{0, 0}, {4, 4}, {1, 0}, {0, 1}}, point(0.5, 0.5)},
      {"cuts behind the source", {{0, 0}, {-4, -4}, {1, 0}, {0, 1}}, {}},
      {"cuts the line only", {{0, 0}, {4, 4}, {2, 0}, {3, 1}}, {}},
  };
  for (const rule& t : rules) {
    SCOPED_TRACE(t.name);
    rat_point r(point(-8.0, -8.0));
    const rat_ray ray{rat_point(t.s.a), rat_point(t.s.b)};
    EXPECT_EQ(ray.intersection(rat_segment(rat_point(t.s.c), rat_point(t.s.d)), r),
              t.r.has_value());
    EXPECT_TRUE(r == rat_point(t.r.value_or(point(-8.0, -8.0))));
  }
}

// The rays and segments of these have ends that are no doubles.
TEST(RatRay, EndsThatAreFractions) {
  const rational third(1, 3);
  const rat_ray ray(rat_point(third, third), rat_point(rational(2) * third, third));
  rat_point r;
  EXPECT_TRUE(ray.intersection(rat_segment(rat_point(rational(5), rational(-1, 7)),
                                           rat_point(rational(6), rational(2, 7))),
                               r) == false);
  EXPECT_TRUE(ray.intersection(
      rat_segment(rat_point(rational(5), rational(-1, 7)), rat_point(rational(6), rational(3, 7))),
      r));
  EXPECT_TRUE(r.xcoord() == rational(35, 6)) << r.xcoord();
  EXPECT_TRUE(r.ycoord() == third);
  // A computed point is on the ray, and a ray through it hits it again.
  EXPECT_TRUE(ray.contains(r));
  rat_point again;
  EXPECT_TRUE(
      rat_ray(rat_point(), r).intersection(rat_segment(r, rat_point(rational(9), third)), again));
  EXPECT_TRUE(again == r);
}

TEST(RatRay, TrivialSegmentIsNoRay) {
  EXPECT_EXIT(rat_ray(rat_segment(rat_point(point(0.5, 2)), rat_point(point(0.5, 2)))),
              testing::KilledBySignal(SIGABRT),
              "rat_ray::rat_ray: cannot construct ray from trivial segment");
  EXPECT_TRUE(rat_ray(rat_point(), rat_point()).is_trivial());
}

}  // namespace
}  // namespace planloc
