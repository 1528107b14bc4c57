// The smallest circle around n points: `minimise` for the Euclidean centre against CGAL's
// Min_sphere_of_spheres_d (farthest-point pivoting) on plain doubles, each with the making of its
// own tables. Every iteration times both on the same points, so that `cgal_over_planloc` is a
// ratio of one run; above 1 planloc is the faster one.
#include <CGAL/Cartesian.h>
#include <CGAL/Min_sphere_of_points_d_traits_2.h>
#include <CGAL/Min_sphere_of_spheres_d.h>
#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <numbers>
#include <random>
#include <vector>

#include "planloc/optimum/minimise.h"

namespace planloc {
namespace {

using Kernel = CGAL::Cartesian<double>;
using SmallestCircle =
    CGAL::Min_sphere_of_spheres_d<CGAL::Min_sphere_of_points_d_traits_2<Kernel, double>>;

template <class Call>
double seconds(Call call) {
  const auto start = std::chrono::steady_clock::now();
  call();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

double median(std::vector<double>& times) {
  const auto middle = times.begin() + static_cast<std::ptrdiff_t>(times.size() / 2);
  std::nth_element(times.begin(), middle, times.end());
  return *middle;
}

enum layout { kSquare, kDisc, kRing };

xy random_place(int l, std::mt19937& random) {
  std::uniform_real_distribution<double> unit(0, 1);
  if (l == kSquare) return {1000 * unit(random), 1000 * unit(random)};
  const double radius = l == kDisc ? std::sqrt(unit(random)) : 0.99 + 0.01 * unit(random);
  const double angle = 2 * std::numbers::pi * unit(random);
  return {500 + 500 * radius * std::cos(angle), 500 + 500 * radius * std::sin(angle)};
}

void euclidean_centre(benchmark::State& state) {
  std::mt19937 random(1);
  std::vector<Kernel::Point_2> points;
  std::vector<site> sites;
  for (int i = 0; i < state.range(0); ++i) {
    const xy at = random_place(static_cast<int>(state.range(1)), random);
    points.emplace_back(at.x, at.y);
    sites.push_back({.x = at.x, .y = at.y});
  }
  const problem p(sites, {gauge::euclidean()}, order_weights::centre());
  std::vector<double> planloc_times;
  std::vector<double> cgal_times;
  for (auto _ : state) {
    solution s;
    double radius = 0;
    planloc_times.push_back(seconds([&] { s = minimise(p); }));
    cgal_times.push_back(
        seconds([&] { radius = SmallestCircle(points.begin(), points.end()).radius(); }));
    state.SetIterationTime(planloc_times.back());
    if (std::fabs(radius - s.value) > 1e-9 * radius) {
      state.SkipWithError("the circles differ");
      break;
    }
  }
  state.counters["planloc_median_us"] = 1e6 * median(planloc_times);
  state.counters["cgal_over_planloc"] = median(cgal_times) / median(planloc_times);
}
BENCHMARK(euclidean_centre)
    ->ArgsProduct({{1000, 100000}, {kSquare, kDisc, kRing}})
    ->ArgNames({"sites", "layout"})
    ->UseManualTime()
    ->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace planloc
