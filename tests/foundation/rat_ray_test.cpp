#include "planloc/foundation/geometry/rat_ray.h"

#include <gtest/gtest.h>

#include <csignal>
#include <optional>
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

const std::vector<int> kAllSizes = {-1074, -1060, -1022, -540, -300, -1, 0, 1, 60, 500, 1000, 1022};

const struct {
  const char* name;
  Scenes scenes;
  bool are_filtered;  // whether the filter may answer at all
} kFamilies[] = {
    {"reals", independent(reals(0)), true},
    {"integers", independent(lattice(0)), true},
    {"ends next to the line", grazing(reals(0)), true},
    {"ends next to a lattice line", grazing(lattice(0)), true},
    {"nearly parallel", nearly_parallel(reals(0)), true},
    {"nearly parallel on the lattice", nearly_parallel(lattice(0)), true},
    {"all sizes", independent(mixed(kAllSizes)), true},
    {"close sizes", independent(mixed({-36, -20, 0, 20, 36})), true},
    {"1e300 and 1e-300", independent(mixed({-997, 997})), true},
    {"differences overflow", independent(mixed({1021, 1022})), false},
    {"products overflow", grazing(reals(600)), false},
    {"products are denormal", grazing(reals(-538)), false},
    {"products nearly denormal", grazing(reals(-512)), true},
    {"products vanish", grazing(reals(-700)), false},
    {"denormal lattice", independent(lattice(-1074)), false},
    {"denormals", independent(reals(-1060)), false},
};

TEST(RatRay, FilterFixedAndBigNumbersAgreeWithFractions) {
  Random random(20);
  constexpr int kRuns = 3000;
  for (const auto& [name, scenes, are_filtered] : kFamilies) {
    SCOPED_TRACE(name);
    int filtered = 0, fixed = 0, hits = 0;
    for (int run = 0; run < kRuns; ++run) {
      const scene s = scenes(random);
      SCOPED_TRACE(testing::Message() << std::hexfloat << s.a << s.b << s.c << s.d);
      const rat_point a(s.a), b(s.b), c(s.c), d(s.d), untouched;
      const auto expected = reference(s);
      rat_point r = untouched;
      rat_point exact_r = untouched;
      ASSERT_EQ(rat_ray(a, b).intersection(rat_segment(c, d), r), expected.has_value());
      ASSERT_EQ(detail::intersection_exact(rat_ray(a, b), rat_segment(c, d), exact_r),
                expected.has_value());
      ASSERT_TRUE(r == exact_r);
      if (expected) {
        const point nearest(nearest_double(expected->x), nearest_double(expected->y));
        ASSERT_EQ(r.to_point(), nearest);
        ASSERT_EQ(exact_r.to_point(), nearest);
        ASSERT_TRUE(mpq_class(r.X().value()) == expected->x * r.W().value());
        ASSERT_TRUE(mpq_class(r.Y().value()) == expected->y * r.W().value());
      } else {
        ASSERT_EQ(r.id(), untouched.id());
      }
      detail::fixed_point cut;
      fixed += detail::meet_fixed(a.doubles(), b.doubles(), c.doubles(), d.doubles(), cut) !=
               detail::meeting::kUnknown;
      filtered += detail::certainly_misses(a.doubles(), b.doubles(), c.doubles(), d.doubles());
      hits += expected.has_value();
    }
    EXPECT_TRUE(0 < hits && hits + filtered <= kRuns) << hits << ' ' << filtered;
    EXPECT_EQ(filtered > kRuns / 100, are_filtered) << filtered;
    if (name != kFamilies[0].name) continue;
    // Ordinary numbers hardly ever need more than the filter, and never big numbers.
    EXPECT_EQ(fixed, kRuns);
    EXPECT_GT(filtered, (kRuns - hits) * 999 / 1000);
  }
}

TEST(RatRay, EndsThatAreFractions) {
  const rational third(1, 3);
  const rat_ray ray(rat_point(third, third), rat_point(rational(2) * third, third));
  const rat_point low(rational(5), rational(-1, 7));
  rat_point r;
  EXPECT_FALSE(ray.intersection(rat_segment(low, rat_point(rational(6), rational(2, 7))), r));
  EXPECT_TRUE(ray.intersection(rat_segment(low, rat_point(rational(6), rational(3, 7))), r));
  EXPECT_TRUE(r == rat_point(rational(35, 6), third)) << r.xcoord();
  // A computed point is on the ray, and a ray through it hits it again.
  EXPECT_TRUE(ray.contains(r));
  const rat_segment from_r(r, rat_point(rational(9), third));
  rat_point again;
  EXPECT_TRUE(rat_ray(rat_point(), r).intersection(from_r, again));
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
