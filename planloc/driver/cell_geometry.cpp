#include "planloc/driver/cell_geometry.h"

#include <cmath>
#include <istream>
#include <ostream>

#include "planloc/driver/problem.h"

namespace planloc {

std::ostream& operator<<(std::ostream& out, const location_distance& e) {
  return out << "location: " << e.location << ", distance: " << e.distance << std::endl;
}

std::istream& operator>>(std::istream& in, location_distance& e) {
  return in >> e.location >> e.distance;
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
