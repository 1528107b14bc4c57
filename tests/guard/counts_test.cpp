// What calls cost, in counts: allocations, numbers that GMP allocates for exact work, calls into
// the linear programming libraries, evaluations and cells of searches. The limits leave room for
// other libraries; a change that passes one of them is a change of the method, wanted or not.
#include <gmp.h>
#include <gtest/gtest.h>
#include <lpsolve/lp_lib.h>

#include <atomic>
#include <cstdlib>
#include <fstream>
#include <new>
#include <sstream>
#include <string>

#include "bench/contest.h"
#include "bench/optimum_programs.h"
#include "tests/engine/recording_library.h"

namespace {

std::atomic<long> allocations{0};
std::atomic<long> big_numbers{0};
long lp_solve_calls = 0;

void* counted(std::size_t size) {
  ++big_numbers;
  return std::malloc(size);
}

}  // namespace

// The linker sends calls of lp_solve's functions here (--wrap).
#define PLANLOC_COUNTED(function, parameters, ...)            \
  int real_##function parameters asm("__real_" #function);    \
  int counted_##function parameters asm("__wrap_" #function); \
  int counted_##function parameters {                         \
    ++lp_solve_calls;                                         \
    return real_##function(__VA_ARGS__);                      \
  }
extern "C" {
PLANLOC_COUNTED(solve, (lprec * lp), lp)
PLANLOC_COUNTED(add_columnex, (lprec * lp, int n, double* values, int* rows), lp, n, values, rows)
}
#undef PLANLOC_COUNTED

void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  ++allocations;
  return std::malloc(size);
}

void* operator new(std::size_t size) {
  if (void* const p = operator new(size, std::nothrow)) return p;
  throw std::bad_alloc();
}

void operator delete(void* p, std::size_t) noexcept { std::free(p); }
void operator delete(void* p) noexcept { std::free(p); }

namespace planloc::bench {
namespace {

TEST(Guard, AllocationsAndBigNumbersOfCalls) {
  mp_set_memory_functions(
      counted, [](void* p, std::size_t, std::size_t size) { return std::realloc(p, size); },
      [](void* p, std::size_t) { std::free(p); });
  const contests all = all_contests();
  std::ifstream in(LIMITS);
  int rows = 0;
  for (std::string line; std::getline(in, line);) {
    if (line.front() == '#') continue;
    std::istringstream words(line);
    std::string row;
    std::string name;
    std::size_t size = 0;
    long most_allocations = 0;
    long most_big_numbers = 0;
    ASSERT_TRUE(words >> row >> name >> size >> most_allocations >> most_big_numbers) << line;
    const contestant who = all.at(row).contestants.at(name)(size, 1);
    who.call();  // what is kept for later calls
    if (who.prepare) who.prepare();
    const long allocations_before = allocations;
    const long big_numbers_before = big_numbers;
    who.call();
    EXPECT_LE(allocations - allocations_before, most_allocations) << line;
    EXPECT_LE(big_numbers - big_numbers_before, most_big_numbers) << line;
    ++rows;
  }
  EXPECT_GT(rows, 20);
}

// However many rows, a program goes to CLP in a few calls and is solved once; lp_solve gets a call
// a column and two solves.
TEST(Guard, CallsIntoLibrariesOfLinearPrograms) {
  struct {
    const char* row;
    const char* name;
    std::size_t size;
    std::size_t clp_calls;
    long lp_solve_calls;
  } const cases[] = {
      {"modelling", "expressions", 1000, 50, 0},
      {"pass-8", "pass", 50, 50, 0},
      {"n-l1-sum", "N_l1_sum", 20, 0, 140},
      {"n-linf-max", "N_linf_max", 20, 0, 8},
  };
  const contests all = all_contests();
  RecordingLibrary clp;
  CplexLibrary* const before = set_cplex_library(&clp);
  for (const auto& c : cases) {
    const contestant who = all.at(c.row).contestants.at(c.name)(c.size, 1);
    clp.take();
    lp_solve_calls = 0;
    who.call();
    EXPECT_EQ(clp.calls.empty(), c.clp_calls == 0) << c.row;
    EXPECT_EQ(lp_solve_calls == 0, c.lp_solve_calls == 0) << c.row;
    EXPECT_LE(clp.calls.size(), c.clp_calls) << c.row;
    EXPECT_LE(clp.count("addrows"), 1) << c.row;
    EXPECT_LE(clp.count("dualopt"), 1) << c.row;
    EXPECT_LE(lp_solve_calls, c.lp_solve_calls) << c.row;
  }
  set_cplex_library(before);
}

TEST(Guard, EvaluationsAndCellsOfSearches) {
  struct search {
    const char* name;
    order_weights lambda;
    std::size_t sites;
    std::size_t most;
  };
  const search searches[] = {
      {"median", order_weights::median(), 1000, 44},
      {"centre", order_weights::centre(), 1000, 21},
      {"k-centrum", order_weights::k_centrum(500), 1000, 36},
      {"cent-dian", order_weights::cent_dian(0.5), 1000, 24},
      {"trimmed mean", order_weights::trimmed_mean(12, 12), 50, 263},
      {"anti-centrum", order_weights::anti_centrum(25), 50, 240},
      {"range", order_weights::range(), 50, 128},
      {"order statistic", order_weights::order_statistic(25), 50, 372},
  };
  for (const search& s : searches) {
    const solution found = minimise(random_problem(s.sites, 8, 3, 1, s.lambda));
    EXPECT_EQ(found.status, solution_status::optimal) << s.name;
    EXPECT_LE(found.counters.evaluations + found.counters.cells, s.most) << s.name;
  }
}

}  // namespace
}  // namespace planloc::bench
