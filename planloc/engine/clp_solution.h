// From a basis that CLP has found to the solution of the program, and whether that solution holds.
// Internals of solve_clp_problem (clp_solve.cpp), which runs CLP; clp_problem.h is for callers.
#ifndef PLANLOC_ENGINE_CLP_SOLUTION_H_
#define PLANLOC_ENGINE_CLP_SOLUTION_H_

#include "planloc/engine/clp_problem.h"

class ClpSimplex;

namespace planloc::detail {

// ----- Values -----

// Row activities, reduced costs and objective from x and the duals.
void finish_clp_values(clp_problem& problem);

// Basis and solution of the model. `cost_scale` is the ratio of the program's costs to the model's.
// x is brought to double accuracy if the model has kept its factorization.
void store_clp_solution(clp_problem& problem, const ClpSimplex& model, double cost_scale,
                        bool factorized);

// ----- Checks, on the unscaled program -----

// Bounds and rows hold within the tolerance.
bool is_feasible(const clp_problem& problem, double tolerance);

// There is no price that a move off the bound would pay for. Scaling can hide one from CLP.
bool is_dual_feasible(const clp_problem& problem, const clp_settings& settings, double cost_scale);

}  // namespace planloc::detail

#endif  // PLANLOC_ENGINE_CLP_SOLUTION_H_
