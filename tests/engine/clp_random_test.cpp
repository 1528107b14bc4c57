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

// Least cost * x over the half-spaces and the box |x_k| <= radius, by all crossings of three
// planes; nothing if there is no point.
std::optional<long double> least(const Vector& cost, std::vector<HalfSpace> spaces,
                                 long double radius) {
  for (std::size_t k = 0; k < 3; ++k) {
    for (const long double sign : {1.0L, -1.0L}) {
      HalfSpace side{{0, 0, 0}, radius};
      side.normal[k] = sign;
      spaces.push_back(side);
    }
  }
  std::optional<long double> best;
  for (std::size_t a = 0; a < spaces.size(); ++a) {
    for (std::size_t b = 0; b < a; ++b) {
      for (std::size_t c = 0; c < b; ++c) {
        const auto x = crossing(spaces[a], spaces[b], spaces[c]);
        if (!x) continue;
        const bool inside = std::all_of(spaces.begin(), spaces.end(), [&](const HalfSpace& s) {
          return dot(s.normal, *x) <= s.rhs + 1e-9L * radius;
        });
        if (inside && (!best || dot(cost, *x) < *best)) best = dot(cost, *x);
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

TEST(ClpRandomTest, AgreesWithVertexEnumeration) {
  std::mt19937 random(20);
  const auto number = [&](int low, int high) {
    return low + static_cast<int>(random() % static_cast<unsigned>(high - low + 1));
  };
  int seen[4] = {};
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  for (int round = 0; round < 1500; ++round) {
    const int n = number(2, 3);
    std::vector<Column> columns;
    std::vector<Row> rows;
    std::vector<HalfSpace> spaces;
    Vector cost{};
    for (int j = 0; j < n; ++j) {
      const auto k = static_cast<std::size_t>(j);
      const bool free = number(0, 2) == 0;
      columns.push_back({static_cast<double>(number(-3, 4)), free ? -CPX_INFBOUND : 0,
                         number(0, 3) ? CPX_INFBOUND : static_cast<double>(number(1, 6))});
      cost[k] = columns.back().cost;
      Vector unit{};
      unit[k] = -1;
      if (!free) spaces.push_back({unit, 0});
      unit[k] = 1;
      if (columns.back().upper < CPX_INFBOUND) spaces.push_back({unit, columns.back().upper});
    }
    if (n == 2) {
      spaces.push_back({{0, 0, 1}, 0});
      spaces.push_back({{0, 0, -1}, 0});
    }
    for (int i = number(1, 6); i > 0; --i) {
      Row row{{}, "LGE"[number(0, 9) % 5 % 3], static_cast<double>(number(-6, 9))};
      Vector normal{};
      for (int j = 0; j < n; ++j) {
        row.coefficients.push_back(number(-4, 4));
        normal[static_cast<std::size_t>(j)] = row.coefficients.back();
      }
      const Vector opposite{-normal[0], -normal[1], -normal[2]};
      if (row.sense != 'G') spaces.push_back({normal, row.rhs});
      if (row.sense != 'L') spaces.push_back({opposite, -row.rhs});
      rows.push_back(row);
    }
    const Expected expected = by_vertices(cost, spaces);
    ++seen[expected.status];
    for (int variant = 0; variant < 4; ++variant) {
      Program program(columns, rows, variant & 1 ? -1 : 1);
      program.set(CPX_PARAM_PREIND, variant < 2);
      ASSERT_EQ(program.solve(variant != 3), expected.status) << "round " << round;
      if (expected.status != CPX_STAT_OPTIMAL) continue;
      const double sign = variant & 1 ? -1 : 1;
      EXPECT_NEAR(sign * program.value(), static_cast<double>(expected.value),
                  1e-12 * (1 + std::fabs(static_cast<double>(expected.value))))
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
  for (int round = 0; round < 60; ++round) {
    const int n = 25;
    std::vector<Column> columns;
    std::vector<Row> rows;
    for (int j = 0; j < n; ++j) {
      columns.push_back({std::fabs(coefficient(random)), -CPX_INFBOUND, CPX_INFBOUND});
    }
    std::vector<double> inside(n);
    for (double& x : inside) x = 10 * coefficient(random);
    for (int i = 0; i < 4 * n; ++i) {
      Row row{{}, 'G', -std::fabs(coefficient(random))};
      for (int j = 0; j < n; ++j) {
        row.coefficients.push_back(coefficient(random));
        row.rhs += row.coefficients.back() * inside[static_cast<std::size_t>(j)];
      }
      rows.push_back(row);
    }
    for (int j = 0; j < n; ++j) {
      Row row{std::vector<double>(n, 0.0), 'G', -100.0 / 3};
      row.coefficients[static_cast<std::size_t>(j)] = 1;
      rows.push_back(row);
    }
    Program program(columns, rows, 1);
    ASSERT_EQ(program.solve(true), 1);
    const std::vector<double> x = program.x();
    int tight = 0;
    for (const Row& row : rows) {
      long double activity = 0, scale = std::fabs(row.rhs);
      for (int j = 0; j < n; ++j) {
        const auto k = static_cast<std::size_t>(j);
        activity += static_cast<long double>(row.coefficients[k]) * x[k];
        scale += std::fabs(row.coefficients[k] * x[k]);
      }
      const long double slack = activity - row.rhs;
      EXPECT_GE(slack, -2e-16L * scale);
      tight += slack <= 2e-16L * scale;
    }
    EXPECT_EQ(tight, n) << "round " << round;
  }
}

}  // namespace
}  // namespace planloc
