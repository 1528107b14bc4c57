#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <optional>
#include <random>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

#include "planloc/facilities/efficient_set.h"
#include "planloc/facilities/facilities.h"
#include "planloc/facilities/gauged_sites.h"
#include "planloc/foundation/geometry/hull.h"
#include "tests/facilities/gauge_problems.h"
#include "tests/facilities/plain_bicriteria.h"
#include "tests/model/own_process.h"

namespace planloc {
namespace {

using map_graph = plain_bicriteria::map_graph;

// ----- Problems -----

// Whole numbers and unit balls with corners at small ones leave no rounding, so that ties are ties;
// with reals there are none.
gauged_sites random_problem(std::mt19937& random, bool whole) {
  std::uniform_real_distribution<double> place(0, 10), weight(0.1, 3);
  const auto small = [&](unsigned bound) { return static_cast<double>(random() % bound); };
  gauged_sites problem;
  problem.gauges = random_gauges(random, whole);
  for (auto i = 2 + random() % 5; i > 0; --i) {
    const double x = whole ? small(7) : place(random);
    const double y = whole ? small(7) : place(random);
    const double s = whole ? small(3) : weight(random);
    problem.sites.append(site(x, y, s, whole ? (s == 0.0 ? 1.0 : small(3)) : weight(random)));
  }
  return problem;
}

// Whether the solver takes the problem: both objectives have weight, each facility has some, and
// the centre of gravity is not one of them.
bool is_solvable(const gauged_sites& problem) {
  const Loc_Vector totals = problem.sites.total_weights();
  if (totals[0] == 0.0 || totals[1] == 0.0) return false;
  const point x0 = plain_bicriteria(problem.sites, problem.gauges, problem.gauge_of).centre();
  return std::none_of(problem.sites.begin(), problem.sites.end(), [&](const location& a) {
    return a.to_point() == x0 || (a.weight(0) == 0.0 && a.weight(1) == 0.0);
  });
}

std::vector<point> points(const list<point>& L) { return {L.begin(), L.end()}; }

// What a problem has for an answer by the plain steps, and by the solver and its parts; nothing if
// it has none that the solver ends with. Deals out the gauges.
std::optional<std::vector<location>> solved_alike(gauged_sites& problem, std::mt19937& random) {
  auto& [F, gauges, gauge_of] = problem;
  for (int i = 0; i < F.size(); ++i) gauge_of.append(static_cast<int>(random() % gauges.size()));
  if (!is_solvable(problem)) return std::nullopt;
  SCOPED_TRACE(shown(problem));
  const plain_bicriteria plain(F, gauges, gauge_of);
  const point x0 = plain.centre();
  const map_graph raw = segment_map(F.fundamental_segments(gauges, gauge_of, x0, 0.0, 1));
  const map_graph map = plain_bicriteria::prepared(raw);
  const map_graph fast = prepare_map(raw);
  EXPECT_EQ(map.number_of_edges(), fast.number_of_edges());
  edge f = fast.first_edge();
  for (edge e = map.first_edge(); e && f; e = map.succ_edge(e), f = fast.succ_edge(f)) {
    const auto ends = [](const map_graph& m, edge d) {
      return std::tuple(m[d].source(), m[m.source(d)], m[d].target(), m[m.target(d)],
                        m.adj_pred(d) ? m.index(m.target(m.adj_pred(d))) : -1);
    };
    EXPECT_EQ(ends(map, e), ends(fast, f));
  }
  const list<point> first = plain.lexicographic(x0, 0, 1, map);
  const list<point> second = plain.lexicographic(x0, 1, 0, map);
  EXPECT_EQ(points(F.lexicographic_points(gauges, gauge_of, x0, 0, 1, fast)), points(first));
  EXPECT_EQ(points(F.lexicographic_points(gauges, gauge_of, x0, 1, 0, fast)), points(second));
  if (first.empty() || second.empty()) return std::nullopt;
  const auto chain = plain.efficient_set();
  if (!chain) return std::nullopt;
  EXPECT_EQ(F.gauge_bicriteria(gauges, gauge_of, true), chain->back().weight(0));
  EXPECT_EQ(results_of(F), *chain);
  if (point_list_contains(second, first.head()) == 0) {
    F.opt = F.efficient_walk(gauges, gauge_of, first, second, fast);
    EXPECT_EQ(results_of(F), *chain);
  }
  return chain;
}

// Both ends are the optima of two programs each, and no corner, middle of an edge or centre of a
// piece is dominated.
void expect_efficient(const gauged_sites& problem, const std::vector<location>& chain) {
  SCOPED_TRACE(shown(problem));
  const auto f = [&](const point& x, int q) {
    return problem.sites.gauge_value(problem.gauges, problem.gauge_of, x, q);
  };
  const auto least = [&](double c0, double c1, double most0, double most1) {
    return program_value(problem, {false, {c0, c1}, 0, 0, {most0, most1}});
  };
  const double slack = 1 + 1e-10;
  const double inf = IlcInfinity;
  const double least0 = least(1, 0, inf, inf);
  const double least1 = least(0, 1, inf, inf);
  const double tolerance = 1e-5 * (1 + least0 + least1);
  const auto is_end = [&](const location& l, int q, double best, double other) {
    return std::fabs(f(l.to_point(), q) - best) < tolerance &&
           std::fabs(f(l.to_point(), 1 - q) - other) < tolerance;
  };
  const double other0 = least(1, 0, inf, least1 * slack);
  const double other1 = least(0, 1, least0 * slack, inf);
  EXPECT_TRUE(std::any_of(chain.begin(), chain.end(),
                          [&](const location& l) { return is_end(l, 0, least0, other1); }));
  EXPECT_TRUE(std::any_of(chain.begin(), chain.end(),
                          [&](const location& l) { return is_end(l, 1, least1, other0); }));
  const auto expect_undominated = [&](const point& x) {
    const double f0 = f(x, 0);
    const double f1 = f(x, 1);
    EXPECT_GT(least(1, 1, f0 * slack, f1 * slack), f0 + f1 - tolerance) << x;
  };
  for (std::size_t i = 0; i < chain.size();) {
    double x = 0;
    double y = 0;
    std::size_t j = i;
    for (; j < chain.size() && chain[j].weight(0) == chain[i].weight(0); ++j) {
      expect_undominated(chain[j].to_point());
      x += chain[j][0];
      y += chain[j][1];
    }
    const double corners = static_cast<double>(j - i);
    expect_undominated(point(x / corners, y / corners));
    i = j;
  }
}

TEST(GaugeBicriteria, TheChainIsTheEfficientSet) {
  std::mt19937 random(9);
  for (bool whole : {true, false}) {
    int solved = 0;
    double longest = 0;
    for (int round = 0; round < (whole ? 400 : 100); ++round) {
      gauged_sites problem = random_problem(random, whole);
      const auto chain = solved_alike(problem, random);
      if (!chain) continue;
      ++solved;
      longest = std::max(longest, chain->back().weight(0));
      if (round % 8 == 0) expect_efficient(problem, *chain);
    }
    EXPECT_GT(solved, 80);
    EXPECT_GE(longest, 3);
  }
}

TEST(GaugeBicriteria, IsThePlainStepsBitForBit) {
  std::mt19937 random(2);
  int solved = 0;
  const auto check = [&](facilities& F, const site_family&) {
    gauged_sites problem{F, random_gauges(random, random() % 2 == 0), {}};
    solved += solved_alike(problem, random).has_value();
  };
  for_random_sites(30, true, check, 6);
  EXPECT_GT(solved, 100);
}

TEST(GaugeBicriteria, FixedGauges) {
  std::mt19937 random(1);
  facilities F = sites_of({site(0, 0, 3, 1), site(4, 2, 1, 2), site(1, 3, 1, 1)});
  gauged_sites l1{F, {polygauge({point(1, 0), point(0, 1), point(-1, 0), point(0, -1)})}, {}};
  F.l1_bicriteria(true);
  EXPECT_EQ(results_of(F), solved_alike(l1, random));
  gauged_sites linf{F, {polygauge({point(1, 1), point(-1, 1), point(-1, -1), point(1, -1)})}, {}};
  F.linf_bicriteria(true);
  EXPECT_EQ(results_of(F), solved_alike(linf, random));
}

// ----- Pieces -----

// A triangle with the corners C = (0,0), A = (1,0), B = (0,1), and two objectives with these
// gradients.
TEST(EfficientSet, Classes) {
  const struct {
    vector g0, g1;
    int expected;
  } cases[] = {
      {{1, 1}, {2, 1}, 5},                             // best in both
      {{1, 0}, {0, 1}, 5},                             // each ties elsewhere
      {{0, 1}, {0, 2}, 4},                             // both tie with A
      {{1, 0}, {3, 0}, 3},                             // both tie with B
      {{0, 1}, {0, 0}, 5},                             // one ties with A, the other with both
      {{1, 0}, {0, 0}, 5},   {{-1, -1}, {-2, -2}, 1},  // both improve, in one direction
      {{-1, 0}, {0, -1}, 2}, {{-1, 2}, {1, -2}, 1},    // one against the other
      {{1, 1}, {-1, -1}, 1}, {{1, 1}, {-1, -3}, 3},
      {{1, 1}, {-3, -1}, 4}, {{1, 1}, {1, -1}, 3},   // better towards B than towards A
      {{1, 1}, {-1, 1}, 4},  {{-1, -3}, {1, 1}, 3},  // the roles exchanged
      {{-1, 1}, {1, 1}, 4},  {{0, 0}, {-1, 1}, 1},   // no slope at all
  };
  const point A(1, 0), B(0, 1), C(0, 0);
  for (const auto& c : cases) {
    EXPECT_EQ(classify(B, C, A, c.g0[1], 0, c.g0[0], c.g1[1], 0, c.g1[0], rotate_vector(c.g0),
                       rotate_vector(c.g1)),
              c.expected)
        << c.g0 << " and " << c.g1;
  }
  EXPECT_EQ(rotate_vector(vector(2, 3)), vector(-3, 2));
  EXPECT_EQ(normal_side(point(1, 1), point(3, 1), vector(5, 2)), 1);
  EXPECT_EQ(normal_side(point(1, 1), point(3, 1), vector(5, 0)), 0);
  EXPECT_EQ(normal_side(point(3, 1), point(1, 1), vector(5, 2)), -1);
}

// Two segments on one line, from different facilities, and one across.
TEST(EfficientSet, MapOfOverlaps) {
  const map_graph map =
      prepare_map(segment_map({segment(point(0, 0), point(4, 0)), segment(point(1, 0), point(5, 0)),
                               segment(point(2, -1), point(2, 1))}));
  std::ostringstream out;
  for (node v = map.first_node(); v; v = map.succ_node(v)) {
    out << map[v] << " to";
    for (edge e = map.first_adj_edge(v); e; e = map.adj_succ(e)) out << ' ' << map[e].target();
    out << '\n';
  }
  EXPECT_EQ(out.str(),
            "(0,0) to\n(1,0) to (2,0) (0,0)\n(2,-1) to\n"
            "(2,0) to (4,0) (2,1) (1,0) (2,-1)\n(2,1) to\n(4,0) to (5,0) (2,0)\n(5,0) to\n");
}

TEST(L2SquaredMulticriteria, IsTheHullOfTheCentres) {
  std::mt19937 random(4);
  for (int q = 1; q <= 6; ++q) {
    facilities F;
    for (int i = 0; i < 5; ++i) {
      location a(2, q);
      for (int c : {0, 1}) a[c] = static_cast<double>(random() % 100);
      for (int k = 0; k < q; ++k) a.weight(k) = static_cast<double>(1 + random() % 9);
      F.append(a);
    }
    F.opt.append(site(7, 7, 7));
    EXPECT_EQ(F.l2squared_multicriteria(false), 0.0);
    list<point> centres;
    for (int k = 0; k < q; ++k) {
      double x = 0;
      double y = 0;
      for (const location& a : F) {
        x += a.weight(k) * a[0];
        y += a.weight(k) * a[1];
      }
      centres.append(point(x / F.total_weights()[k], y / F.total_weights()[k]));
    }
    list<point> corners;
    for (const location& a : F.opt) {
      corners.append(a.to_point());
      EXPECT_EQ(a.weight(0), 1.0);
    }
    const list<point> hull = CONVEX_HULL(centres);
    EXPECT_EQ(corners.size(), hull.size());
    EXPECT_EQ(corners.size() > 2, q > 2);
    EXPECT_TRUE(std::is_permutation(corners.begin(), corners.end(), hull.begin(), hull.end()));
  }
}

// ----- Endings -----

TEST(GaugeBicriteria, Endings) {
  const std::string weights = "Negative entry or 0-row or 0-column in weight-matrix.";
  const Outcome on_facility = reported(1706, "polygauge: Conenumber is not correct");
  const Outcome no_end = {-SIGALRM, "", ""};
  const Outcome no_best = aborted("dlist::head(): empty list");
  const location a = site(0, 0, 1, 2), b = site(4, 2, 2, 1);
  const struct {
    const char* name;
    std::vector<location> sites;
    list<int> gauge_of;
    Outcome expected;
    std::vector<location> older = {};
  } cases[] = {
      {"fine", {a, b}, {0, 1}, ended("")},
      {"one weight", {site(0, 0, 1), b}, {0, 5, 5}, reported(1343, "False weight-dimension.")},
      {"few numbers", {a, b}, {9}, reported(1344, "Different number of locations and gauges.")},
      {"gauge -1", {a, site(4, 2, -1, 1)}, {0, -1}, reported(1345, "False gauge-number.")},
      {"gauge 2", {a, b}, {2, 0}, reported(1345, "False gauge-number.")},
      {"negative", {a, site(4, 2, 1, -1)}, {0, 0}, reported(1346, weights)},
      {"no weight", {a, site(4, 2, 0, 0)}, {0, 0}, reported(1346, weights)},
      {"no weight 1", {site(0, 0, 1, 0), site(4, 2, 2, 0)}, {0, 0}, reported(1342, weights)},
      {"no facility", {}, {}, no_best},
      {"centre on a facility", {site(0, 0, 1, 0), site(1, 0, 0, 1)}, {0, 0}, on_facility},
      {"older result on a facility", {a, b}, {0, 1}, on_facility, {site(0, 0, 1)}},
      {"no best place for f0", {site(.4, .8, 1, 3), site(.1, .2, 1, 3)}, {0, 0}, no_best},
      {"no best place for f1", {site(1, 0, 1, 1), site(2, 1, 2, 1)}, {1, 1}, no_end},
      {"in a circle", {site(.5, .6, 2, 2), site(.5, .4, 1, 2)}, {0, 0}, no_end},
  };
  const list<polygauge> both = {
      polygauge({point(1, 0), point(0, 1), point(-1, 0), point(0, -1)}),
      polygauge({point(1, 1), point(-1, 1), point(-1, -1), point(1, -1)})};
  for (const auto& c : cases) {
    EXPECT_EQ(in_own_process([&] {
                facilities F = sites_of(c.sites);
                F.opt = sites_of(c.older);
                ualarm(200000, 0);
                F.gauge_bicriteria(both, c.gauge_of, c.older.empty());
              }),
              c.expected)
        << c.name;
  }

  // A dead end: the outer end of a fundamental segment.
  const facilities F = sites_of({a, b});
  const list<int> gauge_of = {0, 0};
  const list<polygauge> gauges = {polygauge::l1_gauge()};
  EXPECT_EQ(in_own_process([&] {
              const map_graph map = prepare_map(segment_map({segment(point(0, 0), point(1, 0))}));
              F.efficient_walk(gauges, gauge_of, {point(1, 0)}, {point(0, 0)}, map);
            }),
            aborted("facilities::efficient_walk(): no edge leaves a corner of the map"));
}

}  // namespace
}  // namespace planloc
