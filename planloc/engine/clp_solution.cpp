#include "planloc/engine/clp_solution.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include <ClpFactorization.hpp>
#include <ClpSimplex.hpp>
#include <CoinIndexedVector.hpp>

#include "planloc/engine/clp_model.h"

namespace planloc::detail {
namespace {

constexpr int kRefinements = 3;

// What the rows at a bound lack at x, in extended precision; the largest of it.
double residuals(const clp_problem& problem, const ClpSimplex& model, std::vector<double>& out) {
  out.assign(problem.rows.size(), 0.0);
  double largest = 0.0;
  for (std::size_t i = 0; i < problem.rows.size(); ++i) {
    const ClpSimplex::Status status = model.getRowStatus(static_cast<int>(i));
    const bool at_upper = status == ClpSimplex::atUpperBound;
    if (!at_upper && status != ClpSimplex::atLowerBound && status != ClpSimplex::isFixed) continue;
    long double r = at_upper ? model.rowUpper()[i] : model.rowLower()[i];
    for (const clp_matrix_entry& e : problem.matrix[i]) {
      r -= static_cast<long double>(e.value) * problem.x[static_cast<std::size_t>(e.column)];
    }
    out[i] = static_cast<double>(r);
    largest = std::max(largest, std::fabs(out[i]));
  }
  return largest;
}

// The basic solution by iterative refinement: with residuals in extended precision, the corrections
// through the factorization take x to the limit of double accuracy (Wilkinson, 1963). Slacks of
// basic rows follow from x, so only the rows at a bound have a residual.
void refine(clp_problem& problem, const ClpSimplex& model) {
  const int m = model.numberRows();
  const int n = model.numberColumns();
  const int* const pivots = model.pivotVariable();
  CoinIndexedVector work;
  CoinIndexedVector solution;
  const int size = m + model.factorization()->maximumPivots();
  work.reserve(size);
  solution.reserve(size);
  std::vector<double> residual;
  double largest = residuals(problem, model, residual);
  for (int pass = 0; pass < kRefinements && largest > 0.0; ++pass) {
    // The factorization drops what is below 1e-13, so the residuals are brought to the size of 1.
    const int exponent = std::ilogb(largest);
    for (int i = 0; i < m; ++i) {
      const double r = residual[static_cast<std::size_t>(i)];
      if (r != 0.0) solution.insert(i, std::ldexp(r, -exponent));
    }
    model.factorization()->updateColumn(&work, &solution);
    const std::vector<double> before = problem.x;
    for (int k = 0; k < m; ++k) {
      if (pivots[k] >= n) continue;
      const double correction = std::ldexp(solution.denseVector()[k], exponent);
      problem.x[static_cast<std::size_t>(pivots[k])] += correction;
    }
    solution.clear();
    work.clear();
    const double now = residuals(problem, model, residual);
    if (!(now < largest)) {
      problem.x = before;
      break;
    }
    largest = now;
  }
}

void place_nonbasics(clp_problem& problem, const ClpSimplex& model) {
  for (int j = 0; j < model.numberColumns(); ++j) {
    double& x = problem.x[static_cast<std::size_t>(j)];
    switch (model.getColumnStatus(j)) {
      case ClpSimplex::atLowerBound:
      case ClpSimplex::isFixed:
        x = model.columnLower()[j];
        break;
      case ClpSimplex::atUpperBound:
        x = model.columnUpper()[j];
        break;
      case ClpSimplex::isFree:
        x = 0.0;
        break;
      default:
        break;
    }
  }
}

}  // namespace

// ----- Values -----

void finish_clp_values(clp_problem& problem) {
  problem.activity.assign(problem.rows.size(), 0.0);
  std::vector<long double> priced(problem.columns.size(), 0.0L);
  for (std::size_t i = 0; i < problem.rows.size(); ++i) {
    long double sum = 0.0L;
    for (const clp_matrix_entry& e : problem.matrix[i]) {
      const auto j = static_cast<std::size_t>(e.column);
      sum += static_cast<long double>(e.value) * problem.x[j];
      priced[j] += static_cast<long double>(e.value) * problem.dual[i];
    }
    problem.activity[i] = static_cast<double>(sum);
  }
  problem.reduced_cost.resize(problem.columns.size());
  long double objective = 0.0L;
  for (std::size_t j = 0; j < problem.columns.size(); ++j) {
    const double c = problem.columns[j].objective;
    objective += static_cast<long double>(c) * problem.x[j];
    problem.reduced_cost[j] = static_cast<double>(c - priced[j]);
  }
  problem.objective_value = static_cast<double>(objective);
  problem.has_solution = true;
}

void store_clp_solution(clp_problem& problem, const ClpSimplex& model, double cost_scale,
                        bool factorized) {
  store_clp_basis(model, problem);
  problem.x.assign(model.primalColumnSolution(),
                   model.primalColumnSolution() + problem.columns.size());
  problem.dual.assign(model.dualRowSolution(), model.dualRowSolution() + problem.rows.size());
  for (double& dual : problem.dual) dual *= cost_scale;
  place_nonbasics(problem, model);
  if (factorized) refine(problem, model);
  finish_clp_values(problem);
}

// ----- Checks -----

bool is_feasible(const clp_problem& problem, double tolerance) {
  for (std::size_t j = 0; j < problem.columns.size(); ++j) {
    const clp_column& column = problem.columns[j];
    if (problem.x[j] < lower_bound_of(column.lower) - tolerance ||
        problem.x[j] > upper_bound_of(column.upper) + tolerance) {
      return false;
    }
  }
  for (std::size_t i = 0; i < problem.rows.size(); ++i) {
    const clp_row& row = problem.rows[i];
    if (problem.activity[i] < row_lower_bound(row) - tolerance ||
        problem.activity[i] > row_upper_bound(row) + tolerance) {
      return false;
    }
  }
  return true;
}

bool is_dual_feasible(const clp_problem& problem, const clp_settings& settings, double cost_scale) {
  const double price = settings.dual_tolerance * std::fabs(cost_scale);
  const double distance = settings.primal_tolerance;
  const auto holds = [&](double d, double value, double lower, double upper) {
    return !(d > price && value > lower + distance) && !(d < -price && value < upper - distance);
  };
  for (std::size_t j = 0; j < problem.columns.size(); ++j) {
    const clp_column& column = problem.columns[j];
    if (!holds(problem.sense * problem.reduced_cost[j], problem.x[j], lower_bound_of(column.lower),
               upper_bound_of(column.upper))) {
      return false;
    }
  }
  for (std::size_t i = 0; i < problem.rows.size(); ++i) {
    const clp_row& row = problem.rows[i];
    if (!holds(problem.sense * problem.dual[i], problem.activity[i], row_lower_bound(row),
               row_upper_bound(row))) {
      return false;
    }
  }
  return true;
}

}  // namespace planloc::detail
