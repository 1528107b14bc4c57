// The walk from cell to cell.
//
// Solving the program of a cell gives a point. If the point lies in another cell, the walk goes
// there; if not, it exchanges facilities whose distances tie at the point and so crosses into a
// neighbouring cell, until that cell was seen before or a program has no optimum. There is no claim
// of optimality: the answer is the last solution.
#ifndef PLANLOC_DRIVER_WALK_H_
#define PLANLOC_DRIVER_WALK_H_

#include <limits>
#include <ostream>
#include <set>
#include <vector>

#include "planloc/engine/engine.h"
#include "planloc/foundation/containers/list.h"
#include "planloc/foundation/geometry/point.h"

namespace planloc {

// REQUIRES: both have one entry for each facility.
bool same_permutation(IlcManager& m, IlcIntArray& a, IlcIntArray& b);

// Cells that a walk has been in, to be searched at the cost of one cell.
class cell_set {
 public:
  void append(const list<int>& cell) { cells_.insert({cell.begin(), cell.end()}); }
  bool contains(const list<int>& cell) const { return cells_.contains({cell.begin(), cell.end()}); }

 private:
  std::set<std::vector<int>> cells_;
};

// Appends the entries of `sigma` to `visited`.
void remember_cell(IlcManager& m, IlcIntArray& sigma, list<list<int>>& visited);
void remember_cell(IlcManager& m, IlcIntArray& sigma, cell_set& visited);

// The tie step. Neighbours in the order of distance from `sol` that differ by less than
// `kTieTolerance` are exchanged in `sigma`, in one pass that writes every place twice: an exchange
// at an earlier place keeps only its first half, so that the result may hold a number twice.
// 1. A result that is not in `visited` is remembered and becomes `sigma`; `done` is false.
// 2. Otherwise `sigma` stays; `done` is true.
void next_cell(IlcManager& m, point& sol, list<list<int>>& visited, IlcIntArray& sigma, bool& done);
void next_cell(IlcManager& m, point& sol, cell_set& visited, IlcIntArray& sigma, bool& done);

// "<label>(", each entry followed by one blank, ")" and a flushed line end.
void log_permutation(std::ostream& log_out, const char* label, IlcIntArray& sigma);

// Walks from the cell `sigma`, the one of `start_pt`, and logs and draws every pass. `coef` is the
// table of `solve_cell_lp`. False if it gave up after `max_passes` programs and would have gone on.
bool walk(IlcManager& m, IlcIntArray sigma, double** coef, point start_pt, std::ostream& log_out,
          long max_passes = std::numeric_limits<long>::max());

}  // namespace planloc

#endif  // PLANLOC_DRIVER_WALK_H_
