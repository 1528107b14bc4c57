// Newton's equations for the places of tied facilities: one 2 x 2 block a pair, solved by
// Cholesky's method. Internal.
#ifndef PLANLOC_OPTIMUM_TIED_NORMAL_EQUATIONS_H_
#define PLANLOC_OPTIMUM_TIED_NORMAL_EQUATIONS_H_

#include <span>
#include <vector>

#include "planloc/optimum/tied/part_terms.h"

namespace planloc::detail {

struct symmetric_2x2 {
  double xx = 0;
  double xy = 0;
  double yy = 0;
};

class normal_equations {
 public:
  explicit normal_equations(std::size_t facilities)
      : size_(2 * facilities), matrix_(size_ * size_), factor_(size_ * size_) {}

  void clear() { std::fill(matrix_.begin(), matrix_.end(), 0); }
  // Adds the curvature of a term.
  void add(const part_term& t, const symmetric_2x2& h);
  void factor();
  // The solution for a right side, two numbers a facility.
  std::vector<double> solve(std::span<const double> right) const;

 private:
  void add_block(std::size_t j, std::size_t k, const symmetric_2x2& h, double sign);

  std::size_t size_;
  std::vector<double> matrix_;  // the lower triangle, row by row
  std::vector<double> factor_;
};

}  // namespace planloc::detail

#endif  // PLANLOC_OPTIMUM_TIED_NORMAL_EQUATIONS_H_
