// N_l1_sum and N_linf_max beside what lp_solve alone needs for the same programs: the bare solves
// of both coordinates, on a program that stands already.
#include <benchmark/benchmark.h>
#include <lpsolve/lp_lib.h>

#include <cstdint>
#include <random>

#include "planloc/facilities/facilities.h"
#include "tests/facilities/plain_programs.h"

namespace planloc {
namespace {

constexpr int kNew = 3;

facilities random_sites(std::int64_t n) {
  std::mt19937 random(5);
  std::uniform_real_distribution<double> u(0.0, 100.0);
  facilities F;
  for (std::int64_t i = 0; i < n; ++i) {
    location a(2, kNew);
    a[0] = u(random);
    a[1] = u(random);
    for (int j = 0; j < kNew; ++j) a.weight(j) = 0.1 + u(random) / 50.0;
    F.append(a);
  }
  return F;
}

// As strong as a quarter of the facilities.
matrix ties_for(std::int64_t n) {
  matrix V(kNew, kNew);
  for (int j = 0; j < kNew; ++j) {
    for (int k = j + 1; k < kNew; ++k) V(j, k) = static_cast<double>(n) / 4.0;
  }
  return V;
}

using solver = double (facilities::*)(int, const matrix&, bool);
using programmer = plain_program (*)(const facilities&, int, const matrix&);

template <solver solve>
void Solver(benchmark::State& state) {
  facilities F = random_sites(state.range(0));
  const matrix V = ties_for(state.range(0));
  for (auto _ : state) {
    F.opt.clear();
    benchmark::DoNotOptimize((F.*solve)(kNew, V, true));
  }
}

template <programmer program>
void BareSolves(benchmark::State& state) {
  plain_program P = program(random_sites(state.range(0)), kNew, ties_for(state.range(0)));
  for (auto _ : state) {
    state.PauseTiming();
    lprec* lp = entered_program(P);
    state.ResumeTiming();
    for (std::vector<double>* b : {&P.bx, &P.by}) {
      set_rh_vec(lp, b->data());
      solve(lp);
    }
    state.PauseTiming();
    delete_lp(lp);
    state.ResumeTiming();
  }
}

BENCHMARK(Solver<&facilities::N_l1_sum>)->Arg(200)->Arg(2000)->Unit(benchmark::kMillisecond);
BENCHMARK(BareSolves<plain_l1>)->Arg(200)->Arg(2000)->Unit(benchmark::kMillisecond);
BENCHMARK(Solver<&facilities::N_linf_max>)->Arg(200)->Arg(2000)->Unit(benchmark::kMillisecond);
BENCHMARK(BareSolves<plain_linf>)->Arg(200)->Arg(2000)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace planloc
