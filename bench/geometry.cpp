// Plane geometry of the foundation: convex hull, crossings, arrangements, and the exact distance of
// a gauge beside two ways to compute it with big numbers for every edge.
#include <gmpxx.h>

#include <cmath>
#include <memory>
#include <random>
#include <utility>
#include <vector>

#include "bench/contest.h"
#include "bench/inputs.h"
#include "bench/segments.h"
#include "planloc/foundation/geometry/crossings.h"
#include "planloc/foundation/geometry/hull.h"
#include "planloc/foundation/geometry/rat_ray.h"
#include "planloc/foundation/graph/arrangement.h"

namespace planloc::bench {
namespace {

contestant hull(std::size_t n, unsigned seed) {
  list<point> points;
  for (const weighted_place& p : random_places(n, seed)) points.append(point(p.x, p.y));
  return {.call = [points] { return static_cast<double>(CONVEX_HULL(points).size()); }};
}

contestant crossings(const list<segment>& S) {
  return {.call = [S] {
    list<point> I;
    SEGMENT_INTERSECTION(S, I);
    return static_cast<double>(I.size());
  }};
}

contestant arrangement(const list<segment>& S) {
  return {.call = [S] {
    GRAPH<point, segment> G;
    SWEEP_SEGMENTS(S, G, true);
    return static_cast<double>(G.number_of_nodes());
  }};
}

// ----- Gauge distance: the ray from a facility through a point against the edges of a ball -----

struct ray_problem {
  point facility;
  point x;
};

// Facilities and points with two decimals, so that every edge is hit equally often.
struct ray_problems {
  ray_problems(std::size_t vertex_count, unsigned seed) {
    for (std::size_t i = 0; i < vertex_count; ++i) {
      const double angle =
          0.3 + 2.0 * M_PI * static_cast<double>(i) / static_cast<double>(vertex_count);
      vertices.emplace_back(2.0 * std::cos(angle), std::sin(angle));
    }
    std::mt19937 random(seed);
    std::uniform_int_distribution<int> hundredths(-10000, 10000);
    const auto draw = [&] {
      const double x = hundredths(random) / 100.0;
      return point(x, hundredths(random) / 100.0);
    };
    for (int i = 0; i < 256; ++i) {
      const point facility = draw();
      problems.push_back({facility, draw()});
    }
  }

  // Vertex i of the ball around p.
  point vertex(const point& p, std::size_t i) const {
    const point& v = vertices[i % vertices.size()];
    return point(p.xcoord() + v.xcoord() / weight, p.ycoord() + v.ycoord() / weight);
  }

  std::vector<ray_problem> problems;
  std::vector<point> vertices;
  double weight = 1.7;
};

rat_point to_rat_point(const point& p) {
  return rat_point(rational(p.xcoord()), rational(p.ycoord()));
}

template <class Intersection>
double distance_by(const ray_problems& s, const ray_problem& q, Intersection&& intersection) {
  const rat_ray ray(to_rat_point(q.facility), to_rat_point(q.x));
  rat_point r;
  for (std::size_t i = 0; i < s.vertices.size(); ++i) {
    const rat_segment edge(to_rat_point(s.vertex(q.facility, i)),
                           to_rat_point(s.vertex(q.facility, i + 1)));
    if (intersection(ray, edge, r)) break;
  }
  return q.facility.distance(q.x) / q.facility.distance(r.to_point());
}

double filtered(const ray_problems& s, const ray_problem& q) {
  return distance_by(s, q, [](const rat_ray& ray, const rat_segment& edge, rat_point& r) {
    return ray.intersection(edge, r);
  });
}

double homogeneous(const ray_problems& s, const ray_problem& q) {
  return distance_by(s, q, detail::intersection_exact);
}

// Only the case that occurs here: neither is trivial and they are not parallel.
double fractions(const ray_problems& s, const ray_problem& q) {
  struct fraction_point {
    explicit fraction_point(const point& p) : x(p.xcoord()), y(p.ycoord()) {}
    mpq_class x;
    mpq_class y;
  };
  const fraction_point a(q.facility);
  const fraction_point b(q.x);
  const mpq_class ux = b.x - a.x;
  const mpq_class uy = b.y - a.y;
  for (std::size_t i = 0; i < s.vertices.size(); ++i) {
    const fraction_point c(s.vertex(q.facility, i));
    const fraction_point d(s.vertex(q.facility, i + 1));
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

// One call is the distances of all problems.
maker gauge_distances(double (*distance)(const ray_problems&, const ray_problem&)) {
  return [distance](std::size_t vertices, unsigned seed) -> contestant {
    const ray_problems s(vertices, seed);
    return {.call = [=] {
      double sum = 0;
      for (const ray_problem& q : s.problems) sum += distance(s, q);
      return sum;
    }};
  };
}

}  // namespace

void add_geometry(contests& all) {
  all["hull"].contestants["CONVEX_HULL"] = hull;
  for (const auto& [kind, make] : segment_kinds()) {
    all["crossings-" + kind].contestants["SEGMENT_INTERSECTION"] =
        [make](std::size_t n, unsigned seed) { return crossings(make(n, seed)); };
    all["arrangement-" + kind].contestants["SWEEP_SEGMENTS"] =
        [make](std::size_t n, unsigned seed) { return arrangement(make(n, seed)); };
  }
  auto& distance = all["gauge-distance"].contestants;
  distance["filtered"] = gauge_distances(filtered);
  distance["big integers"] = gauge_distances(homogeneous);
  distance["fractions"] = gauge_distances(fractions);
}

}  // namespace planloc::bench
