// The trade-off between any two convex criteria, to a tolerance: a polyline of places that no place
// anywhere beats by more than a proved distance. For plain sums under polyhedral gauges
// efficient_set.h gives the exact chain instead.
//
//   const bicriteria_problem p(sites, {gauge::euclidean()}, order_weights::median(),
//                              order_weights::centre());
//   const efficient_polyline l = approximate_efficient_set(p, 1e-3);
//   const polyline_verification v = verify(p, l);   // v.distance <= l.distance <= 1e-3
#ifndef PLANLOC_OPTIMUM_EFFICIENT_POLYLINE_H_
#define PLANLOC_OPTIMUM_EFFICIENT_POLYLINE_H_

#include <cstddef>
#include <cstdint>
#include <limits>
#include <stop_token>
#include <string>
#include <utility>
#include <vector>

#include "planloc/optimum/bicriteria_problem.h"
#include "planloc/optimum/solution.h"

namespace planloc {

struct polyline_point {
  xy at{0, 0};
  double value1 = 0;
  double value2 = 0;
};

// Affine functions below f_1 and f_2; their sites are those of `bicriteria_problem::criterion`.
struct polyline_cut {
  affine_piece first;
  affine_piece second;
};

// factor1 f_1 + factor2 f_2 >= bound at every place: the cuts, each taken `second` times, have
// slopes that cancel when they are added up with these factors.
struct polyline_bound {
  double factor1;
  double factor2;
  double bound;
  std::vector<std::pair<std::uint32_t, double>> shares;  // cut and multiplier
};

enum class polyline_status : std::uint8_t {
  within_tolerance,
  above_tolerance,  // doubles cannot narrow the distance further
  stopped           // a limit or the stop token ended the search
};

// f_1 rises and f_2 falls from point to point; between two points, on the segment that joins their
// places, both are at most what the segment that joins their values says. For every place x there
// is a place y on the polyline with f_k(y) <= f_k(x) + distance * range_k. The range of a criterion
// is the difference of its values at the two ends, or, if that is more, 1e-4 of its least value,
// and 1 where both are 0.
struct efficient_polyline {
  polyline_status status = polyline_status::stopped;
  std::vector<polyline_point> points;  // from the optimum of f_1 to that of f_2
  double distance = std::numeric_limits<double>::infinity();
  std::vector<polyline_bound> bounds;  // from f_1 alone to f_2 alone
  std::vector<polyline_cut> cuts;
  xy base{0, 0};  // the cuts count their places from here
  search_counters counters;
};

struct polyline_options {
  double seconds = std::numeric_limits<double>::infinity();  // throws unless from 0 up
  // Of both criteria; there is always one.
  std::size_t evaluations = std::numeric_limits<std::size_t>::max();
  std::stop_token stop;
};

// Dichotomy on the weighting of the criteria (Aneja and Nair 1979), by cutting planes that all
// weightings share. Throws `bad_problem` if the tolerance is not positive or a criterion knows no
// site.
efficient_polyline approximate_efficient_set(const bicriteria_problem& p, double tolerance,
                                             const polyline_options& options = {});

struct polyline_verification {
  bool accepted = false;
  std::string reason;                                         // why it was refused
  double distance = std::numeric_limits<double>::infinity();  // proved
};

// Recomputes values, bounds and distance in intervals that are rounded outwards.
polyline_verification verify(const bicriteria_problem& p, const efficient_polyline& l);

}  // namespace planloc

#endif  // PLANLOC_OPTIMUM_EFFICIENT_POLYLINE_H_
