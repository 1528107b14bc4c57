#include "planloc/foundation/numeric/matrix.h"

#include <cmath>
#include <cstddef>
#include <utility>

#include "planloc/foundation/containers/error_handler.h"
#include "planloc/foundation/numeric/two_equations.h"

namespace planloc {
namespace {

// A square system [A | B] while it is eliminated, in one flat array.
class Elimination {
 public:
  Elimination(const matrix& a, int right_sides)
      : n_(a.dim1()),
        width_(n_ + right_sides),
        cells_(static_cast<std::size_t>(n_) * static_cast<std::size_t>(width_)) {
    for (int i = 0; i < n_; ++i) {
      for (int j = 0; j < n_; ++j) at(i, j) = a(i, j);
    }
  }

  double& at(int i, int j) {
    return cells_[static_cast<std::size_t>(i) * static_cast<std::size_t>(width_) +
                  static_cast<std::size_t>(j)];
  }

  // Brings A to upper triangular form; false if a pivot is too small.
  bool reduce() {
    for (int i = 0; i < n_; ++i) {
      bring_pivot_to(i);
      if (std::fabs(at(i, i)) < detail::kSmallestPivot) return false;
      for (int k = i + 1; k < n_; ++k) {
        const double factor = at(k, i) / at(i, i);
        for (int j = i; j < width_; ++j) at(k, j) -= factor * at(i, j);
      }
    }
    return true;
  }

  // Leaves the solutions in the columns of B. REQUIRES: reduce() was true.
  void substitute_back() {
    for (int i = n_ - 1; i >= 0; --i) {
      for (int j = n_; j < width_; ++j) {
        at(i, j) /= at(i, i);
        for (int k = i - 1; k >= 0; --k) at(k, j) -= at(k, i) * at(i, j);
      }
    }
  }

  double product_of_pivots() {
    double product = sign_;
    for (int i = 0; i < n_; ++i) product *= at(i, i);
    return product;
  }

 private:
  void bring_pivot_to(int i) {
    int best = i;
    for (int k = i + 1; k < n_; ++k) {
      if (std::fabs(at(k, i)) > std::fabs(at(best, i))) best = k;
    }
    if (best == i) return;
    sign_ = -sign_;
    for (int j = 0; j < width_; ++j) std::swap(at(i, j), at(best, j));
  }

  int n_;
  int width_;
  std::vector<double> cells_;
  double sign_ = 1.0;
};

}  // namespace

matrix::matrix(int n, int m) {
  if (n < 0 || m < 0) {
    error_handler(1, "matrix: negative dimension.");
    return;
  }
  columns_ = m;
  rows_.assign(static_cast<std::size_t>(n), vector(m));
}

matrix& matrix::operator=(const matrix& other) {
  if (dim1() != other.dim1() || dim2() != other.dim2()) {
    error_handler(1, "incompatible matrix types.");
    return *this;
  }
  rows_ = other.rows_;
  return *this;
}

int matrix::checked_row(int i) const {
  if (i < 0 || i >= dim1()) error_handler(1, "matrix: row index out of range");
  return i;
}

int matrix::checked_col(int j) const {
  if (j < 0 || j >= dim2()) error_handler(1, "matrix: col index out of range");
  return j;
}

double& matrix::operator()(int i, int j) {
  return rows_[static_cast<std::size_t>(checked_row(i))][checked_col(j)];
}

double matrix::operator()(int i, int j) const {
  return rows_[static_cast<std::size_t>(checked_row(i))][checked_col(j)];
}

vector matrix::row(int i) const { return rows_[static_cast<std::size_t>(checked_row(i))]; }

vector matrix::col(int j) const {
  checked_col(j);
  vector column(dim1());
  for (int i = 0; i < dim1(); ++i) column[i] = (*this)(i, j);
  return column;
}

vector matrix::to_vector() const {
  if (dim2() == 1) return col(0);
  if (dim1() == 1) return row(0);
  error_handler(1, "error: cannot make vector from matrix\n");
  return vector();
}

matrix matrix::operator*(const matrix& other) const {
  if (dim2() != other.dim1()) {
    error_handler(1, "matrix multiplication: incompatible matrix types\n");
    return matrix();
  }
  matrix product(dim1(), other.dim2());
  for (int j = 0; j < other.dim2(); ++j) {
    const vector column = other.col(j);
    for (int i = 0; i < dim1(); ++i) product(i, j) = rows_[static_cast<std::size_t>(i)] * column;
  }
  return product;
}

double matrix::det() const {
  if (dim1() != dim2()) {
    error_handler(1, "matrix::det: matrix not quadratic.\n");
    return 0.0;
  }
  Elimination system(*this, 0);
  return system.reduce() ? system.product_of_pivots() : 0.0;
}

matrix matrix::inv() const {
  if (dim1() != dim2()) {
    error_handler(1, "matrix::inv: matrix not quadratic.\n");
    return matrix();
  }
  const int n = dim1();
  Elimination system(*this, n);
  for (int i = 0; i < n; ++i) system.at(i, n + i) = 1.0;
  matrix inverse(n, n);
  if (!system.reduce()) {
    error_handler(1, "matrix::solve: matrix has not full rank.");
    return inverse;
  }
  system.substitute_back();
  for (int i = 0; i < n; ++i) {
    for (int j = 0; j < n; ++j) inverse(i, j) = system.at(i, n + j);
  }
  return inverse;
}

vector matrix::solve(const vector& b) const {
  if (dim1() != dim2() || b.dim() != dim1()) {
    error_handler(1, "Solve: wrong dimensions\n");
    return vector();
  }
  const int n = dim1();
  Elimination system(*this, 1);
  for (int i = 0; i < n; ++i) system.at(i, n) = b[i];
  vector x(n);
  if (!system.reduce()) {
    error_handler(1, "matrix::solve: matrix has not full rank.");
    return x;
  }
  system.substitute_back();
  for (int i = 0; i < n; ++i) x[i] = system.at(i, n);
  return x;
}

std::ostream& operator<<(std::ostream& out, const matrix& M) {
  for (int i = 0; i < M.dim1(); ++i) out << M.row(i) << '\n';
  return out;
}

}  // namespace planloc
