// How f behaves far from the sites. The recession function of f is the ordered median of the
// weighted gauges themselves: the same problem with all sites at the origin. f is bounded below if
// and only if it is nowhere negative. Internal.
#ifndef PLANLOC_OPTIMUM_GENERAL_RECESSION_H_
#define PLANLOC_OPTIMUM_GENERAL_RECESSION_H_

#include <array>
#include <functional>
#include <limits>
#include <optional>
#include <vector>

#include <gmpxx.h>

#include "planloc/optimum/evaluate.h"
#include "planloc/optimum/exact/exact_place.h"
#include "planloc/optimum/general/triangle_cell.h"
#include "planloc/optimum/solution.h"

namespace planloc::detail {

enum class growth {
  falls,      // without end along `direction`
  grows,      // so that nothing outside of the square is better than the base
  levels,     // nowhere falling; outside of the square no value is less than all inside
  undecided,  // none of these is known: too many kinds of sites, gauges that are not polyhedral, or
              // no time
};

struct recession {
  growth kind = growth::undecided;
  xy direction{0, 0};
  double half = 0;  // of the side of the least square around the table's base, in the axes
  std::vector<branch_certificate::reason> outside;
};

// Of a square outside of which f grows, it is above `level` there, too. Undecided once `done` says
// so.
recession test_recession(const problem& p, const distance_table& table, const skewed_axes& axes,
                         const std::function<bool()>& done,
                         double level = -std::numeric_limits<double>::infinity());

// Whether no sum of the last k order weights is negative, decided exactly: then f >= 0.
bool never_negative(const problem& p);

// Polyhedral f, by the directions in which a gauge breaks or two distances grow alike, for problems
// with few different pairs of gauge and weight. The recession function is linear between two
// neighbours u and v of these. Let x = base + a u + b v with a, b >= 0. From some a on, the edges
// in force at x are those in force at u, and of two sites one of which grows faster along u that
// one is farther: a step along -u keeps the order and makes f less by the recession function of u.
// If that is nowhere negative, a step back is never worse, so that nothing is better than all
// places with a and b up to these limits.
//   - A site at s, |s| <= D in either coordinate: let p and q be the rays of its gauge on the sides
// of u, the one of v and the other. x - s lies between q and p where a |u x p| >= D |p| and, since
// x - s is on the side of q only where b |u x v| <= D |u|, where a |u x q| >= D |q| + b (v x q), if
// that is positive; norms add up coordinates.
//   - Two sites: d(x) and the growth c(x) towards x differ by at most max(c(s), c(-s)).
recession test_sectors(const problem& p, const distance_table& table, const skewed_axes& axes);

mpq_class sum_of_weights(const problem& p);

// Whether all sites have one gauge and one weight.
bool has_one_kind(const problem& p);

// Whether all sites lie at one place: then f is its own recession function, moved there.
bool has_one_place(const problem& p);

// Whether f is one gauge times 0: of sites at one place, with one gauge.
bool is_level_everywhere(const problem& p);

// f of sites of one smooth gauge and one weight, whose order weights add up to 0, is a sum of steps
// between sorted distances, each of which counts with the sum of the order weights from there on.
// All steps together are at most the largest distance of two sites, and nearly that beyond one of
// these two, on the line through both. Not known for hundreds of sites.
struct level_steps {
  double bound;
  std::array<xy, 2> places;  // beyond the two sites
};
std::optional<level_steps> steps_to_level(const problem& p, const distance_table& table);

// f outside of the square of half side `reach` around the table's base, by boxes of directions and
// inverse distances: x = base + reach / t * y, with y on the unit square and 0 <= t <= 1. The
// distance of a site exceeds that of the base, under the site's gauge and weight, by what the
// gauge's slopes along the way from the base to the site, seen from x, say; they hardly change
// where x is far, and without end in the same direction. Tried until f is nowhere less than
// `target`, or than what the calls return for places outside, or enough was tried; the bound holds
// whenever it ends. It is minus infinity where f, for all that is known, may fall without end.
struct far_level {
  double bound;
  std::vector<branch_certificate::reason> outside;
  // A place so far away that f hardly falls beyond it, and a value that f is no more than there,
  // which a sum of distances would be too rounded to tell; infinity if none was found.
  double value;
  exact_xy at;
};
struct far_calls {
  std::function<double(const xy&)> try_place;  // tries a place, returns the target
  std::function<double(double)> target;        // if this value were the least
  std::function<bool()> done;
};
far_level search_far_boxes(const problem& p, const distance_table& table, double reach,
                           double target, const far_calls& calls);

// Half of the side of a square from which on that is likely to lead somewhere; 0 if it never is:
// for polyhedral problems, and too many kinds of sites.
double half_for_far_boxes(const problem& p, const distance_table& table);

// Whether the recession function, `origin` with its table, is surely negative in a direction.
bool surely_falls(const problem& origin, const distance_table& table, const xy& u);

// All sites at the origin.
problem recession_problem(const problem& p);

// The sides of the square of half side 1 around the origin, in the axes: right, top, left, bottom.
std::array<triangle, 4> unit_sides(const skewed_axes& axes = {});

}  // namespace planloc::detail

#endif  // PLANLOC_OPTIMUM_GENERAL_RECESSION_H_
