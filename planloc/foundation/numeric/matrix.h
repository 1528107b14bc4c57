// Dense matrices of doubles with Gaussian elimination: the small systems of the gauges and of the
// direct solvers. Linear programs are the business of planloc/engine.
//
// Copied by value. Reports go through `error_handler` with code 1.
#ifndef PLANLOC_FOUNDATION_NUMERIC_MATRIX_H_
#define PLANLOC_FOUNDATION_NUMERIC_MATRIX_H_

#include <ostream>
#include <vector>

#include "planloc/foundation/numeric/vector.h"

namespace planloc {

class matrix {
 public:
  matrix() = default;    // 0 by 0
  matrix(int n, int m);  // n rows, m columns of zeros; "matrix: negative dimension."
  matrix(const matrix&) = default;
  // "incompatible matrix types." unless both have the same shape.
  matrix& operator=(const matrix& other);
  ~matrix() = default;

  int dim1() const { return static_cast<int>(rows_.size()); }
  int dim2() const { return columns_; }
  int rows() const { return dim1(); }
  int cols() const { return dim2(); }

  // Entry (i, j), from 0; "matrix: row index out of range", "matrix: col index out of range".
  double& operator()(int i, int j);
  double operator()(int i, int j) const;
  vector row(int i) const;
  vector col(int j) const;

  // The vector of the only row or column; "error: cannot make vector from matrix\n" otherwise.
  vector to_vector() const;

  // "matrix multiplication: incompatible matrix types\n"
  matrix operator*(const matrix& other) const;

  // Elimination takes as pivot the entry of the largest absolute value in its column, the topmost
  // of equal ones; a pivot below 1e-12 means that the matrix has not full rank.
  double det() const;  // 0.0 without full rank; "matrix::det: matrix not quadratic.\n"
  matrix inv() const;  // "matrix::inv: matrix not quadratic.\n", and the rank report of `solve`
  // x with (*this) * x = b. "Solve: wrong dimensions\n" unless the matrix is square and b has its
  // height; "matrix::solve: matrix has not full rank."
  vector solve(const vector& b) const;

  bool operator==(const matrix& other) const = default;

 private:
  int checked_row(int i) const;
  int checked_col(int j) const;

  int columns_ = 0;
  std::vector<vector> rows_;
};

// One row a line, entries separated by single blanks.
std::ostream& operator<<(std::ostream& out, const matrix& M);

}  // namespace planloc

#endif  // PLANLOC_FOUNDATION_NUMERIC_MATRIX_H_
