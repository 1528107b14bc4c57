#include "planloc/foundation/numeric/matrix.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <random>
#include <string>
#include <vector>

#include "planloc/foundation/numeric/vector.h"
#include "tests/foundation/reports.h"

namespace planloc {
namespace {

using testing_support::expect_reports;
using testing_support::report_of;

constexpr double kPi = std::numbers::pi;
constexpr const char* kSingular = "1: matrix::solve: matrix has not full rank.";

matrix square(const std::vector<double>& entries) {
  const int n = static_cast<int>(std::lround(std::sqrt(static_cast<double>(entries.size()))));
  matrix M(n, n);
  for (int i = 0; i < n; ++i) {
    for (int j = 0; j < n; ++j) M(i, j) = entries[static_cast<std::size_t>(i * n + j)];
  }
  return M;
}

TEST(Vector, Arithmetic) {
  const vector v(3, 4);
  const vector w(1, -2);
  EXPECT_EQ(v + w, vector(4, 2));
  EXPECT_EQ(v - w, vector(2, 6));
  EXPECT_EQ(-2.0 * v / 4.0, vector(-1.5, -2));
  EXPECT_EQ(v * w, -5.0);
  EXPECT_EQ(v.length(), 5.0);
  EXPECT_EQ(v.rotate90(), vector(-4, 3));
  EXPECT_NEAR((v.rotate(kPi / 2) - v.rotate90()).length(), 0.0, 1e-15);
  EXPECT_NEAR(vector(1, 0).angle(vector(-1, -1)), 0.75 * kPi, 1e-15);
  EXPECT_EQ(vector(0) * vector(0), 0.0);
  vector copy(1);
  copy = v;
  copy[0] = 8;
  EXPECT_EQ(v[0], 3);
  // The dot product runs from the last coordinate.
  const vector ones(1, 1, 1);
  EXPECT_EQ(vector(1, 1e16, -1e16) * ones, 1.0);
  EXPECT_EQ(vector(-1e16, 1e16, 1) * ones, 0.0);
}

TEST(Vector, Reports) {
  const vector v(1, 2);
  const vector w(1, 2, 3);
  expect_reports({
      {[&] { (void)(v * w); }, "1: vector arguments have different dimensions."},
      {[&] { (void)(v + w); }, "1: vector arguments have different dimensions."},
      {[&] { (void)(w - v); }, "1: vector arguments have different dimensions."},
      {[] { vector bad(-1); }, "1: vector: negative dimension."},
      {[&] { (void)v[2]; }, "1: vector: index out of range "},
      {[&] { (void)v[-1]; }, "1: vector: index out of range "},
      {[&] { (void)w.rotate90(); }, "1: vector::rotate90: dimension must be two. "},
      {[&] { (void)w.rotate(1.0); }, "1: vector::rotate: dimension must be two. "},
      {[&] { (void)v.angle(vector(0, 0)); }, "1: angle: zero argument\n"},
  });
}

TEST(Matrix, SystemsWithKnownSolutions) {
  std::mt19937 random(11);
  const auto entry = [&random] { return static_cast<int>(random() % 9) - 4; };
  int regular = 0;
  for (int trial = 0; trial < 500; ++trial) {
    const int n = 1 + static_cast<int>(random() % 5);
    matrix M(n, n), x(n, 1);
    for (int i = 0; i < n; ++i) {
      for (int j = 0; j < n; ++j) M(i, j) = entry();
      x(i, 0) = entry();
    }
    if (M.det() == 0.0) continue;
    ++regular;
    const vector y = M.solve((M * x).to_vector());
    const matrix unit = M * M.inv();
    for (int i = 0; i < n; ++i) {
      EXPECT_NEAR(y[i], x(i, 0), 1e-10) << trial;
      for (int j = 0; j < n; ++j) EXPECT_NEAR(unit(i, j), i == j ? 1.0 : 0.0, 1e-10);
    }
  }
  EXPECT_GT(regular, 300);
}

TEST(Matrix, PivotIsTheLargestOfItsColumn) {
  // Eliminating with the small entry would lose the whole of x.
  const vector x = square({1e-11, 1, 1, 1}).solve(vector(1, 2));
  EXPECT_NEAR((x - vector(1, 1)).length(), 0.0, 1e-10);
  EXPECT_EQ(square({0, 2, -4, 0}).det(), 8.0);
  EXPECT_EQ(square({2, 1, 0, 0, 3, 1, 1, 0, 1}).det(), 7.0);
}

TEST(Matrix, RankThreshold) {
  EXPECT_EQ(report_of([] { square({1, 2, 2, 4}).solve(vector(1, 1)); }), kSingular);
  for (const double pivot : {0.0, 1e-13, -1e-13, 1e-12, 1e-11, -1e-11}) {
    const bool full_rank = std::fabs(pivot) >= 1e-12;
    const matrix M = square({1, 0, 0, pivot});
    EXPECT_EQ(report_of([&] { M.solve(vector(1, 1)); }), full_rank ? "none" : kSingular) << pivot;
    EXPECT_EQ(report_of([&] { M.inv(); }), full_rank ? "none" : kSingular) << pivot;
    EXPECT_EQ(M.det() != 0.0, full_rank) << pivot;
  }
}

TEST(Matrix, ShapesAndProducts) {
  matrix M(2, 3);
  for (int j = 0; j < 3; ++j) M(1, j) = j + 1;
  EXPECT_EQ(M.row(1), vector(1, 2, 3));
  EXPECT_EQ(M.col(2), vector(0, 3));
  EXPECT_EQ(M.dim1() * 10 + M.dim2(), 23);
  matrix row(1, 2);
  row(0, 1) = 4;
  EXPECT_EQ((row * M).to_vector(), vector(4, 8, 12));
  matrix copy(2, 3);
  copy = M;
  copy(0, 0) = 9;
  EXPECT_EQ(M(0, 0), 0.0);

  expect_reports({
      {[] { matrix bad(-1, 2); }, "1: matrix: negative dimension."},
      {[&] { copy = matrix(3, 2); }, "1: incompatible matrix types."},
      {[&] { M(2, 0) = 1; }, "1: matrix: row index out of range"},
      {[&] { M(0, 3) = 1; }, "1: matrix: col index out of range"},
      {[&] { M.row(-1); }, "1: matrix: row index out of range"},
      {[&] { M.col(3); }, "1: matrix: col index out of range"},
      {[&] { M.to_vector(); }, "1: error: cannot make vector from matrix\n"},
      {[&] { (void)(M * M); }, "1: matrix multiplication: incompatible matrix types\n"},
      {[&] { M.det(); }, "1: matrix::det: matrix not quadratic.\n"},
      {[&] { M.inv(); }, "1: matrix::inv: matrix not quadratic.\n"},
      {[&] { M.solve(vector(1, 2)); }, "1: Solve: wrong dimensions\n"},
      {[] { matrix(2, 2).solve(vector(1, 2, 3)); }, "1: Solve: wrong dimensions\n"},
  });
}

}  // namespace
}  // namespace planloc
