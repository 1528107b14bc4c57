// The linear part of ClpLibrary: runs of CLP and what is made of their verdicts.
#include <algorithm>
#include <cmath>
#include <memory>
#include <numeric>
#include <vector>

#include <ClpCholeskyBase.hpp>
#include <ClpEventHandler.hpp>
#include <ClpInterior.hpp>
#include <ClpPresolve.hpp>
#include <ClpSimplex.hpp>

#include "planloc/engine/clp_model.h"
#include "planloc/engine/clp_network.h"
#include "planloc/engine/clp_problem.h"
#include "planloc/engine/clp_solution.h"
#include "planloc/engine/cplex_constants.h"

namespace planloc {

using namespace detail;

namespace {

// What CLP's own status says of a run.
enum class Verdict { kOptimal, kInfeasible, kUnbounded, kStopped, kUnclear };

enum class Stop { kIterations, kTime, kCallback };

// What a run of CLP does.
enum class Run { kPrimal, kDual, kBarrier };

constexpr int kPerturbationOff = 100;
constexpr double kPresolveTolerance = 1e-8;
constexpr int kPresolvePasses = 5;
// Final tolerance, so that a basis is not left which the program's own tolerances only just allow.
constexpr double kPolishTolerance = 1e-9;

// Programs with an optimum take some dozens; without one CLP's barrier may not end.
constexpr int kBarrierIterations = 200;
// Relative to the greatest cost.
constexpr double kElasticPrice = 1e3;

// Tells the monitor of every iteration; CLP works on copies of it. `interior` is the model of a
// barrier run, null for a simplex.
class Watch final : public ClpEventHandler {
 public:
  Watch(const clp_monitor& monitor, clp_progress& progress, double cost_scale, bool& stopped,
        const ClpInterior* interior)
      : monitor_(&monitor),
        progress_(&progress),
        cost_scale_(cost_scale),
        stopped_(&stopped),
        interior_(interior) {}

  int event(Event which) override {
    if (interior_ && !is_sound()) return which;
    if (which == endOfIteration && *monitor_ && !*stopped_) {
      if (interior_) {
        note(interior_->primalObjective(), interior_->dualObjective(), *interior_);
      } else if (model_) {
        note(model_->objectiveValue(), model_->objectiveValue(), *model_);
      }
      ++progress_->iterations;
      *stopped_ = (*monitor_)(*progress_);
    }
    return *stopped_ ? which : -1;
  }

  ClpEventHandler* clone() const override { return new Watch(*this); }

 private:
  template <typename Model>
  void note(double primal_objective, double dual_objective, const Model& model) {
    progress_->primal_objective = primal_objective * cost_scale_;
    progress_->dual_objective = dual_objective * cost_scale_;
    progress_->primal_infeasibility = model.sumPrimalInfeasibilities();
    progress_->dual_infeasibility = model.sumDualInfeasibilities();
  }

  // CLP's barrier ends the process when numbers run away or vanish, as they do where there is no
  // optimum. It is left before that: the simplex goes on from any point.
  bool is_sound() {
    constexpr double kLargest = 1e15;
    const double gap = interior_->complementarityGap();
    if (first_gap_ < 0.0) first_gap_ = gap;
    const double primal = std::fabs(interior_->primalObjective());
    const double dual = std::fabs(interior_->dualObjective());
    return gap > 1e-9 * (1.0 + primal) && gap < 1e3 * (1.0 + first_gap_) && gap < kLargest &&
           primal < kLargest && dual < kLargest;
  }

  const clp_monitor* monitor_;
  clp_progress* progress_;
  double cost_scale_;
  bool* stopped_;
  const ClpInterior* interior_;
  double first_gap_ = -1.0;
};

// One solve: CLP's model of the program and the bookkeeping of limits over its runs.
class Solver {
 public:
  Solver(clp_problem& problem, const clp_settings& settings, const clp_monitor& monitor)
      : problem_(problem),
        settings_(settings),
        monitor_(monitor),
        start_(clock_seconds(settings.wall_clock)),
        cost_scale_(cost_scale_of(problem)) {}

  void solve(clp_method method);

 private:
  bool has_conflicting_bounds() const;
  bool solve_without_matrix();
  void load(ClpSimplex& model);
  template <typename Model>
  void watch(Model& model, const ClpInterior* interior = nullptr);
  bool limits_left(ClpModel& model);
  Verdict run(ClpSimplex& model, Run kind, int start_finish = 0);
  bool run_barrier(ClpSimplex& model);
  Verdict verdict_of(const ClpModel& model);
  Verdict run_presolved(ClpSimplex& model, Run kind);
  Verdict run_first(ClpSimplex& model, clp_method method);
  Verdict diagnose(ClpSimplex& model);
  Verdict polish(const ClpSimplex& model);
  int settle(Verdict verdict, const ClpSimplex& model);
  int settle_stopped(const ClpSimplex& model);

  std::size_t rows() const { return problem_.rows.size(); }
  std::size_t columns() const { return problem_.columns.size(); }
  double cost(const clp_column& column) const { return column.objective / cost_scale_; }

  clp_problem& problem_;
  const clp_settings& settings_;
  const clp_monitor& monitor_;
  clp_progress progress_;
  SilentHandler silent_;
  double start_;
  double cost_scale_;  // of the program's costs to CLP's, which are minimised
  int iterations_ = 0;
  Stop stop_ = Stop::kIterations;
  bool stopped_by_callback_ = false;
  bool polishing_ = false;
};

void Solver::load(ClpSimplex& model) {
  model.passInMessageHandler(&silent_);
  model.setLogLevel(0);
  load_clp_model(problem_, cost_scale_, model);
  model.setPrimalTolerance(settings_.primal_tolerance);
  model.setDualTolerance(settings_.dual_tolerance);
  model.setPerturbation(kPerturbationOff);
}

// ----- Runs of CLP -----

// Gives the model what is left of the limits.
bool Solver::limits_left(ClpModel& model) {
  stop_ = Stop::kIterations;
  if (iterations_ >= settings_.iteration_limit) return false;
  model.setMaximumIterations(settings_.iteration_limit - iterations_);
  if (settings_.time_limit >= 1e75) return true;
  const double left = settings_.time_limit - (clock_seconds(settings_.wall_clock) - start_);
  if (settings_.wall_clock) {
    model.setMaximumWallSeconds(left);
  } else {
    model.setMaximumSeconds(left);
  }
  if (left > 0.0) return true;
  stop_ = Stop::kTime;
  return false;
}

// Gives the model a handler of its own.
template <typename Model>
void Solver::watch(Model& model, const ClpInterior* interior) {
  if (interior || (monitor_ && !polishing_)) {
    const Watch handler(monitor_, progress_, cost_scale_, stopped_by_callback_, interior);
    model.passInEventHandler(&handler);
  } else if (monitor_) {
    const ClpEventHandler none;
    model.passInEventHandler(&none);
  }
}

Verdict Solver::verdict_of(const ClpModel& model) {
  switch (model.status()) {
    case 0:
      return Verdict::kOptimal;
    case 1:
      return Verdict::kInfeasible;
    case 2:
      return Verdict::kUnbounded;
    case 3:
    case 5:
      stop_ = stopped_by_callback_                      ? Stop::kCallback
              : iterations_ < settings_.iteration_limit ? Stop::kTime
                                                        : Stop::kIterations;
      return Verdict::kStopped;
    default:
      return Verdict::kUnclear;
  }
}

// Moves nonbasic columns and slacks that are off their bounds there, free ones to zero; whether
// there was one.
bool place_superbasics(ClpSimplex& model) {
  bool moved = false;
  const auto place = [&](ClpSimplex::Status status, double lower, double upper, double& value) {
    if (status != ClpSimplex::superBasic && (status != ClpSimplex::isFree || value == 0.0)) {
      return status;
    }
    moved = true;
    const bool below = lower > -kClpInfinite;
    if (!below && upper == kClpInfinite) {
      value = 0.0;
      return ClpSimplex::isFree;
    }
    const bool to_lower = below && (upper == kClpInfinite || value - lower <= upper - value);
    value = to_lower ? lower : upper;
    return to_lower ? ClpSimplex::atLowerBound : ClpSimplex::atUpperBound;
  };
  for (int j = 0; j < model.numberColumns(); ++j) {
    model.setColumnStatus(j, place(model.getColumnStatus(j), model.columnLower()[j],
                                   model.columnUpper()[j], model.primalColumnSolution()[j]));
  }
  for (int i = 0; i < model.numberRows(); ++i) {
    model.setRowStatus(i, place(model.getRowStatus(i), model.rowLower()[i], model.rowUpper()[i],
                                model.primalRowSolution()[i]));
  }
  return moved;
}

Verdict Solver::run(ClpSimplex& model, Run kind, int start_finish) {
  if (stopped_by_callback_ || !limits_left(model)) return Verdict::kStopped;
  watch(model);
  bool values_pass = false;
  if (kind == Run::kBarrier) {
    if (!run_barrier(model)) return Verdict::kStopped;
    values_pass = true;
    if (!limits_left(model)) return Verdict::kStopped;
  }
  progress_.where = kind == Run::kDual ? CPX_CALLBACK_DUAL : CPX_CALLBACK_PRIMAL;
  if (kind == Run::kDual) {
    model.dual(0, start_finish);
  } else {
    model.primal(values_pass ? 1 : 0, start_finish);
  }
  iterations_ += model.numberIterations();
  const Verdict verdict = verdict_of(model);
  // What the values pass left between its bounds is moved, and the simplex goes on from there.
  const bool moved = values_pass && verdict != Verdict::kStopped && place_superbasics(model);
  return moved ? run(model, Run::kPrimal) : verdict;
}

// Makes every row hold at a price, so that there is an interior: CLP's barrier ends the process on
// many programs without one.
void add_elastic_columns(ClpSimplex& model) {
  double price = 1.0;
  for (int j = 0; j < model.numberColumns(); ++j) {
    price = std::max(price, std::fabs(model.objective()[j]));
  }
  price *= kElasticPrice;
  std::vector<int> rows;
  std::vector<double> signs;
  for (int i = 0; i < model.numberRows(); ++i) {
    for (const double sign : {1.0, -1.0}) {
      const bool needed =
          sign > 0.0 ? model.rowLower()[i] > -kClpInfinite : model.rowUpper()[i] < kClpInfinite;
      if (!needed) continue;
      rows.push_back(i);
      signs.push_back(sign);
    }
  }
  const std::vector<double> zeros(rows.size(), 0.0);
  const std::vector<double> open(rows.size(), kClpInfinite);
  const std::vector<double> prices(rows.size(), price);
  std::vector<CoinBigIndex> starts(rows.size() + 1);
  std::iota(starts.begin(), starts.end(), 0);
  model.addColumns(static_cast<int>(rows.size()), zeros.data(), open.data(), prices.data(),
                   starts.data(), rows.data(), signs.data());
}

// Takes the model to an interior point, from which a primal simplex with a values pass goes on to a
// vertex. An interior point that is not optimal is a start as well. False if it was stopped.
bool Solver::run_barrier(ClpSimplex& model) {
  progress_.where = CPX_CALLBACK_BARRIER;
  ClpSimplex elastic(model);
  elastic.passInMessageHandler(&silent_);
  add_elastic_columns(elastic);
  ClpInterior interior;
  interior.borrowModel(elastic);
  interior.setCholesky(new ClpCholeskyBase);  // which the model owns
  interior.setMaximumBarrierIterations(
      std::min(settings_.barrier_iteration_limit, kBarrierIterations));
  watch(interior, &interior);
  interior.primalDual();
  problem_.barrier_iterations += interior.numberIterations();
  interior.returnModel(elastic);
  model.allSlackBasis(true);
  const double* const x = elastic.primalColumnSolution();
  const int n = model.numberColumns();
  if (std::all_of(x, x + n, [](double value) { return std::isfinite(value); })) {
    std::copy_n(x, n, model.primalColumnSolution());
    model.times(1.0, model.primalColumnSolution(), model.primalRowSolution());
  }
  if (problem_.barrier_iterations >= settings_.barrier_iteration_limit) {
    stop_ = Stop::kIterations;
    return false;
  }
  if (stopped_by_callback_) stop_ = Stop::kCallback;
  return !stopped_by_callback_;
}

// Solves a presolved copy and brings its basis back to the model. Whatever is not optimal is
// unclear, since a reduced program does not tell infeasible from unbounded.
Verdict Solver::run_presolved(ClpSimplex& model, Run kind) {
  ClpPresolve presolve;
  const std::unique_ptr<ClpSimplex> reduced(
      presolve.presolvedModel(model, kPresolveTolerance, false, kPresolvePasses, true));
  if (!reduced) return Verdict::kUnclear;
  reduced->passInMessageHandler(&silent_);
  const Verdict verdict = run(*reduced, kind);
  if (verdict == Verdict::kStopped) return verdict;
  if (verdict != Verdict::kOptimal) return Verdict::kUnclear;
  presolve.postsolve(true);
  return run(model, Run::kPrimal);
}

Run run_of(clp_method method) {
  switch (method) {
    case clp_method::kDual:
    case clp_method::kNetworkDual:
      return Run::kDual;
    case clp_method::kBarrierPrimal:
    case clp_method::kBarrierDual:
      return Run::kBarrier;
    default:
      return Run::kPrimal;
  }
}

// The method's own way to a verdict on the full program.
Verdict Solver::run_first(ClpSimplex& model, clp_method method) {
  const bool network = method == clp_method::kNetworkPrimal || method == clp_method::kNetworkDual;
  const bool barrier = method == clp_method::kBarrierPrimal || method == clp_method::kBarrierDual;
  if (network) {
    clp_settings part = settings_;
    part.iteration_limit = std::min(settings_.iteration_limit, settings_.network_iteration_limit);
    clp_problem basis = network_start(problem_, part);
    iterations_ += basis.iterations;
    if (basis.has_basis) load_clp_basis(basis, model);
    return run(model, run_of(method));
  }
  if (problem_.has_basis && settings_.start_from_basis && !barrier) {
    load_clp_basis(problem_, model);
    return run(model, run_of(method));
  }
  const Verdict verdict =
      settings_.presolve ? run_presolved(model, run_of(method)) : run(model, run_of(method));
  const bool by_dual = method == clp_method::kBarrierDual && verdict == Verdict::kOptimal;
  return by_dual ? run(model, Run::kDual) : verdict;
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
  const Verdict feasible = run(full, Run::kPrimal);
  if (feasible != Verdict::kOptimal)
    return feasible == Verdict::kUnbounded ? Verdict::kUnclear : feasible;
  full.chgObjCoefficients(costs.data());
  const Verdict bounded = run(full, Run::kPrimal);
  model = full;
  model.passInMessageHandler(&silent_);
  return bounded == Verdict::kInfeasible ? Verdict::kUnclear : bounded;
}

// Solves once more from the optimal basis, unscaled and with tight tolerances, and keeps the
// factorization. Stores the solution, that of the model where this does not end optimal.
Verdict Solver::polish(const ClpSimplex& model) {
  ClpSimplex polished(model);
  polished.passInMessageHandler(&silent_);
  polishing_ = true;
  polished.scaling(0);
  polished.setPerturbation(kPerturbationOff);
  polished.setPrimalTolerance(std::min(settings_.primal_tolerance, kPolishTolerance));
  polished.setDualTolerance(std::min(settings_.dual_tolerance, kPolishTolerance));
  const Verdict verdict = run(polished, Run::kPrimal, 1);
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
    const bool empty = std::all_of(problem_.matrix[i].begin(), problem_.matrix[i].end(),
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

int Solver::settle_stopped(const ClpSimplex& model) {
  store_clp_solution(problem_, model, cost_scale_, false);
  const bool feasible = is_feasible(problem_, settings_.primal_tolerance);
  if (!feasible) problem_.forget_linear_solution();
  switch (stop_) {
    case Stop::kIterations:
      return feasible ? CPX_STAT_IT_LIM_FEAS : CPX_STAT_IT_LIM_INFEAS;
    case Stop::kTime:
      return feasible ? CPX_STAT_TIME_LIM_FEAS : CPX_STAT_TIME_LIM_INFEAS;
    default:
      return feasible ? CPX_STAT_ABORT_FEAS : CPX_STAT_ABORT_INFEAS;
  }
}

// From CLP's verdict to the status of the program and its solution.
int Solver::settle(Verdict verdict, const ClpSimplex& model) {
  switch (verdict) {
    case Verdict::kInfeasible:
      return CPX_STAT_INFEASIBLE;
    case Verdict::kUnbounded:
      return CPX_STAT_UNBOUNDED;
    case Verdict::kStopped:
      return settle_stopped(model);
    case Verdict::kUnclear:
      return CPX_STAT_NUM_BEST_INFEAS;
    default:
      break;
  }
  const Verdict polished = polish(model);
  if (is_feasible(problem_, settings_.primal_tolerance) &&
      is_dual_feasible(problem_, settings_, cost_scale_)) {
    return CPX_STAT_OPTIMAL;
  }
  if (polished != Verdict::kUnbounded) return CPX_STAT_OPTIMAL_INFEAS;
  problem_.forget_linear_solution();
  return CPX_STAT_UNBOUNDED;
}

void Solver::solve(clp_method method) {
  problem_.forget_linear_solution();
  problem_.iterations = problem_.barrier_iterations = 0;
  if (has_conflicting_bounds()) {
    problem_.status = CPX_STAT_INFEASIBLE;
    return;
  }
  if (solve_without_matrix()) return;

  ClpSimplex model;
  load(model);
  Verdict verdict = run_first(model, method);
  if (verdict != Verdict::kOptimal && verdict != Verdict::kStopped) verdict = diagnose(model);
  problem_.status = settle(verdict, model);
  problem_.iterations = iterations_;
}

}  // namespace

void solve_clp_problem(clp_problem& problem, clp_method method, const clp_settings& settings,
                       const clp_monitor& monitor) {
  if (problem.type != CPXPROB_FIXED) return Solver(problem, settings, monitor).solve(method);
  const auto columns = problem.columns;
  for (std::size_t j = 0; j < columns.size(); ++j) {
    if (!std::isnan(problem.fixed[j])) fix_column(problem.columns[j], problem.fixed[j]);
  }
  Solver(problem, settings, monitor).solve(method);
  problem.columns = columns;
}

}  // namespace planloc
