#include "planloc/model/location.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <sstream>

#include "tests/model/model_testing.h"

namespace planloc {
namespace {

// ----- Loc_Vector -----

TEST(LocVectorTest, ConstructionAndArithmetic) {
  EXPECT_EQ(text(Loc_Vector(3)) + text(Loc_Vector(-1)), "( 0 0 0 )( )");
  const Loc_Vector a(2.9, 1.0, -2.0);
  const Loc_Vector b(2.0, 3.0, 5.0);
  EXPECT_EQ(text(a + b) + text(a - b), "( 4 3 )( -2 -7 )");
  EXPECT_EQ(text(a * 2.0) + text(a / 0.0), "( 2 -4 )( inf -inf )");
  EXPECT_EQ(text(a + 1.0) + text(a - 1.0), "( 2 -1 )( 0 -3 )");
  // From element 0 upward the 1.0 is lost.
  EXPECT_EQ(Loc_Vector(3.0, 1.0, 1e16, -1e16) * Loc_Vector(3.0, 1.0, 1.0, 1.0), 0.0);
  Loc_Vector c(a);
  c.abs();
  EXPECT_EQ(text(c), "( 1 2 )");
}

TEST(LocVectorTest, DifferentSizesAreSilent) {
  const Loc_Vector two(2.0, 1.0, 2.0);
  const Loc_Vector three(3.0, 3.0, 4.0, 5.0);
  EXPECT_EQ(text(two + three) + text(three - two), "( 0 0 0 )( 0 0 )");
  EXPECT_EQ(two * three, 0.0);
  Loc_Vector changed(two);
  changed += three;
  changed -= three;
  EXPECT_EQ(changed, two);
  EXPECT_FALSE(two == three || two < three || two <= three || three > two || three >= two);
}

TEST(LocVectorTest, RelationsHoldForEveryElement) {
  // Which of <, <=, >, >= hold between (1, 2) and (x, y).
  const auto relations = [](double x, double y) {
    const Loc_Vector a(2.0, 1.0, 2.0);
    const Loc_Vector b(2.0, x, y);
    return text(a < b) + text(a <= b) + text(a > b) + text(a >= b);
  };
  EXPECT_EQ(relations(2.0, 3.0), "1100");
  EXPECT_EQ(relations(1.0, 3.0), "0100");
  EXPECT_EQ(relations(1.0, 2.0), "0101");
  EXPECT_EQ(relations(0.0, 3.0), "0000");
  EXPECT_EQ(relations(0.0, 1.0), "0011");
  EXPECT_TRUE(Loc_Vector(0).is_zero() && Loc_Vector(2.0, 0.0, -0.0).is_zero());
  EXPECT_FALSE(Loc_Vector(2.0, 0.0, 1e-300).is_zero());
}

TEST(LocVectorTest, NormsAndRotation) {
  const Loc_Vector v(2.0, 3.0, -4.0);
  EXPECT_EQ(text(v.norm(-1)) + text(v.norm(1)) + text(v.norm(2)), "475");
  EXPECT_DOUBLE_EQ(v.norm(3), std::cbrt(27.0 + 64.0));
  EXPECT_EQ(text(v.norm(0)) + text(v.norm(-2)) + text(Loc_Vector(0).norm(-1)), "000");
  // Clockwise.
  const Loc_Vector turned = v.rotate(0.5);
  EXPECT_NEAR(std::atan2(turned[1], turned[0]), std::atan2(-4.0, 3.0) - 0.5, 1e-15);
  EXPECT_NEAR(turned.norm(2), 5.0, 1e-15);
}

// ----- location -----

TEST(LocationTest, ConstructionAndAccess) {
  // Numbers of any type; missing ones are 0.0.
  EXPECT_EQ(location(2, 1, 3, 4L, 5.0F), location(2.0, 1.0, 3.0, 4.0, 5.0));
  EXPECT_EQ(location(2.0, 1.0, 3), location(2.0, 1.0, 3.0, 0.0, 0.0));
  EXPECT_TRUE(Loc_Vector(2, 7, 8, 9) == Loc_Vector(2.0, 7.0, 8.0));
  EXPECT_EQ(text(location(2.0, 0.0, 1.5, 2.0)) + text(location(2, 1)), "1.5 2  0 0  0 ");
  EXPECT_EQ(text(location::from_point(point(3, 4))), "3 4  1 ");
  EXPECT_EQ(text(at(1, 2).to_segment(at(3, 4))), "[(1,2)===(3,4)]");
  EXPECT_EQ(location(3.0, 0.0, 1.0, 2.0, 3.0).to_vector(), vector(1, 2, 3));
  location a(3, 2);
  a[2] = 5.0;
  a.weight(1) = 6.0;
  EXPECT_EQ(text(a.coords()) + text(a.weights()), "( 0 0 5 )( 0 6 )");
  std::istringstream in("1 2 3 4 5 6");
  in >> a;
  EXPECT_EQ(text(a), "1 2 3  4 5 ");
}

TEST(LocationTest, CopiesAndAssignments) {
  for (const auto& [dim, nweights] : {std::pair(2, 0), std::pair(0, 2), std::pair(0, 0)}) {
    const location a(dim, nweights);
    EXPECT_EQ(location(a), location(0, 0));
    EXPECT_EQ((list<location>{a}).head(), location(0, 0));
    // Assignment takes everything over.
    location assigned(1, 1);
    assigned = a;
    EXPECT_EQ(assigned.dim(), dim);
    EXPECT_EQ(assigned.nweights(), nweights);
  }
  // Equal by value, so nothing is assigned.
  location a = at(-0.0, 1.0);
  a = at(0.0, 1.0);
  EXPECT_TRUE(std::signbit(a[0]));
}

TEST(LocationTest, ArithmeticKeepsTheLeftWeights) {
  const location a(2.0, 2.0, 1.0, 2.0, 7.0, 8.0);
  const location b(2.0, 3.0, 10.0, 20.0, 1.0, 2.0, 3.0);
  EXPECT_EQ(text(a + b) + text(a - b), "11 22  7 8 -9 -18  7 8 ");
  EXPECT_EQ(text(a * 3.0) + text(a / 2.0), "3 6  7 8 0.5 1  7 8 ");
  EXPECT_EQ(text(-b), "-10 -20  0 0 0 ");
  EXPECT_EQ(a * b, 50.0);
}

TEST(LocationTest, Comparison) {
  EXPECT_TRUE(at(1, 2) < at(1, 3) && at(1, 3) > at(1, 2) && at(0, 9) < at(1, 3));
  EXPECT_FALSE(at(1, 2) < at(1, 2) || at(1, 2) > at(1, 2) || at(1, 2, 3) == at(1, 2, 4));
  const location low(3, 1);
  const location high(3.0, 1.0, 1.0, 1.0, 1.0, 0.0);
  EXPECT_FALSE(low < high || high < low || low > high || high > low);
  for (int c : {0, 1}) {
    sort_coordinate = c;
    list<location> L = {at(2, 7), at(3, 5), at(1, 6)};
    L.sort(compare_coordinate);
    EXPECT_EQ(L, (c == 0 ? list<location>{at(1, 6), at(2, 7), at(3, 5)}
                         : list<location>{at(3, 5), at(1, 6), at(2, 7)}));
  }
  EXPECT_EQ(compare_coordinate(at(1, 2), at(9, 2)), 0);
}

TEST(LocationTest, AnglesAndBisectors) {
  // The cosine comes out above 1 and is not clamped.
  EXPECT_TRUE(std::isnan(at(3, 3).r_angle(at(3, 3))));
  const location a = at(1, 0);
  for (double x : {-2.0, 0.0, 3.0}) {
    const location b = at(x, 2);
    EXPECT_NEAR(a.r_angle(b), std::atan2(2, x), 1e-15);
    EXPECT_NEAR(a.degrees(b) * std::numbers::pi, std::atan2(2, x) * 180, 1e-12);
    const line l = bisector(a, b);
    ASSERT_NE(l.point1(), l.point2());
    for (const point& p : {l.point1(), l.point2()}) {
      EXPECT_NEAR(p.distance(a.to_point()), (a - b).norm(2), 1e-12);
      EXPECT_NEAR(p.distance(b.to_point()), (a - b).norm(2), 1e-12);
    }
  }
}

TEST(LocationTest, TurnedFrameMakesRectilinearDistancesMaximumOnes) {
  const list<location> original = {at(3, 1, 4), at(-2, 5, 9),
                                   location(3.0, 1.0, 1.0, 2.0, 3.0, 4.0)};
  list<location> L = original;
  to_turned_frame(L);
  EXPECT_EQ(text(L), "2 -1  4  1.5 3.5  9  1.5 0.5 3  4 ");
  from_turned_frame(L);
  EXPECT_EQ(L, original);
}

TEST(LocationTest, PolygonList) {
  const auto written = [](const list<location>& L) {
    std::ostringstream out;
    location::WriteAsPolygonList(out, L);
    return out.str();
  };
  EXPECT_EQ(written({}), "begin{polygonlist}\nend{polygonlist}\n");
  EXPECT_EQ(written({at(0, 0, 1), at(1, 0, 2), at(2, 0, 2), at(3, 0, 1), at(4, 0, 1)}),
            "begin{polygonlist}\n0 0 \nbegin{polygon}\n1 0 \n2 0 \nend{polygon}\n"
            "begin{polygon}\n3 0 \n4 0 \nend{polygon}\nend{polygonlist}\n");
}

TEST(LocationDeathTest, Endings) {
  location a = at(1, 2);
  const location& constant = a;
  const location space(3, 1);
  const location weightless(2, 0);
  const char* const kIndex = "Index out of range.";
  const char* const kPlane = "Conversion to only possible for dimension 2.";
  const list<location> no_polygons = {weightless, a};
  const list<location> half_a_polygon = {a, weightless};
  const char* const kDim = "Incompatible dimension.";
  std::ostringstream out;
  expect_endings({
      {1101, "Loc_Vector::rotate():To rotate the dimension must be 2.",
       [] { Loc_Vector(3).rotate(1.0); }},
      {1201, "Bad p-Norm argument in location::norm(int p).", [&] { a.norm(0); }},
      {1202, "Zero length location in location::r_angle().", [&] { a.degrees(at(0, 0)); }},
      {1203, kPlane, [&] { space.to_point(); }},
      {1203, kPlane, [&] { location(weightless).to_point(); }},
      {1204, "Coversion to empty vector impossible.", [] { location(0, 1).to_vector(); }},
      {1205, kDim, [&] { a + space; }},
      {1205, kDim, [&] { static_cast<void>(a * space); }},
      {1206, "Incompatible number of weights.", [&] { a.check_weights(weightless); }},
      {1207, kIndex, [&] { a[2] = 1.0; }},
      {1207, kIndex, [&] { a[-1] = 1.0; }},
      {1207, kIndex, [&] { weightless.to_point(); }},
      {1207, kIndex, [] { location(1, 1).to_turned_frame(); }},
      {1208, kIndex, [&] { static_cast<void>(constant[2]); }},
      {1209, kIndex, [&] { a.weight(1) = 1.0; }},
      {1210, kIndex, [&] { constant.weight(-1); }},
      {1211, "Division by zero.", [&] { a / 0.0; }},
      {1212, "Can't happen: L in location::WriteAsPolygonList is not a polygon list?",
       [&] { location::WriteAsPolygonList(out, no_polygons); }},
      {1210, kIndex, [&] { location::WriteAsPolygonList(out, half_a_polygon); }},
  });
}

}  // namespace
}  // namespace planloc
