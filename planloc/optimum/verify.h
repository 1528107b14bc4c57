// Checks an answer without trusting the search. The bound is recomputed from the certificate and
// the problem alone, by code that the search does not use.
//
// Polyhedral gauges: in fractions; `value` and `lower_bound` are the doubles next to the exact
// number, or of convex problems with more than 256 edges in force within 1e-13 of it. The value is
// that of the exact place (`solution::exact`, or the point itself); `gap` is exactly 0 if and only
// if this place is proved to be an optimum. The doubles `point`, `value` and `lower_bound` must
// then be roundings of the exact ones: the point within one unit in the last place, value and bound
// within 2^-44 of the sum of the terms' magnitudes. Other gauges: in intervals that are rounded
// outwards.
//
// A certificate that does not hold is refused with the reason: a multiplier, an edge or an order
// that was changed, a piece left out. So is a status that it does not prove: `optimal` or
// `far_away` where the gap is more than solution.h says, `unbounded` without a direction.
#ifndef PLANLOC_OPTIMUM_VERIFY_H_
#define PLANLOC_OPTIMUM_VERIFY_H_

#include <string>

#include "planloc/optimum/problem.h"
#include "planloc/optimum/solution.h"

namespace planloc {

struct verification {
  bool accepted = false;
  std::string reason;      // why it was refused
  double value = 0;        // proved: no less than the exact value of the place
  double lower_bound = 0;  // proved: no more than the exact bound
  double gap = 0;          // proved: no less than the exact difference; 0 means equality
  // Whether `solution::optima` is proved to be the set of all optima, with each coordinate of a
  // corner the nearest double. A set that is not changes nothing of the rest.
  bool optima_proved = false;
};

verification verify(const problem& p, const solution& s);

}  // namespace planloc

#endif  // PLANLOC_OPTIMUM_VERIFY_H_
