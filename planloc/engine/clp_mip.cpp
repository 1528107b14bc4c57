// The mixed integer part of ClpLibrary: CBC searches, and the linear solver settles what it finds.
#include <algorithm>
#include <cmath>
#include <map>
#include <optional>
#include <string>

#include <CbcBranchActual.hpp>
#include <CbcCutGenerator.hpp>
#include <CbcEventHandler.hpp>
#include <CbcHeuristic.hpp>
#include <CbcModel.hpp>
#include <CbcSOS.hpp>
#include <CbcTree.hpp>
#include <CglClique.hpp>
#include <CglFlowCover.hpp>
#include <CglGomory.hpp>
#include <CglKnapsackCover.hpp>
#include <CglMixedIntegerRounding2.hpp>
#include <CglProbing.hpp>
#include <ClpSimplex.hpp>
#include <OsiClpSolverInterface.hpp>

#include "planloc/engine/clp_model.h"
#include "planloc/engine/clp_problem.h"
#include "planloc/engine/cplex_constants.h"

namespace planloc {

using namespace detail;

namespace {

// A value that is this close to what it has to be, is it.
constexpr double kExact = 1e-9;
// In place of an infinite bound where a program without bound is to have a solution.
constexpr double kBox = 1e6;

constexpr double kNoCutoff = 1e75;

// False if the value is outside the column's bounds.
bool fix_inside(clp_column& column, double value) {
  const bool inside = value >= column.lower && value <= column.upper;
  if (inside) fix_column(column, value);
  return inside;
}

// What a search of CBC has come to.
struct Found {
  std::vector<double> x;  // empty without a solution
  double bound = 0.0;     // in CBC's costs
  int status = 0;         // of CBC, and its secondary one
  int reason = 0;
};

// Tells the monitor of nodes and solutions.
class NodeWatch final : public CbcEventHandler {
 public:
  NodeWatch(const clp_monitor& monitor, clp_progress& progress, double cost_scale, bool& stopped)
      : monitor_(&monitor), progress_(&progress), cost_scale_(cost_scale), stopped_(&stopped) {}

  CbcAction event(CbcEvent which) override {
    if (which != node && which != treeStatus && which != solution && which != heuristicSolution) {
      return noAction;
    }
    const CbcModel& model = *getModel();
    clp_progress& progress = *progress_;
    progress.iterations = model.getIterationCount();
    progress.nodes = model.getNodeCount();
    progress.nodes_left = model.tree() ? model.tree()->size() : 0;
    progress.has_integer_solution = model.getSolutionCount() > 0;
    progress.best_integer = model.getObjValue() * cost_scale_;
    progress.best_remaining = model.getBestPossibleObjValue() * cost_scale_;
    progress.cutoff = model.getCutoff() * cost_scale_;
    // CBC may go on after a solution, so that it is told to stop again at the next node.
    if (!*stopped_) *stopped_ = *monitor_ && (*monitor_)(progress);
    return *stopped_ ? stop : noAction;
  }

  CbcEventHandler* clone() const override { return new NodeWatch(*this); }

 private:
  const clp_monitor* monitor_;
  clp_progress* progress_;
  double cost_scale_;
  bool* stopped_;
};

class Search {
 public:
  Search(clp_problem& problem, const clp_settings& settings, const clp_monitor& monitor)
      : problem_(problem),
        settings_(settings),
        monitor_(monitor),
        start_(clock_seconds(settings.wall_clock)),
        scale_(cost_scale_of(problem)),
        relaxed_(relaxation(problem)) {
    progress_.where = CPX_CALLBACK_MIP;
  }

  int solve();

 private:
  static clp_problem relaxation(const clp_problem& problem);
  bool is_integer(std::size_t j) const { return problem_.columns[j].type != 'C'; }
  // In minimised terms.
  double cutoff(const clp_settings& settings) const {
    return problem_.sense > 0 ? settings.upper_cutoff : -settings.lower_cutoff;
  }
  clp_settings settings_left() const;
  bool is_solution(const std::vector<double>& x) const;
  int solve_linear(clp_problem& program);
  bool complete(const std::vector<double>& x);
  void adopt_start();
  int solve_unbounded();
  int search_bounded();
  Found search(const clp_problem& program, const clp_settings& settings);
  void add_sets(CbcModel& model, std::vector<int> substitutes) const;
  void set_branching(CbcModel& model) const;
  void add_cuts(CbcModel& model) const;
  void count_cuts(CbcModel& model);
  int status_of(const Found& found) const;

  clp_problem& problem_;
  const clp_settings& settings_;
  const clp_monitor& monitor_;
  clp_progress progress_;
  bool stopped_ = false;  // by the monitor
  SilentHandler silent_;
  double start_;
  double scale_;
  clp_problem relaxed_;  // a linear program
};

// Without types and sets; the bounds of integer columns rounded inwards.
clp_problem Search::relaxation(const clp_problem& problem) {
  clp_problem relaxed;
  relaxed.columns = problem.columns;
  relaxed.rows = problem.rows;
  relaxed.matrix = problem.matrix;
  relaxed.sense = problem.sense;
  relaxed.column_basis.assign(problem.columns.size(), clp_basis_status::kAtLower);
  relaxed.row_basis.assign(problem.rows.size(), clp_basis_status::kBasic);
  for (clp_column& column : relaxed.columns) {
    if (column.type == 'C') continue;
    column.lower = std::ceil(column.lower - kExact);
    column.upper = std::floor(column.upper + kExact);
  }
  return relaxed;
}

clp_settings Search::settings_left() const {
  clp_settings settings = settings_;
  if (settings.time_limit < 1e75) {
    const double spent = clock_seconds(settings.wall_clock) - start_;
    settings.time_limit = std::max(0.0, settings.time_limit - spent);
  }
  return settings;
}

int Search::solve_linear(clp_problem& program) {
  solve_clp_problem(program, clp_method::kDual, settings_left());
  problem_.mip_iterations += program.iterations;
  problem_.sub_status = program.status;
  return program.status;
}

bool Search::is_solution(const std::vector<double>& x) const {
  for (std::size_t j = 0; j < x.size(); ++j) {
    if (is_integer(j) && std::fabs(x[j] - std::round(x[j])) > kExact) return false;
  }
  return std::all_of(problem_.sets.begin(), problem_.sets.end(), [&](const clp_sos& set) {
    const auto is_zero = [&](int column) {
      return std::fabs(x[static_cast<std::size_t>(column)]) <= kExact;
    };
    auto from = std::find_if_not(set.columns.begin(), set.columns.end(), is_zero);
    for (int k = set.type - '0'; k > 0 && from != set.columns.end(); --k) ++from;
    return std::all_of(from, set.columns.end(), is_zero);
  });
}

// Fixes the integer columns at x and the members of sets that are zero there, solves for the rest
// and keeps the solution if it is the best. False if there is none.
bool Search::complete(const std::vector<double>& x) {
  clp_problem rest = relaxed_;
  rest.has_basis = false;
  for (std::size_t j = 0; j < rest.columns.size(); ++j) {
    if (is_integer(j) && !fix_inside(rest.columns[j], std::round(x[j]))) return false;
  }
  for (const clp_sos& set : problem_.sets) {
    for (const int column : set.columns) {
      const auto j = static_cast<std::size_t>(column);
      if (std::fabs(x[j]) <= settings_.integer_tolerance) fix_column(rest.columns[j], 0.0);
    }
  }
  if (solve_linear(rest) != CPX_STAT_OPTIMAL) return false;
  if (problem_.has_mip_solution &&
      problem_.sense * rest.objective_value >= problem_.sense * problem_.mip_objective_value) {
    return true;
  }
  problem_.has_mip_solution = true;
  problem_.mip_objective_value = rest.objective_value;
  problem_.mip_x = std::move(rest.x);
  problem_.mip_activity = std::move(rest.activity);
  for (std::size_t j = 0; j < rest.columns.size(); ++j) {
    if (is_integer(j)) problem_.mip_x[j] = std::round(problem_.mip_x[j]) + 0.0;  // no -0
  }
  return true;
}

// The start's values of integer columns; where one is unknown, a search with the others fixed.
void Search::adopt_start() {
  const std::vector<double>& start = problem_.start;
  if (start.empty()) return;
  clp_problem rest = relaxed_;
  bool known = true;
  for (std::size_t j = 0; j < start.size(); ++j) {
    if (!is_integer(j)) continue;
    if (std::isnan(start[j])) {
      known = false;
    } else if (!fix_inside(rest.columns[j], std::round(start[j]))) {
      return;
    }
  }
  known = known && problem_.sets.empty();
  if (known) {
    complete(start);
    return;
  }
  clp_settings part = settings_left();
  part.solution_limit = 1;
  const Found found = search(rest, part);
  if (!found.x.empty()) complete(found.x);
}

// ----- The search of CBC -----

// CBC takes the members of sets for not negative. One that may be negative is stood for by a column
// that is at least its absolute value: the column of each member.
std::vector<int> substitutes_of(const clp_problem& problem, const std::vector<clp_sos>& sets,
                                clp_problem& extended) {
  std::vector<int> substitutes(problem.columns.size());
  for (std::size_t j = 0; j < substitutes.size(); ++j) substitutes[j] = static_cast<int>(j);
  for (const clp_sos& set : sets) {
    for (const int column : set.columns) {
      const auto j = static_cast<std::size_t>(column);
      if (substitutes[j] != column || !(problem.columns[j].lower < 0.0)) continue;
      const int substitute = static_cast<int>(extended.columns.size());
      substitutes[j] = substitute;
      extended.columns.push_back({0.0, CPX_INFBOUND, 0.0, 'C'});
      for (const double sign : {1.0, -1.0}) {
        const int start = 0;
        const int columns[] = {substitute, column};
        const double values[] = {1.0, sign};
        extended.rows.push_back({0.0, 'G'});
        extended.matrix.append(1, 2, &start, columns, values);
      }
    }
  }
  return substitutes;
}

void Search::add_sets(CbcModel& model, std::vector<int> substitutes) const {
  std::vector<CbcObject*> objects;
  int identifier = 0;
  for (const clp_sos& set : problem_.sets) {
    std::vector<int> members;
    for (const int column : set.columns) {
      members.push_back(substitutes[static_cast<std::size_t>(column)]);
    }
    objects.push_back(new CbcSOS(&model, static_cast<int>(members.size()), members.data(),
                                 set.weights.data(), identifier++, set.type - '0'));
  }
  model.addObjects(static_cast<int>(objects.size()), objects.data());
  for (CbcObject* object : objects) delete object;
}

// CBC branches on the least number first; here the greatest priority is the first.
void Search::set_branching(CbcModel& model) const {
  std::map<int, clp_order_entry> of_column;
  if (settings_.use_order) {
    for (const clp_order_entry& entry : problem_.order) of_column[entry.column] = entry;
  }
  std::map<int, int, std::greater<>> rank = {{0, 0}};
  for (const auto& [column, entry] : of_column) rank[entry.priority] = 0;
  for (const clp_sos& set : problem_.sets) rank[set.priority] = 0;
  int next = 1;
  for (auto& [priority, place] : rank) place = next++;
  std::size_t set = 0;
  for (int k = 0; k < model.numberObjects(); ++k) {
    OsiObject* const object = model.modifiableObject(k);
    if (dynamic_cast<CbcSOS*>(object)) {
      object->setPriority(rank[problem_.sets[set++].priority]);
      continue;
    }
    const auto found = of_column.find(object->columnNumber());
    const bool listed = found != of_column.end();
    object->setPriority(rank[listed ? found->second.priority : 0]);
    const int direction = listed ? found->second.direction : CPX_BRANCH_GLOBAL;
    auto* const integer = dynamic_cast<CbcObject*>(object);
    if (integer) integer->setPreferredWay(direction ? direction : settings_.branch_direction);
  }
}

// How often CBC asks a generator: at the root and then as it pays, or at every node.
int cut_frequency(int level) { return level >= 2 ? 1 : -1; }

void Search::add_cuts(CbcModel& model) const {
  CglProbing probing;
  probing.setUsingObjective(1);
  probing.setRowCuts(3);
  CglGomory gomory;
  CglKnapsackCover cover;
  CglClique clique;
  clique.setStarCliqueReport(false);
  clique.setRowCliqueReport(false);
  CglMixedIntegerRounding2 rounding;
  CglFlowCover flow;
  if (settings_.probing >= 0) {
    model.addCutGenerator(&probing, cut_frequency(settings_.probing), "Probing");
  }
  model.addCutGenerator(&gomory, -1, "Gomory");
  if (settings_.covers >= 0) {
    model.addCutGenerator(&cover, cut_frequency(settings_.covers), "Cover");
  }
  if (settings_.cliques >= 0) {
    model.addCutGenerator(&clique, cut_frequency(settings_.cliques), "Clique");
  }
  model.addCutGenerator(&rounding, -1, "Rounding");
  model.addCutGenerator(&flow, -1, "Flow");
}

void Search::count_cuts(CbcModel& model) {
  for (int k = 0; k < model.numberCutGenerators(); ++k) {
    const CbcCutGenerator& generator = *model.cutGenerator(k);
    const std::string name = generator.cutGeneratorName();
    if (name == "Cover") problem_.cover_cuts += generator.numberCutsInTotal();
    if (name == "Clique") problem_.clique_cuts += generator.numberCutsInTotal();
  }
}

Found Search::search(const clp_problem& program, const clp_settings& settings) {
  clp_problem extended = program;
  const std::vector<int> substitutes = substitutes_of(program, problem_.sets, extended);
  ClpSimplex simplex;
  simplex.passInMessageHandler(&silent_);
  load_clp_model(extended, scale_, simplex);
  simplex.setPrimalTolerance(settings.primal_tolerance);
  simplex.setDualTolerance(settings.dual_tolerance);
  OsiClpSolverInterface solver(&simplex);
  solver.passInMessageHandler(&silent_);
  for (std::size_t j = 0; j < problem_.columns.size(); ++j) {
    if (is_integer(j)) solver.setInteger(static_cast<int>(j));
  }
  CbcModel model(solver);
  model.passInMessageHandler(&silent_);
  model.setLogLevel(0);
  model.solver()->setHintParam(OsiDoReducePrint, true, OsiHintTry);
  model.setIntegerTolerance(std::max(settings.integer_tolerance, kExact));
  model.setAllowableGap(settings.absolute_gap / std::fabs(scale_));
  model.setAllowableFractionGap(settings.relative_gap);
  model.setDblParam(CbcModel::CbcCutoffIncrement,
                    std::max(settings.objective_difference / std::fabs(scale_), 1e-5));
  model.setMaximumNodes(settings.node_limit);
  model.setMaximumSolutions(settings.solution_limit);
  // Strong branching fails an assertion of CBC's on some programs, which ends the process.
  model.setNumberStrong(0);
  model.setNumberBeforeTrust(0);
  if (settings.wall_clock) model.setUseElapsedTime(true);
  if (settings.time_limit < 1e75) model.setMaximumSeconds(settings.time_limit);
  if (cutoff(settings) < kNoCutoff) model.setCutoff(cutoff(settings) / std::fabs(scale_));
  if (problem_.has_mip_solution) {
    model.setCutoff(std::min(model.getCutoff(), problem_.mip_objective_value / scale_));
  }
  model.findIntegers(true);
  add_sets(model, substitutes);
  set_branching(model);
  add_cuts(model);
  CbcRounding rounding(model);
  if (settings.heuristic_frequency >= 0) model.addHeuristic(&rounding, "Rounding");
  NodeWatch watch(monitor_, progress_, scale_, stopped_);
  model.passInEventHandler(&watch);
  model.initialSolve();
  model.branchAndBound();

  count_cuts(model);
  problem_.mip_iterations += model.getIterationCount();
  problem_.nodes += model.getNodeCount();
  Found found;
  found.status = model.status();
  found.reason = model.secondaryStatus();
  found.bound = model.getBestPossibleObjValue();
  if (const double* const x = model.bestSolution()) {
    found.x.assign(x, x + problem_.columns.size());
  }
  return found;
}

// ----- The verdict -----

int Search::status_of(const Found& found) const {
  const bool feasible = problem_.has_mip_solution;
  if (stopped_) return feasible ? CPXMIP_ABORT_FEAS : CPXMIP_ABORT_INFEAS;
  if (found.status == 0) {
    if (!feasible) return CPXMIP_INFEASIBLE;
    return found.reason == 2 ? CPXMIP_OPTIMAL_TOL : CPXMIP_OPTIMAL;
  }
  switch (found.reason) {
    case 2:
      return feasible ? CPXMIP_OPTIMAL_TOL : CPXMIP_FAIL_INFEAS;
    case 3:
      return feasible ? CPXMIP_NODE_LIM_FEAS : CPXMIP_NODE_LIM_INFEAS;
    case 4:
      return feasible ? CPXMIP_TIME_LIM_FEAS : CPXMIP_TIME_LIM_INFEAS;
    case 6:
      return CPXMIP_SOL_LIM;
    default:
      return feasible ? CPXMIP_FAIL_FEAS : CPXMIP_FAIL_INFEAS;
  }
}

int Search::search_bounded() {
  adopt_start();
  const Found found = search(relaxed_, settings_left());
  const bool settled = found.x.empty() || complete(found.x);
  const int status = status_of(found);
  if (problem_.has_mip_solution || status != CPXMIP_INFEASIBLE) {
    problem_.has_mip_bound = true;
    problem_.mip_bound =
        status == CPXMIP_OPTIMAL ? problem_.mip_objective_value : found.bound * scale_;
  }
  if (found.status != 0) problem_.nodes_left = progress_.nodes_left;
  return settled ? status : CPXMIP_OPTIMAL_INFEAS;
}

// The relaxation has no bound. Then the program has none either, if it has a solution (Meyer, 1974,
// for rational numbers). With sets that is so for the zeros of some solution only: those of the
// best one in a large box.
int Search::solve_unbounded() {
  clp_problem program = relaxed_;
  if (problem_.sets.empty()) {
    for (clp_column& column : program.columns) column.objective = 0.0;
    clp_settings any = settings_left();
    any.lower_cutoff = -kNoCutoff;
    any.upper_cutoff = kNoCutoff;
    const Found found = search(program, any);
    if (!found.x.empty() && !stopped_) return CPXMIP_UNBOUNDED;
    return status_of(found);
  }
  for (clp_column& column : program.columns) {
    column.lower = std::max(column.lower, -kBox);
    column.upper = std::min(column.upper, kBox);
  }
  const Found found = search(program, settings_left());
  if (found.x.empty()) return status_of(found);
  clp_problem rest = relaxed_;
  for (const clp_sos& set : problem_.sets) {
    for (const int column : set.columns) {
      const auto j = static_cast<std::size_t>(column);
      if (std::fabs(found.x[j]) <= settings_.integer_tolerance) fix_column(rest.columns[j], 0.0);
    }
  }
  if (solve_linear(rest) == CPX_STAT_UNBOUNDED) return CPXMIP_UNBOUNDED;
  const bool settled = complete(found.x);
  const int status = status_of(found);
  problem_.has_mip_bound = settled;
  problem_.mip_bound = problem_.mip_objective_value;
  return settled ? status : CPXMIP_OPTIMAL_INFEAS;
}

int Search::solve() {
  switch (solve_linear(relaxed_)) {
    case CPX_STAT_INFEASIBLE:
      return CPXMIP_INFEASIBLE;
    case CPX_STAT_UNBOUNDED:
      return solve_unbounded();
    case CPX_STAT_TIME_LIM_FEAS:
    case CPX_STAT_TIME_LIM_INFEAS:
      return CPXMIP_TIME_LIM_INFEAS;
    case CPX_STAT_IT_LIM_FEAS:
    case CPX_STAT_IT_LIM_INFEAS:
      return CPXMIP_FAIL_INFEAS;
    default:
      break;
  }
  if (cutoff(settings_) < kNoCutoff || !is_solution(relaxed_.x)) return search_bounded();
  problem_.has_mip_bound = complete(relaxed_.x);
  problem_.mip_bound = problem_.mip_objective_value;
  return problem_.has_mip_bound ? CPXMIP_OPTIMAL : search_bounded();
}

}  // namespace

void solve_clp_mip(clp_problem& problem, const clp_settings& settings, const clp_monitor& monitor) {
  problem.forget_solutions();
  problem.sub_status = problem.mip_iterations = problem.nodes = problem.nodes_left = 0;
  problem.iterations = problem.barrier_iterations = problem.clique_cuts = problem.cover_cuts = 0;
  problem.status = Search(problem, settings, monitor).solve();
}

}  // namespace planloc
