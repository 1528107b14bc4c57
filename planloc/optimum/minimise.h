// The best place of a problem, with a proof.
//
//   const solution s = minimise(p);
//   const verification v = verify(p, s);   // verify.h
//
// A call shares nothing with other calls; any number may run at once. The answer to a problem does
// not depend on the number of threads.
#ifndef PLANLOC_OPTIMUM_MINIMISE_H_
#define PLANLOC_OPTIMUM_MINIMISE_H_

#include <cstddef>
#include <functional>
#include <limits>
#include <stop_token>

#include "planloc/optimum/problem.h"
#include "planloc/optimum/solution.h"

namespace planloc {

struct search_progress {
  double value;  // the best so far; infinite before a permitted place is known
  double lower_bound;
  std::size_t cells;  // open ones; 0 in a convex search
};

// Throws `bad_problem` if a number here is not from 0 up: "option seconds is -1: must be 0 or
// more".
struct minimise_options {
  // The search ends when value - bound <= max(absolute_gap, relative_gap * |value|). With 0 for
  // both it ends where the gap is closed: as far as `optimal` promises (solution.h).
  double relative_gap = 0;
  double absolute_gap = 0;
  double seconds = std::numeric_limits<double>::infinity();
  std::size_t cells = std::numeric_limits<std::size_t>::max();
  // That work on the branch and bound, the caller's among them; 0: as many as the machine runs at
  // once. Searches that are done in milliseconds start none. What is found does not depend on it.
  // (`allocate` takes all cores unless told otherwise.)
  int threads = 1;
  bool whole_set = true;                                 // fill in solution::optima
  std::function<void(const search_progress&)> progress;  // called from the thread of the caller
  std::stop_token stop;
};

// Cutting planes (Kelley 1960) where the problem is convex, branch and bound elsewhere.
solution minimise(const problem& p, const minimise_options& options = {});

// Cutting planes. Throws `bad_problem` if the problem is not convex.
solution minimise_convex(const problem& p, const minimise_options& options = {});

// Branch and bound over triangles (Drezner and Suzuki 2004) with bounds from differences of convex
// functions (Tuy 1996), for any order weights. Polyhedral gauges: to a gap of 0. Others: as
// far as `optimal` promises, or as doubles can tell.
//
// Where f neither grows nor falls in some direction far from the sites, polyhedral problems with
// few different pairs of gauge and weight (some thirty, or hundreds of one gauge) have a square
// that is known to hold an optimum. Others, and up to 32 such pairs, are searched to infinity.
// Where f is least far away only, so that no place has that value, the status is `stopped`, with a
// place far away and a bound near its value: the narrowest ring around points on a line, say. So it
// is where three or more pairs grow alike in a direction, or the slopes of a gauge leap there, and
// the bound may be low; it may be 0 or minus infinity.
solution minimise_general(const problem& p, const minimise_options& options = {});

}  // namespace planloc

#endif  // PLANLOC_OPTIMUM_MINIMISE_H_
