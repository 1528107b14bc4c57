// Polygons and the convex hull.
#include "planloc/foundation/geometry/polygon.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <csignal>
#include <functional>
#include <numbers>
#include <random>
#include <set>
#include <utility>
#include <vector>

#include "planloc/foundation/geometry/hull.h"
#include "tests/foundation/rat_cases.h"
#include "tests/foundation/reports.h"

namespace planloc {
namespace {

using testing_support::report_of;
using testing_support::text_of;

TEST(Polygon, OrientationAndDegenerateChains) {
  const list<point> clockwise = {point(0, 0), point(0, 1), point(1, 1), point(1, 0)};
  const polygon square(clockwise, true, true);
  EXPECT_EQ(text_of(square.vertices()), "(1,0) (1,1) (0,1) (0,0)");
  EXPECT_EQ(text_of(square.segments()),
            "[(1,0)===(1,1)] [(1,1)===(0,1)] [(0,1)===(0,0)] [(0,0)===(1,0)]");
  EXPECT_EQ(square.area(), 1.0);
  EXPECT_EQ(text_of(clockwise), "(0,0) (0,1) (1,1) (1,0)");

  EXPECT_TRUE(polygon().empty());
  EXPECT_EQ(polygon().side_of(point()), -1);
  const list<point> degenerate[] = {
      {},
      {point(2, 3)},
      {point(2, 3), point(2, 3), point(2, 3)},
      {point(0, 0), point(2, 2), point(1, 1), point(3, 3)},
      {point(0.1, 0.7), point(0.3, 0.7), point(0.2, 0.7)},
  };
  for (const list<point>& L : degenerate) {
    const polygon flat(L, true, true);
    EXPECT_EQ(flat.vertices(), L);
    EXPECT_EQ(flat.segments().size(), L.size());
    EXPECT_EQ(flat.area(), 0.0);
    for (const point& p : L) EXPECT_EQ(flat.side_of(p), 0);
    EXPECT_EQ(flat.side_of(point(-1, -1)), -1);
  }
}

TEST(Polygon, ReportsCrossingsOnly) {
  const struct {
    const char* name;
    list<point> vertices;
    bool crossing;
  } cases[] = {
      {"bow tie", {point(0, 0), point(2, 2), point(2, 0), point(0, 2)}, true},
      {"long bow tie", {point(0, 0), point(2, 1), point(5, 1), point(2, 0), point(0, 1)}, true},
      {"square", {point(0, 0), point(2, 0), point(2, 2), point(0, 2)}, false},
      {"vertex on an edge",
       {point(0, 0), point(4, 0), point(4, 2), point(2, 0), point(0, 2)},
       false},
      {"spike", {point(0, 0), point(5, 0), point(3, 0), point(3, 2)}, false},
      {"repeated vertex", {point(0, 0), point(1, 0), point(1, 0), point(0, 1)}, false},
      // Crossed by one unit in the last place only.
      {"hair", {point(0, 0), point(3, 3), point(2, 2 + 0x1p-50), point(2, 1)}, true},
  };
  for (const auto& c : cases) {
    const auto report = [&](bool simple, bool weakly) {
      return report_of([&] { polygon(c.vertices, simple, weakly); });
    };
    const std::string not_simple = "1: POLYGON: POLYGON is not simple";
    EXPECT_EQ(report(true, true), c.crossing ? not_simple : "none") << c.name;
    EXPECT_EQ(report(false, true), c.crossing ? "1: POLYGON: POLYGON is not weakly simple" : "none")
        << c.name;
    EXPECT_EQ(report(false, false), "none") << c.name;
  }
  static std::string both;
  const ErrorHandler previous = set_error_handler([](int, const char* text) { both += text; });
  polygon(cases[0].vertices, true, true);
  set_error_handler(previous);
  EXPECT_EQ(both, "POLYGON: POLYGON is not simplePOLYGON: POLYGON is not weakly simple");
  EXPECT_EXIT(polygon(cases[0].vertices, true), testing::KilledBySignal(SIGABRT),
              "\tPOLYGON: POLYGON is not simple\n");
}

// Counts the turns around p from the angles at which it sees the edges; p is a lattice point.
int side_by_turns(const std::vector<point>& v, const point& p) {
  double turns = 0.0;
  for (std::size_t i = 0; i < v.size(); ++i) {
    const point& a = v[i];
    const point& b = v[(i + 1) % v.size()];
    const double ax = a.xcoord() - p.xcoord(), ay = a.ycoord() - p.ycoord();
    const double bx = b.xcoord() - p.xcoord(), by = b.ycoord() - p.ycoord();
    const double cross = ax * by - ay * bx;
    const double dot = ax * bx + ay * by;
    if (cross == 0.0 && dot <= 0.0) return 0;
    turns += std::atan2(cross, dot);
  }
  return std::lround(turns / (2 * std::numbers::pi)) != 0 ? 1 : -1;
}

TEST(Polygon, SideOfAgainstTurns) {
  std::mt19937 random(29);
  int seen[3] = {};
  for (int trial = 0; trial < 400; ++trial) {
    // Star-shaped around a point that is no lattice point: simple, with many collinear edges.
    const double cx = 3.3137, cy = 3.2718;
    std::vector<point> v;
    for (int i = 0, n = 3 + static_cast<int>(random() % 8); i < n; ++i) {
      v.emplace_back(static_cast<double>(random() % 7), static_cast<double>(random() % 7));
    }
    const auto angle = [&](const point& p) { return std::atan2(p.ycoord() - cy, p.xcoord() - cx); };
    std::sort(v.begin(), v.end(),
              [&](const point& p, const point& q) { return angle(p) < angle(q); });
    double widest = 0.0;
    for (std::size_t i = 0; i < v.size(); ++i) {
      const double gap = angle(v[(i + 1) % v.size()]) - angle(v[i]);
      widest = std::max(widest, gap < 0.0 ? gap + 2 * std::numbers::pi : gap);
    }
    if (widest > 3.0) continue;
    list<point> L;
    for (const point& p : v) L.append(p);
    if (trial % 2 == 0) L.reverse_items();
    const polygon P(L, true, true);
    EXPECT_GT(P.area(), 0.0);
    for (int x = -1; x <= 7; ++x) {
      for (int y = -1; y <= 7; ++y) {
        const int expected = side_by_turns(v, point(x, y));
        ++seen[expected + 1];
        ASSERT_EQ(P.side_of(point(x, y)), expected) << text_of(L) << " at " << x << ' ' << y;
        EXPECT_EQ(P.inside(point(x, y)), expected == 1);
        EXPECT_EQ(P.outside(point(x, y)), expected == -1);
        EXPECT_EQ(P.on_boundary(point(x, y)), expected == 0);
      }
    }
  }
  EXPECT_GT(std::min({seen[0], seen[1], seen[2]}), 500);
}

// ----- Hull -----

int exact_side(const point& a, const point& b, const point& c) {
  const rat_cases::fractions o(a);
  return sgn(cross(rat_cases::fractions(b) - o, rat_cases::fractions(c) - o));
}

bool among(const point& p, const list<point>& L) { return L.search(p) != nullptr; }

// What makes a list the hull of L: it turns left at every vertex, has no point of L on the right of
// an edge, and takes its vertices from L. Of two vertices, the points of L lie between them.
void expect_hull(const list<point>& L) {
  SCOPED_TRACE(text_of(L));
  const list<point> H = CONVEX_HULL(L);
  ASSERT_EQ(H.empty(), L.empty());
  for (list_item it = H.first(); it; it = H.succ(it)) {
    const point &a = H[it], &b = H[H.cyclic_succ(it)];
    ASSERT_TRUE(among(a, L));
    ASSERT_EQ(a == b, H.size() == 1);
    if (H.size() > 2) {
      ASSERT_EQ(exact_side(a, b, H[H.cyclic_pred(it)]), 1);
    }
    for (const point& p : L) {
      ASSERT_GE(exact_side(a, b, p), 0);
      if (H.size() > 2) continue;
      ASSERT_TRUE(detail::in_box(segment(a, b), p));
    }
  }
}

TEST(Hull, SmallAndDegenerate) {
  expect_hull({});
  expect_hull({point(1, 2)});
  expect_hull({point(1, 2), point(1, 2)});
  expect_hull({point(1, 2), point(3, 4)});
  expect_hull({point(0, 0), point(2, 2), point(1, 1), point(2, 2), point(3, 3)});
  expect_hull({point(0.0, 1), point(-0.0, 0), point(0.0, 2), point(-0.0, 1)});
  expect_hull({point(0, 0), point(0.1, 0.1), point(0.3, 0.3), point(0.2, 0.2 + 0x1p-54)});
  EXPECT_EQ(CONVEX_HULL({point(0, 0), point(2, 0), point(2, 2), point(0, 2), point(1, 0)}).size(),
            4);
  const double nan = std::nan("");
  const list<point> H = CONVEX_HULL({point(nan, 0), point(0, 0), point(0, nan), point(1, 0),
                                     point(nan, nan), point(1, 1), point(-1, nan)});
  EXPECT_EQ(H.size(), 3);
  for (const point& p : H) EXPECT_EQ(p, p);  // no NaN
}

TEST(Hull, RandomAndNearlyCollinear) {
  const std::function<point(int, double, double)> families[] = {
      [](int, double x, double y) { return point(x, y); },
      [](int, double x, double y) { return point(0.1 * x + 0.7, 0.3 * y); },  // nearly a lattice
      [](int, double x, double y) { return point(std::ldexp(x, -600), std::ldexp(y, -600)); },
      [](int, double x, double y) { return point(std::ldexp(x, 600), std::ldexp(y, 600)); },
      [](int, double x, double y) { return point(x / 3.0, x / 7.0 + y * 0x1p-53); },
      // Close to a diagonal along which doubles see many wrong turns.
      [](int i, double x, double y) {
        return i < 2 ? point(12 + 12 * i, 12 + 12 * i)
                     : point(0.5 + x * 0x1p-53, 0.5 + y * 0x1p-53);
      },
  };
  std::mt19937 random(31);
  for (const auto& family : families) {
    for (int trial = 0; trial < 40; ++trial) {
      list<point> L;
      for (int i = 0, n = 3 + static_cast<int>(random() % 8); i < n; ++i) {
        const double x = static_cast<double>(random() % 5);
        L.append(family(i, x, static_cast<double>(random() % 5)));
      }
      expect_hull(L);
    }
  }
}

TEST(Hull, ShufflesACopy) {
  const list<point> L = {point(0, 0), point(1, 0), point(1, 1), point(0, 1)};
  std::set<std::string> first;
  for (int trial = 0; trial < 100; ++trial) first.insert(text_of(CONVEX_HULL(L).head()));
  EXPECT_EQ(first.size(), 4u);
  EXPECT_EQ(text_of(L), "(0,0) (1,0) (1,1) (0,1)");
}

}  // namespace
}  // namespace planloc
