#include "planloc/facilities/planar_sites.h"

namespace planloc::detail {

planar_sites::planar_sites(const list<location>& locations, int k) {
  const std::size_t n = static_cast<std::size_t>(locations.size());
  x.reserve(n);
  y.reserve(n);
  w.reserve(n);
  for (const location& a : locations) {
    x.push_back(a[0]);
    y.push_back(a[1]);
    w.push_back(a.weight(k));
  }
}

plane_xy centre_of_gravity(const planar_sites& sites) {
  double sx = 0.0;
  double sy = 0.0;
  double total = 0.0;
  for (std::size_t i = 0; i < sites.size(); ++i) {
    sx += sites.w[i] * sites.x[i];
    sy += sites.w[i] * sites.y[i];
    total += sites.w[i];
  }
  return {sx / total, sy / total};
}

location labelled(const plane_xy& p, double label) {
  location result(2, 1);
  result[0] = p.x;
  result[1] = p.y;
  result.weight(0) = label;
  return result;
}

}  // namespace planloc::detail
