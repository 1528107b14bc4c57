// What calls cost, in counts: allocations, numbers that GMP allocates for exact work, evaluations
// and cells of searches. The limits leave room for other libraries; a change that passes one of
// them is a change of the method, wanted or not.
#include <gmp.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <fstream>
#include <new>
#include <sstream>
#include <string>

#include "bench/contest.h"
#include "bench/optimum_programs.h"

namespace {

std::atomic<long> allocations{0};
std::atomic<long> big_numbers{0};

void* counted(std::size_t size) {
  ++big_numbers;
  return std::malloc(size);
}

}  // namespace

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
