#include "planloc/engine/clp_network.h"

#include <algorithm>
#include <cmath>

#include "planloc/engine/cplex_constants.h"

namespace planloc::detail {
namespace {

// What the rows taken so far have in a column.
struct Column {
  bool plus = false;
  bool minus = false;
};

// The row's entries are plus and minus one number, which is 1 unless it may be scaled.
bool has_one_magnitude(clp_matrix::row_range row, bool scaled) {
  double magnitude = scaled ? 0.0 : 1.0;
  for (const clp_matrix_entry& e : row) {
    if (e.value == 0.0) continue;
    if (magnitude == 0.0) magnitude = std::fabs(e.value);
    if (std::fabs(e.value) != magnitude) return false;
  }
  return magnitude != 0.0;
}

bool fits(clp_matrix::row_range row, double sign, const std::vector<Column>& columns) {
  return std::all_of(row.begin(), row.end(), [&](const clp_matrix_entry& e) {
    const Column& column = columns[static_cast<std::size_t>(e.column)];
    return e.value == 0.0 || !(sign * e.value > 0.0 ? column.plus : column.minus);
  });
}

}  // namespace

std::vector<int> network_rows(const clp_problem& problem, int extraction) {
  std::vector<Column> columns(problem.columns.size());
  std::vector<int> rows;
  for (std::size_t i = 0; i < problem.rows.size(); ++i) {
    const clp_matrix::row_range row = problem.matrix[i];
    if (!has_one_magnitude(row, extraction >= 3)) continue;
    const bool as_it_is = fits(row, 1.0, columns);
    if (!as_it_is && (extraction < 2 || !fits(row, -1.0, columns))) continue;
    const double sign = as_it_is ? 1.0 : -1.0;
    for (const clp_matrix_entry& e : row) {
      Column& column = columns[static_cast<std::size_t>(e.column)];
      if (e.value != 0.0) (sign * e.value > 0.0 ? column.plus : column.minus) = true;
    }
    rows.push_back(static_cast<int>(i));
  }
  return rows;
}

clp_problem network_start(const clp_problem& problem, const clp_settings& settings) {
  clp_problem part;
  const std::vector<int> rows = network_rows(problem, settings.network_extraction);
  if (rows.empty()) return part;
  part.columns = problem.columns;
  part.sense = problem.sense;
  std::vector<int> indices;
  std::vector<double> values;
  for (const int row : rows) {
    const auto i = static_cast<std::size_t>(row);
    indices.clear();
    values.clear();
    for (const clp_matrix_entry& e : problem.matrix[i]) {
      indices.push_back(e.column);
      values.push_back(e.value);
    }
    const int start = 0;
    part.rows.push_back(problem.rows[i]);
    part.matrix.append(1, static_cast<int>(indices.size()), &start, indices.data(), values.data());
  }
  part.column_basis.assign(part.columns.size(), clp_basis_status::kAtLower);
  part.row_basis.assign(part.rows.size(), clp_basis_status::kBasic);
  solve_clp_problem(part, clp_method::kPrimal, settings);
  part.has_basis = part.has_basis && part.status == CPX_STAT_OPTIMAL;
  std::vector<clp_basis_status> row_basis(problem.rows.size(), clp_basis_status::kBasic);
  for (std::size_t k = 0; k < rows.size(); ++k) {
    row_basis[static_cast<std::size_t>(rows[k])] = part.row_basis[k];
  }
  part.row_basis = std::move(row_basis);
  return part;
}

}  // namespace planloc::detail
