// The largest weighted gauge distance: `facilities::gauge_max` against the same problem as one
// linear program in CLP, its dual simplex from the rows of `gauge_rows`. Every iteration times both
// on the next of some random problems with octagons, one for each site.
//
// Counters: the share of problems on which planloc is faster, and the ratio of the times, CLP's
// over planloc's, at the median and at the tenth percentile, where the search over triples of edges
// runs; above 1 planloc is the faster one.
#include <benchmark/benchmark.h>

#include <ClpSimplex.hpp>
#include <CoinPackedMatrix.hpp>
#include <algorithm>
#include <chrono>
#include <cstddef>
#include <ctime>
#include <random>
#include <vector>

#include "planloc/facilities/gauged_sites.h"
#include "planloc/foundation/containers/error_handler.h"
#include "tests/facilities/gauge_problems.h"

namespace planloc {
namespace {

struct ended {};

template <class Call>
double seconds(Call call) {
  const std::clock_t start = std::clock();
  call();
  return static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
}

gauged_sites random_sites(std::mt19937& random, int n, int vertices) {
  std::uniform_real_distribution<double> u(0.0, 1.0);
  gauged_sites P;
  for (int i = 0; i < n; ++i) {
    P.sites.append(site(u(random), u(random), 1.0 + u(random)));
    P.gauges.append(random_gauge(random, vertices));
    P.gauge_of.append(i);
  }
  return P;
}

double solve_by_clp(const std::vector<distance_row>& rows) {
  CoinPackedMatrix matrix(false, 0, 0);
  matrix.setDimensions(0, 3);
  std::vector<double> upper;
  const int columns[] = {0, 1, 2};
  for (const distance_row& row : rows) {
    const double entries[] = {row.a, row.b, -1.0};
    matrix.appendRow(3, columns, entries);
    upper.push_back(row.c);
  }
  const double cost[] = {0.0, 0.0, 1.0};
  const double low[] = {-COIN_DBL_MAX, -COIN_DBL_MAX, 0.0};
  ClpSimplex lp;
  lp.setLogLevel(0);
  lp.loadProblem(matrix, low, nullptr, cost, nullptr, upper.data());
  lp.dual();
  return lp.objectiveValue();
}

void gauge_max(benchmark::State& state) {
  const ErrorHandler previous = set_error_handler([](int, const char*) { throw ended(); });
  std::mt19937 random(1);
  std::vector<double> ratios;
  int ends = 0;
  for (auto _ : state) {
    gauged_sites P = random_sites(random, static_cast<int>(state.range(0)), 8);
    const double own = seconds([&] {
      try {
        benchmark::DoNotOptimize(P.sites.gauge_max(P.gauges, P.gauge_of, true));
      } catch (const ended&) {
        ++ends;
      }
    });
    const auto rows = distance_rows(P);
    const double clp = seconds([&] { benchmark::DoNotOptimize(solve_by_clp(rows)); });
    ratios.push_back(clp / own);
    state.SetIterationTime(own);
  }
  set_error_handler(previous);
  std::sort(ratios.begin(), ratios.end());
  const auto share = std::count_if(ratios.begin(), ratios.end(), [](double r) { return r > 1.0; });
  state.counters["faster"] = static_cast<double>(share) / static_cast<double>(ratios.size());
  state.counters["ratio_median"] = ratios[ratios.size() / 2];
  state.counters["ratio_tenth"] = ratios[ratios.size() / 10];
  state.counters["reports"] = ends;
}
BENCHMARK(gauge_max)
    ->Arg(3)
    ->Arg(10)
    ->Arg(20)
    ->Arg(50)
    ->Arg(100)
    ->Arg(200)
    ->Iterations(30)
    ->UseManualTime()
    ->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace planloc
