// `gauge_sum` beside the same problem as one linear program in CLP: sites in a square with 8-vertex
// gauges, n distances and a row for each vertex. `Program` solves by dual (0) and primal (1)
// simplex; its barrier is slower than both. `Crossings` is what all crossings of the segments alone
// cost.
#include <benchmark/benchmark.h>

#include <ClpSimplex.hpp>
#include <ClpSolve.hpp>
#include <cmath>
#include <random>
#include <vector>

#include "planloc/facilities/gauged_sites.h"
#include "planloc/foundation/geometry/crossings.h"

namespace planloc {
namespace {

constexpr int kVertices = 8;
constexpr int kGauges = 5;

// Every site has one of five gauges, turned by any angle; or, on a lattice, all have one with the
// directions of a chess queen.
gauged_sites problem(int n, bool lattice) {
  std::mt19937 random(3);
  std::uniform_real_distribution<double> u(0.0, 1.0);
  gauged_sites P;
  if (lattice) {
    P.gauges.append(
        polygauge({point(1, 0), point(0.75, 0.75), point(0, 1), point(-0.75, 0.75), point(-1, 0),
                   point(-0.75, -0.75), point(0, -1), point(0.75, -0.75)}));
  }
  for (int g = 0; g < kGauges && !lattice; ++g) {
    list<point> ball;
    const double turned = u(random);
    for (int i = 0; i < kVertices; ++i) {
      const double angle = turned + 2.0 * M_PI * i / kVertices;
      ball.append(point(2.0 * std::cos(angle), std::sin(angle)));
    }
    P.gauges.append(polygauge(ball));
  }
  const auto coordinate = [&] { return lattice ? std::floor(30 * u(random)) : 100 * u(random); };
  for (int i = 0; i < n; ++i) {
    const double x = coordinate();
    const double w = lattice ? 1.0 : 0.5 + u(random);
    P.sites.append(location(2.0, 1.0, x, coordinate(), w));
    P.gauge_of.append(i % P.gauges.size());
  }
  return P;
}

void Sum(benchmark::State& state) {
  gauged_sites P = problem(static_cast<int>(state.range(0)), state.range(1) != 0);
  for (auto _ : state) {
    benchmark::DoNotOptimize(P.sites.gauge_sum(P.gauges, P.gauge_of, true));
  }
  state.counters["value"] = P.sites.gauge_sum(P.gauges, P.gauge_of, true);
}

// Columns Z_1 ... Z_n, X_0, X_1.
void load(ClpSimplex& clp, const gauged_sites& P) {
  const int n = P.sites.size();
  const auto columns = static_cast<std::size_t>(n) + 2;
  std::vector<double> lower(columns, 0.0);
  lower[columns - 2] = lower[columns - 1] = -COIN_DBL_MAX;
  const std::vector<double> upper(columns, COIN_DBL_MAX);
  std::vector<double> cost(columns, 1.0);
  cost[columns - 2] = cost[columns - 1] = 0.0;
  CoinPackedMatrix matrix(false, 0, 0);
  matrix.setDimensions(0, n + 2);
  std::vector<double> right;
  int f = 0;
  P.for_each([&](const location& a, const polygauge& g) {
    for (const gauge_row& row : gauge_rows(a, g)) {
      const int places[] = {n, n + 1, f};
      const double entries[] = {row.a, row.b, -1.0};
      matrix.appendRow(3, places, entries);
      right.push_back(row.a * a[0] + row.b * a[1]);
    }
    ++f;
  });
  const std::vector<double> left(right.size(), -COIN_DBL_MAX);
  clp.loadProblem(matrix, lower.data(), upper.data(), cost.data(), left.data(), right.data());
}

void Program(benchmark::State& state) {
  const gauged_sites P = problem(static_cast<int>(state.range(0)), state.range(1) != 0);
  double value = 0.0;
  for (auto _ : state) {
    state.PauseTiming();
    ClpSimplex clp;
    clp.setLogLevel(0);
    load(clp, P);
    state.ResumeTiming();
    ClpSolve options;
    options.setSolveType(static_cast<ClpSolve::SolveType>(state.range(2)));
    options.setPresolveType(ClpSolve::presolveOn);
    clp.initialSolve(options);
    value = clp.objectiveValue();
  }
  state.counters["value"] = value;
}

void Crossings(benchmark::State& state) {
  gauged_sites P = problem(static_cast<int>(state.range(0)), state.range(1) != 0);
  P.sites.l2squared_sum(0, true);
  const point x0 = P.sites.opt.head().to_point();
  const double f0 = P.sites.gauge_value(P.gauges, P.gauge_of, x0, 0);
  const list<segment> S = P.sites.fundamental_segments(P.gauges, P.gauge_of, x0, f0, 0);
  list<point> I;
  for (auto _ : state) SEGMENT_INTERSECTION(S, I);
  state.counters["crossings"] = I.size();
}

BENCHMARK(Sum)
    ->ArgsProduct({{25, 50, 100, 200, 1000, 5000}, {0, 1}})
    ->Unit(benchmark::kMillisecond);
BENCHMARK(Program)
    ->ArgsProduct({{25, 50, 100, 200, 1000, 5000},
                   {0, 1},
                   {ClpSolve::useDual, ClpSolve::usePrimal}})
    ->Unit(benchmark::kMillisecond);
BENCHMARK(Crossings)->ArgsProduct({{25, 50, 100}, {0, 1}})->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace planloc
