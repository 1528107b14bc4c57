#include "planloc/facilities/planar_sites.h"

namespace planloc::detail {

planar_sites::planar_sites(const list<location>& locations, int k) {
  const std::size_t n = static_cast<std::size_t>(locations.size());
  x.resize(n);
  y.resize(n);
  w.resize(n);
  std::size_t i = 0;
  for (const location& a : locations) {
    x[i] = a[0];
    y[i] = a[1];
    w[i] = a.weight(k);
    ++i;
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
