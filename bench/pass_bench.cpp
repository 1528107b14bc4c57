// What one pass of the walk costs beside the linear program that it solves: 1000 facilities with
// 8-vertex gauges. `Pass` is everything that a pass does (building the model, extraction, solving,
// reading values, exact distances, sorting, page and picture), `BareSolve` what the library needs
// for the same rows and columns when they are handed to it at once.
#include <benchmark/benchmark.h>

#include <ClpPresolve.hpp>
#include <ClpSimplex.hpp>
#include <ClpSolve.hpp>
#include <cmath>
#include <iostream>
#include <random>
#include <sstream>
#include <vector>

#include "planloc/driver/cell_geometry.h"
#include "planloc/driver/cell_program.h"
#include "planloc/driver/problem.h"

namespace planloc {
namespace {

constexpr int kFacilities = 1000;
constexpr int kVertices = 8;

// The process-wide problem, its table of coefficients, and the cell of the middle.
struct scene {
  scene() : manager(1) {
    std::mt19937 random(3);
    std::uniform_real_distribution<double> u(0.0, 1.0);
    list<point> ball;
    for (int i = 0; i < kVertices; ++i) {
      const double angle = 0.2 + 2.0 * M_PI * i / kVertices;
      ball.append(point(2.0 * std::cos(angle), std::sin(angle)));
    }
    gauges.append(polygauge(ball));
    rows.push_back(std::vector<double>(kFacilities, 1.0));
    for (int f = 0; f < kFacilities; ++f) {
      const double w = 0.5 + u(random);
      fac.append(location(2.0, 1.0, 100 * u(random), 100 * u(random), w));
      gauge_of.append(0);
      for (const point& y : gauges.head().dual().vertices()) {
        rows.push_back({w * y.xcoord(), w * y.ycoord()});
      }
    }
    for (std::vector<double>& row : rows) coef.push_back(row.data());
    cell_of_point(manager, point(50, 50), sigma);
  }

  IlcManager manager;
  std::vector<std::vector<double>> rows;
  std::vector<double*> coef;
  IlcIntArray sigma;
};

scene& bench_scene() {
  IlcInitFloat();
  static scene the_scene;
  return the_scene;
}

void Pass(benchmark::State& state) {
  scene& s = bench_scene();
  std::ostringstream quiet;
  std::streambuf* const out = std::cout.rdbuf(quiet.rdbuf());
  for (auto _ : state) {
    bool feasible = false;
    point sol;
    double value = 0.0;
    IlcIntArray sigma_sol;
    solve_cell_lp(s.manager, s.sigma, s.coef.data(), feasible, sol, value);
    cell_of_point(s.manager, sol, sigma_sol);
    benchmark::DoNotOptimize(value);
  }
  std::cout.rdbuf(out);
}
BENCHMARK(Pass)->Unit(benchmark::kMillisecond)->MinTime(3);

void CellOfPoint(benchmark::State& state) {
  scene& s = bench_scene();
  for (auto _ : state) {
    IlcIntArray sigma;
    cell_of_point(s.manager, point(31.5, 62.25), sigma);
    benchmark::DoNotOptimize(sigma[0]);
  }
}
BENCHMARK(CellOfPoint)->Unit(benchmark::kMillisecond);

// Columns Z_1 ... Z_n, X_0, X_1; distance rows, then order rows.
void load(ClpSimplex& clp) {
  scene& s = bench_scene();
  std::vector<double> lower(kFacilities + 2, 0.0);
  lower[kFacilities] = lower[kFacilities + 1] = -COIN_DBL_MAX;
  const std::vector<double> upper(kFacilities + 2, COIN_DBL_MAX);
  std::vector<double> cost(kFacilities + 2, 0.0);
  for (int i = 0; i < kFacilities; ++i) {
    cost[static_cast<std::size_t>(s.sigma[i] - 1)] += s.coef[0][i];
  }
  CoinPackedMatrix matrix(false, 0, 0);
  matrix.setDimensions(0, kFacilities + 2);
  std::vector<double> right;
  int f = 0;
  std::size_t k = 1;
  for_each_facility([&](const location& a, const polygauge& g) {
    for (int j = 0; j < g.size(); ++j, ++k) {
      const int columns[] = {kFacilities, kFacilities + 1, f};
      const double entries[] = {s.coef[k][0], s.coef[k][1], -1.0};
      matrix.appendRow(3, columns, entries);
      right.push_back(s.coef[k][0] * a[0] + s.coef[k][1] * a[1]);
    }
    ++f;
  });
  for (int i = 0; i + 1 < kFacilities; ++i) {
    const int columns[] = {s.sigma[i] - 1, s.sigma[i + 1] - 1};
    const double entries[] = {1.0, -1.0};
    matrix.appendRow(2, columns, entries);
    right.push_back(0.0);
  }
  const std::vector<double> left(right.size(), -COIN_DBL_MAX);
  clp.loadProblem(matrix, lower.data(), upper.data(), cost.data(), left.data(), right.data());
}

void BareSolve(benchmark::State& state) {
  for (auto _ : state) {
    state.PauseTiming();
    ClpSimplex clp;
    clp.setLogLevel(0);
    load(clp);
    state.ResumeTiming();
    ClpSolve options;
    options.setSolveType(ClpSolve::useDual);
    options.setPresolveType(ClpSolve::presolveOn);
    clp.initialSolve(options);
    benchmark::DoNotOptimize(clp.objectiveValue());
  }
}
BENCHMARK(BareSolve)->Unit(benchmark::kMillisecond)->MinTime(3);

}  // namespace
}  // namespace planloc
