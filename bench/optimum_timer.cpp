// For optimum.py: solves convex problems by cutting planes and by CLP, and writes the linear
// program for other solvers.
//
//   optimum_timer kind sites vertices gauges seed [program.txt]
//
// kind: median, centre, k-centrum (the larger half) or cent-dian. Prints the value and the
// milliseconds of minimise, then those of CLP's dual and primal simplex (not asked for without a
// program file). The times leave out the building of the models.
#include <ClpSimplex.hpp>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <iomanip>
#include <iostream>
#include <numbers>
#include <random>
#include <string>
#include <vector>

#include "planloc/optimum/minimise.h"

namespace {

using namespace planloc;

double cpu_milliseconds() {
  timespec t{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
  return static_cast<double>(t.tv_sec) * 1e3 + static_cast<double>(t.tv_nsec) * 1e-6;
}

struct entry {
  int row;
  int column;
  double value;
};

// minimise cost . v subject to rows >= right, v free but for those with a lower bound of 0.
// Columns: x, y, the threshold or the largest distance, one a site.
struct linear_program {
  std::vector<double> cost;
  std::vector<bool> free;
  std::vector<entry> entries;
  std::vector<double> right;

  void add(double bound, std::initializer_list<std::pair<int, double>> terms) {
    for (const auto& [column, value] : terms) {
      if (value != 0) entries.push_back({static_cast<int>(right.size()), column, value});
    }
    right.push_back(bound);
  }
};

linear_program program_of(const problem& p, const std::string& kind) {
  const int n = static_cast<int>(p.sites().size());
  linear_program lp;
  lp.cost.assign(static_cast<std::size_t>(n) + 3, 0);
  lp.free.assign(lp.cost.size(), true);
  const double k = static_cast<double>(p.runs().back().count);
  for (int i = 0; i < n; ++i) {
    const auto c = static_cast<std::size_t>(i) + 3;
    lp.cost[c] = kind == "centre" ? 0 : kind == "cent-dian" ? p.runs()[0].weight : 1;
    if (kind == "k-centrum") lp.free[c] = false;
  }
  lp.cost[2] = kind == "centre"      ? 1
               : kind == "k-centrum" ? k
               : kind == "cent-dian" ? p.runs().back().weight - p.runs()[0].weight
                                     : 0;
  for (int i = 0; i < n; ++i) {
    const site& s = p.sites()[static_cast<std::size_t>(i)];
    const auto v = p.gauge_of(static_cast<std::size_t>(i)).vertices();
    for (std::size_t j = 0; j < v.size(); ++j) {
      const xy a = v[j];
      const xy b = v[(j + 1) % v.size()];
      const double scale = s.weight / (a.x * b.y - a.y * b.x);
      const xy slope{scale * (b.y - a.y), scale * (a.x - b.x)};
      const double right = -(slope.x * s.x + slope.y * s.y);
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

void write(const linear_program& lp, const std::string& file) {
  std::ofstream out(file);
  out << std::setprecision(17) << lp.right.size() << ' ' << lp.cost.size() << ' '
      << lp.entries.size() << '\n';
  for (std::size_t c = 0; c < lp.cost.size(); ++c) out << lp.cost[c] << ' ' << lp.free[c] << '\n';
  for (const double r : lp.right) out << r << '\n';
  for (const entry& e : lp.entries) out << e.row << ' ' << e.column << ' ' << e.value << '\n';
}

double clp_milliseconds(const linear_program& lp, bool dual, double& value) {
  std::vector<int> rows;
  std::vector<int> columns;
  std::vector<double> values;
  for (const entry& e : lp.entries) {
    rows.push_back(e.row);
    columns.push_back(e.column);
    values.push_back(e.value);
  }
  const CoinPackedMatrix matrix(true, rows.data(), columns.data(), values.data(),
                                static_cast<int>(values.size()));
  std::vector<double> low;
  for (const bool f : lp.free) low.push_back(f ? -COIN_DBL_MAX : 0);
  const std::vector<double> high(low.size(), COIN_DBL_MAX);
  const std::vector<double> above(lp.right.size(), COIN_DBL_MAX);
  ClpSimplex clp;
  clp.setLogLevel(0);
  clp.loadProblem(matrix, low.data(), high.data(), lp.cost.data(), lp.right.data(), above.data());
  const double start = cpu_milliseconds();
  if (dual) {
    clp.dual();
  } else {
    clp.primal();
  }
  value = clp.objectiveValue();
  return cpu_milliseconds() - start;
}

gauge random_ball(std::mt19937_64& random, int vertices) {
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

}  // namespace

int main(int argc, char** argv) {
  if (argc < 6) return 1;
  const std::string kind = argv[1];
  const auto n = static_cast<std::size_t>(std::atol(argv[2]));
  std::mt19937_64 random(static_cast<unsigned>(std::atoi(argv[5])));
  std::uniform_real_distribution<double> unit(0, 1);
  std::vector<gauge> gauges;
  for (int k = 0; k < std::atoi(argv[4]); ++k)
    gauges.push_back(random_ball(random, std::atoi(argv[3])));
  std::vector<site> sites;
  for (std::size_t i = 0; i < n; ++i) {
    const double x = 100 * unit(random);
    const double y = 100 * unit(random);
    sites.push_back(
        {x, y, 1 + 9 * unit(random), static_cast<std::uint32_t>(random() % gauges.size())});
  }
  const order_weights lambda = kind == "median"      ? order_weights::median()
                               : kind == "centre"    ? order_weights::centre()
                               : kind == "k-centrum" ? order_weights::k_centrum(n / 2)
                                                     : order_weights::cent_dian(0.5);
  const problem p(sites, gauges, lambda);
  solution s;
  std::vector<double> times;
  for (int k = 0; k < 5; ++k) {
    const double start = cpu_milliseconds();
    s = minimise(p);
    times.push_back(cpu_milliseconds() - start);
  }
  std::sort(times.begin(), times.end());
  std::cout << std::setprecision(15) << s.value << ' ' << times[2] << ' '
            << (s.status == solution_status::optimal);
  if (argc > 6) {
    const linear_program lp = program_of(p, kind);
    write(lp, argv[6]);
    for (const bool dual : {true, false}) {
      double value = 0;
      const double time = clp_milliseconds(lp, dual, value);
      std::cout << ' ' << time << ' ' << value;
    }
  }
  std::cout << '\n';
}
