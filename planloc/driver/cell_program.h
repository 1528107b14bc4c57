// The linear program of one cell.
#ifndef PLANLOC_DRIVER_CELL_PROGRAM_H_
#define PLANLOC_DRIVER_CELL_PROGRAM_H_

#include "planloc/engine/engine.h"
#include "planloc/foundation/geometry/point.h"

namespace planloc {

// Builds and solves the program of the cell `sigma`: a point X and one distance Z_f for each
// facility f that is at least every row a * (X0 - x_f) + b * (X1 - y_f) of the facility, with the
// Z rising along `sigma`; minimise the sum of order weight i times the i-th Z along `sigma`.
//
// coef[0] holds the n order weights, coef[k], k >= 1, the rows (a, b), facility by facility, as
// many as its gauge has vertices. `sigma` may hold a number twice, as the tie step leaves it.
//
// On return `feasible` tells whether an optimum was found; if so, `sol` is X and `value` the
// objective, otherwise both keep what they held. The result is told on standard output: five lines,
// or "The problem is infeasible", or "The problem is unbounded".
//
// Everything is built anew on each call; variables and expressions stay on the heap of `m`.
void solve_cell_lp(IlcManager& m, IlcIntArray& sigma, double** coef, bool& feasible, point& sol,
                   double& value);

}  // namespace planloc

#endif  // PLANLOC_DRIVER_CELL_PROGRAM_H_
