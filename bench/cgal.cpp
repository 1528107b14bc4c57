// CGAL's side of the rows that it can enter: smallest circle (Min_sphere_of_spheres_d,
// farthest-point pivoting, on plain doubles), convex hull (exact predicates).
#include <CGAL/Cartesian.h>
#include <CGAL/Exact_predicates_inexact_constructions_kernel.h>
#include <CGAL/Min_sphere_of_points_d_traits_2.h>
#include <CGAL/Min_sphere_of_spheres_d.h>
#include <CGAL/convex_hull_2.h>

#include <iterator>
#include <vector>

#include "bench/contest.h"
#include "bench/inputs.h"

namespace planloc::bench {
namespace {

template <class Kernel>
std::vector<typename Kernel::Point_2> points(std::size_t n, unsigned seed) {
  std::vector<typename Kernel::Point_2> result;
  for (const weighted_place& p : random_places(n, seed)) result.emplace_back(p.x, p.y);
  return result;
}

contestant smallest_circle(std::size_t n, unsigned seed) {
  using Kernel = CGAL::Cartesian<double>;
  using Circle =
      CGAL::Min_sphere_of_spheres_d<CGAL::Min_sphere_of_points_d_traits_2<Kernel, double>>;
  const auto P = points<Kernel>(n, seed);
  return {.call = [P] { return Circle(P.begin(), P.end()).radius(); }};
}

contestant hull(std::size_t n, unsigned seed) {
  using Kernel = CGAL::Exact_predicates_inexact_constructions_kernel;
  const auto P = points<Kernel>(n, seed);
  return {.call = [P] {
    std::vector<Kernel::Point_2> corners;
    CGAL::convex_hull_2(P.begin(), P.end(), std::back_inserter(corners));
    return static_cast<double>(corners.size());
  }};
}

}  // namespace

void add_cgal(contests& all) {
  all["euclidean-centre"].contestants["CGAL"] = smallest_circle;
  all["l2-max"].contestants["CGAL"] = smallest_circle;
  all["hull"].contestants["CGAL"] = hull;
}

}  // namespace planloc::bench
