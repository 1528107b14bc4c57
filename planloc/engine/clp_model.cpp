#include "planloc/engine/clp_model.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <ctime>
#include <memory>

#include <ClpSimplex.hpp>
#include <CoinPackedMatrix.hpp>

#include "planloc/engine/cplex_constants.h"

namespace planloc::detail {
namespace {

// Scaling and presolve enlarge costs. With costs of this size the dual tolerance is some hundred
// times their rounding; smaller ones would loosen it.
constexpr int kLargestCostExponent = 23;

ClpSimplex::Status to_clp(clp_basis_status status, double lower, double upper) {
  if (status == clp_basis_status::kBasic) return ClpSimplex::basic;
  if (status == clp_basis_status::kAtUpper && upper < kClpInfinite) return ClpSimplex::atUpperBound;
  if (lower > -kClpInfinite) return ClpSimplex::atLowerBound;
  return upper < kClpInfinite ? ClpSimplex::atUpperBound : ClpSimplex::isFree;
}

clp_basis_status from_clp(ClpSimplex::Status status) {
  switch (status) {
    case ClpSimplex::basic:
      return clp_basis_status::kBasic;
    case ClpSimplex::atUpperBound:
      return clp_basis_status::kAtUpper;
    case ClpSimplex::isFree:
    case ClpSimplex::superBasic:
      return clp_basis_status::kFree;
    default:
      return clp_basis_status::kAtLower;
  }
}

}  // namespace

double lower_bound_of(double value) { return value <= -CPX_INFBOUND ? -kClpInfinite : value; }
double upper_bound_of(double value) { return value >= CPX_INFBOUND ? kClpInfinite : value; }

double row_lower_bound(const clp_row& row) {
  if (row.sense == 'L') return -kClpInfinite;
  return row.sense == 'G' ? lower_bound_of(row.rhs) : row.rhs;
}
double row_upper_bound(const clp_row& row) {
  if (row.sense == 'G') return kClpInfinite;
  return row.sense == 'L' ? upper_bound_of(row.rhs) : row.rhs;
}

double cost_scale_of(const clp_problem& problem) {
  double largest = 1.0;
  for (const clp_column& column : problem.columns) {
    largest = std::max(largest, std::fabs(column.objective));
  }
  return problem.sense * std::ldexp(1.0, std::max(0, std::ilogb(largest) - kLargestCostExponent));
}

namespace {

// The nonzeros by columns, rows in order within each.
std::unique_ptr<CoinPackedMatrix> packed_columns(const clp_problem& problem) {
  const std::size_t m = problem.rows.size();
  const std::size_t n = problem.columns.size();
  const clp_matrix::row_range all = problem.matrix.all();
  auto starts = std::make_unique<CoinBigIndex[]>(n + 1);
  auto lengths = std::make_unique<int[]>(n);
  for (const clp_matrix_entry& e : all)
    lengths[static_cast<std::size_t>(e.column)] += e.value != 0.0;
  for (std::size_t j = 0; j < n; ++j) starts[j + 1] = starts[j] + lengths[j];
  const auto size = static_cast<std::size_t>(starts[n]);
  auto indices = std::make_unique_for_overwrite<int[]>(size);
  auto values = std::make_unique_for_overwrite<double[]>(size);
  // The starts move up to the ends, which are the starts of the next columns.
  for (std::size_t i = 0; i < m; ++i) {
    for (const clp_matrix_entry& e : problem.matrix[i]) {
      if (e.value == 0.0) continue;
      const auto place = static_cast<std::size_t>(starts[static_cast<std::size_t>(e.column)]++);
      indices[place] = static_cast<int>(i);
      values[place] = e.value;
    }
  }
  for (std::size_t j = n; j > 0; --j) starts[j] = starts[j - 1];
  starts[0] = 0;
  auto matrix = std::make_unique<CoinPackedMatrix>();
  double* value_array = values.release();
  int* index_array = indices.release();
  CoinBigIndex* start_array = starts.release();
  int* length_array = lengths.release();
  matrix->assignMatrix(true, static_cast<int>(m), static_cast<int>(n), start_array[n], value_array,
                       index_array, start_array, length_array);
  return matrix;
}

}  // namespace

// CLP gets the matrix itself: a call of loadProblem with it would copy it twice.
void load_clp_model(const clp_problem& problem, double cost_scale, ClpSimplex& model) {
  const std::size_t m = problem.rows.size();
  const std::size_t n = problem.columns.size();
  raw_block_vector<double> lower(n), upper(n), costs(n), below(m), above(m);
  for (std::size_t j = 0; j < n; ++j) {
    const clp_column& column = problem.columns[j];
    lower[j] = lower_bound_of(column.lower);
    upper[j] = upper_bound_of(column.upper);
    costs[j] = column.objective / cost_scale;
  }
  for (std::size_t i = 0; i < m; ++i) {
    below[i] = row_lower_bound(problem.rows[i]);
    above[i] = row_upper_bound(problem.rows[i]);
  }
  const block_vector<CoinBigIndex> no_entries(n + 1, 0);
  model.loadProblem(static_cast<int>(n), static_cast<int>(m), no_entries.data(), nullptr, nullptr,
                    lower.data(), upper.data(), costs.data(), below.data(), above.data());
  model.replaceMatrix(packed_columns(problem).release(), true);
}

void load_clp_basis(const clp_problem& problem, ClpSimplex& model) {
  for (int j = 0; j < model.numberColumns(); ++j) {
    model.setColumnStatus(j, to_clp(problem.column_basis[static_cast<std::size_t>(j)],
                                    model.columnLower()[j], model.columnUpper()[j]));
  }
  for (int i = 0; i < model.numberRows(); ++i) {
    model.setRowStatus(i, to_clp(problem.row_basis[static_cast<std::size_t>(i)],
                                 model.rowLower()[i], model.rowUpper()[i]));
  }
}

void store_clp_basis(const ClpSimplex& model, clp_problem& problem) {
  for (std::size_t j = 0; j < problem.columns.size(); ++j) {
    problem.column_basis[j] = from_clp(model.getColumnStatus(static_cast<int>(j)));
  }
  for (std::size_t i = 0; i < problem.rows.size(); ++i) {
    problem.row_basis[i] = from_clp(model.getRowStatus(static_cast<int>(i)));
  }
  problem.has_basis = true;
}

void fix_column(clp_column& column, double value) { column.lower = column.upper = value; }

double clock_seconds(bool wall) {
  if (!wall) return static_cast<double>(std::clock()) / CLOCKS_PER_SEC;
  const auto now = std::chrono::steady_clock::now().time_since_epoch();
  return std::chrono::duration<double>(now).count();
}

}  // namespace planloc::detail
