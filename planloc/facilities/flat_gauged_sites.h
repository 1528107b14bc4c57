// Sites with their gauges side by side in arrays, for the loops of solvers: distances, weighted
// sums and gradients without an allocation, bit for bit as `polygauge` yields them. For the data of
// a problem use gauged_sites.h.
#ifndef PLANLOC_FACILITIES_FLAT_GAUGED_SITES_H_
#define PLANLOC_FACILITIES_FLAT_GAUGED_SITES_H_

#include <cstddef>
#include <span>
#include <unordered_map>
#include <vector>

#include "planloc/facilities/planar_sites.h"
#include "planloc/foundation/containers/list.h"
#include "planloc/foundation/geometry/xy.h"
#include "planloc/foundation/numeric/two_equations.h"
#include "planloc/model/location.h"
#include "planloc/model/polygauge.h"

namespace planloc::detail {

// A plane below a convex function that touches it at a place, up to rounding.
struct support_plane {
  plane_xy at;
  double value;  // of the function at `at`
  plane_xy slope;
};

class flat_gauged_sites {
 public:
  // One entry for each location, and for each the weights with the given numbers; the order of the
  // sums is that of `sites`. Reports: those of `for_each_with_gauge`, `location::to_point` and
  // `location::weight`.
  // REQUIRES: `gauges` stays as it is for as long as this object is used.
  flat_gauged_sites(const list<location>& sites, const list<polygauge>& gauges,
                    const list<int>& gauge_of, const std::vector<int>& weight_numbers = {0});

  std::size_t size() const { return sites_.size(); }
  plane_xy at(std::size_t i) const { return {sites_[i].x, sites_[i].y}; }
  // k is a position in `weight_numbers`.
  double weight(std::size_t i, std::size_t k = 0) const { return weights_[k * size() + i]; }

  // The gauges that are in use: for each site a number below gauge_count().
  std::size_t gauge_count() const { return gauges_.size(); }
  std::size_t gauge(std::size_t i) const { return sites_[i].gauge; }
  // `polygauge::vertices` of that gauge.
  std::span<const plane_xy> ball(std::size_t gauge) const;

  // From each site along each vertex v of its gauge, to the site + bound / weight * v.
  std::vector<xy_segment> near_segments(double bound) const;

  // ----- At a place (x, y) -----

  // `polygauge::cone_of` and `polygauge::distance` from site i.
  int cone(std::size_t i, double x, double y) const;
  double distance(std::size_t i, double x, double y) const;
  // The sum of weight times distance from 0.0 on.
  double value(double x, double y, std::size_t k = 0) const;
  // The gradient of that sum in the cones that hold the place; on a site it ends with the report of
  // `polygauge::cone_vertices`.
  plane_xy gradient(double x, double y, std::size_t k = 0) const;

  // Value and slope of the sum, on a site too.
  support_plane support(double x, double y, std::size_t k = 0) const;

  // ----- Accuracy -----

  // What `value` differs at most from the exact sum, relative to it, at any place; weights of at
  // least 0.0. Infinite if the sum may not be convex (a gauge without the origin inside, which the
  // constructor of `polygauge` can let pass), has cones that end with the report of
  // matrix::solve, or for lengths far out of the usual.
  double relative_error() const;
  // The same at places of a box where the sum is at least `least`: an angle is far more exact away
  // from the line of a gauge's first direction, and only few of these lines meet a small box.
  double relative_error_within(const xy_box& box, double least, std::size_t k = 0) const;
  // The exact sum is nowhere below support.value + support.slope * (z - support.at) by more than
  //   support.value * relative_error() + |z - support.at|_1 * slope_error().
  double slope_error(std::size_t k = 0) const;

 private:
  struct flat_site {
    double x, y;
    std::size_t gauge;
    std::size_t first_cone;  // of its gauge's cones, in solves_
    double direction_loss;   // of the first direction moved to the site, as a sine
    bool plain;              // cones only by the plain steps
  };
  // Lengths are sums of absolute coordinates.
  struct flat_gauge {
    const polygauge* source;
    std::size_t first;  // in vertices_, directions_ and cone_gradients_
    std::size_t cones;
    bool plain;
    double longest;    // vertex
    double steepness;  // at least the gauge of any vector of length 1; infinite if not convex
  };
  // The gradient in a cone is (dy / d, -dx / d).
  struct cone_gradient {
    double dx, dy, d;
  };

  using gauge_numbers = std::unordered_map<const polygauge*, std::size_t>;

  std::size_t flat_number(const polygauge& g, gauge_numbers& known);
  void append_solves(const flat_site& site);
  double direction_loss(const flat_site& site) const;
  double solve_error(const flat_site& site) const;
  double cone_error(const flat_site& site, double clear) const;
  int plain_cone(const flat_site& site, double x, double y) const;

  std::vector<flat_site> sites_;
  std::vector<double> weights_;
  std::vector<flat_gauge> gauges_;
  std::vector<plane_xy> vertices_;    // as `polygauge::vertices` yields them
  std::vector<plane_xy> directions_;  // of length 1
  std::vector<cone_gradient> cone_gradients_;
  std::vector<two_equations> solves_;  // one a cone
};

}  // namespace planloc::detail

#endif  // PLANLOC_FACILITIES_FLAT_GAUGED_SITES_H_
