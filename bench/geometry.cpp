// Plane geometry of the foundation: convex hull.
#include "bench/contest.h"
#include "bench/inputs.h"
#include "planloc/foundation/geometry/hull.h"

namespace planloc::bench {
namespace {

contestant hull(std::size_t n, unsigned seed) {
  list<point> points;
  for (const weighted_place& p : random_places(n, seed)) points.append(point(p.x, p.y));
  return {.call = [points] { return static_cast<double>(CONVEX_HULL(points).size()); }};
}

}  // namespace

void add_geometry(contests& all) { all["hull"].contestants["CONVEX_HULL"] = hull; }

}  // namespace planloc::bench
