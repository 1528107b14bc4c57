#include "planloc/optimum/tied/normal_equations.h"

#include <algorithm>
#include <utility>

namespace planloc::detail {

void normal_equations::add(const part_term& t, const symmetric_2x2& h) {
  const block b{h.xx, h.xy, h.xy, h.yy};
  const bool ties = t.second != kNoFacility;
  add(ties ? ties_[std::max(t.first, t.second) * size_ + std::min(t.first, t.second)]
           : sites_[t.first],
      b);
}

// A direction that nothing curves, but for roundings, is taken as stiff.
normal_equations::block normal_equations::inverse(const block& d) {
  constexpr double kStiff = 1e-15;
  const double mixed = (d.xy + d.yx) / 2;
  const bool turned = d.yy > d.xx;
  const double first = turned ? d.yy : d.xx;
  if (!(first > 0)) return {};
  const double share = mixed / first;
  const double other = turned ? d.xx : d.yy;
  const double second = other - share * mixed;
  const double of_second = second > kStiff * other && second > 0 ? 1 / second : 0;
  const double of_first = 1 / first + share * share * of_second;
  const double across = -share * of_second;
  return turned ? block{of_second, across, across, of_first}
                : block{of_first, across, across, of_second};
}

void normal_equations::factor() {
  rest_ = sites_;
  factor_ = ties_;
  left_.resize(factor_.size());
  for (std::size_t k = 0; k < size_; ++k) {
    block diagonal = rest_[k];
    for (std::size_t j = k + 1; j < size_; ++j) add(diagonal, transposed(factor_[j * size_ + k]));
    inverse_[k] = inverse(diagonal);
    for (std::size_t j = k + 1; j < size_; ++j) {
      const block left = factor_[j * size_ + k] * inverse_[k];
      left_[j * size_ + k] = left;
      add(rest_[j], left * rest_[k]);
      for (std::size_t i = k + 1; i < j; ++i)
        add(factor_[j * size_ + i], left * transposed(factor_[i * size_ + k]));
    }
  }
}

std::vector<double> normal_equations::solve(std::span<const double> right) const {
  std::vector<double> x(right.begin(), right.end());
  for (std::size_t k = 0; k < size_; ++k) {
    for (std::size_t j = k + 1; j < size_; ++j)
      add_product(&x[2 * j], left_[j * size_ + k], &x[2 * k]);
  }
  for (std::size_t k = size_; k-- > 0;) {
    for (std::size_t j = k + 1; j < size_; ++j)
      add_product(&x[2 * k], transposed(factor_[j * size_ + k]), &x[2 * j]);
    const double whole[2] = {x[2 * k], x[2 * k + 1]};
    x[2 * k] = x[2 * k + 1] = 0;
    add_product(&x[2 * k], inverse_[k], whole);
  }
  return x;
}

}  // namespace planloc::detail
