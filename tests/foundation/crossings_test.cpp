// Crossings and arrangements of segments against all pairs on fractions.
#include "planloc/foundation/geometry/crossings.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <functional>
#include <limits>
#include <numbers>
#include <set>
#include <span>
#include <utility>
#include <vector>

#include "planloc/foundation/geometry/collinear_chains.h"
#include "planloc/foundation/geometry/crossing_search.h"
#include "planloc/foundation/graph/arrangement.h"
#include "tests/foundation/rat_cases.h"
#include "tests/foundation/reports.h"

namespace planloc {
namespace {

using namespace rat_cases;
using testing_support::text_of;

using Coordinates = std::pair<double, double>;

constexpr double kPi = std::numbers::pi;

bool is_on(const fractions& p, const segment& s) {
  const fractions a(s.source()), b(s.target());
  return cross(b - a, p - a) == 0 && dot(p - a, p - b) <= 0;
}

// Where the two meet: their crossing, or the ends that lie on the other one.
std::vector<fractions> meetings(const segment& s, const segment& t) {
  const fractions a(s.source()), c(t.source());
  const fractions u = fractions(s.target()) - a, v = fractions(t.target()) - c;
  const mpq_class turn = cross(u, v);
  std::vector<fractions> result;
  if (turn != 0) {
    const mpq_class f = cross(c - a, v) / turn, g = cross(c - a, u) / turn;
    if (f >= 0 && f <= 1 && g >= 0 && g <= 1) result.emplace_back(a.x + f * u.x, a.y + f * u.y);
    return result;
  }
  for (const point& p : {s.source(), s.target()}) {
    if (is_on(fractions(p), t)) result.emplace_back(p);
  }
  for (const point& p : {t.source(), t.target()}) {
    if (is_on(fractions(p), s)) result.emplace_back(p);
  }
  return result;
}

bool is_finite(const segment& s) {
  return std::isfinite(s.xcoord1()) && std::isfinite(s.ycoord1()) && std::isfinite(s.xcoord2()) &&
         std::isfinite(s.ycoord2());
}

Coordinates rounded(const fractions& p) { return {nearest_double(p.x), nearest_double(p.y)}; }

struct reference {
  std::set<Coordinates> crossings;
  std::set<Coordinates> nodes;
  std::vector<std::pair<Coordinates, Coordinates>> pieces;  // segment by segment
};

reference all_pairs(const std::vector<segment>& S) {
  reference result;
  for (std::size_t i = 0; i < S.size(); ++i) {
    if (!is_finite(S[i])) continue;
    const fractions a(S[i].source()), b(S[i].target());
    std::vector<fractions> stops = {a, b};
    for (std::size_t j = 0; j < S.size(); ++j) {
      if (j == i || !is_finite(S[j])) continue;
      for (const fractions& p : meetings(S[i], S[j])) {
        stops.push_back(p);
        result.crossings.insert(rounded(p));
      }
    }
    std::sort(stops.begin(), stops.end(), [&](const fractions& p, const fractions& q) {
      return dot(b - a, p) < dot(b - a, q);
    });
    result.nodes.insert(rounded(a));
    for (std::size_t k = 0; k + 1 < stops.size(); ++k) {
      result.nodes.insert(rounded(stops[k + 1]));
      const std::pair piece{rounded(stops[k]), rounded(stops[k + 1])};
      if (piece.first != piece.second) result.pieces.push_back(piece);
    }
  }
  return result;
}

Coordinates coordinates(const point& p) { return {p.xcoord(), p.ycoord()}; }

list<segment> list_of(const std::vector<segment>& S) {
  list<segment> L;
  for (const segment& s : S) L.append(s);
  return L;
}

double angle_of(const segment& s) {
  const double angle = s.angle();
  return angle < 0.0 ? angle + 2 * kPi : angle;
}

void expect_like_all_pairs(const std::vector<segment>& S, bool compare_angles) {
  const reference expected = all_pairs(S);
  list<point> I = {point(77, 77)};
  SEGMENT_INTERSECTION(list_of(S), I);
  std::vector<Coordinates> found;
  for (const point& p : I) found.push_back(coordinates(p));
  ASSERT_EQ(found, std::vector(expected.crossings.begin(), expected.crossings.end()));

  GRAPH<point, segment> G;
  G.new_node(point(77, 77));
  SWEEP_SEGMENTS(list_of(S), G);
  std::vector<Coordinates> nodes;
  for (node v = G.first_node(); v; v = G.succ_node(v)) nodes.push_back(coordinates(G[v]));
  ASSERT_EQ(nodes, std::vector(expected.nodes.begin(), expected.nodes.end()));
  std::vector<std::pair<Coordinates, Coordinates>> pieces;
  for (edge e = G.first_edge(); e; e = G.succ_edge(e)) {
    ASSERT_EQ(G[e].source(), G[G.source(e)]);
    ASSERT_EQ(G[e].target(), G[G.target(e)]);
    pieces.emplace_back(coordinates(G[e].source()), coordinates(G[e].target()));
  }
  ASSERT_EQ(pieces, expected.pieces);

  SWEEP_SEGMENTS(list_of(S), G, true);
  ASSERT_EQ(G.number_of_nodes(), static_cast<int>(nodes.size()));
  std::multiset<std::pair<Coordinates, Coordinates>> embedded, both(pieces.begin(), pieces.end());
  for (const auto& [p, q] : pieces) both.emplace(q, p);
  for (node v = G.first_node(); v; v = G.succ_node(v)) {
    for (edge e = G.first_adj_edge(v); e; e = G.adj_succ(e)) {
      embedded.emplace(coordinates(G[e].source()), coordinates(G[e].target()));
      if (compare_angles && G.adj_succ(e)) {
        ASSERT_LE(angle_of(G[e]), angle_of(G[G.adj_succ(e)]) + 1e-9);
      }
    }
  }
  ASSERT_EQ(embedded, both);
}

using Segments = std::function<std::vector<segment>(Random&, int)>;

Segments independent(const Coordinate& k) {
  return [=](Random& r, int n) {
    std::vector<segment> S;
    for (int i = 0; i < n; ++i) S.emplace_back(point(k(r), k(r)), point(k(r), k(r)));
    return S;
  };
}
// Short ones on a wide lattice: overlapping, touching, equal and trivial ones.
std::vector<segment> short_ones(Random& r, int n) {
  std::vector<segment> S;
  for (int i = 0; i < n; ++i) {
    const double x = pick(r, 0, n / 4), y = pick(r, 0, 12);
    S.emplace_back(point(x, y), point(x + pick(r, -2, 2), y + pick(r, -2, 2)));
  }
  return S;
}
// From sites along few directions; with `unit` 1 on a lattice, otherwise with rounded ends.
Segments fans(double unit, double turn) {
  return [=](Random& r, int n) {
    std::vector<segment> S;
    while (static_cast<int>(S.size()) < n) {
      const point site(unit * pick(r, 0, 8), unit * pick(r, 0, 8));
      for (int k = 0; k < 8; ++k) {
        const double x = std::round(1.4 * std::cos(k * kPi / 4));
        const double y = std::round(1.4 * std::sin(k * kPi / 4));
        const double t = 9.0 * unit;
        S.emplace_back(site, site.translate(t * (x * std::cos(turn) - y * std::sin(turn)),
                                            t * (x * std::sin(turn) + y * std::cos(turn))));
      }
    }
    return S;
  };
}
// Pieces of a few lines, with ends next to them as well.
std::vector<segment> along_lines(Random& r, int n) {
  std::vector<segment> S;
  for (int i = 0; i < n; ++i) {
    const point p(0.1 * pick(r, 0, 2), 0.7);
    const point q = p.translate(0.3, 0.1 * pick(r, 0, 1));
    if (pick(r, 0, 1) == 0) {
      S.emplace_back(near_line(r, p, q), near_line(r, p, q));
    } else {
      const double f = std::ldexp(pick(r, -8, 8), -2), g = std::ldexp(pick(r, -8, 8), -2);
      S.emplace_back(point(f * 0.3, f * 0.1), point(g * 0.3, g * 0.1));
    }
  }
  return S;
}

const struct {
  const char* name;
  Segments segments;
  bool compare_angles;  // differences of coordinates neither overflow nor vanish
} kFamilies[] = {
    {"reals", independent(reals(0)), true},
    {"lattice", independent(lattice(0)), true},
    {"short ones", short_ones, true},
    {"fans on a lattice", fans(1.0, 0.0), true},
    {"fans with rounded sites", fans(0.1, 0.0), true},
    {"fans with rounded directions", fans(1.0, 0.3), true},
    {"along few lines", along_lines, true},
    {"denormals", independent(lattice(-1074)), true},
    {"large", independent(reals(1019)), false},
    {"large lattice", independent(lattice(1021)), false},
    {"all sizes", independent(mixed({-1074, -500, 0, 60, 1022})), false},
    {"sizes around the ordinary", independent(mixed({-101, -100, 0, 99, 100})), false},
};

TEST(Crossings, LikeAllPairsOfFractions) {
  Random random(41);
  for (const auto& [name, segments, compare_angles] : kFamilies) {
    SCOPED_TRACE(name);
    for (int n = 2; n < 44; n += 4) {
      ASSERT_NO_FATAL_FAILURE(expect_like_all_pairs(segments(random, n), compare_angles));
    }
  }
}

// ----- The search among many -----

class pair_counter : public detail::crossing_receiver {
 public:
  void receive(std::span<const detail::crossing> batch) override {
    for (const detail::crossing& c : batch) {
      found_.insert(c.first < c.second ? std::pair(c.first, c.second)
                                       : std::pair(c.second, c.first));
    }
  }
  std::size_t pairs() const { return found_.size(); }

 private:
  std::set<std::pair<std::uint32_t, std::uint32_t>> found_;
};

// In a square of side 1000. An angle is that against the x axis.
segment from_middle(Random& r, double length, double angle) {
  const point p(real(r, 0, 1000), real(r, 0, 1000));
  return {p.translate_by_angle(angle, -length / 2), p.translate_by_angle(angle, length / 2)};
}

segment random_short(Random& r, int) { return from_middle(r, 20, real(r, 0, kPi)); }

const struct {
  const char* name;
  segment (*draw)(Random& r, int i);
} kCrowds[] = {
    {"short", random_short},
    {"middling", [](Random& r, int) { return from_middle(r, 150, real(r, 0, kPi)); }},
    {"long", [](Random& r, int) { return from_middle(r, 1200, real(r, 0, kPi)); }},
    {"side by side", [](Random& r, int) { return from_middle(r, 700, 0.3); }},
    {"nearly side by side",
     [](Random& r, int) { return from_middle(r, 700, kPi / 4 + real(r, 0, 1e-3)); }},
    {"upright, nearly", [](Random& r, int) { return from_middle(r, 700, kPi / 2 + 1e-15); }},
    {"long across short",
     [](Random& r, int i) { return i % 20 == 0 ? from_middle(r, 1500, 1) : random_short(r, i); }},
    {"of all sizes",
     [](Random& r, int) {
       const double size = std::exp(real(r, -60, 5));
       const point p(real(r, -size, size), real(r, -size, size));
       return segment(p, real(r, 0, 2 * kPi), size / 10);
     }},
    {"ends on one upright line",
     [](Random& r, int) {
       const double y = real(r, 0, 1000);
       return segment(point(500, y), point(real(r, 0, 1000), y + real(r, -1, 1)));
     }},
    {"upright ones on few lines",
     [](Random& r, int i) {
       const double x = i % 7, y = i % 2 == 0 ? 0.8 * i : real(r, 0, 1000);
       return i % 2 == 0 ? segment(point(x, y), point(x, y + 0.01))
                         : segment(point(x, y), point(x + pick(r, 1, 3), y + 0.05));
     }},
    {"points on an upright line where long ones start",
     [](Random&, int i) {
       const point p(0, i - i % 3);
       if (i % 3 == 0) return segment(p, p.translate(1000, 1000));
       const point on = p.translate(0, 1.5);
       return i % 3 == 1 ? segment(on, on) : segment(p.translate(0, 1), p.translate(0, 2));
     }},
    // The long ones lie on lines of their own, since 3 x mod 7 tells x from 0 to 6.
    {"ends on long ones",
     [](Random& r, int i) {
       if (i % 2 == 0) return segment(point(i % 7, i), point(i % 7 + 700, i + 300));
       const int step = pick(r, 1, 99);
       const point on((i - 1) % 7 + 7 * step, i - 1 + 3 * step);
       return segment(on, real(r, 0, 2 * kPi), 3);
     }},
    {"through one point",
     [](Random& r, int) {
       const point p = point(500, 500).translate_by_angle(real(r, 0, kPi), 400);
       return segment(p, point(1000 - p.xcoord(), 1000 - p.ycoord()));
     }},
};

// Every pair that meets is found, as `segment::intersection` decides it; few others are tested.
TEST(Crossings, SearchMissesNothingAndTestsLittle) {
  constexpr std::size_t kCount = 900;
  Random random(43);
  for (const auto& [name, draw] : kCrowds) {
    SCOPED_TRACE(name);
    std::vector<segment> S;
    for (std::size_t i = 0; i < kCount; ++i) S.push_back(draw(random, static_cast<int>(i)));
    std::size_t meeting = 0;
    std::set<Coordinates> points;
    for (std::size_t i = 0; i < kCount; ++i) {
      for (std::size_t j = i + 1; j < kCount; ++j) {
        point p;
        if (!S[i].intersection(S[j], p)) continue;
        ++meeting;
        points.insert(coordinates(p));
      }
    }
    const list<segment> L = list_of(S);
    list<point> I;
    SEGMENT_INTERSECTION(L, I);
    std::vector<Coordinates> found;
    for (const point& p : I) found.push_back(coordinates(p));
    EXPECT_EQ(found, std::vector(points.begin(), points.end()));
    const auto merged = detail::merge_collinear(detail::flat_segments(L));
    ASSERT_EQ(merged.chains.size(), kCount);
    pair_counter counter;
    const std::size_t tested = detail::search_crossings(merged.chains, counter);
    EXPECT_EQ(counter.pairs(), meeting);
    EXPECT_LE(tested, 60 * kCount + 8 * meeting);
  }
}

// Ten times the input, ten times the work: neither long parallels nor overlaps cost a square.
TEST(Crossings, WorkGrowsWithInputAndOutput) {
  Random random(47);
  for (const auto draw : {random_short, kCrowds[3].draw, kCrowds[8].draw}) {
    std::vector<segment> S;
    for (int i = 0; i < 40000; ++i) {
      const segment s = draw(random, i);
      S.push_back(i % 4 == 0 ? s
                             : segment(s.source(), s.source().translate(s.dx() / 8, s.dy() / 8)));
    }
    const auto merged = detail::merge_collinear(detail::flat_segments(list_of(S)));
    pair_counter counter;
    const std::size_t tested = detail::search_crossings(merged.chains, counter);
    EXPECT_LE(tested, 60 * S.size() + 8 * counter.pairs());
  }
  list<segment> overlapping;
  for (int i = 0; i < 40000; ++i) {
    const double x = pick(random, 0, 30000);
    overlapping.append(segment(point(x, x / 2), point(x + 16384, (x + 16384) / 2)));
  }
  EXPECT_EQ(detail::merge_collinear(detail::flat_segments(overlapping)).chains.size(), 1u);
}

TEST(Crossings, DegenerateInput) {
  const point o, e(1, 0), n(0, 1);
  const double infinity = std::numeric_limits<double>::infinity();
  const struct {
    list<segment> S;
    const char* crossings;
    int nodes;
    int edges;
  } cases[] = {
      {{}, "", 0, 0},
      {{segment(o, e)}, "", 2, 1},
      {{segment(o, o)}, "", 1, 0},
      {{segment(o, o), segment(o, o)}, "(0,0)", 1, 0},
      {{segment(o, e), segment(e, o)}, "(0,0) (1,0)", 2, 2},
      {{segment(o, point(3, 0)), segment(e, point(2, 0)), segment(e, e)}, "(1,0) (2,0)", 4, 4},
      {{segment(o, e), segment(e, n), segment(n, o)}, "(0,0) (0,1) (1,0)", 3, 3},
      {{segment(point(-1, -0.0), e), segment(n, point(-0.0, -0.0))}, "(0,0)", 4, 3},
      {{segment(o, point(infinity, 0)), segment(point(0, std::nan("")), e), segment(e, n),
        segment(point(0.5, 0.5), o)},
       "(0.5,0.5)",
       4,
       3},
  };
  for (const auto& [S, crossings, nodes, edges] : cases) {
    SCOPED_TRACE(text_of(S));
    list<point> I;
    SEGMENT_INTERSECTION(S, I);
    EXPECT_EQ(text_of(I), crossings);
    GRAPH<point, segment> G;
    SWEEP_SEGMENTS(S, G);
    EXPECT_EQ(G.number_of_nodes(), nodes);
    EXPECT_EQ(G.number_of_edges(), edges);
  }
}

}  // namespace
}  // namespace planloc
