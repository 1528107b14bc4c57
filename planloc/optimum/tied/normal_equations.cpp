#include "planloc/optimum/tied/normal_equations.h"

#include <algorithm>
#include <cmath>

namespace planloc::detail {

void normal_equations::add_block(std::size_t j, std::size_t k, const symmetric_2x2& h,
                                 double sign) {
  double* const top = &matrix_[2 * j * size_ + 2 * k];
  double* const low = top + size_;
  top[0] += sign * h.xx;
  top[1] += sign * h.xy;
  low[0] += sign * h.xy;
  low[1] += sign * h.yy;
}

void normal_equations::add(const part_term& t, const symmetric_2x2& h) {
  add_block(t.first, t.first, h, 1);
  if (t.second == kNoFacility) return;
  add_block(t.second, t.second, h, 1);
  add_block(std::max(t.first, t.second), std::min(t.first, t.second), h, -1);
}

void normal_equations::factor() {
  factor_ = matrix_;
  for (std::size_t r = 0; r < size_; ++r) {
    double* const row = &factor_[r * size_];
    for (std::size_t c = 0; c <= r; ++c) {
      const double* const other = &factor_[c * size_];
      double sum = row[c];
      for (std::size_t k = 0; k < c; ++k) sum -= row[k] * other[k];
      if (c < r) {
        row[c] = sum / other[c];
      } else {
        // A direction that nothing curves, but for roundings, stays as it is.
        const double whole = matrix_[r * size_ + r];
        row[r] = sum > 1e-15 * whole && sum > 0 ? std::sqrt(sum) : 1e64;
      }
    }
  }
}

std::vector<double> normal_equations::solve(std::span<const double> right) const {
  std::vector<double> x(right.begin(), right.end());
  for (std::size_t r = 0; r < size_; ++r) {
    for (std::size_t c = 0; c < r; ++c) x[r] -= factor_[r * size_ + c] * x[c];
    x[r] /= factor_[r * size_ + r];
  }
  for (std::size_t r = size_; r-- > 0;) {
    x[r] /= factor_[r * size_ + r];
    for (std::size_t c = 0; c < r; ++c) x[c] -= factor_[r * size_ + c] * x[r];
  }
  return x;
}

}  // namespace planloc::detail
