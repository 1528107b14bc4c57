// What one gauge distance costs: the ray from a facility through a point against the edges of a
// unit ball with 8 vertices, up to the first one that it meets, and the hit point in doubles.
//
// The library's way is compared with two that use big numbers for every edge: homogeneous integers
// (`detail::intersection_exact`) and fractions (mpq_class) as one writes them down first.
#include <benchmark/benchmark.h>
#include <gmpxx.h>

#include <array>
#include <cmath>
#include <optional>
#include <random>
#include <vector>

#include "planloc/foundation/geometry/point.h"
#include "planloc/foundation/geometry/rat_ray.h"

namespace planloc {
namespace {

constexpr int kVertices = 8;

struct problem {
  point facility;
  point x;
};

struct scene {
  std::vector<problem> problems;
  std::array<point, kVertices> vertices;
  double weight = 1.7;

  // The edge from vertex i of the ball around p to the next one.
  point vertex(const point& p, int i) const {
    const point& v = vertices[static_cast<std::size_t>(i % kVertices)];
    return point(p.xcoord() + v.xcoord() / weight, p.ycoord() + v.ycoord() / weight);
  }
};

// Facilities and points on the plane with two decimals, so that every edge is hit equally often.
const scene& bench_scene() {
  static const scene the_scene = [] {
    scene s;
    for (int i = 0; i < kVertices; ++i) {
      const double angle = 0.3 + 2.0 * M_PI * i / kVertices;
      s.vertices[static_cast<std::size_t>(i)] = point(2.0 * std::cos(angle), std::sin(angle));
    }
    std::mt19937 random(7);
    std::uniform_int_distribution<int> hundredths(-10000, 10000);
    const auto coordinate = [&] { return hundredths(random) / 100.0; };
    for (int i = 0; i < 1024; ++i) {
      const point facility(coordinate(), coordinate());
      s.problems.push_back({facility, point(coordinate(), coordinate())});
    }
    return s;
  }();
  return the_scene;
}

rat_point to_rat_point(const point& p) {
  return rat_point(rational(p.xcoord()), rational(p.ycoord()));
}

template <class Intersection>
double gauge_distance(const scene& s, const problem& q, Intersection&& intersection) {
  const rat_ray ray(to_rat_point(q.facility), to_rat_point(q.x));
  rat_point r;
  for (int i = 0; i < kVertices; ++i) {
    const rat_segment edge(to_rat_point(s.vertex(q.facility, i)),
                           to_rat_point(s.vertex(q.facility, i + 1)));
    if (intersection(ray, edge, r)) break;
  }
  return q.facility.distance(q.x) / q.facility.distance(r.to_point());
}

double distance_filtered(const scene& s, const problem& q) {
  return gauge_distance(s, q, [](const rat_ray& ray, const rat_segment& edge, rat_point& r) {
    return ray.intersection(edge, r);
  });
}

double distance_homogeneous(const scene& s, const problem& q) {
  return gauge_distance(s, q, detail::intersection_exact);
}

// Only the case that occurs here: neither is trivial and they are not parallel.
double distance_fractions(const scene& s, const problem& q) {
  struct fractions {
    explicit fractions(const point& p) : x(p.xcoord()), y(p.ycoord()) {}
    mpq_class x;
    mpq_class y;
  };
  const fractions a(q.facility);
  const fractions b(q.x);
  const mpq_class ux = b.x - a.x;
  const mpq_class uy = b.y - a.y;
  for (int i = 0; i < kVertices; ++i) {
    const fractions c(s.vertex(q.facility, i));
    const fractions d(s.vertex(q.facility, i + 1));
    const mpq_class vx = d.x - c.x;
    const mpq_class vy = d.y - c.y;
    const mpq_class ex = c.x - a.x;
    const mpq_class ey = c.y - a.y;
    const mpq_class w = ux * vy - uy * vx;
    const mpq_class along_ray = (ex * vy - ey * vx) / w;
    const mpq_class along_edge = (ex * uy - ey * ux) / w;
    if (along_ray < 0 || along_edge < 0 || along_edge > 1) continue;
    const mpq_class x = c.x + vx * along_edge;
    const mpq_class y = c.y + vy * along_edge;
    return q.facility.distance(q.x) / q.facility.distance(point(x.get_d(), y.get_d()));
  }
  return 0.0;
}

template <double (*distance)(const scene&, const problem&)>
void GaugeDistance(benchmark::State& state) {
  const scene& s = bench_scene();
  std::size_t i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(distance(s, s.problems[i]));
    i = (i + 1) % s.problems.size();
  }
}
BENCHMARK(GaugeDistance<distance_filtered>);
BENCHMARK(GaugeDistance<distance_homogeneous>);
BENCHMARK(GaugeDistance<distance_fractions>);

// One edge that is hit, from doubles to doubles: the part that no filter saves.
template <class Intersection>
void one_hit(benchmark::State& state, Intersection&& intersection) {
  const point a(0.31, 0.17);
  const point b(12.9, 7.4);
  const point c(3.3, 0.2);
  const point d(2.9, 4.1);
  for (auto _ : state) {
    const rat_ray ray(to_rat_point(a), to_rat_point(b));
    const rat_segment edge(to_rat_point(c), to_rat_point(d));
    rat_point r;
    benchmark::DoNotOptimize(intersection(ray, edge, r));
    benchmark::DoNotOptimize(r.to_point());
  }
}

void OneHit(benchmark::State& state) {
  one_hit(state, [](const rat_ray& ray, const rat_segment& edge, rat_point& r) {
    return ray.intersection(edge, r);
  });
}
BENCHMARK(OneHit);

void OneHitHomogeneous(benchmark::State& state) { one_hit(state, detail::intersection_exact); }
BENCHMARK(OneHitHomogeneous);

void OneMiss(benchmark::State& state) {
  const rat_ray ray(to_rat_point(point(0.31, 0.17)), to_rat_point(point(12.9, 7.4)));
  const rat_segment edge(to_rat_point(point(-3.3, 0.2)), to_rat_point(point(-2.9, -4.1)));
  rat_point r;
  for (auto _ : state) benchmark::DoNotOptimize(ray.intersection(edge, r));
}
BENCHMARK(OneMiss);

}  // namespace
}  // namespace planloc
