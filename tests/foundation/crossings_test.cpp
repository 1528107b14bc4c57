// Crossings and arrangements of segments against all pairs on fractions.
#include "planloc/foundation/geometry/crossings.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <set>
#include <utility>
#include <vector>

#include "planloc/foundation/graph/arrangement.h"
#include "tests/foundation/rat_cases.h"
#include "tests/foundation/reports.h"

namespace planloc {
namespace {

using namespace rat_cases;
using testing_support::text_of;

using Coordinates = std::pair<double, double>;

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
  return angle < 0.0 ? angle + 2 * M_PI : angle;
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
        const double x = std::round(1.4 * std::cos(k * M_PI / 4));
        const double y = std::round(1.4 * std::sin(k * M_PI / 4));
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
    for (int trial = 0; trial < 24; ++trial) {
      ASSERT_NO_FATAL_FAILURE(
          expect_like_all_pairs(segments(random, 2 + trial % 12 * 5), compare_angles));
    }
  }
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
      {{segment(point(-1, -0.0), e), segment(n, point(-0.0, -1))}, "(0,0)", 5, 4},
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
