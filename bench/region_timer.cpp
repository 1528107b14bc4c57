// For regions.py: solves medians with forbidden polygons around their free optima, and writes them
// as mixed-integer programs for other solvers.
//
//   region_timer sites vertices polygons seed [program.txt]
//
// Prints the value, the milliseconds of minimise with and without the polygons, those of verify and
// whether the place is proved.
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <iomanip>
#include <iostream>
#include <numbers>
#include <random>
#include <string>
#include <vector>

#include "bench/optimum_programs.h"
#include "planloc/optimum/verify.h"

namespace {

using namespace planloc;
using namespace planloc::bench;

constexpr int kSides = 6;

// Convex polygons, the first around a place, the others anywhere amid the sites.
region random_lakes(int count, unsigned seed, xy around) {
  std::mt19937 random(seed + 1000);
  const auto uniform = [&](double low, double high) {
    return low + (high - low) * (static_cast<double>(random()) / 4294967296.0);
  };
  const double size = kExtent / std::sqrt(count);
  region lakes;
  for (int k = 0; k < count; ++k) {
    const xy middle = k == 0 ? around : xy{uniform(0, kExtent), uniform(0, kExtent)};
    const double radius = uniform(0.3, 0.7) * size;
    const double turn = uniform(0, 6);
    ring shore;
    for (int j = 0; j < kSides; ++j) {
      const double angle = turn + 2 * std::numbers::pi * j / kSides;
      shore.push_back({middle.x + radius * std::cos(angle), middle.y + radius * std::sin(angle)});
    }
    lakes.push_back({shore});
  }
  return lakes;
}

// Of every polygon at least one side has the place on its outer side.
void add_lakes(linear_program& lp, const region& lakes) {
  for (const region_polygon& lake : lakes) {
    const ring& r = lake.front();
    const int first = static_cast<int>(lp.columns.size());
    for (std::size_t j = 0; j < r.size(); ++j) {
      const xy& a = r[j];
      const xy& b = r[(j + 1) % r.size()];
      const xy outwards{b.y - a.y, a.x - b.x};
      const double right = outwards.x * a.x + outwards.y * a.y;
      const double least = std::min(-kReach * outwards.x, (kExtent + kReach) * outwards.x) +
                           std::min(-kReach * outwards.y, (kExtent + kReach) * outwards.y);
      const int chosen = lp.add_choice();
      // outwards . x >= right where the side is chosen, and >= least in any case.
      lp.add(least, {{0, outwards.x}, {1, outwards.y}, {chosen, least - right}});
    }
    lp.add(1, {{first, 1},
               {first + 1, 1},
               {first + 2, 1},
               {first + 3, 1},
               {first + 4, 1},
               {first + 5, 1}});
  }
}

template <class Solve>
double median_milliseconds(Solve solve) {
  std::vector<double> times;
  for (int k = 0; k < 9; ++k) {
    const double start = cpu_milliseconds();
    solve();
    times.push_back(cpu_milliseconds() - start);
  }
  std::sort(times.begin(), times.end());
  return times[4];
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 5) return 1;
  const auto n = static_cast<std::size_t>(std::atol(argv[1]));
  const auto seed = static_cast<unsigned>(std::atoi(argv[4]));
  const problem plane = random_problem(n, std::atoi(argv[2]), 10, seed, order_weights::median());
  regions where;
  where.forbidden = random_lakes(std::atoi(argv[3]), seed, minimise(plane).point);
  const problem p({plane.sites().begin(), plane.sites().end()},
                  {plane.gauges().begin(), plane.gauges().end()}, order_weights::median(), where);
  solution s;
  const double free = median_milliseconds([&] { minimise(plane); });
  const double within = median_milliseconds([&] { s = minimise(p); });
  const double start = cpu_milliseconds();
  const verification v = verify(p, s);
  const double verified = cpu_milliseconds() - start;
  std::cout << std::setprecision(12) << s.value << ' ' << within << ' ' << free << ' ' << verified
            << ' ' << (v.accepted && v.gap == 0) << '\n';
  if (argc <= 5) return 0;
  linear_program lp = convex_program(p, "median");
  add_lakes(lp, where.forbidden);
  write(lp, argv[5]);
}
