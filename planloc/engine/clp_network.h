// The network inside a linear program: rows that, scaled, have at most one 1 and one -1 in each
// column.
#ifndef PLANLOC_ENGINE_CLP_NETWORK_H_
#define PLANLOC_ENGINE_CLP_NETWORK_H_

#include <vector>

#include "planloc/engine/clp_problem.h"

namespace planloc::detail {

// A set of rows that is a network, greedily in the order of the rows. `extraction` 1 takes rows as
// they are, 2 may change all signs of a row (Bixby and Fourer, 1988), 3 may scale it as well.
std::vector<int> network_rows(const clp_problem& problem, int extraction);

// The program with the other rows lifted, solved: its basis, with the slacks of the other rows,
// starts the solve of the whole. Without a basis where there is no network or no optimum.
clp_problem network_start(const clp_problem& problem, const clp_settings& settings);

}  // namespace planloc::detail

#endif  // PLANLOC_ENGINE_CLP_NETWORK_H_
