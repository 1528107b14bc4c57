// The walk from cell to cell.
//
// Solving the program of a cell gives a point. If the point lies in another cell, the walk goes
// there; if not, it exchanges facilities whose distances tie at the point and so crosses into a
// neighbouring cell, until that cell was seen before or a program has no optimum. There is no claim
// of optimality: the answer is the last solution.
#ifndef PLANLOC_DRIVER_WALK_H_
#define PLANLOC_DRIVER_WALK_H_

#include <ostream>

#include "planloc/engine/engine.h"
#include "planloc/foundation/containers/list.h"
#include "planloc/foundation/geometry/point.h"

namespace planloc {

// REQUIRES: both have one entry for each facility.
bool same_permutation(IlcManager& m, IlcIntArray& a, IlcIntArray& b);

// Appends the entries of `sigma` to `visited`.
void remember_cell(IlcManager& m, IlcIntArray& sigma, list<list<int>>& visited);

// The tie step. Neighbours in the order of distance from `sol` that differ by less than
// `kTieTolerance` are exchanged in `sigma`, in one pass that writes every place twice: an exchange
// at an earlier place keeps only its first half, so that the result may hold a number twice.
// 1. A result that is not in `visited` is remembered and becomes `sigma`; `done` is false.
// 2. Otherwise `sigma` stays; `done` is true.
void next_cell(IlcManager& m, point& sol, list<list<int>>& visited, IlcIntArray& sigma, bool& done);

// "<label>(", each entry followed by one blank, ")" and a flushed line end.
void log_permutation(std::ostream& log_out, const char* label, IlcIntArray& sigma);

// Walks from the cell `sigma`, the one of `start_pt`, and logs and draws every pass. `coef` is the
// table of `solve_cell_lp`.
void walk(IlcManager& m, IlcIntArray sigma, double** coef, point start_pt, std::ostream& log_out);

}  // namespace planloc

#endif  // PLANLOC_DRIVER_WALK_H_
