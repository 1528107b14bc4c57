// The least largest weighted gauge distance: the contract of `facilities::gauge_max` and of the
// members that it is made of, and its pieces that are free functions. The polygons are cut by
// convex_intersection.h.
//
//   list<polygauge> gauges = {polygauge::l1_gauge(), polygauge::linf_gauge()};
//   list<int> gauge_of = {0, 1, 0};                           // for each facility
//   const double value = F.gauge_max(gauges, gauge_of, true); // F.opt: corners of the optimal set
//
// The problem: for facilities a_i with weights w_i (weight 0) and gauges g_i, the least z* of the
// largest w_i * g_i(x - a_i) over all places x, and the set of all x that reach it. The level set
// at z is the common part of the polygons a_i + (z / w_i) * ball of g_i.
//
// ----- The search -----
//
// z* is a value at which growing polygons first have a point in common: a vertex of one and an edge
// of another, or three edges. The solver collects such values and finds the right one by medians,
// each tested by `level_reached`.
// 1. Pairs: the values of a vertex and an edge, up to 500 of them, 5000 for fewer than 6
//    facilities, 1000 for more than 101. If the level set at the value that is left has a point,
//    that is the result.
// 2. Triples: otherwise the values of three edges from there to 150000000, of all n^3 s^3 / 6
//    triples for balls of s vertices.
// A test costs n intersections of convex polygons, and there are some ten to thirty of them.
//
// ----- Where the result is not the optimum -----
//
// The steps are fixed, also where they are weak: on ordinary random problems the result is the
// optimum in a quarter to a half of all cases. docs/solvers.md counts.
// 1. A median of the first phase that is z* up to 1e-14 is dropped like one below it, and the next
//    larger candidate is the result: two facilities (0, 0) and (1, 0) with the l1 gauge and the
//    weights 1 and 2 give 1.33333 for 0.666667. With the weights 1 and 1 there is no larger one,
//    and the call ends with the report of the empty list where 0.5 is right.
// 2. The cap drops candidates silently: from some ten facilities on they are values that the first
//    facilities reach.
// 3. The median of an even number of candidates is a mean, and a candidate itself from then on. So
//    the second phase can end below z*. Then `opt` stays as it was before the call.
// 4. Where edges of two balls lie on one line up to rounding, a level set can lose corners.
// If `opt` was written, the value is at least z* up to 1e-14, and the result is the level set
// there: any place of it is as good as the value says. It is the optimum up to a margin if
// level_reached(value - margin) is 0.
//
// ----- Reports -----
//
// "dlist::head(): empty list", code 1: no candidate, or none left. So ends every problem with one
// facility, or none.
// "POLYGON: POLYGON is not simple", "point::angle:  zero vector input.", code 1: a level set on the
// way was about the size of a rounding error. The offset 1e-14 is absolute: bring the coordinates
// into -1..1.
// "dlist::get_item: index out of range", code 1: a gauge number is missing, or no gauge has it.
// REQUIRES: weights above 0.0. There is no test: zero weights give numbers that are infinite or not
// a number.
#ifndef PLANLOC_FACILITIES_GAUGE_MAX_H_
#define PLANLOC_FACILITIES_GAUGE_MAX_H_

#include <vector>

#include "planloc/facilities/convex_intersection.h"
#include "planloc/foundation/containers/list.h"

namespace planloc {

// What `level_reached` takes from z, and `level_result` adds to it.
inline constexpr double kLevelOffset = 1e-14;
// Results nearer than this in both coordinates are one.
inline constexpr double kResultTolerance = 1e-12;

// The median: of an even number of entries the mean of the one at (size - 1) / 2, from 0, and the
// one behind it. Reorders C: below 120 entries it is sorted. From 120 entries on the lower one of
// these is selected (partitions with the last entry as pivot), and of an even number the one behind
// it need not be the next larger value: intended, any value between two candidates parts them.
// REQUIRES: C is not empty.
double median_of(list<double>& C);

namespace detail {

double median_of(std::vector<double>& C);

}  // namespace detail
}  // namespace planloc

#endif  // PLANLOC_FACILITIES_GAUGE_MAX_H_
