// A linear program as plain data, with the basis and the solution of its last solve. ClpLibrary
// keeps one per problem object; solve_clp_problem (clp_solve.cpp, clp_solution.cpp) is the only
// user of CLP.
#ifndef PLANLOC_ENGINE_CLP_PROBLEM_H_
#define PLANLOC_ENGINE_CLP_PROBLEM_H_

#include <string>
#include <vector>

namespace planloc {

struct clp_column {
  double lower;
  double upper;
  double objective;
  char type;  // C, B or I
  std::string name;
};

struct clp_row {
  double rhs;
  char sense;  // L, G or E
  std::string name;
};

struct clp_matrix_entry {
  int column;
  double value;
};

// Position of a column or of a row's slack relative to the basis.
enum class clp_basis_status : unsigned char { kBasic, kAtLower, kAtUpper, kFree };

struct clp_problem {
  std::vector<clp_column> columns;
  std::vector<clp_row> rows;
  std::vector<std::vector<clp_matrix_entry>> entries;  // by row
  int sense = 1;                                       // 1 minimise, -1 maximise
  int type = 0;                                        // an IlcCplexProblemType

  // Of the last solve that left one; a new column is nonbasic, a new row's slack basic.
  bool has_basis = false;
  std::vector<clp_basis_status> column_basis;
  std::vector<clp_basis_status> row_basis;

  int status = 0;  // an IlcCplexStatus
  int iterations = 0;
  bool has_solution = false;
  double objective_value = 0.0;
  std::vector<double> x;             // one per column
  std::vector<double> reduced_cost;  // one per column
  std::vector<double> dual;          // one per row
  std::vector<double> activity;      // one per row

  // After every change of the program: what the last solve found no longer holds.
  void forget_solution();
};

enum class clp_method { kPrimal, kDual };

struct clp_settings {
  bool presolve = true;
  bool start_from_basis = true;
  double primal_tolerance = 1e-6;
  double dual_tolerance = 1e-6;
  int iteration_limit = 2100000000;
  double time_limit = 1e75;  // seconds
  bool wall_clock = false;   // what the time limit is counted by
};

// Solves the linear program (the relaxation, if columns have types) and stores status, iterations,
// basis and solution.
//
// 1. A program without a basis is presolved if the settings say so and solved by the method; one
//    with a basis is solved from it.
// 2. Statuses are said of the full program only. Optimal: the solution, unscaled, was found to be
//    feasible and its prices to be right within the tolerances. Unbounded: there is a feasible
//    point and no bound. A program that is infeasible in the primal and the dual is infeasible.
// 3. The solution is the basic solution of the final basis to double accuracy, whatever presolve,
//    scaling and perturbation did on the way.
// 4. Nothing is written to standard output or the error stream.
void solve_clp_problem(clp_problem& problem, clp_method method, const clp_settings& settings);

}  // namespace planloc

#endif  // PLANLOC_ENGINE_CLP_PROBLEM_H_
