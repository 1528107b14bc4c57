// Tied facilities under polyhedral gauges. Internal.
#ifndef PLANLOC_OPTIMUM_TIED_POLYHEDRAL_H_
#define PLANLOC_OPTIMUM_TIED_POLYHEDRAL_H_

#include "planloc/optimum/tied/part_answer.h"

namespace planloc::detail {

// By an interior-point method until the crossing that it comes near to is the optimum.
part_answer solve_polyhedral(const tied_problem& p, const tied_part& part,
                             const tied_limits& limits, tied_solution& s);

}  // namespace planloc::detail

#endif  // PLANLOC_OPTIMUM_TIED_POLYHEDRAL_H_
