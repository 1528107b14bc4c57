// Sums that need no iteration: the centre of gravity and the weighted medians.
#include <cstddef>
#include <utility>
#include <vector>

#include "planloc/facilities/facilities.h"
#include "planloc/facilities/planar_sites.h"
#include "planloc/facilities/turned_frame.h"
#include "planloc/facilities/weighted_median.h"
#include "planloc/model/reporter.h"

namespace planloc {
namespace {

weighted_median median_of(const std::vector<double>& coordinates,
                          const std::vector<double>& weights) {
  std::vector<line_site> sites(coordinates.size());
  for (std::size_t i = 0; i < sites.size(); ++i) {
    sites[i] = {coordinates[i], weights[i], static_cast<int>(i)};
  }
  return weighted_median(std::move(sites));
}

}  // namespace

double facilities::l2squared_sum(int k, bool clear) {
  if (clear) opt.clear();
  const detail::planar_sites sites(*this, k);
  const detail::plane_xy c = detail::centre_of_gravity(sites);
  opt.append(detail::labelled(c, k));
  // Weight 0 in the value, whatever k is: intended, kept as callers know it.
  const detail::planar_sites valued(*this, 0);
  double value = 0.0;
  for (std::size_t i = 0; i < valued.size(); ++i) {
    const double d = detail::euclidean_distance(valued.x[i], valued.y[i], c.x, c.y);
    value += valued.w[i] * d * d;
  }
  return value;
}

double facilities::l1_sum(int k, bool clear) {
  if (clear) opt.clear();
  const detail::planar_sites sites(*this, k);
  if (const auto clear_x = clear_median(sites.x, sites.w)) {
    if (const auto clear_y = clear_median(sites.y, sites.w)) {
      opt.append(detail::labelled({*clear_x, *clear_y}, k));
      return result_value(1, k);
    }
  }
  weighted_median x = median_of(sites.x, sites.w);
  weighted_median y = median_of(sites.y, sites.w);
  if (x.total() == 0.0) {
    MaviMessage("facilities::l1_sum(): All weights are equal zero:The whole plane is optimal", 0,
                true);
  }
  const double half = 0.5 * x.total();
  x.find(half);
  y.find(half);

  const auto append_result = [&] {
    opt.append(detail::labelled({x.site().coordinate, y.site().coordinate}, k));
  };
  append_result();
  const bool unique_x = x.passes(half);
  const bool unique_y = y.passes(half);
  if (unique_x && unique_y) return result_value(1, k);

  // The other end of a tie is looked for by weight 0, whatever k is: intended, kept as callers know
  // it. Joining adds up weight k and leaves weight 0 as it is in the first of the joined
  // facilities.
  const std::vector<double> first_weights = detail::planar_sites(*this, 0).w;
  const auto has_weight = [&](const line_site& s) {
    return (k == 0 ? s.weight : first_weights[static_cast<std::size_t>(s.number)]) != 0.0;
  };
  // That a half of 0.0, which a total near the smallest double has, counts as a tie in both
  // coordinates is intended, kept as callers know it.
  if (unique_x && half != 0.0) {
    y.next(has_weight);
    append_result();
  } else if (unique_y && half != 0.0) {
    x.next(has_weight);
    append_result();
  } else {
    x.next(has_weight);
    append_result();
    y.next(has_weight);
    append_result();
    x.previous(has_weight);
    append_result();
  }
  return result_value(1, k);
}

double facilities::linf_sum(int k, bool clear) {
  if (clear) opt.clear();
  solve_maximum_as_rectilinear(*this, [&](facilities& turned) { turned.l1_sum(k, false); });
  return result_value(-1, k);
}

}  // namespace planloc
