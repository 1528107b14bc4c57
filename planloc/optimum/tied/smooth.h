// Tied facilities under gauges that need not be polyhedral. Internal.
#ifndef PLANLOC_OPTIMUM_TIED_SMOOTH_H_
#define PLANLOC_OPTIMUM_TIED_SMOOTH_H_

#include "planloc/optimum/tied/part_answer.h"

namespace planloc::detail {

// Newton's method on smoothed distances, whose width shrinks. Facilities that come to lie at a site
// or at each other are put there; what the slopes of the others leave over is then given to the
// slopes at those places, which have room.
part_answer solve_smooth(const tied_problem& p, const tied_part& part, const tied_limits& limits,
                         tied_solution& s);

}  // namespace planloc::detail

#endif  // PLANLOC_OPTIMUM_TIED_SMOOTH_H_
