// A linear or mixed integer program as plain data, with the basis and the solutions of its last
// solves. ClpLibrary keeps one per problem object; clp_solve.cpp and clp_mip.cpp solve it,
// clp_model takes it to CLP.
#ifndef PLANLOC_ENGINE_CLP_PROBLEM_H_
#define PLANLOC_ENGINE_CLP_PROBLEM_H_

#include <functional>
#include <string>
#include <vector>

#include "planloc/engine/heap_blocks.h"

namespace planloc {

struct clp_column {
  double lower;
  double upper;
  double objective;
  char type;  // C, B or I
};

struct clp_row {
  double rhs;
  char sense;  // L, G or E
};

struct clp_matrix_entry {
  int column;
  double value;
};

// Rows one behind the other.
class clp_matrix {
 public:
  struct row_range {
    const clp_matrix_entry* first;
    const clp_matrix_entry* last;
    const clp_matrix_entry* begin() const { return first; }
    const clp_matrix_entry* end() const { return last; }
  };

  row_range operator[](std::size_t row) const {
    return {entries_.data() + starts_[row], entries_.data() + starts_[row + 1]};
  }
  row_range all() const { return {entries_.data(), entries_.data() + entries_.size()}; }
  std::size_t size() const { return entries_.size(); }

  // Appends `rows` rows; row i has the entries starts[i] up to starts[i + 1], the last row up to n.
  void append(int rows, int n, const int* starts, const int* columns, const double* values);
  void erase_rows(int begin, int end);     // closed
  void erase_columns(int begin, int end);  // closed; those behind move down

 private:
  detail::raw_block_vector<std::size_t> starts_ = {0};
  detail::raw_block_vector<clp_matrix_entry> entries_;
};

// Position of a column or of a row's slack relative to the basis.
enum class clp_basis_status : unsigned char { kBasic, kAtLower, kAtUpper, kFree };

// A special ordered set; entries in the order of their weights.
struct clp_sos {
  char type;  // '1' or '2'
  int priority;
  std::vector<int> columns;
  std::vector<double> weights;
};

struct clp_order_entry {
  int column;
  int priority;
  int direction;  // an IlcCplexBranch
};

struct clp_problem {
  detail::block_vector<clp_column> columns;
  detail::raw_block_vector<clp_row> rows;
  clp_matrix matrix;
  // Empty, or one name per column or row, empty ones among them.
  std::vector<std::string> column_names;
  std::vector<std::string> row_names;
  int sense = 1;  // 1 minimise, -1 maximise

  int type = 0;  // an IlcCplexProblemType
  std::vector<clp_sos> sets;
  std::vector<clp_order_entry> order;
  std::vector<double> start;  // empty or one value per column, NaN for an unknown one

  // Of a program of type 3: one value per column, NaN for one that is not fixed.
  std::vector<double> fixed;

  // Of the last solve that left one; a new column is nonbasic, a new row's slack basic.
  bool has_basis = false;
  std::vector<clp_basis_status> column_basis;
  std::vector<clp_basis_status> row_basis;

  // Of the last solve.
  int status = 0;      // an IlcCplexStatus
  int sub_status = 0;  // of the last linear program of a mixed integer solve
  int iterations = 0;
  int barrier_iterations = 0;
  int mip_iterations = 0;
  int nodes = 0;
  int nodes_left = 0;
  int clique_cuts = 0;
  int cover_cuts = 0;

  bool has_solution = false;
  double objective_value = 0.0;
  std::vector<double> x;             // one per column
  std::vector<double> reduced_cost;  // one per column
  std::vector<double> dual;          // one per row
  std::vector<double> activity;      // one per row

  bool has_mip_solution = false;
  bool has_mip_bound = false;
  double mip_objective_value = 0.0;
  double mip_bound = 0.0;
  std::vector<double> mip_x;
  std::vector<double> mip_activity;

  // After every change of the program: what the last solves found no longer holds.
  void forget_solutions();
  void forget_linear_solution();
};

enum class clp_method {
  kPrimal,
  kDual,
  kBarrierPrimal,
  kBarrierDual,
  kNetworkPrimal,
  kNetworkDual
};

// How far a solve is. `where` is an IlcCplexCallbackPlace; the mixed integer part is that of a
// mixed integer solve.
struct clp_progress {
  int where = 0;
  int iterations = 0;
  double primal_objective = 0.0;
  double dual_objective = 0.0;
  double primal_infeasibility = 0.0;
  double dual_infeasibility = 0.0;
  bool has_integer_solution = false;
  double best_integer = 0.0;
  double best_remaining = 0.0;
  double cutoff = 0.0;
  int nodes = 0;
  int nodes_left = 0;
};

// Told of the progress; true stops the solve. May be empty.
using clp_monitor = std::function<bool(clp_progress&)>;

struct clp_settings {
  bool presolve = true;
  bool start_from_basis = true;
  double primal_tolerance = 1e-6;
  double dual_tolerance = 1e-6;
  int iteration_limit = 2100000000;
  int barrier_iteration_limit = 2100000000;
  int network_iteration_limit = 2100000000;
  int network_extraction = 2;
  double time_limit = 1e75;  // seconds
  bool wall_clock = false;   // what the time limit is counted by

  int node_limit = 2100000000;
  int solution_limit = 2100000000;
  double integer_tolerance = 1e-5;
  double absolute_gap = 1e-6;
  double relative_gap = 1e-4;
  double lower_cutoff = -1e75;
  double upper_cutoff = 1e75;
  double objective_difference = 0.0;
  int branch_direction = 0;
  bool use_order = true;
  int cliques = 0;  // -1 none, 0 as the search sees fit, more: more often
  int covers = 0;
  int probing = 0;
  int heuristic_frequency = 0;
};

// Solves the linear program (the relaxation, if columns have types; with the integer columns fixed
// at the mixed integer solution in a program of type 3) and stores status, iterations, basis and
// solution.
//
// 1. A program without a basis is presolved if the settings say so and solved by the method; one
//    with a basis is solved from it.
// 2. Statuses are said of the full program only. Optimal: the solution, unscaled, was found to be
//    feasible and its prices to be right within the tolerances. Unbounded: there is a feasible
//    point and no bound. A program that is infeasible in the primal and the dual is infeasible.
// 3. The solution is the basic solution of the final basis to double accuracy, whatever presolve,
//    scaling and perturbation did on the way.
// 4. A solve that was stopped leaves the point that it has reached if that is feasible.
// 5. Nothing is written to standard output or the error stream.
void solve_clp_problem(clp_problem& problem, clp_method method, const clp_settings& settings,
                       const clp_monitor& monitor = {});

// Solves the mixed integer program by branch and cut and stores status, counts and the mixed
// integer solution: integer columns and members of special ordered sets are exactly integer or
// zero, the others the basic solution of what is left, to double accuracy.
void solve_clp_mip(clp_problem& problem, const clp_settings& settings,
                   const clp_monitor& monitor = {});

}  // namespace planloc

#endif  // PLANLOC_ENGINE_CLP_PROBLEM_H_
