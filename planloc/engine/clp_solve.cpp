#include <algorithm>
#include <chrono>
#include <cmath>
#include <ctime>
#include <memory>

#include <ClpPresolve.hpp>
#include <ClpSimplex.hpp>
#include <CoinMessageHandler.hpp>

#include "planloc/engine/clp_problem.h"
#include "planloc/engine/clp_solution.h"
#include "planloc/engine/cplex_library.h"

namespace planloc {

using namespace detail;

namespace {

// What CLP's own status says of a run.
enum class Verdict { kOptimal, kInfeasible, kUnbounded, kStopped, kUnclear };

constexpr int kPerturbationOff = 100;
constexpr double kPresolveTolerance = 1e-8;
constexpr int kPresolvePasses = 5;
// Final tolerance, so that a basis is not left which the program's own tolerances only just allow.
constexpr double kPolishTolerance = 1e-9;
// Scaling and presolve enlarge costs, and CLP ends the process at one of 1e25. With costs of this
// size the dual tolerance is some hundred times their rounding; smaller ones would loosen it.
constexpr int kLargestCostExponent = 23;

class SilentHandler final : public CoinMessageHandler {
 public:
  SilentHandler() { setLogLevel(0); }
  int print() override { return 0; }
  CoinMessageHandler* clone() const override { return new SilentHandler(*this); }
};

ClpSimplex::Status to_clp(clp_basis_status status, double lower, double upper) {
  if (status == clp_basis_status::kBasic) return ClpSimplex::basic;
  if (status == clp_basis_status::kAtUpper && upper < kClpInfinite) return ClpSimplex::atUpperBound;
  if (lower > -kClpInfinite) return ClpSimplex::atLowerBound;
  return upper < kClpInfinite ? ClpSimplex::atUpperBound : ClpSimplex::isFree;
}

double clock_seconds(bool wall) {
  if (!wall) return static_cast<double>(std::clock()) / CLOCKS_PER_SEC;
  const auto now = std::chrono::steady_clock::now().time_since_epoch();
  return std::chrono::duration<double>(now).count();
}

// The power of two, at least 1, by which the costs are divided for CLP.
double size_of_costs(const std::vector<clp_column>& columns) {
  double largest = 1.0;
  for (const clp_column& column : columns) largest = std::max(largest, std::fabs(column.objective));
  return std::ldexp(1.0, std::max(0, std::ilogb(largest) - kLargestCostExponent));
}

// One solve: CLP's model of the program and the bookkeeping of limits over its runs.
class Solver {
 public:
  Solver(clp_problem& problem, const clp_settings& settings)
      : problem_(problem),
        settings_(settings),
        start_(clock_seconds(settings.wall_clock)),
        cost_scale_(problem.sense * size_of_costs(problem.columns)) {}

  void solve(clp_method method);

 private:
  bool has_conflicting_bounds() const;
  bool solve_without_matrix();
  void load(ClpSimplex& model);
  void load_basis(ClpSimplex& model) const;
  bool limits_left(ClpSimplex& model);
  Verdict run(ClpSimplex& model, clp_method method, int start_finish = 0);
  Verdict run_presolved(ClpSimplex& model, clp_method method);
  Verdict diagnose(ClpSimplex& model);
  Verdict polish(const ClpSimplex& model);
  int stopped_status() const;

  std::size_t rows() const { return problem_.rows.size(); }
  std::size_t columns() const { return problem_.columns.size(); }
  double cost(const clp_column& column) const { return column.objective / cost_scale_; }

  clp_problem& problem_;
  const clp_settings& settings_;
  SilentHandler silent_;
  double start_;
  double cost_scale_;  // of the program's costs to CLP's, which are minimised
  int iterations_ = 0;
  bool out_of_time_ = false;
};

// ----- Building CLP's model -----

void Solver::load(ClpSimplex& model) {
  const int m = static_cast<int>(rows());
  const int n = static_cast<int>(columns());
  std::vector<CoinBigIndex> starts(columns() + 1, 0);
  for (const auto& row : problem_.entries) {
    for (const clp_matrix_entry& e : row)
      starts[static_cast<std::size_t>(e.column) + 1] += e.value != 0.0;
  }
  for (std::size_t j = 0; j < columns(); ++j) starts[j + 1] += starts[j];
  std::vector<CoinBigIndex> next(starts.begin(), starts.end() - 1);
  std::vector<int> indices(static_cast<std::size_t>(starts.back()));
  std::vector<double> values(indices.size());
  for (int i = 0; i < m; ++i) {
    for (const clp_matrix_entry& e : problem_.entries[static_cast<std::size_t>(i)]) {
      if (e.value == 0.0) continue;
      const auto place = static_cast<std::size_t>(next[static_cast<std::size_t>(e.column)]++);
      indices[place] = i;
      values[place] = e.value;
    }
  }
  std::vector<double> lower, upper, costs, below, above;
  for (const clp_column& column : problem_.columns) {
    lower.push_back(lower_bound_of(column.lower));
    upper.push_back(upper_bound_of(column.upper));
    costs.push_back(cost(column));
  }
  for (const clp_row& row : problem_.rows) {
    below.push_back(row_lower_bound(row));
    above.push_back(row_upper_bound(row));
  }
  model.passInMessageHandler(&silent_);
  model.setLogLevel(0);
  model.loadProblem(n, m, starts.data(), indices.data(), values.data(), lower.data(), upper.data(),
                    costs.data(), below.data(), above.data());
  model.setPrimalTolerance(settings_.primal_tolerance);
  model.setDualTolerance(settings_.dual_tolerance);
  model.setPerturbation(kPerturbationOff);
}

void Solver::load_basis(ClpSimplex& model) const {
  for (int j = 0; j < model.numberColumns(); ++j) {
    model.setColumnStatus(j, to_clp(problem_.column_basis[static_cast<std::size_t>(j)],
                                    model.columnLower()[j], model.columnUpper()[j]));
  }
  for (int i = 0; i < model.numberRows(); ++i) {
    model.setRowStatus(i, to_clp(problem_.row_basis[static_cast<std::size_t>(i)],
                                 model.rowLower()[i], model.rowUpper()[i]));
  }
}

// ----- Runs of CLP -----

// Gives the model what is left of the limits.
bool Solver::limits_left(ClpSimplex& model) {
  if (iterations_ >= settings_.iteration_limit) return false;
  model.setMaximumIterations(settings_.iteration_limit - iterations_);
  if (settings_.time_limit >= 1e75) return true;
  const double left = settings_.time_limit - (clock_seconds(settings_.wall_clock) - start_);
  out_of_time_ = left <= 0.0;
  if (settings_.wall_clock) {
    model.setMaximumWallSeconds(left);
  } else {
    model.setMaximumSeconds(left);
  }
  return !out_of_time_;
}

Verdict Solver::run(ClpSimplex& model, clp_method method, int start_finish) {
  if (!limits_left(model)) return Verdict::kStopped;
  if (method == clp_method::kDual) {
    model.dual(0, start_finish);
  } else {
    model.primal(0, start_finish);
  }
  iterations_ += model.numberIterations();
  switch (model.status()) {
    case 0:
      return Verdict::kOptimal;
    case 1:
      return Verdict::kInfeasible;
    case 2:
      return Verdict::kUnbounded;
    case 3:
      out_of_time_ = model.hitMaximumIterations() && iterations_ < settings_.iteration_limit;
      return Verdict::kStopped;
    default:
      return Verdict::kUnclear;
  }
}

// Solves a presolved copy and brings its basis back to the model. Whatever is not optimal is
// unclear, since a reduced program does not tell infeasible from unbounded.
Verdict Solver::run_presolved(ClpSimplex& model, clp_method method) {
  ClpPresolve presolve;
  const std::unique_ptr<ClpSimplex> reduced(
      presolve.presolvedModel(model, kPresolveTolerance, false, kPresolvePasses, true));
  if (!reduced) return Verdict::kUnclear;
  reduced->passInMessageHandler(&silent_);
  const Verdict verdict = run(*reduced, method);
  if (verdict == Verdict::kStopped) return verdict;
  if (verdict != Verdict::kOptimal) return Verdict::kUnclear;
  presolve.postsolve(true);
  return run(model, clp_method::kPrimal);
}

// Phase 1 on the full program settles whether it is feasible; the objective, from there, whether it
// is bounded. The model is left at the basis found.
Verdict Solver::diagnose(ClpSimplex& model) {
  const std::vector<double> zeros(columns(), 0.0);
  std::vector<double> costs;
  for (const clp_column& column : problem_.columns) costs.push_back(cost(column));
  ClpSimplex full;
  load(full);
  full.chgObjCoefficients(zeros.data());
  const Verdict feasible = run(full, clp_method::kPrimal);
  if (feasible != Verdict::kOptimal)
    return feasible == Verdict::kUnbounded ? Verdict::kUnclear : feasible;
  full.chgObjCoefficients(costs.data());
  const Verdict bounded = run(full, clp_method::kPrimal);
  model = full;
  model.passInMessageHandler(&silent_);
  return bounded == Verdict::kInfeasible ? Verdict::kUnclear : bounded;
}

// Solves once more from the optimal basis, unscaled and with tight tolerances, and keeps the
// factorization. Stores the solution, that of the model where this does not end optimal.
Verdict Solver::polish(const ClpSimplex& model) {
  ClpSimplex polished(model);
  polished.passInMessageHandler(&silent_);
  polished.scaling(0);
  polished.setPerturbation(kPerturbationOff);
  polished.setPrimalTolerance(std::min(settings_.primal_tolerance, kPolishTolerance));
  polished.setDualTolerance(std::min(settings_.dual_tolerance, kPolishTolerance));
  const Verdict verdict = run(polished, clp_method::kPrimal, 1);
  if (verdict == Verdict::kOptimal) {
    store_clp_solution(problem_, polished, cost_scale_, true);
  } else {
    store_clp_solution(problem_, model, cost_scale_, false);
  }
  return verdict;
}

// ----- The solve -----

bool Solver::has_conflicting_bounds() const {
  return std::any_of(problem_.columns.begin(), problem_.columns.end(), [&](const clp_column& c) {
    return c.lower > c.upper + settings_.primal_tolerance;
  });
}

// A row without a nonzero holds or does not; a program with no other rows is solved column by
// column. Whether the program is settled by that.
bool Solver::solve_without_matrix() {
  bool has_matrix = false;
  for (std::size_t i = 0; i < rows(); ++i) {
    const bool empty = std::all_of(problem_.entries[i].begin(), problem_.entries[i].end(),
                                   [](const clp_matrix_entry& e) { return e.value == 0.0; });
    if (!empty) {
      has_matrix = true;
    } else if (row_lower_bound(problem_.rows[i]) > settings_.primal_tolerance ||
               row_upper_bound(problem_.rows[i]) < -settings_.primal_tolerance) {
      problem_.status = CPX_STAT_INFEASIBLE;
      return true;
    }
  }
  if (has_matrix) return false;
  problem_.x.assign(columns(), 0.0);
  for (std::size_t j = 0; j < columns(); ++j) {
    const clp_column& column = problem_.columns[j];
    const double c = cost(column);
    const double lower = lower_bound_of(column.lower);
    const double upper = upper_bound_of(column.upper);
    const bool at_upper = c < 0.0 || (c == 0.0 && lower == -kClpInfinite && upper < kClpInfinite);
    const double bound = at_upper ? upper : lower;
    const bool free = c == 0.0 && std::fabs(bound) == kClpInfinite;
    if (!free && std::fabs(bound) == kClpInfinite) {
      problem_.status = CPX_STAT_UNBOUNDED;
      return true;
    }
    problem_.x[j] = free ? 0.0 : bound;
    problem_.column_basis[j] = free       ? clp_basis_status::kFree
                               : at_upper ? clp_basis_status::kAtUpper
                                          : clp_basis_status::kAtLower;
  }
  std::fill(problem_.row_basis.begin(), problem_.row_basis.end(), clp_basis_status::kBasic);
  problem_.has_basis = true;
  problem_.dual.assign(rows(), 0.0);
  finish_clp_values(problem_);
  problem_.status = CPX_STAT_OPTIMAL;
  return true;
}

int Solver::stopped_status() const {
  return out_of_time_ ? CPX_STAT_ABORT_TIME_LIM : CPX_STAT_ABORT_IT_LIM;
}

void Solver::solve(clp_method method) {
  problem_.forget_solution();
  problem_.iterations = 0;
  if (has_conflicting_bounds()) {
    problem_.status = CPX_STAT_INFEASIBLE;
    return;
  }
  if (solve_without_matrix()) return;

  ClpSimplex model;
  load(model);
  Verdict verdict;
  if (problem_.has_basis && settings_.start_from_basis) {
    load_basis(model);
    verdict = run(model, method);
  } else if (settings_.presolve) {
    verdict = run_presolved(model, method);
  } else {
    verdict = run(model, method);
  }
  if (verdict != Verdict::kOptimal && verdict != Verdict::kStopped) verdict = diagnose(model);
  if (verdict == Verdict::kOptimal) {
    const Verdict polished = polish(model);
    if (is_feasible(problem_, settings_.primal_tolerance) &&
        is_dual_feasible(problem_, settings_, cost_scale_)) {
      problem_.status = CPX_STAT_OPTIMAL;
    } else if (polished == Verdict::kUnbounded) {
      problem_.forget_solution();
      problem_.status = CPX_STAT_UNBOUNDED;
    } else {
      problem_.status = CPX_STAT_OPTIMAL_INFEAS;
    }
  } else {
    problem_.status = verdict == Verdict::kInfeasible  ? CPX_STAT_INFEASIBLE
                      : verdict == Verdict::kUnbounded ? CPX_STAT_UNBOUNDED
                      : verdict == Verdict::kStopped   ? stopped_status()
                                                       : CPX_STAT_NUM_BEST;
  }
  problem_.iterations = iterations_;
}

}  // namespace

void clp_problem::forget_solution() {
  status = CPX_STAT_NONE;
  has_solution = false;
}

void solve_clp_problem(clp_problem& problem, clp_method method, const clp_settings& settings) {
  Solver(problem, settings).solve(method);
}

}  // namespace planloc
