// The smallest circle around n points: `facilities::l2_max` with equal weights against CGAL's
// Min_circle_2 (randomised, on plain doubles). Every iteration times both on the same points, so
// that the counter `cgal_over_planloc` is a ratio of one run; above 1 planloc is the faster one.
#include <CGAL/Cartesian.h>
#include <CGAL/Min_circle_2.h>
#include <CGAL/Min_circle_2_traits_2.h>
#include <benchmark/benchmark.h>

#include <chrono>
#include <cmath>
#include <random>
#include <vector>

#include "planloc/facilities/facilities.h"

namespace planloc {
namespace {

using Kernel = CGAL::Cartesian<double>;
using MinCircle = CGAL::Min_circle_2<CGAL::Min_circle_2_traits_2<Kernel>>;

template <class Call>
double seconds(Call call) {
  const auto start = std::chrono::steady_clock::now();
  call();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

void smallest_circle(benchmark::State& state) {
  std::mt19937 random(1);
  std::uniform_real_distribution<double> coordinate(0.0, 1000.0);
  std::vector<Kernel::Point_2> points;
  facilities F;
  for (int i = 0; i < state.range(0); ++i) {
    const double x = coordinate(random);
    const double y = coordinate(random);
    points.emplace_back(x, y);
    F.append(location(2.0, 1.0, x, y, 1.0));
  }
  double planloc_time = 0.0;
  double cgal_time = 0.0;
  for (auto _ : state) {
    double radius = 0.0;
    double squared = 0.0;
    const double own = seconds([&] { radius = F.l2_max(true); });
    cgal_time += seconds(
        [&] { squared = MinCircle(points.begin(), points.end(), true).circle().squared_radius(); });
    planloc_time += own;
    state.SetIterationTime(own);
    if (std::fabs(radius - std::sqrt(squared)) > 0.002) {
      state.SkipWithError("the circles differ");
      break;
    }
  }
  state.counters["cgal_over_planloc"] = cgal_time / planloc_time;
}
BENCHMARK(smallest_circle)->Arg(1000)->Arg(100000)->UseManualTime()->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace planloc
