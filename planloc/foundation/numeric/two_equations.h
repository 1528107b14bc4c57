// Two equations with two unknowns, by the elimination of `matrix::solve`, operation by operation
// and so bit for bit, on the stack: a gauge distance is this and little else. Internal.
#ifndef PLANLOC_FOUNDATION_NUMERIC_TWO_EQUATIONS_H_
#define PLANLOC_FOUNDATION_NUMERIC_TWO_EQUATIONS_H_

#include <array>
#include <cmath>
#include <utility>

namespace planloc::detail {

// A pivot below it means that the matrix has not full rank.
inline constexpr double kSmallestPivot = 1e-12;

struct equation {
  double x, y, right;
};

// What the elimination leaves of the left sides of e and f.
class two_equations {
 public:
  two_equations(equation e, equation f) : exchanged_(std::fabs(f.x) > std::fabs(e.x)) {
    if (exchanged_) std::swap(e, f);
    factor_ = f.x / e.x;
    fy_ = f.y - factor_ * e.y;
    ey_ = e.y;
    ex_ = e.x;
    singular_ = std::fabs(ex_) < kSmallestPivot || std::fabs(fy_) < kSmallestPivot;
  }

  bool singular() const { return singular_; }

  // REQUIRES: not singular.
  std::array<double, 2> solve(double e_right, double f_right) const {
    if (exchanged_) std::swap(e_right, f_right);
    f_right -= factor_ * e_right;
    f_right /= fy_;
    e_right -= ey_ * f_right;
    return {e_right / ex_, f_right};
  }

 private:
  double factor_, fy_, ey_, ex_;
  bool exchanged_;
  bool singular_;
};

}  // namespace planloc::detail

#endif  // PLANLOC_FOUNDATION_NUMERIC_TWO_EQUATIONS_H_
