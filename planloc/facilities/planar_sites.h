// What the loops of the planar solvers read: coordinates 0 and 1 and one weight of every facility,
// side by side, taken from the list once a call.
#ifndef PLANLOC_FACILITIES_PLANAR_SITES_H_
#define PLANLOC_FACILITIES_PLANAR_SITES_H_

#include <cmath>
#include <cstddef>
#include <vector>

#include "planloc/foundation/containers/list.h"
#include "planloc/foundation/geometry/xy.h"
#include "planloc/model/location.h"

namespace planloc::detail {

struct planar_sites {
  planar_sites(const list<location>& locations, int k);

  std::size_t size() const { return x.size(); }

  std::vector<double> x;
  std::vector<double> y;
  std::vector<double> w;  // weight k
};

using plane_xy = xy;

// Not-a-number for a total weight of 0.
plane_xy centre_of_gravity(const planar_sites& sites);

// As a result: dimension 2 and the label as its one weight.
location labelled(const plane_xy& p, double label);

inline double euclidean_distance(double x0, double y0, double x1, double y1) {
  const double dx = x0 - x1;
  const double dy = y0 - y1;
  return std::sqrt(dx * dx + dy * dy);
}

}  // namespace planloc::detail

#endif  // PLANLOC_FACILITIES_PLANAR_SITES_H_
