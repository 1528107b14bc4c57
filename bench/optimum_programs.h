// For the timers of certified optima: random problems, and the same problems as linear and
// mixed-integer programs for other solvers.
#ifndef PLANLOC_BENCH_OPTIMUM_PROGRAMS_H_
#define PLANLOC_BENCH_OPTIMUM_PROGRAMS_H_

#include <algorithm>
#include <cmath>
#include <ctime>
#include <fstream>
#include <iomanip>
#include <limits>
#include <numbers>
#include <random>
#include <string>
#include <vector>

#include "planloc/optimum/minimise.h"

namespace planloc::bench {

constexpr double kUnbounded = std::numeric_limits<double>::max();
// Sites lie in [0, kExtent]^2. The programs look for the place within kReach around that square.
constexpr double kExtent = 100;
constexpr double kReach = 50;

inline double cpu_milliseconds() {
  timespec t{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &t);
  return static_cast<double>(t.tv_sec) * 1e3 + static_cast<double>(t.tv_nsec) * 1e-6;
}

struct entry {
  int row;
  int column;
  double value;
};

struct column {
  double cost = 0;
  double low = -kUnbounded;
  double high = kUnbounded;
  bool integer = false;
};

// minimise cost . v subject to rows >= right.
struct linear_program {
  std::vector<column> columns;
  std::vector<entry> entries;
  std::vector<double> right;

  int add_column(const column& c) {
    columns.push_back(c);
    return static_cast<int>(columns.size()) - 1;
  }
  // 0 or 1
  int add_choice() { return add_column({0, 0, 1, true}); }

  void add(double bound, std::initializer_list<std::pair<int, double>> terms) {
    for (const auto& [column, value] : terms) {
      if (value != 0) entries.push_back({static_cast<int>(right.size()), column, value});
    }
    right.push_back(bound);
  }
  void add_equal(double sum, const std::vector<int>& terms) {
    for (const double sign : {1.0, -1.0}) {
      for (const int c : terms) entries.push_back({static_cast<int>(right.size()), c, sign});
      right.push_back(sign * sum);
    }
  }
};

// The slopes of a gauge times a weight on its edges: the gauge is the largest slope . offset.
inline std::vector<xy> slopes_of(const gauge& g, double weight) {
  const auto v = g.vertices();
  std::vector<xy> slopes;
  for (std::size_t j = 0; j < v.size(); ++j) {
    const xy a = v[j];
    const xy b = v[(j + 1) % v.size()];
    const double scale = weight / (a.x * b.y - a.y * b.x);
    slopes.push_back({scale * (b.y - a.y), scale * (a.x - b.x)});
  }
  return slopes;
}

// A weighted distance on one edge of its gauge is slope . x - offset.
struct edge_piece {
  xy slope;
  double offset;
};

inline std::vector<edge_piece> pieces_of(const problem& p, int i) {
  const site& s = p.sites()[static_cast<std::size_t>(i)];
  std::vector<edge_piece> pieces;
  for (const xy& slope : slopes_of(p.gauge_of(static_cast<std::size_t>(i)), s.weight))
    pieces.push_back({slope, slope.x * s.x + slope.y * s.y});
  return pieces;
}

// Columns: x, y, the threshold or the largest distance, one a site.
inline linear_program convex_program(const problem& p, const std::string& kind) {
  const int n = static_cast<int>(p.sites().size());
  linear_program lp;
  lp.columns.resize(static_cast<std::size_t>(n) + 3);
  const double k = static_cast<double>(p.runs().back().count);
  for (int i = 0; i < n; ++i) {
    const auto c = static_cast<std::size_t>(i) + 3;
    lp.columns[c].cost = kind == "centre" ? 0 : kind == "cent-dian" ? p.runs()[0].weight : 1;
    if (kind == "k-centrum") lp.columns[c].low = 0;
  }
  lp.columns[2].cost = kind == "centre"      ? 1
                       : kind == "k-centrum" ? k
                       : kind == "cent-dian" ? p.runs().back().weight - p.runs()[0].weight
                                             : 0;
  for (int i = 0; i < n; ++i) {
    for (const auto& [slope, offset] : pieces_of(p, i)) {
      const double right = -offset;
      if (kind == "centre") {
        lp.add(right, {{0, -slope.x}, {1, -slope.y}, {2, 1}});
      } else if (kind == "k-centrum") {
        lp.add(right, {{0, -slope.x}, {1, -slope.y}, {2, 1}, {i + 3, 1}});
      } else {
        lp.add(right, {{0, -slope.x}, {1, -slope.y}, {i + 3, 1}});
      }
    }
    if (kind == "cent-dian") lp.add(0, {{2, 1}, {i + 3, -1}});
  }
  return lp;
}

// An upper bound of d_i over the places that are looked at: convex, so it is that of a corner.
inline double largest_distance(const problem& p, int i) {
  double most = 0;
  for (const double x : {-kReach, kExtent + kReach}) {
    for (const double y : {-kReach, kExtent + kReach})
      most = std::max(most, p.distance(static_cast<std::size_t>(i), {x, y}));
  }
  return most;
}

// Order weights that are not negative: each site belongs to one run, which the thresholds between
// the runs hold to its ranks. The distances are variables that may be above the true ones, which
// never pays.
inline linear_program sorted_program(const problem& p) {
  const int n = static_cast<int>(p.sites().size());
  linear_program lp;
  lp.add_column({0, -kReach, kExtent + kReach});
  lp.add_column({0, -kReach, kExtent + kReach});
  const auto runs = p.runs();
  double most = 0;
  for (int i = 0; i < n; ++i) most = std::max(most, largest_distance(p, i));
  std::vector<int> threshold;  // above each run but the last
  for (std::size_t r = 0; r + 1 < runs.size(); ++r)
    threshold.push_back(lp.add_column({0, 0, most}));
  std::vector<std::vector<int>> members(runs.size());
  for (int i = 0; i < n; ++i) {
    const int d = lp.add_column({0, 0, most});
    for (const auto& [slope, offset] : pieces_of(p, i))
      lp.add(-offset, {{d, 1}, {0, -slope.x}, {1, -slope.y}});
    std::vector<int> choices;
    for (std::size_t r = 0; r < runs.size(); ++r) {
      const int z = lp.add_choice();
      choices.push_back(z);
      members[r].push_back(z);
      if (r + 1 < runs.size()) lp.add(-most, {{threshold[r], 1}, {d, -1}, {z, -most}});
      if (r > 0) lp.add(-most, {{d, 1}, {threshold[r - 1], -1}, {z, -most}});
      if (runs[r].weight == 0) continue;
      const int t = lp.add_column({runs[r].weight, 0, kUnbounded});
      lp.add(-most, {{t, 1}, {d, -1}, {z, -most}});
    }
    lp.add_equal(1, choices);
  }
  for (std::size_t r = 0; r < runs.size(); ++r)
    lp.add_equal(static_cast<double>(runs[r].count), members[r]);
  return lp;
}

// The largest distance less the smallest: the smallest needs the edge that each distance is on.
inline linear_program range_program(const problem& p) {
  const int n = static_cast<int>(p.sites().size());
  linear_program lp;
  lp.add_column({0, -kReach, kExtent + kReach});
  lp.add_column({0, -kReach, kExtent + kReach});
  const int high = lp.add_column({1, 0, kUnbounded});
  const int low = lp.add_column({-1, 0, kUnbounded});
  for (int i = 0; i < n; ++i) {
    const double most = 2 * largest_distance(p, i);
    std::vector<int> choices;
    for (const auto& [slope, offset] : pieces_of(p, i)) {
      lp.add(-offset, {{high, 1}, {0, -slope.x}, {1, -slope.y}});
      const int z = lp.add_choice();
      choices.push_back(z);
      // Where the choice is 0 the row must not bind: `low` is at most the distance, and that less
      // the piece is at most twice the largest.
      lp.add(offset - most, {{low, -1}, {0, slope.x}, {1, slope.y}, {z, -most}});
    }
    lp.add_equal(1, choices);
  }
  return lp;
}

constexpr const char* kGeneralKinds[] = {"trimmed-mean", "anti-centrum", "range", "order-statistic",
                                         "random"};

inline order_weights general_order(const std::string& kind, std::size_t n, unsigned seed) {
  if (kind == "trimmed-mean") return order_weights::trimmed_mean(n / 4, n / 4);
  if (kind == "anti-centrum") return order_weights::anti_centrum(n / 2);
  if (kind == "order-statistic") return order_weights::order_statistic(n / 2);
  if (kind == "range") return order_weights::range();
  std::mt19937_64 random(seed + 1000);
  std::uniform_real_distribution<double> unit(0, 1);
  std::vector<double> lambda(n);
  for (double& weight : lambda) weight = unit(random);
  return order_weights(lambda);
}

inline linear_program general_program(const problem& p, const std::string& kind) {
  return kind == "range" ? range_program(p) : sorted_program(p);
}

inline void write(const linear_program& lp, std::ostream& out) {
  out << std::setprecision(17) << lp.right.size() << ' ' << lp.columns.size() << ' '
      << lp.entries.size() << '\n';
  for (const column& c : lp.columns)
    out << c.cost << ' ' << c.low << ' ' << c.high << ' ' << c.integer << '\n';
  for (const double r : lp.right) out << r << '\n';
  for (const entry& e : lp.entries) out << e.row << ' ' << e.column << ' ' << e.value << '\n';
}

inline void write(const linear_program& lp, const std::string& file) {
  std::ofstream out(file);
  write(lp, out);
}

inline gauge random_ball(std::mt19937_64& random, int vertices) {
  std::uniform_real_distribution<double> unit(0, 1);
  const xy stretch{0.5 + unit(random), 0.5 + unit(random)};
  const xy shift{0.2 * unit(random), 0.2 * unit(random)};
  std::vector<xy> v;
  for (int j = 0; j < vertices; ++j) {
    const double angle = 2 * std::numbers::pi * (j + 0.5 * unit(random)) / vertices;
    v.push_back({shift.x + stretch.x * std::cos(angle), shift.y + stretch.y * std::sin(angle)});
  }
  return gauge::polyhedral(v);
}

inline std::vector<gauge> random_balls(std::mt19937_64& random, int gauges, int vertices) {
  std::vector<gauge> balls;
  for (int k = 0; k < gauges; ++k) balls.push_back(random_ball(random, vertices));
  return balls;
}

// Weights from 1 to 10 and `gauges` random gauges.
inline problem random_problem(std::size_t n, int vertices, int gauges, unsigned seed,
                              const order_weights& lambda) {
  std::mt19937_64 random(seed);
  std::uniform_real_distribution<double> unit(0, 1);
  std::vector<gauge> balls = random_balls(random, gauges, vertices);
  std::vector<site> sites;
  for (std::size_t i = 0; i < n; ++i) {
    const double x = kExtent * unit(random);
    const double y = kExtent * unit(random);
    sites.push_back(
        {x, y, 1 + 9 * unit(random), static_cast<std::uint32_t>(random() % balls.size())});
  }
  return {std::move(sites), std::move(balls), lambda};
}

}  // namespace planloc::bench

#endif  // PLANLOC_BENCH_OPTIMUM_PROGRAMS_H_
