// From facilities with gauges to a problem of optimum/minimise.h, and the answer back as locations.
//
//   gauged_sites data;
//   data.read(location_file, gauge_file);
//   const solution s = minimise(certified_problem(data, 0, order_weights::centre()));
//   data.sites.opt = certified_locations(s);
#ifndef PLANLOC_FACILITIES_CERTIFIED_PROBLEM_H_
#define PLANLOC_FACILITIES_CERTIFIED_PROBLEM_H_

#include <cstdint>
#include <utility>
#include <vector>

#include "planloc/facilities/gauged_sites.h"
#include "planloc/optimum/efficient_polyline.h"
#include "planloc/optimum/efficient_set.h"
#include "planloc/optimum/location_allocation.h"
#include "planloc/optimum/problem.h"
#include "planloc/optimum/solution.h"
#include "planloc/optimum/tied_facilities.h"

namespace planloc {

namespace detail {

inline site certified_site(const location& l, int k, std::uint32_t gauge) {
  return {.x = l[0], .y = l[1], .weight = l.weight(k), .gauge = gauge};
}

inline bicriteria_site certified_bicriteria_site(const location& l, std::uint32_t gauge) {
  return {.x = l[0], .y = l[1], .weight1 = l.weight(0), .weight2 = l.weight(1), .gauge = gauge};
}

// All sites under one distance.
inline std::vector<site> certified_sites(const facilities& F, int k) {
  std::vector<site> sites;
  for (const location& l : F) sites.push_back(certified_site(l, k, 0));
  return sites;
}

// Each with its own gauge: make(location, number of its gauge).
template <class Make>
auto certified_gauged_sites(const gauged_sites& data, const Make& make) {
  std::vector<decltype(make(std::declval<const location&>(), 0U))> sites;
  auto number = data.gauge_of.begin();
  data.for_each([&](const location& l, const polygauge&) {
    sites.push_back(make(l, static_cast<std::uint32_t>(*number)));
    ++number;
  });
  return sites;
}

inline std::vector<site> certified_sites(const gauged_sites& data, int k) {
  return certified_gauged_sites(
      data, [k](const location& l, std::uint32_t gauge) { return certified_site(l, k, gauge); });
}

inline list<location> certified_points(const std::vector<xy>& at, double weight) {
  list<location> result;
  for (const xy& p : at) result.append(location(2.0, 1.0, p.x, p.y, weight));
  return result;
}

inline std::vector<xy> certified_places(const list<location>& at) {
  std::vector<xy> places;
  for (const location& l : at) places.push_back({l[0], l[1]});
  return places;
}

inline std::vector<gauge> certified_gauges(const gauged_sites& data) {
  std::vector<gauge> gauges;
  for (const polygauge& g : data.gauges) {
    std::vector<xy> vertices;
    for (const point& v : g.vertices()) vertices.push_back({v.xcoord(), v.ycoord()});
    gauges.push_back(gauge::polyhedral(vertices));
  }
  return gauges;
}

}  // namespace detail

// All sites with their weight number k, under one distance: the sum of `l2_sum` is
// certified_problem(F, k, gauge::euclidean(), order_weights::median()). Of a location the
// coordinates 0 and 1 count. Throws `bad_problem` as `problem` does; missing coordinates and
// weights end with the reports of `location`.
inline problem certified_problem(const facilities& F, int k, const gauge& distance,
                                 const order_weights& lambda) {
  return {detail::certified_sites(F, k), {distance}, lambda};
}

// Each site with its own gauge. Reports of `for_each_with_gauge` besides. A gauge whose unit ball
// does not hold the origin strictly inside is refused with `bad_problem`.
inline problem certified_problem(const gauged_sites& data, int k, const order_weights& lambda) {
  return {detail::certified_sites(data, k), detail::certified_gauges(data), lambda};
}

// As many new facilities as told, beside the existing ones: each site with its weight number k goes
// to the nearest. Throws `bad_problem` as `allocation_problem` does.
inline allocation_problem certified_allocation_problem(const facilities& F, int k,
                                                       const gauge& distance, std::size_t count,
                                                       const list<location>& existing = {}) {
  return {detail::certified_sites(F, k), {distance}, count, detail::certified_places(existing)};
}

inline allocation_problem certified_allocation_problem(const gauged_sites& data, int k,
                                                       std::size_t count,
                                                       const list<location>& existing = {}) {
  return {detail::certified_sites(data, k), detail::certified_gauges(data), count,
          detail::certified_places(existing)};
}

// The problem of `gauge_bicriteria`: the weights 0 and 1 of each location.
inline bicriteria_problem certified_bicriteria_problem(const gauged_sites& data) {
  return {detail::certified_gauged_sites(data, detail::certified_bicriteria_site),
          detail::certified_gauges(data)};
}

// The same under one distance, for any convex criteria.
inline bicriteria_problem certified_bicriteria_problem(
    const facilities& F, const gauge& distance,
    const order_weights& first = order_weights::median(),
    const order_weights& second = order_weights::median()) {
  std::vector<bicriteria_site> sites;
  for (const location& l : F) sites.push_back(detail::certified_bicriteria_site(l, 0));
  return {std::move(sites), {distance}, first, second};
}

// The problem of `N_l1_sum` with any distance and number of new facilities: facility j has weight j
// of each location, and facilities j < k are tied with V(j, k). Throws `bad_problem` as
// `tied_problem` does.
inline tied_problem certified_tied_problem(const facilities& F, std::size_t new_facilities,
                                           const matrix& V, const gauge& distance) {
  std::vector<tied_site> sites;
  for (const location& l : F) sites.push_back({.x = l[0], .y = l[1]});
  std::vector<double> weights;
  std::vector<tie> ties;
  for (std::uint32_t j = 0; j < new_facilities; ++j) {
    for (const location& l : F) weights.push_back(l.weight(static_cast<int>(j)));
    for (std::uint32_t k = j + 1; k < new_facilities; ++k)
      ties.push_back({j, k, V(static_cast<int>(j), static_cast<int>(k))});
  }
  return {new_facilities, std::move(sites), {distance}, std::move(weights), std::move(ties)};
}

// The corners of the set of optima if it is known, else the point; each with one weight, the value,
// which is infinite where the status is `infeasible` or `unbounded`.
inline list<location> certified_locations(const solution& s) {
  if (s.optima.corners.empty()) return detail::certified_points({s.point}, s.value);
  return detail::certified_points(s.optima.corners, s.value);
}

// One a facility, each with one weight, the value of all together.
inline list<location> certified_locations(const tied_solution& s) {
  return detail::certified_points(s.points, s.value);
}
inline list<location> certified_locations(const allocation& a) {
  return detail::certified_points(a.points, a.value);
}

// The points, each with its two values as weights.
inline list<location> certified_locations(const efficient_polyline& l) {
  list<location> result;
  for (const polyline_point& p : l.points)
    result.append(location(2.0, 2.0, p.at.x, p.at.y, p.value1, p.value2));
  return result;
}

// The chain as `gauge_bicriteria` leaves it: the corners of its edges and polygons, with the labels
// 1, 2, ... as weight. A chain of one piece has the label 1.
inline list<location> certified_locations(const efficient_chain& c) {
  list<location> result;
  double label = 0;
  for (const efficient_piece& p : c.pieces) {
    if (p.t_low < p.t_high && c.pieces.size() > 1) continue;
    label += 1;
    for (const efficient_corner& k : p.corners)
      result.append(location(2.0, 1.0, k.at.x, k.at.y, label));
  }
  return result;
}

}  // namespace planloc

#endif  // PLANLOC_FACILITIES_CERTIFIED_PROBLEM_H_
