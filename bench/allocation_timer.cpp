// For allocation.py: several facilities for the sites of a file.
//
//   allocation_timer sites.xy count starts gap
//
// gap 0: without a lower bound. Prints value, bound (0 if there is none), whether `verify` accepts
// the answer, and the milliseconds of `allocate` on one thread.
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <iomanip>
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

#include "planloc/optimum/location_allocation.h"

namespace {

double cpu_milliseconds() {
  timespec t{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
  return static_cast<double>(t.tv_sec) * 1e3 + static_cast<double>(t.tv_nsec) * 1e-6;
}

std::vector<planloc::site> read_sites(const char* file) {
  std::vector<planloc::site> sites;
  std::ifstream in(file);
  for (std::string line; std::getline(in, line);) {
    std::istringstream numbers(line);
    planloc::site s;
    if (numbers >> s.x >> s.y) sites.push_back(s);
  }
  return sites;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 5) return 1;
  const planloc::allocation_problem p(read_sites(argv[1]), {planloc::gauge::euclidean()},
                                      static_cast<std::size_t>(std::atol(argv[2])));
  planloc::allocate_options options;
  options.starts = static_cast<std::size_t>(std::atol(argv[3]));
  options.threads = 1;
  options.relative_gap = std::atof(argv[4]);
  options.lower_bound = options.relative_gap > 0;
  const double start = cpu_milliseconds();
  const planloc::allocation a = allocate(p, options);
  const double time = cpu_milliseconds() - start;
  std::cout << std::setprecision(12) << a.value << ' ' << a.lower_bound.value_or(0) << ' '
            << verify(p, a).accepted << ' ' << time << '\n';
}
