// A pass of the walk beside the linear program of its cell: everything that a pass does (building
// the model, extraction, solving, reading values, exact distances, sorting, page and picture), and
// what CLP needs for the same rows and columns when they are handed to it at once.
#include <ClpPresolve.hpp>
#include <ClpSimplex.hpp>
#include <ClpSolve.hpp>
#include <cmath>
#include <iostream>
#include <memory>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "bench/contest.h"
#include "planloc/driver/cell_geometry.h"
#include "planloc/driver/cell_program.h"
#include "planloc/driver/kept_memory.h"
#include "planloc/driver/problem.h"
#include "planloc/engine/heap.h"

namespace planloc::bench {
namespace {

// The process-wide problem, its table of coefficients, and the cell of the middle.
struct scene {
  scene(std::size_t n, unsigned seed, int vertices) : manager(1) {
    std::mt19937 random(seed);
    std::uniform_real_distribution<double> u(0.0, 1.0);
    list<point> ball;
    for (int i = 0; i < vertices; ++i) {
      const double angle = 0.2 + 2.0 * M_PI * i / vertices;
      ball.append(point(2.0 * std::cos(angle), std::sin(angle)));
    }
    fac.clear();
    gauge_of.clear();
    gauges.clear();
    gauges.append(polygauge(ball));
    rows.push_back(std::vector<double>(n, 1.0));
    for (std::size_t f = 0; f < n; ++f) {
      const double w = 0.5 + u(random);
      const double x = 100 * u(random);
      fac.append(location(2.0, 1.0, x, 100 * u(random), w));
      gauge_of.append(0);
      for (const point& y : gauges.head().dual().vertices())
        rows.push_back({w * y.xcoord(), w * y.ycoord()});
    }
    for (std::vector<double>& row : rows) coef.push_back(row.data());
    cell_of_point(manager, point(50, 50), sigma);
  }

  IlcManager manager;
  std::vector<std::vector<double>> rows;
  std::vector<double*> coef;
  IlcIntArray sigma;
};

std::shared_ptr<scene> made(std::size_t n, unsigned seed, int vertices) {
  keep_freed_memory();  // as in the program, for both contestants
  IlcInitFloat();
  return std::make_shared<scene>(n, seed, vertices);
}

// A run has one manager, whose heap keeps what passes leave: some dozens, where here there are
// thousands.
contestant pass(const std::shared_ptr<scene>& s) {
  const IlcHeap::Index begin = s->manager.getHeap()->getIndex();
  const auto forget = [s, begin] { s->manager.getHeap()->reset(begin); };
  return {.call =
              [s] {
                std::ostringstream quiet;
                std::streambuf* const out = std::cout.rdbuf(quiet.rdbuf());
                bool feasible = false;
                point sol;
                double value = 0.0;
                IlcIntArray sigma_sol;
                solve_cell_lp(s->manager, s->sigma, s->coef.data(), feasible, sol, value);
                cell_of_point(s->manager, sol, sigma_sol);
                std::cout.rdbuf(out);
                return value;
              },
          .prepare = forget};
}

// Columns Z_1 ... Z_n, X_0, X_1; distance rows, then order rows.
void load(ClpSimplex& clp, const scene& s) {
  const int n = fac.size();
  const auto columns = static_cast<std::size_t>(n) + 2;
  std::vector<double> lower(columns, 0.0);
  lower[columns - 2] = lower[columns - 1] = -COIN_DBL_MAX;
  const std::vector<double> upper(columns, COIN_DBL_MAX);
  std::vector<double> cost(columns, 0.0);
  for (int i = 0; i < n; ++i) cost[static_cast<std::size_t>(s.sigma[i] - 1)] += s.coef[0][i];
  std::vector<CoinBigIndex> starts{0};
  std::vector<int> places;
  std::vector<double> entries;
  std::vector<double> right;
  const auto add = [&](std::initializer_list<std::pair<int, double>> row, double most) {
    for (const auto& [column, value] : row) {
      places.push_back(column);
      entries.push_back(value);
    }
    starts.push_back(static_cast<CoinBigIndex>(places.size()));
    right.push_back(most);
  };
  int f = 0;
  std::size_t k = 1;
  for_each_facility([&](const location& a, const polygauge& g) {
    for (int j = 0; j < g.size(); ++j, ++k) {
      const double* row = s.coef[k];
      add({{n, row[0]}, {n + 1, row[1]}, {f, -1.0}}, row[0] * a[0] + row[1] * a[1]);
    }
    ++f;
  });
  for (int i = 0; i + 1 < n; ++i) add({{s.sigma[i] - 1, 1.0}, {s.sigma[i + 1] - 1, -1.0}}, 0.0);
  const CoinPackedMatrix matrix(false, n + 2, static_cast<int>(right.size()),
                                static_cast<CoinBigIndex>(places.size()), entries.data(),
                                places.data(), starts.data(), nullptr);
  const std::vector<double> left(right.size(), -COIN_DBL_MAX);
  clp.setLogLevel(0);
  clp.loadProblem(matrix, lower.data(), upper.data(), cost.data(), left.data(), right.data());
}

contestant bare_solve(const std::shared_ptr<scene>& s) {
  const auto clp = std::make_shared<std::unique_ptr<ClpSimplex>>();
  return {.call =
              [clp] {
                ClpSolve options;
                options.setSolveType(ClpSolve::useDual);
                options.setPresolveType(ClpSolve::presolveOn);
                (**clp).initialSolve(options);
                return (**clp).objectiveValue();
              },
          .prepare =
              [clp, s] {
                *clp = std::make_unique<ClpSimplex>();
                load(**clp, *s);
              }};
}

}  // namespace

void add_walk(contests& all) {
  for (const int vertices : {4, 8, 16}) {
    auto& row = all["pass-" + std::to_string(vertices)].contestants;
    row["pass"] = [=](std::size_t n, unsigned seed) { return pass(made(n, seed, vertices)); };
    row["CLP"] = [=](std::size_t n, unsigned seed) { return bare_solve(made(n, seed, vertices)); };
  }
}

}  // namespace planloc::bench
