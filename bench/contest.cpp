// The program behind measure.py:
//
//   contest                          lists "row contestant"
//   contest row contestant size seed       times calls
//   contest row export size seed           writes the input for other programs
//
// A timing contestant says "ready" when its input is made. Each line that it then reads is a number
// of calls; it answers with the CPU milliseconds of one (of the whole process, so that threads
// count) and the value.
#include "bench/contest.h"

#include <malloc.h>

#include <cstdlib>
#include <ctime>
#include <iomanip>
#include <iostream>

namespace {

using namespace planloc::bench;

double cpu_milliseconds() {
  timespec t{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &t);
  return static_cast<double>(t.tv_sec) * 1e3 + static_cast<double>(t.tv_nsec) * 1e-6;
}

// The C library sorts out many small freed blocks at the next large request; that is nobody's time.
void settle_heap() {
  void* volatile block = std::malloc(std::size_t{1} << 16);
  std::free(block);
}

// A function of its own also when optimised: the guard of the tests counts what happens in it.
[[gnu::noinline]] double time_calls(const contestant& who, long calls, double& value) {
  settle_heap();
  double spent = 0;
  if (!who.prepare) {
    const double start = cpu_milliseconds();
    for (long i = 0; i < calls; ++i) value = who.call();
    spent = cpu_milliseconds() - start;
  } else {
    for (long i = 0; i < calls; ++i) {
      who.prepare();
      const double start = cpu_milliseconds();
      value = who.call();
      spent += cpu_milliseconds() - start;
    }
  }
  return spent / static_cast<double>(calls);
}

void list(const contests& all) {
  for (const auto& [row, entries] : all)
    for (const auto& [name, make] : entries.contestants) std::cout << row << ' ' << name << '\n';
}

}  // namespace

int main(int argc, char** argv) {
  const contests all = all_contests();
  if (argc != 5) {
    list(all);
    return argc == 1 ? 0 : 1;
  }
  const auto row = all.find(argv[1]);
  if (row == all.end()) return 1;
  const std::string name = argv[2];
  const auto size = static_cast<std::size_t>(std::atol(argv[3]));
  const auto seed = static_cast<unsigned>(std::atol(argv[4]));
  std::cout << std::setprecision(17);
  if (name == "export") {
    row->second.write(size, seed, std::cout);
    return 0;
  }
  const auto make = row->second.contestants.find(name);
  if (make == row->second.contestants.end()) return 1;
  const contestant who = make->second(size, seed);
  malloc_trim(0);
  std::cout << "ready" << std::endl;
  for (long calls = 0; std::cin >> calls;) {
    double value = 0;
    const double time = time_calls(who, calls, value);
    std::cout << time << ' ' << value << std::endl;
  }
}
