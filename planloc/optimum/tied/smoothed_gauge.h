// Distances without corners: the gauges as the width goes to 0, with slopes inside the polars of
// their unit balls. Internal.
#ifndef PLANLOC_OPTIMUM_TIED_SMOOTHED_GAUGE_H_
#define PLANLOC_OPTIMUM_TIED_SMOOTHED_GAUGE_H_

#include <cmath>
#include <span>
#include <vector>

#include "planloc/optimum/tied/normal_equations.h"

namespace planloc::detail {

struct smoothed_value {
  double value;
  xy slope;
  symmetric_2x2 curvature;
};

// sqrt(|u|^2 + width^2).
inline smoothed_value smoothed_euclidean(const xy& u, double width) {
  const double value = std::sqrt(u.x * u.x + u.y * u.y + width * width);
  const double inverse = 1 / value;
  const xy g{u.x * inverse, u.y * inverse};
  return {value, g, {(1 - g.x * g.x) * inverse, -g.x * g.y * inverse, (1 - g.y * g.y) * inverse}};
}

// The same for many sites of one facility, times their weights, added up.
struct weighted_sites {
  std::vector<double> x, y, weight;
};
smoothed_value smoothed_euclidean_sum(const weighted_sites& sites, const xy& place, double width);

// The lp norm of (sqrt(x^2 + width^2), sqrt(y^2 + width^2)).
smoothed_value smoothed_lp(const xy& u, double p, double width);

// The least t - width * sum of log(t - normal . u) over t: self-concordant, so that Newton's method
// finds its way from anywhere.
smoothed_value smoothed_polyhedral(const xy& u, std::span<const xy> normals, double width);

smoothed_value smoothed_linf(const xy& u, double width);

// The slope of a gauge that is not polyhedral; 0 at the origin.
xy slope_of_gauge(const gauge& g, const xy& u);

// At most 1 inside the polar of the unit ball.
double dual_norm(const gauge& g, const xy& slope);

}  // namespace planloc::detail

#endif  // PLANLOC_OPTIMUM_TIED_SMOOTHED_GAUGE_H_
