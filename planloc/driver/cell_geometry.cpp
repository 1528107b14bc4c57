#include "planloc/driver/cell_geometry.h"

#include <cmath>
#include <istream>
#include <ostream>

#include "planloc/driver/problem.h"
#include "planloc/foundation/geometry/rat_ray.h"
#include "planloc/foundation/geometry/rat_segment.h"

namespace planloc {

std::ostream& operator<<(std::ostream& out, const location_distance& e) {
  return out << "location: " << e.location << ", distance: " << e.distance << std::endl;
}

std::istream& operator>>(std::istream& in, location_distance& e) {
  return in >> e.location >> e.distance;
}

rat_point to_rat_point(const point& p) { return rat_point(p); }

rat_point ball_hit(const rat_point& x, const location& a, const polygauge& g) {
  const point p = a.to_point();
  const double w = a.weight(0);
  const int s = g.size();
  const auto ball_vertex = [&](int i) {
    const point v = g.vertex(i);
    return to_rat_point(point(p.xcoord() + v.xcoord() / w, p.ycoord() + v.ycoord() / w));
  };
  const rat_ray ray(to_rat_point(p), x);
  rat_point hit;
  if (s == 0) return hit;
  const rat_point first = ball_vertex(1);
  rat_point from = first;
  for (int i = 1; i <= s; ++i) {
    const rat_point to = i == s ? first : ball_vertex(i + 1);
    if (ray.intersection(rat_segment(from, to), hit)) break;
    from = to;
  }
  return hit;
}

double gauge_distance(const point& x, const location& a, const polygauge& g) {
  const point p = a.to_point();
  const point q = ball_hit(to_rat_point(x), a, g).to_point();
  return p.distance(x) / p.distance(q);
}

int compare_distance(const location_distance& e1, const location_distance& e2) {
  if (std::fabs(e1.distance - e2.distance) <= kTieTolerance) return 0;
  if (e1.distance < e2.distance) return -1;
  return e1.distance > e2.distance ? 1 : 0;
}

list<location_distance> sorted_distances(const point& x) {
  list<location_distance> distances;
  int number = 0;
  for_each_facility([&](const location& a, const polygauge& g) {
    distances.append({++number, gauge_distance(x, a, g)});
  });
  distances.sort(compare_distance);
  return distances;
}

void cell_of_point(IlcManager& m, const point& x, IlcIntArray& sigma) {
  const list<location_distance> distances = sorted_distances(x);
  sigma = IlcIntArray(m, distances.size(), 0);
  int j = 0;
  for (const location_distance& e : distances) sigma[j++] = e.location;
}

}  // namespace planloc
