// What the sums cost beside their physical limits: l1_sum beside sorting both coordinates, which a
// solver by sorting cannot do without, and one evaluation of the Euclidean sum beside one step of
// l2_sum. euclidean_sum.py compares l2_sum with what else a user could take.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

#include "planloc/facilities/facilities.h"

namespace planloc {
namespace {

// Uniform over a square; whole coordinates out of a thousand if `ties`.
facilities random_sites(std::int64_t n, bool ties) {
  std::mt19937 random(5);
  std::uniform_real_distribution<double> u(0.0, 1000.0);
  facilities F;
  for (std::int64_t i = 0; i < n; ++i) {
    const double x = u(random);
    const double y = u(random);
    F.append(location(2.0, 1.0, ties ? std::floor(x) : x, ties ? std::floor(y) : y,
                      0.5 + u(random) / 1000.0));
  }
  return F;
}

void L1Sum(benchmark::State& state) {
  facilities F = random_sites(state.range(0), state.range(1) != 0);
  for (auto _ : state) benchmark::DoNotOptimize(F.l1_sum(0, true));
}
BENCHMARK(L1Sum)
    ->ArgNames({"n", "ties"})
    ->Unit(benchmark::kMillisecond)
    ->Args({1000, 0})
    ->Args({1000000, 0})
    ->Args({1000000, 1});

void StdSortBothCoordinates(benchmark::State& state) {
  const facilities F = random_sites(state.range(0), state.range(1) != 0);
  std::vector<double> x;
  std::vector<double> y;
  for (const location& a : F) {
    x.push_back(a[0]);
    y.push_back(a[1]);
  }
  for (auto _ : state) {
    std::vector<double> sorted_x = x;
    std::vector<double> sorted_y = y;
    std::sort(sorted_x.begin(), sorted_x.end());
    std::sort(sorted_y.begin(), sorted_y.end());
    benchmark::DoNotOptimize(sorted_x.data());
    benchmark::DoNotOptimize(sorted_y.data());
  }
}
BENCHMARK(StdSortBothCoordinates)
    ->ArgNames({"n", "ties"})
    ->Unit(benchmark::kMillisecond)
    ->Args({1000, 0})
    ->Args({1000000, 0})
    ->Args({1000000, 1});

void ReadTheList(benchmark::State& state) {
  const facilities F = random_sites(state.range(0), false);
  for (auto _ : state) {
    double sum = 0.0;
    for (const location& a : F) sum += a[0] + a[1] + a.weight(0);
    benchmark::DoNotOptimize(sum);
  }
}
BENCHMARK(ReadTheList)->Arg(1000000)->Unit(benchmark::kMillisecond);

template <int p>
void Objective(benchmark::State& state) {
  const facilities F = random_sites(state.range(0), false);
  const location x(2.0, 1.0, 400.0, 600.0, 0.0);
  for (auto _ : state) benchmark::DoNotOptimize(F.objective(p, x, 0));
}
BENCHMARK(Objective<1>)->Arg(1000000)->Unit(benchmark::kMillisecond);
BENCHMARK(Objective<2>)->Arg(1000000)->Unit(benchmark::kMillisecond);

void L2Sum(benchmark::State& state) {
  facilities F = random_sites(state.range(0), false);
  for (auto _ : state) benchmark::DoNotOptimize(F.l2_sum(1e-6));
}
BENCHMARK(L2Sum)->RangeMultiplier(10)->Range(10, 100000)->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace planloc
