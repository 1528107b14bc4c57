// Linear and mixed-integer programs as contestants: CLP and CBC, without the building of the model.
#ifndef PLANLOC_BENCH_SOLVE_PROGRAMS_H_
#define PLANLOC_BENCH_SOLVE_PROGRAMS_H_

#include <ClpSimplex.hpp>

#include "bench/contest.h"
#include "bench/optimum_programs.h"

namespace planloc::bench {

// simplex: &ClpSimplex::dual or &ClpSimplex::primal
contestant by_clp(const linear_program& lp, int (ClpSimplex::*simplex)(int, int));

contestant by_cbc(const linear_program& lp);

}  // namespace planloc::bench

#endif  // PLANLOC_BENCH_SOLVE_PROGRAMS_H_
