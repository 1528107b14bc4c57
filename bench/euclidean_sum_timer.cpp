// For euclidean_sum.py: solves the facilities of a file (lines "x y w") with l2_sum and writes the
// least time of `repeats` calls in seconds, the result and its value.
//
//   euclidean_sum_timer sites.txt eps repeats
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <limits>

#include "planloc/facilities/facilities.h"

int main(int argc, char** argv) {
  if (argc != 4) {
    std::fprintf(stderr, "usage: euclidean_sum_timer sites eps repeats\n");
    return 1;
  }
  std::ifstream in(argv[1]);
  planloc::facilities sites;
  for (double x, y, w; in >> x >> y >> w;) sites.append(planloc::location(2.0, 1.0, x, y, w));
  const double eps = std::atof(argv[2]);
  double least = std::numeric_limits<double>::infinity();
  double value = 0.0;
  for (int i = std::atoi(argv[3]); i > 0; --i) {
    const auto start = std::chrono::steady_clock::now();
    value = sites.l2_sum(eps);
    const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
    least = std::min(least, taken.count());
  }
  const planloc::location x = sites.opt.head();
  std::printf("%.9g %.17g %.17g %.17g\n", least, x[0], x[1], value);
  return 0;
}
