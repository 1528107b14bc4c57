// For euclidean_sum.py: solves the facilities of a file (lines "x y w") with l2_sum, or with
// minimise if eps is 0, and writes the least time of `repeats` calls in seconds, the result and its
// value.
//
//   euclidean_sum_timer sites.txt eps repeats
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <limits>
#include <vector>

#include "planloc/facilities/facilities.h"
#include "planloc/optimum/minimise.h"

namespace {

struct answer {
  double x, y, value;
};

// The least seconds of several calls.
template <class Call>
double least_time(int repeats, answer& result, Call call) {
  double least = std::numeric_limits<double>::infinity();
  for (; repeats > 0; --repeats) {
    const auto start = std::chrono::steady_clock::now();
    result = call();
    const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
    least = std::min(least, taken.count());
  }
  return least;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 4) {
    std::fprintf(stderr, "usage: euclidean_sum_timer sites eps repeats\n");
    return 1;
  }
  std::ifstream in(argv[1]);
  planloc::facilities facilities;
  std::vector<planloc::site> sites;
  for (double x, y, w; in >> x >> y >> w;) {
    facilities.append(planloc::location(2.0, 1.0, x, y, w));
    sites.push_back({.x = x, .y = y, .weight = w});
  }
  const planloc::problem p(sites, {planloc::gauge::euclidean()}, planloc::order_weights::median());
  const double eps = std::atof(argv[2]);
  answer result{};
  const double least = least_time(std::atoi(argv[3]), result, [&]() -> answer {
    if (eps == 0) {
      const planloc::solution s = planloc::minimise(p);
      return {s.point.x, s.point.y, s.value};
    }
    const double value = facilities.l2_sum(eps);
    const planloc::location x = facilities.opt.head();
    return {x[0], x[1], value};
  });
  std::printf("%.9g %.17g %.17g %.17g\n", least, result.x, result.y, result.value);
  return 0;
}
