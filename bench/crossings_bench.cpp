// Crossings and arrangements of segments against CGAL's surface sweep and arrangement (lazy exact
// kernel). Every iteration times both on the same segments, so that the counter
// `cgal_over_planloc` is a ratio of one run; above 1 planloc is the faster one.
#include <CGAL/Arr_segment_traits_2.h>
#include <CGAL/Arrangement_2.h>
#include <CGAL/Exact_predicates_exact_constructions_kernel.h>
#include <CGAL/Surface_sweep_2_algorithms.h>
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdlib>
#include <ctime>
#include <iterator>
#include <random>
#include <string>
#include <vector>

#include "planloc/foundation/geometry/crossings.h"
#include "planloc/foundation/graph/arrangement.h"

namespace planloc {
namespace {

using Kernel = CGAL::Exact_predicates_exact_constructions_kernel;
using Traits = CGAL::Arr_segment_traits_2<Kernel>;

// The C library sorts out many small freed blocks at the next large request; that is nobody's time.
void settle_heap() {
  void* volatile block = std::malloc(std::size_t{1} << 16);
  std::free(block);
}

template <class Call>
double cpu_seconds(Call call) {
  settle_heap();
  const std::clock_t start = std::clock();
  call();
  return static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
}

// Short segments in all directions, about two crossings for each.
list<segment> short_segments(int count) {
  std::mt19937 random(1);
  std::uniform_real_distribution<double> coordinate(0.0, 1000.0);
  std::uniform_real_distribution<double> angle(0.0, 2 * M_PI);
  const double length = 1000.0 * std::sqrt(2.0 * M_PI / count);
  list<segment> S;
  for (int i = 0; i < count; ++i) {
    const point p(coordinate(random), coordinate(random));
    S.append(segment(p, angle(random), length));
  }
  return S;
}

// Eight long segments in fixed directions from each of some sites; at the corners of a lattice for
// a step above 0, so that many lie on one line and many meet in one point.
list<segment> fans(int sites, double step, double turn) {
  std::mt19937 random(2);
  std::uniform_real_distribution<double> coordinate(0.0, 1000.0);
  const auto draw = [&] {
    const double x = coordinate(random);
    return step > 0.0 ? step * std::floor(x / step) : x;
  };
  list<segment> S;
  for (int i = 0; i < sites; ++i) {
    const double x = draw();
    const point site(x, draw());
    for (int k = 0; k < 8; ++k) {
      const double size = k % 2 == 0 ? 700.0 : 700.0 * std::sqrt(2.0);
      if (turn == 0.0) {
        const double dx = 700.0 * std::round(1.4 * std::cos(k * M_PI / 4));
        S.append(
            segment(site, site.translate(dx, 700.0 * std::round(1.4 * std::sin(k * M_PI / 4)))));
      } else {
        S.append(segment(site, turn + k * M_PI / 4, size));
      }
    }
  }
  return S;
}

std::vector<Traits::Curve_2> curves(const list<segment>& S) {
  std::vector<Traits::Curve_2> result;
  for (const segment& s : S) {
    result.emplace_back(Kernel::Point_2(s.xcoord1(), s.ycoord1()),
                        Kernel::Point_2(s.xcoord2(), s.ycoord2()));
  }
  return result;
}

template <class Own, class Other>
void compare_times(benchmark::State& state, Own own, Other other) {
  double planloc_time = 0.0;
  double cgal_time = 0.0;
  std::size_t own_count = 0;
  std::size_t cgal_count = 0;
  for (auto _ : state) {
    const double time = cpu_seconds([&] { own_count = own(); });
    cgal_time += cpu_seconds([&] { cgal_count = other(); });
    planloc_time += time;
    state.SetIterationTime(time);
  }
  state.counters["points"] = static_cast<double>(own_count);
  state.counters["cgal_points"] = static_cast<double>(cgal_count);
  state.counters["cgal_over_planloc"] = cgal_time / planloc_time;
}

void crossings(benchmark::State& state, const list<segment>& S) {
  compare_times(
      state,
      [&] {
        list<point> I;
        SEGMENT_INTERSECTION(S, I);
        return static_cast<std::size_t>(I.size());
      },
      [&] {
        const std::vector<Traits::Curve_2> C = curves(S);
        std::vector<Kernel::Point_2> points;
        CGAL::compute_intersection_points(C.begin(), C.end(), std::back_inserter(points));
        return points.size();
      });
}

void arrangement(benchmark::State& state, const list<segment>& S) {
  compare_times(
      state,
      [&] {
        GRAPH<point, segment> G;
        SWEEP_SEGMENTS(S, G, true);
        return static_cast<std::size_t>(G.number_of_nodes());
      },
      [&] {
        const std::vector<Traits::Curve_2> C = curves(S);
        CGAL::Arrangement_2<Traits> map;
        CGAL::insert(map, C.begin(), C.end());
        return static_cast<std::size_t>(map.number_of_vertices());
      });
}

void register_all(const std::string& name, const list<segment>& S) {
  const auto add = [&](const std::string& what,
                       void (*run)(benchmark::State&, const list<segment>&)) {
    benchmark::RegisterBenchmark((what + name).c_str(), run, S)
        ->UseManualTime()
        ->Unit(benchmark::kMillisecond);
  };
  add("crossings/", crossings);
  add("arrangement/", arrangement);
}

}  // namespace
}  // namespace planloc

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  planloc::register_all("short_100000", planloc::short_segments(100000));
  planloc::register_all("fans_60", planloc::fans(60, 0.0, 0.0));
  planloc::register_all("fans_60_rounded", planloc::fans(60, 0.0, 0.3));
  planloc::register_all("fans_60_lattice", planloc::fans(60, 50.0, 0.0));
  planloc::register_all("fans_300_rounded", planloc::fans(300, 0.0, 0.3));
  benchmark::RunSpecifiedBenchmarks();
}
