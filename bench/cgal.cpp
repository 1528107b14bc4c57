// CGAL's side of the rows that it can enter: smallest circle (Min_sphere_of_spheres_d,
// farthest-point pivoting, on plain doubles), convex hull (exact predicates), crossings and
// arrangements (lazy exact kernel).
#include <CGAL/Arr_segment_traits_2.h>
#include <CGAL/Arrangement_2.h>
#include <CGAL/Cartesian.h>
#include <CGAL/Exact_predicates_exact_constructions_kernel.h>
#include <CGAL/Exact_predicates_inexact_constructions_kernel.h>
#include <CGAL/Min_sphere_of_points_d_traits_2.h>
#include <CGAL/Min_sphere_of_spheres_d.h>
#include <CGAL/Surface_sweep_2_algorithms.h>
#include <CGAL/convex_hull_2.h>

#include <iterator>
#include <vector>

#include "bench/contest.h"
#include "bench/inputs.h"
#include "bench/segments.h"

namespace planloc::bench {
namespace {

template <class Kernel>
std::vector<typename Kernel::Point_2> points(const std::vector<weighted_place>& places) {
  std::vector<typename Kernel::Point_2> result;
  for (const weighted_place& p : places) result.emplace_back(p.x, p.y);
  return result;
}

contestant smallest_circle(const std::vector<weighted_place>& places) {
  using Kernel = CGAL::Cartesian<double>;
  using Circle =
      CGAL::Min_sphere_of_spheres_d<CGAL::Min_sphere_of_points_d_traits_2<Kernel, double>>;
  const auto P = points<Kernel>(places);
  return {.call = [P] { return Circle(P.begin(), P.end()).radius(); }};
}

contestant hull(std::size_t n, unsigned seed) {
  using Kernel = CGAL::Exact_predicates_inexact_constructions_kernel;
  const auto P = points<Kernel>(random_places(n, seed));
  return {.call = [P] {
    std::vector<Kernel::Point_2> corners;
    CGAL::convex_hull_2(P.begin(), P.end(), std::back_inserter(corners));
    return static_cast<double>(corners.size());
  }};
}

using ExactKernel = CGAL::Exact_predicates_exact_constructions_kernel;
using Traits = CGAL::Arr_segment_traits_2<ExactKernel>;

std::vector<Traits::Curve_2> curves(const list<segment>& S) {
  std::vector<Traits::Curve_2> result;
  for (const segment& s : S) {
    result.emplace_back(ExactKernel::Point_2(s.xcoord1(), s.ycoord1()),
                        ExactKernel::Point_2(s.xcoord2(), s.ycoord2()));
  }
  return result;
}

contestant crossings(const list<segment>& S) {
  return {.call = [S] {
    const std::vector<Traits::Curve_2> C = curves(S);
    std::vector<ExactKernel::Point_2> points;
    CGAL::compute_intersection_points(C.begin(), C.end(), std::back_inserter(points));
    return static_cast<double>(points.size());
  }};
}

contestant arrangement(const list<segment>& S) {
  return {.call = [S] {
    const std::vector<Traits::Curve_2> C = curves(S);
    CGAL::Arrangement_2<Traits> map;
    CGAL::insert(map, C.begin(), C.end());
    return static_cast<double>(map.number_of_vertices());
  }};
}

}  // namespace

void add_cgal(contests& all) {
  const auto circle = [](auto places) {
    return [places](std::size_t n, unsigned seed) { return smallest_circle(places(n, seed)); };
  };
  all["euclidean-centre"].contestants["CGAL"] = circle(random_places);
  all["euclidean-centre-ring"].contestants["CGAL"] = circle(places_near_circle);
  all["l2-max"].contestants["CGAL"] = circle(random_places);
  all["hull"].contestants["CGAL"] = hull;
  for (const auto& [kind, make] : segment_kinds()) {
    all["crossings-" + kind].contestants["CGAL"] = [make](std::size_t n, unsigned seed) {
      return crossings(make(n, seed));
    };
    all["arrangement-" + kind].contestants["CGAL"] = [make](std::size_t n, unsigned seed) {
      return arrangement(make(n, seed));
    };
  }
}

}  // namespace planloc::bench
