// Polygons and the convex hull.
#include "planloc/foundation/geometry/polygon.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <numbers>
#include <random>
#include <set>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "planloc/foundation/containers/random_source.h"
#include "planloc/foundation/geometry/exact_orientation.h"
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

  EXPECT_EQ(polygon().side_of(point()), -1);
  const list<point> degenerate[] = {
      {},
      {point(2, 3), point(2, 3), point(2, 3)},
      {point(0, 0), point(2, 2), point(1, 1), point(3, 3)},
      {point(0.1, 0.7), point(0.3, 0.7), point(0.2, 0.7)},
  };
  for (const list<point>& L : degenerate) {
    const polygon flat(L, true, true);
    EXPECT_EQ(flat.vertices(), L);
    EXPECT_EQ(flat.area(), 0.0);
    for (const point& p : L) EXPECT_TRUE(flat.on_boundary(p) && !flat.inside(p));
    EXPECT_TRUE(flat.outside(point(-1, -1)));
  }
}

TEST(Polygon, ReportsCrossingsOnly) {
  const std::pair<list<point>, bool> cases[] = {
      {{point(0, 0), point(2, 2), point(2, 0), point(0, 2)}, true},
      {{point(0, 0), point(2, 1), point(5, 1), point(2, 0), point(0, 1)}, true},
      {{point(0, 0), point(4, 0), point(4, 2), point(2, 0), point(0, 2)}, false},  // touches
      {{point(4, 2), point(2, 0), point(0, 2), point(0, 0), point(4, 0)}, false},
      {{point(0, 0), point(5, 0), point(3, 0), point(3, 2)}, false},  // a spike
      {{point(0, 0), point(1, 0), point(1, 0), point(0, 1)}, false},
      // Crossed by one unit in the last place only.
      {{point(0, 0), point(3, 3), point(2, 2 + 0x1p-50), point(2, 1)}, true},
  };
  for (const auto& [L, crosses] : cases) {
    SCOPED_TRACE(text_of(L));
    const std::string report = crosses ? "1: POLYGON: POLYGON is not " : "none";
    EXPECT_EQ(report_of([&, &L = L] { polygon(L, true, true); }),
              report + (crosses ? "simple" : ""));
    EXPECT_EQ(report_of([&, &L = L] { polygon(L, false, true); }),
              report + (crosses ? "weakly simple" : ""));
    EXPECT_EQ(report_of([&, &L = L] { polygon(L, false, false); }), "none");
  }
  static std::string both;
  const ErrorHandler previous = set_error_handler([](int, const char* text) { both += text; });
  polygon(cases[0].first, true, true);
  set_error_handler(previous);
  EXPECT_EQ(both, "POLYGON: POLYGON is not simplePOLYGON: POLYGON is not weakly simple");
}

// Counts the turns around p from the angles at which it sees the edges; p is a lattice point.
int side_by_turns(const list<point>& L, const point& p) {
  double turns = 0.0;
  for (list_item it = L.first(); it; it = L.succ(it)) {
    const point &a = L[it], &b = L[L.cyclic_succ(it)];
    const double ax = a.xcoord() - p.xcoord(), ay = a.ycoord() - p.ycoord();
    const double bx = b.xcoord() - p.xcoord(), by = b.ycoord() - p.ycoord();
    const double cross = ax * by - ay * bx;
    const double dot = ax * bx + ay * by;
    if (cross == 0.0 && dot <= 0.0) return 0;
    turns += std::atan2(cross, dot);
  }
  return std::lround(turns / (2 * std::numbers::pi)) != 0 ? 1 : -1;
}

// Any closed chain will do: the lattice gives many collinear edges, crossings and repeated
// vertices.
TEST(Polygon, SideOfAgainstTurns) {
  std::mt19937 random(29);
  int seen[3] = {};
  for (int trial = 0; trial < 400; ++trial) {
    list<point> L;
    for (int n = 3 + static_cast<int>(random() % 6); n > 0; --n) {
      const double x = static_cast<double>(random() % 7);
      L.append(point(x, static_cast<double>(random() % 7)));
    }
    const polygon P(L, false);
    EXPECT_GE(P.area(), 0.0);
    for (int x = -1; x <= 7; ++x) {
      for (int y = -1; y <= 7; ++y) {
        const int expected = side_by_turns(L, point(x, y));
        ++seen[expected + 1];
        ASSERT_EQ(P.side_of(point(x, y)), expected) << text_of(L) << " at " << x << ' ' << y;
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

// What makes a list the hull of L: it turns left at every vertex, has no point of L on the right of
// an edge, and takes its vertices from L. Of two vertices, the points of L lie between them.
void expect_hull(const list<point>& L) {
  SCOPED_TRACE(text_of(L));
  const list<point> H = CONVEX_HULL(L);
  ASSERT_EQ(H.empty(), L.empty());
  for (list_item it = H.first(); it; it = H.succ(it)) {
    const point &a = H[it], &b = H[H.cyclic_succ(it)];
    ASSERT_TRUE(L.search(a));
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

TEST(Hull, HandMade) {
  expect_hull({point(0.0, 1), point(-0.0, 0), point(0.0, 2), point(-0.0, 1)});
  expect_hull({point(0, 0), point(0.1, 0.1), point(0.3, 0.3), point(0.2, 0.2 + 0x1p-54)});
  const double nan = std::nan("");
  const list<point> H = CONVEX_HULL({point(nan, 0), point(0, 0), point(0, nan), point(1, 0),
                                     point(nan, nan), point(1, 1), point(-1, nan)});
  EXPECT_EQ(H.size(), 3);
  for (const point& p : H) EXPECT_EQ(p, p);  // no NaN
}

TEST(Hull, RandomAndNearlyCollinear) {
  const std::function<point(int, double, double)> families[] = {
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
    for (int trial = 0; trial < 55; ++trial) {
      list<point> L;
      for (int i = 0; i < trial % 11; ++i) {
        const double x = static_cast<double>(random() % 5);
        L.append(family(i, x, static_cast<double>(random() % 5)));
      }
      expect_hull(L);
    }
  }
}

// The hull with all points sorted and every step of the shuffle made, vertex ids included.
std::vector<long> plain_hull(const list<point>& L) {
  std::vector<point> shuffled(L.begin(), L.end());
  for (std::size_t i = shuffled.size(); i > 1; --i) {
    std::swap(shuffled[i - 1],
              shuffled[static_cast<std::size_t>(random_below(static_cast<int>(i)))]);
  }
  std::vector<point> sorted = shuffled;
  std::stable_sort(sorted.begin(), sorted.end(),
                   [](const point& a, const point& b) { return compare(a, b) < 0; });
  sorted.erase(std::unique(sorted.begin(), sorted.end()), sorted.end());
  std::vector<point> hull;
  for (const bool upper : {false, true}) {
    const std::size_t base = hull.size();
    for (const point& p : sorted) {
      while (hull.size() >= base + 2 &&
             detail::exact_orientation(hull[hull.size() - 2], hull.back(), p) <= 0) {
        hull.pop_back();
      }
      hull.push_back(p);
    }
    if (sorted.size() > 1 || (sorted.size() == 1 && upper)) hull.pop_back();
    std::reverse(sorted.begin(), sorted.end());
  }
  const auto earlier = [&](const point& a, const point& b) {
    const auto place = [&](const point& p) {
      return std::find_if(shuffled.begin(), shuffled.end(),
                          [&](const point& q) { return q.id() == p.id(); });
    };
    return place(a) < place(b);
  };
  std::rotate(hull.begin(), std::min_element(hull.begin(), hull.end(), earlier), hull.end());
  std::vector<long> ids;
  for (const point& p : hull) ids.push_back(p.id());
  return ids;
}

TEST(Hull, InnerPointsLeaveNoTrace) {
  std::mt19937 random(17);
  std::uniform_real_distribution<double> unit(0.0, 1.0);
  const auto lattice = [&] { return static_cast<double>(random() % 9); };
  const std::function<point()> families[] = {
      [&] { return point(unit(random), 0.5 * unit(random)); },
      [&] { return point(lattice(), lattice()); },
      [&] { return point(lattice(), 3.0); },
      [&] { return point(7.0, 3.0); },
      [&] {
        const double angle = 2 * M_PI * unit(random);
        return point(std::cos(angle), std::sin(angle));
      },
      [&] { return point(std::ldexp(unit(random), 1023), std::ldexp(unit(random), -1000)); },
      [&] { return point(random() % 50 == 0 ? HUGE_VAL : unit(random), unit(random)); },
      [&] { return point(0.1 * lattice() + 0.7, 0.3 * lattice()); },
  };
  for (std::size_t f = 0; f < std::size(families); ++f) {
    for (const int size : {0, 1, 2, 63, 64, 100, 1000}) {
      list<point> L;
      for (int i = 0; i < size; ++i) L.append(families[f]());
      std::vector<long> plain;
      std::vector<long> own;
      // A new thread has the random source at its start.
      std::thread([&] { plain = plain_hull(L); }).join();
      std::thread([&] {
        for (const point& p : CONVEX_HULL(L)) own.push_back(p.id());
      }).join();
      EXPECT_EQ(own, plain) << "family " << f << ", " << size << " points";
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
