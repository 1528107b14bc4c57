#include "planloc/engine/clp_problem.h"

#include <cstddef>

#include "planloc/engine/cplex_constants.h"

namespace planloc {

void clp_matrix::append(int rows, int n, const int* starts, const int* columns,
                        const double* values) {
  if (rows == 0) return;
  const std::size_t base = entries_.size();
  const std::size_t before = starts_.size();
  const int first = starts[0];
  starts_.resize(before + static_cast<std::size_t>(rows));
  for (int i = 1; i < rows; ++i) {
    starts_[before + static_cast<std::size_t>(i) - 1] =
        base + static_cast<std::size_t>(starts[i] - first);
  }
  entries_.resize(base + static_cast<std::size_t>(n - first));
  starts_.back() = entries_.size();
  clp_matrix_entry* entry = entries_.data() + base;
  for (int k = first; k < n; ++k) *entry++ = {columns[k], values[k]};
}

void clp_matrix::erase_rows(int begin, int end) {
  const auto first = starts_.begin() + begin;
  const std::size_t from = *first;
  const std::size_t to = starts_[static_cast<std::size_t>(end) + 1];
  entries_.erase(entries_.begin() + static_cast<std::ptrdiff_t>(from),
                 entries_.begin() + static_cast<std::ptrdiff_t>(to));
  const auto behind = starts_.erase(first, starts_.begin() + end + 1);
  for (auto start = behind; start != starts_.end(); ++start) *start -= to - from;
}

void clp_matrix::erase_columns(int begin, int end) {
  std::size_t kept = 0;
  std::size_t k = 0;
  for (std::size_t i = 1; i < starts_.size(); ++i) {
    for (; k < starts_[i]; ++k) {
      clp_matrix_entry entry = entries_[k];
      if (entry.column >= begin && entry.column <= end) continue;
      if (entry.column > end) entry.column -= end - begin + 1;
      entries_[kept++] = entry;
    }
    starts_[i] = kept;
  }
  entries_.resize(kept);
}

void clp_problem::forget_linear_solution() {
  status = CPX_STAT_NONE;
  has_solution = false;
}

void clp_problem::forget_solutions() {
  forget_linear_solution();
  has_mip_solution = has_mip_bound = false;
}

}  // namespace planloc
