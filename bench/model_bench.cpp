// Building a program of 100,000 rows and 300,000 nonzeros through the modelling layer and sending
// it to the library (Build), beside what CLP needs to load and solve it (LoadAndSolve).
#include <benchmark/benchmark.h>

#include <ClpSimplex.hpp>
#include <cstddef>
#include <random>
#include <vector>

#include "planloc/engine/engine.h"

namespace planloc {
namespace {

constexpr int kRows = 100000;
constexpr int kColumns = 50000;

// minimise cost x, x >= 0; each row three columns, their sum with weights at least a number.
struct Data {
  Data() {
    std::mt19937 random(8);
    std::uniform_real_distribution<double> u(0.5, 2.0);
    for (int j = 0; j < kColumns; ++j) cost.push_back(u(random));
    for (int i = 0; i < kRows; ++i) {
      const int first = static_cast<int>(random() % kColumns);
      for (const int step : {0, 7919, 15331}) {
        column.push_back((first + step) % kColumns);
        weight.push_back(u(random));
      }
      rhs.push_back(10.0 * u(random));
    }
  }
  std::vector<double> cost, weight, rhs;
  std::vector<int> column;
};

const Data& data() {
  static const Data the_data;
  return the_data;
}

void Build(benchmark::State& state) {
  const Data& d = data();
  IlcInitFloat();
  for (auto _ : state) {
    IlcManager m(IlcEdit);
    IlcFloatVarArray x(m, kColumns, 0.0, IlcInfinity);
    IlcLinOpt lp(m, 0);
    IlcFloatExp sum = d.cost[0] * x[0];
    for (int j = 1; j < kColumns; ++j) sum += d.cost[static_cast<std::size_t>(j)] * x[j];
    lp.setObjMin(sum);
    for (std::size_t i = 0; i < kRows; ++i) {
      const auto term = [&](std::size_t k) { return d.weight[k] * x[d.column[k]]; };
      lp.add(term(3 * i) + term(3 * i + 1) + term(3 * i + 2) >= d.rhs[i]);
    }
    benchmark::DoNotOptimize(lp.getNumberOfRows());  // sends them
    state.PauseTiming();
    lp.end();
    m.end();
    state.ResumeTiming();
  }
}

void LoadAndSolve(benchmark::State& state) {
  const Data& d = data();
  const std::vector<double> lower(kColumns, 0.0), upper(kColumns, COIN_DBL_MAX),
      above(kRows, COIN_DBL_MAX);
  std::vector<CoinBigIndex> starts;
  for (int i = 0; i <= kRows; ++i) starts.push_back(3 * i);
  for (auto _ : state) {
    ClpSimplex clp;
    clp.setLogLevel(0);
    const CoinPackedMatrix matrix(false, kColumns, kRows, 3 * kRows, d.weight.data(),
                                  d.column.data(), starts.data(), nullptr);
    clp.loadProblem(matrix, lower.data(), upper.data(), d.cost.data(), d.rhs.data(), above.data());
    clp.dual();
    benchmark::DoNotOptimize(clp.objectiveValue());
  }
}

BENCHMARK(Build)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(LoadAndSolve)->Unit(benchmark::kMillisecond)->Iterations(1);

}  // namespace
}  // namespace planloc
