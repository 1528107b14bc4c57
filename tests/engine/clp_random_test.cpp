// ClpLibrary against an independent computation: programs in two and three variables with small
// integer data, whose optimum, infeasibility or unboundedness follows from all of their vertices.
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <optional>
#include <random>

#include "clp_program.h"

namespace planloc {
namespace {

using Vector = std::array<long double, 3>;

// normal * x <= rhs
struct HalfSpace {
  Vector normal;
  long double rhs;
};

long double dot(const Vector& a, const Vector& b) {
  return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

std::optional<Vector> crossing(const HalfSpace& a, const HalfSpace& b, const HalfSpace& c) {
  const auto det = [](const Vector& u, const Vector& v, const Vector& w) {
    return u[0] * (v[1] * w[2] - v[2] * w[1]) - u[1] * (v[0] * w[2] - v[2] * w[0]) +
           u[2] * (v[0] * w[1] - v[1] * w[0]);
  };
  const long double d = det(a.normal, b.normal, c.normal);
  if (std::fabs(d) < 1e-9L) return std::nullopt;
  Vector x{};
  for (std::size_t k = 0; k < 3; ++k) {
    std::array<Vector, 3> rows{a.normal, b.normal, c.normal};
    const long double rhs[] = {a.rhs, b.rhs, c.rhs};
    for (std::size_t i = 0; i < 3; ++i) rows[i][k] = rhs[i];
    x[k] = det(rows[0], rows[1], rows[2]) / d;
  }
  return x;
}

HalfSpace side(std::size_t k, long double sign, long double rhs) {
  HalfSpace space{{0, 0, 0}, rhs};
  space.normal[k] = sign;
  return space;
}

// Least cost * x over the half-spaces and the box |x_k| <= radius, by all crossings of three
// planes; nothing if there is no point.
std::optional<long double> least(const Vector& cost, std::vector<HalfSpace> spaces,
                                 long double radius) {
  for (std::size_t k = 0; k < 3; ++k) {
    for (const long double sign : {1.0L, -1.0L}) spaces.push_back(side(k, sign, radius));
  }
  std::optional<long double> best;
  for (std::size_t a = 0; a < spaces.size(); ++a) {
    for (std::size_t b = 0; b < a; ++b) {
      for (std::size_t c = 0; c < b; ++c) {
        const auto x = crossing(spaces[a], spaces[b], spaces[c]);
        if (!x || (best && dot(cost, *x) >= *best)) continue;
        const bool inside = std::all_of(spaces.begin(), spaces.end(), [&](const HalfSpace& s) {
          return dot(s.normal, *x) <= s.rhs + 1e-9L * radius;
        });
        if (inside) best = dot(cost, *x);
      }
    }
  }
  return best;
}

struct Expected {
  int status;
  long double value;
};

// Vertices of integer programs of this size lie within 1e4; what grows with the box is unbounded.
Expected by_vertices(const Vector& cost, const std::vector<HalfSpace>& spaces) {
  const auto small = least(cost, spaces, 1e4L);
  if (!small) return {CPX_STAT_INFEASIBLE, 0};
  const auto large = least(cost, spaces, 2e4L);
  if (*large < *small - 1) return {CPX_STAT_UNBOUNDED, 0};
  return {CPX_STAT_OPTIMAL, *small};
}

// Also with costs that come close to 1e25, where CLP ends the process.
TEST(ClpRandomTest, AgreesWithVertexEnumeration) {
  std::mt19937 random(20);
  const auto number = [&](int low, int high) {
    return low + static_cast<int>(random() % static_cast<unsigned>(high - low + 1));
  };
  int seen[4] = {};
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  for (int round = 0; round < 1500; ++round) {
    std::vector<Column> columns;
    std::vector<Row> rows;
    std::vector<HalfSpace> spaces;
    Vector cost{};
    for (std::size_t j = 0; j < 3; ++j) {
      const Column c{1.0 * number(-3, 4), number(0, 2) ? 0 : -CPX_INFBOUND,
                     number(0, 3) ? CPX_INFBOUND : number(1, 6)};
      if (c.lower == 0) spaces.push_back(side(j, -1, 0));
      if (c.upper < CPX_INFBOUND) spaces.push_back(side(j, 1, c.upper));
      cost[j] = c.cost;
      columns.push_back(c);
    }
    for (int i = number(0, 6); i > 0; --i) {
      Row row{{}, "LGE"[number(0, 9) % 5 % 3], 1.0 * number(-6, 9)};
      for (int j = 0; j < 3; ++j) row.coefficients.push_back(number(-4, 4));
      const Vector normal{row.coefficients[0], row.coefficients[1], row.coefficients[2]};
      if (row.sense != 'G') spaces.push_back({normal, row.rhs});
      if (row.sense != 'L') spaces.push_back({{-normal[0], -normal[1], -normal[2]}, -row.rhs});
      rows.push_back(row);
    }
    const Expected expected = by_vertices(cost, spaces);
    ++seen[expected.status];
    for (int variant = 0; variant < 8; ++variant) {
      const double scale = variant < 4 ? 1 : 0x1p81;
      std::vector<Column> scaled = columns;
      for (Column& column : scaled) column.cost *= scale;
      Program program(scaled, rows, variant & 1 ? -1 : 1);
      program.set(CPX_PARAM_PREIND, (variant & 2) != 0);
      ASSERT_EQ(program.solve(variant % 4 != 3), expected.status) << "round " << round;
      if (expected.status != CPX_STAT_OPTIMAL) continue;
      const double value = static_cast<double>(expected.value) * (variant & 1 ? -1 : 1);
      EXPECT_NEAR(program.value() / scale, value, 1e-12 * (1 + std::fabs(value)))
          << "round " << round;
    }
  }
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
  for (int status = 1; status <= 3; ++status) EXPECT_GT(seen[status], 150) << status;
}

// The rows that hold with equality at the answer determine it; their residuals tell whether it is
// the vertex to double accuracy.
TEST(ClpRandomTest, SolutionsAreVerticesToDoubleAccuracy) {
  std::mt19937 random(4);
  std::uniform_real_distribution<double> coefficient(-3, 3);
  constexpr std::size_t n = 25;
  for (int round = 0; round < 60; ++round) {
    std::vector<Column> columns;
    std::vector<Row> rows;
    std::vector<double> inside;
    for (std::size_t j = 0; j < n; ++j) {
      columns.push_back({std::fabs(coefficient(random)), -CPX_INFBOUND, CPX_INFBOUND});
      inside.push_back(10 * coefficient(random));
      rows.push_back({std::vector<double>(n, 0.0), 'G', -100.0 / 3});
      rows.back().coefficients[j] = 1;
    }
    for (std::size_t i = 0; i < 4 * n; ++i) {
      Row row{{}, 'G', -std::fabs(coefficient(random))};
      for (const double x : inside) {
        row.coefficients.push_back(coefficient(random));
        row.rhs += row.coefficients.back() * x;
      }
      rows.push_back(row);
    }
    Program program(columns, rows, 1);
    ASSERT_EQ(program.solve(true), 1);
    const std::vector<double> x = program.x();
    std::size_t tight = 0;
    for (const Row& row : rows) {
      long double slack = -row.rhs, scale = std::fabs(row.rhs);
      for (std::size_t j = 0; j < n; ++j) {
        slack += static_cast<long double>(row.coefficients[j]) * x[j];
        scale += std::fabs(row.coefficients[j] * x[j]);
      }
      EXPECT_GE(slack, -2e-16L * scale);
      tight += slack <= 2e-16L * scale;
    }
    EXPECT_EQ(tight, n) << "round " << round;
  }
}

}  // namespace
}  // namespace planloc
