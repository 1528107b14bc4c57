// The least weighted sum of gauge distances: the contract of `facilities::gauge_sum`. The members
// that it is made of are in facilities.h.
//
//   list<polygauge> gauges = {polygauge::l1_gauge(), polygauge::linf_gauge()};
//   list<int> gauge_of = {0, 1, 0};                           // for each facility
//   const double value = F.gauge_sum(gauges, gauge_of, true); // F.opt: corners of the best set
//
// The candidates are the crossings of the `fundamental_segments` (mode 0) with the centre of
// gravity as x0 and f(x0) as the bound; `best_points` chooses among them, and some crossing is
// optimal (R. Durier and C. Michelot, 1985). `opt` gets the corners of the convex hull of those
// that tie, labels 1.0, in the order of CONVEX_HULL. A single facility is the result itself, with
// 0.0. Crossings that cannot be best are not made, by cuts of n operations each (level_cuts.h); all
// of them are looked at for gauges without the origin inside, and if rounding can be a thousandth
// of a value.
//
// ----- Where the result is not the optimal set -----
//
// 1. Ties are exact, in doubles: where the values of two optimal corners differ by a rounding, one
//    is left out. Maximum norm, (0,0) and (0.1,0.2): three corners of four.
// 2. If the centre of gravity is a facility: 1706 "polygauge: Conenumber is not correct".
// 3. If no crossing comes out as low as f(x0): "dlist::head(): empty list". Then x0 is optimal, or
//    some gauge does not have the origin inside.
// 4. Without `clear` an older first result takes the part of the centre of gravity.
//
// ----- Reports -----
//
// In this order: 1339 "False weight-dimension." for more than one weight, 1340 "Different number of
// locations and gauges.", 1341 "False gauge-number.", 1338 "Negative entry or 0-row or 0-column in
// weight-matrix." for a weight that is not above 0.0.
#ifndef PLANLOC_FACILITIES_GAUGE_SUM_H_
#define PLANLOC_FACILITIES_GAUGE_SUM_H_

#include "planloc/foundation/geometry/point.h"
#include "planloc/foundation/numeric/vector.h"

namespace planloc {

// 1, 0 or -1 as the dot product of g and c - x0 is above 0.0, 0.0, or neither: with the gradient g
// at x0 no place on the side of 1 has a smaller sum than x0.
int descent_side(const vector& g, const point& c, const point& x0);

}  // namespace planloc

#endif  // PLANLOC_FACILITIES_GAUGE_SUM_H_
