// Maxima of l-infinity and l1 distances, from pairs of facilities or from the bounding box.
#include <cmath>
#include <cstddef>

#include "planloc/facilities/facilities.h"
#include "planloc/facilities/planar_sites.h"
#include "planloc/facilities/turned_frame.h"
#include "planloc/model/reporter.h"

namespace planloc {
namespace {

// Corners of the optimal box this near to each other in a coordinate count as one there.
constexpr double kSnapDistance = 1e-14;

// The largest distance that some pair of facilities forces. A pair without weight forces none: its
// comparisons are with not-a-number.
double largest_pair_bound(const detail::planar_sites& sites) {
  double bound = 0.0;
  for (std::size_t i = 0; i < sites.size(); ++i) {
    for (std::size_t j = i + 1; j < sites.size(); ++j) {
      const double z = sites.w[i] * sites.w[j] / (sites.w[i] + sites.w[j]);
      const double dx = std::fabs(sites.x[i] - sites.x[j]) * z;
      if (bound < dx) bound = dx;
      const double dy = std::fabs(sites.y[i] - sites.y[j]) * z;
      if (bound < dy) bound = dy;
    }
  }
  return bound;
}

void snap(double& lower, double upper) {
  if (std::fabs(lower - upper) < kSnapDistance) lower = upper;
}

// Every coordinate, moved by `direction` times the radius of its facility's ball of value D; of
// these the one that is furthest against the direction.
location corner(const list<location>& locations, double D, double direction) {
  const auto reach = [&](const location& a, int c) {
    return a[c] + direction * ((1.0 / a.weight(0)) * D);
  };
  location result(2.0, 1.0, reach(locations.head(), 0), reach(locations.head(), 1), 1.0);
  for (const location& a : locations) {
    for (int c = 0; c < 2; ++c) {
      const double v = reach(a, c);
      if (direction > 0.0 ? v < result[c] : v > result[c]) result[c] = v;
    }
  }
  return result;
}

}  // namespace

// ----- Any weights -----

location facilities::linf_lower_corner(double D) const { return corner(*this, D, -1.0); }

location facilities::linf_upper_corner(double D) const { return corner(*this, D, 1.0); }

double facilities::linf_max(bool clear) {
  if (clear) opt.clear();
  const double D = largest_pair_bound(detail::planar_sites(*this, 0));
  if (D == 0.0) {
    for (const planloc::location& a : *this) {
      if (a.weight(0) != 0.0) {
        opt.append(a);
        return D;
      }
    }
    // The message returns, and the corners divide by zero: intended, as the result
    // then shows that no place is better.
    MaviMessage("facilities::linf_max: No weight is unequal to zero and the whole plane is optimal",
                1, true);
  }
  planloc::location lower = linf_lower_corner(D);
  const planloc::location upper = linf_upper_corner(D);
  snap(lower[0], upper[0]);
  snap(lower[1], upper[1]);
  opt.append(lower);
  if (!(lower[0] == upper[0] && lower[1] == upper[1])) opt.append(upper);
  return D;
}

double facilities::l1_max(bool clear) {
  return solve_rectilinear_as_maximum(*this,
                                      [&](facilities& turned) { return turned.linf_max(clear); });
}

// ----- Equal weights -----

double facilities::linf_max_equal(bool /*clear*/) {
  const double w = head().weight(0);
  for (const planloc::location& a : *this) {
    if (a.weight(0) != w) MaviError("All weights must be equal!", 1307, 1, true);
  }
  opt.clear();
  const double low[2] = {min_coordinate(0), min_coordinate(1)};
  const double high[2] = {max_coordinate(0), max_coordinate(1)};
  const double half_x = (high[0] - low[0]) / 2.0;
  const double half_y = (high[1] - low[1]) / 2.0;
  const double D = half_x >= half_y ? half_x : half_y;
  const double x[2] = {high[0] - D, low[0] + D};
  const double y[2] = {high[1] - D, low[1] + D};
  const bool one_x = x[0] == x[1];
  const bool one_y = y[0] == y[1];
  // Two intervals that rounding leaves both open give no result: intended, the header tells it.
  if (one_x || one_y) opt.append(detail::labelled({x[0], y[0]}, 0.0));
  if (one_x && !one_y) opt.append(detail::labelled({x[0], y[1]}, 0.0));
  if (one_y && !one_x) opt.append(detail::labelled({x[1], y[0]}, 0.0));
  return D;
}

double facilities::l1_max_equal(bool clear) {
  return solve_rectilinear_as_maximum(
      *this, [&](facilities& turned) { return turned.linf_max_equal(clear); });
}

double facilities::reserved_max(int /*unused*/) { return 0.0; }

}  // namespace planloc
