// ClpLibrary: statuses, solutions, parameters and return codes.
#include "planloc/engine/clp_library.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <string>

#include "clp_program.h"

namespace planloc {
namespace {

constexpr double kInf = CPX_INFBOUND;

struct StatusCase {
  const char* what;
  std::vector<Column> columns;
  std::vector<Row> rows;
  int status;
  double value;
};

const StatusCase kStatusCases[] = {
    {"no columns, no rows", {}, {}, 1, 0},
    {"no columns, a row that holds", {}, {{{}, 'L', 1}}, 1, 0},
    {"no columns, a row that fails", {}, {{{}, 'G', 1}}, 2, 0},
    {"no rows", {{1, -2, 3}, {-1, -2, 3}, {0, -kInf, kInf}}, {}, 1, -5},
    {"no rows, unbounded", {{-1, 0, kInf}}, {}, 3, 0},
    {"no rows, unbounded below", {{1, -kInf, 0}}, {}, 3, 0},
    {"no rows, crossed bounds", {{1, 2, 1}}, {}, 2, 0},
    {"unbounded column beside crossed bounds", {{-1, 0, kInf}, {0, 2, 1}}, {}, 2, 0},
    {"unbounded column beside an empty row that fails", {{-1, 0, kInf}}, {{{0}, 'E', 1}}, 2, 0},
    {"optimal", {{-1, 0, kInf}, {-1, 0, kInf}}, {{{1, 2}, 'L', 4}, {{3, 1}, 'L', 6}}, 1, -2.8},
    {"infeasible pair of rows", {{1, -kInf, kInf}}, {{{1}, 'L', 1}, {{1}, 'G', 2}}, 2, 0},
    {"infeasible by bounds", {{0, 0, 1}, {0, 0, 1}}, {{{1, 1}, 'G', 3}}, 2, 0},
    {"infeasible in three rows",
     {{0, -kInf, kInf}, {0, -kInf, kInf}},
     {{{1, 1}, 'G', 1}, {{1, -1}, 'E', 0}, {{1, 0}, 'L', 0.25}},
     2,
     0},
    {"unbounded along a ray", {{-1, 0, kInf}, {0, 0, kInf}}, {{{1, -1}, 'L', 1}}, 3, 0},
    {"unbounded only in a free direction",
     {{1, -kInf, kInf}, {-1, -kInf, kInf}},
     {{{1, 1}, 'E', 3}},
     3,
     0},
    {"bounded in spite of free columns",
     {{1, -kInf, kInf}, {1, -kInf, kInf}},
     {{{1, 1}, 'G', 3}, {{1, -1}, 'L', 1}},
     1,
     3},
    {"primal and dual infeasible",
     {{-1, 0, kInf}, {-1, 0, kInf}},
     {{{1, -1}, 'L', -1}, {{-1, 1}, 'L', -1}},
     2,
     0},
    {"primal and dual infeasible, presolve sees the dual side first",
     {{-1, 0, kInf}, {0, 0, 1}, {0, 0, 1}},
     {{{0, 1, 1}, 'G', 3}},
     2,
     0},
    {"unbounded, presolve sees it", {{-1, 0, kInf}, {0, 0, 1}}, {{{0, 1}, 'L', 3}}, 3, 0},
    {"unbounded by a price that scaling hides",
     {{0.93, 0, kInf}, {-0.075, 0, kInf}, {-3.9, -kInf, 50}, {0.058, 0, kInf}, {-71, -kInf, 50}},
     {{{598, 0.066, 491, 85, -2.2e-5}, 'L', -846},
      {{4.5e-6, 639, -0.094, -3.5e-4, 0.091}, 'G', 9.6}},
     3,
     0},
    {"solved by presolve",
     {{1, 0, kInf}, {1, 0, kInf}},
     {{{1, 0}, 'E', 2}, {{1, 1}, 'E', 5}},
     1,
     5},
    {"bounds at 1e20 are infinite", {{-1, -1e20, 1e20}}, {{{1}, 'G', 0}}, 3, 0},
    {"bounds within are not", {{-1, -1e20, 9e19}}, {{{1}, 'G', 0}}, 1, -9e19},
    {"a right-hand side of 1e20 restricts nothing", {{-1, 0, kInf}}, {{{1}, 'L', 1e20}}, 3, 0},
    {"explicit zero coefficient",
     {{1, 0, kInf}, {1, 0, 4}},
     {{{0, 0}, 'L', 0}, {{1, 1}, 'G', 1}},
     1,
     1},
};

TEST(ClpStatusTest, MatrixOfCases) {
  for (const StatusCase& c : kStatusCases) {
    for (const bool presolve : {true, false}) {
      for (const bool dual : {true, false}) {
        for (const int sense : {1, -1}) {
          Program program(c.columns, c.rows, sense);
          program.set(CPX_PARAM_PREIND, presolve);
          EXPECT_EQ(program.solve(dual), c.status)
              << c.what << ", presolve " << presolve << ", dual " << dual << ", sense " << sense;
          if (c.status == CPX_STAT_OPTIMAL) {
            EXPECT_NEAR(program.value(), sense * c.value, 1e-12 * std::fabs(c.value)) << c.what;
          } else {
            double x = 0;
            EXPECT_EQ(program.library.CPXgetobjval(program.env, program.lp, &x), CPXERR_NO_SOLN);
            EXPECT_EQ(program.library.CPXgetx(program.env, program.lp, &x, 0, 0), CPXERR_NO_SOLN);
          }
        }
      }
    }
  }
}

// min sum of distances to n points on a line, as a program of 2n rows: the median is the answer.
TEST(ClpStatusTest, ThousandDistancesOnALine) {
  constexpr int n = 1001;
  std::mt19937 random(3);
  std::vector<int> points(n);
  for (int& p : points) p = static_cast<int>(random() % 5000);
  std::vector<Column> columns(n + 1, {1, 0, kInf});
  columns[n] = {0, -kInf, kInf};
  Program program(columns, {}, 1);
  for (int i = 0; i < n; ++i) {
    program.add_sparse_row({{n, 1}, {i, -1}}, 'L', points[static_cast<std::size_t>(i)]);
    program.add_sparse_row({{n, -1}, {i, -1}}, 'L', -points[static_cast<std::size_t>(i)]);
  }
  ASSERT_EQ(program.solve(true), 1);
  std::sort(points.begin(), points.end());
  EXPECT_EQ(program.x()[n], points[n / 2]);
  double sum = 0;
  for (const int p : points) sum += std::abs(p - points[n / 2]);
  EXPECT_EQ(program.value(), sum);
  program.add_sparse_row({{n, 1}}, 'G', 6000);
  ASSERT_EQ(program.solve(true), 1);
  EXPECT_EQ(program.x()[n], 6000);
  program.add_sparse_row({{n, 1}}, 'L', 5999);
  EXPECT_EQ(program.solve(true), 2);
}

TEST(ClpSolveTest, LaterSolvesStartFromTheBasis) {
  std::mt19937 random(5);
  std::vector<Column> columns(40, {1, 0, kInf});
  Program program(columns, {}, 1);
  for (int i = 0; i < 60; ++i) {
    std::vector<std::pair<int, double>> entries;
    for (int j = 0; j < 40; j += 1 + static_cast<int>(random() % 7)) {
      entries.push_back({j, 1.0 + static_cast<double>(random() % 9)});
    }
    program.add_sparse_row(entries, 'G', 1.0 + static_cast<double>(random() % 50));
  }
  program.set(CPX_PARAM_PREIND, 0);
  ASSERT_EQ(program.solve(true), 1);
  const int cold = program.iterations();
  ASSERT_GT(cold, 5);
  const double value = program.value();
  ASSERT_EQ(program.solve(true), 1);
  EXPECT_EQ(program.iterations(), 0);
  EXPECT_EQ(program.value(), value);
  program.add_sparse_row({{0, 1}, {1, 1}}, 'L', 1e6);  // not binding: nothing to do
  ASSERT_EQ(program.solve(true), 1);
  EXPECT_EQ(program.iterations(), 0);
  program.set(CPX_PARAM_ADVIND, 0);
  ASSERT_EQ(program.solve(true), 1);
  EXPECT_GE(program.iterations(), cold - 1);
}

TEST(ClpSolveTest, LimitsEndASolve) {
  const auto run = [](int limit, double seconds) {
    Program program(std::vector<Column>(3, {-1, 0, kInf}),
                    {{{1, 2, 3}, 'L', 10}, {{3, 1, 2}, 'L', 12}, {{1, 4, 1}, 'L', 9}}, 1);
    program.set(CPX_PARAM_PREIND, 0);
    program.set(CPX_PARAM_ITLIM, limit);
    program.library.CPXsetdblparam(program.env, CPX_PARAM_TILIM, seconds);
    return program.solve(false);
  };
  EXPECT_EQ(run(1000, 1e75), CPX_STAT_OPTIMAL);
  EXPECT_EQ(run(0, 1e75), CPX_STAT_ABORT_IT_LIM);
  EXPECT_EQ(run(1000, 0), CPX_STAT_ABORT_TIME_LIM);
}

TEST(ClpParameterTest, RangesDefaultsAndUnknownNumbers) {
  ClpLibrary library;
  int status = -1;
  CPXENVptr env = library.CPXopenCPLEXdevelop(&status);
  ASSERT_EQ(status, 0);
  const struct {
    int number, value, code;
  } ints[] = {{1030, 0, 0}, {1030, 1, 0},    {1030, 2, 1015}, {1030, -1, 1014},
              {1006, 2, 0}, {1006, 0, 1014}, {1019, 2, 0},    {1019, 3, 1015},
              {1035, 1, 0}, {1016, 1, 1013}, {99, 0, 1013},   {1004, 0, 1014}};
  for (const auto& c : ints) {
    EXPECT_EQ(library.CPXsetintparam(env, c.number, c.value), c.code) << c.number;
    int value = -7;
    if (c.code == 0) {
      EXPECT_EQ(library.CPXgetintparam(env, c.number, &value), 0);
      EXPECT_EQ(value, c.value) << c.number;
    }
  }
  EXPECT_EQ(library.CPXsetdblparam(env, 1016, 1e-9), 0);
  EXPECT_EQ(library.CPXsetdblparam(env, 1016, 1e-10), 1014);
  EXPECT_EQ(library.CPXsetdblparam(env, 1016, 1), 1015);
  EXPECT_EQ(library.CPXsetdblparam(env, 1030, 1), 1013);
  EXPECT_EQ(library.CPXsetstrparam(env, 1030, "a"), 1013);
  int fallback = 0, low = 0, high = 0;
  EXPECT_EQ(library.CPXinfointparam(env, 1046, &fallback, &low, &high), 0);
  EXPECT_EQ(fallback, 100);
  EXPECT_EQ(library.CPXinfointparam(env, 99, &fallback, &low, &high), 1013);
  char text[510];
  EXPECT_STREQ(library.CPXgeterrorstring(nullptr, 1013, text),
               "Error 1013: Invalid parameter number.");
  EXPECT_EQ(library.CPXgeterrorstring(env, 1, text), nullptr);
  library.CPXcloseCPLEX(&env);
  EXPECT_EQ(env, nullptr);
  EXPECT_EQ(library.CPXsetintparam(env, 1030, 1), CPXERR_NO_ENVIRONMENT);
}

TEST(ClpMatrixTest, CodesOfBadArgumentsAndNoChange) {
  Program p({{1, 0, 1}, {1, 0, 1}}, {{{1, 1}, 'L', 1}}, 1);
  ClpLibrary& lib = p.library;
  const int starts[] = {0}, twice[] = {1, 1}, beyond[] = {0, 2};
  const double ones[] = {1, 1};
  const auto add = [&](const int* indices, const char* sense) {
    return lib.CPXaddrows(p.env, p.lp, 0, 1, 2, ones, sense, starts, indices, ones, nullptr,
                          nullptr);
  };
  EXPECT_EQ(add(twice, "L"), CPXERR_DUP_ENTRY);
  EXPECT_EQ(add(beyond, "L"), CPXERR_COL_INDEX_RANGE);
  EXPECT_EQ(add(twice, "R"), CPXERR_BAD_SENSE);
  EXPECT_EQ(lib.CPXgetnumrows(p.env, p.lp), 1);
  EXPECT_EQ(lib.CPXdelrows(p.env, p.lp, 0, 1), CPXERR_INDEX_RANGE);
  EXPECT_EQ(lib.CPXchgobj(p.env, p.lp, 2, beyond, ones), CPXERR_COL_INDEX_RANGE);
  EXPECT_EQ(lib.CPXchgbds(p.env, p.lp, 2, beyond, "LL", ones), CPXERR_COL_INDEX_RANGE);
  EXPECT_EQ(lib.CPXchgbds(p.env, p.lp, 1, beyond, "X", ones), CPXERR_BAD_ARGUMENT);
  EXPECT_EQ(lib.CPXchgname(p.env, p.lp, 'r', 1, "a"), CPXERR_ROW_INDEX_RANGE);
  EXPECT_EQ(lib.CPXchgname(p.env, p.lp, 'r', 0, "a"), 0);
  EXPECT_EQ(lib.CPXnewcols(p.env, p.lp, 1, nullptr, nullptr, nullptr, "X", nullptr),
            CPXERR_BAD_CTYPE);
  double bound = 0;
  EXPECT_EQ(lib.CPXgetlb(p.env, p.lp, &bound, 0, -1), CPXERR_INDEX_RANGE);
  EXPECT_EQ(lib.CPXgetub(p.env, p.lp, &bound, 2, 2), CPXERR_INDEX_RANGE);
  EXPECT_EQ(lib.CPXgetnumnz(p.env, p.lp), 2);
  ASSERT_EQ(p.solve(true), 1);
  EXPECT_EQ(lib.CPXgetx(p.env, p.lp, &bound, 0, 2), CPXERR_INDEX_RANGE);
  EXPECT_EQ(lib.CPXnewcols(p.env, p.lp, 1, nullptr, nullptr, nullptr, "B", nullptr), 0);
  EXPECT_EQ(lib.CPXgetprobtype(p.env, p.lp), CPXPROB_MIP);
  EXPECT_EQ(lib.CPXdualopt(p.env, p.lp), CPXERR_NOT_FOR_MIP);
  EXPECT_EQ(lib.CPXchgprobtype(p.env, p.lp, CPXPROB_RELAXED), 0);
  EXPECT_EQ(lib.CPXdualopt(p.env, p.lp), 0);
}

TEST(ClpMatrixTest, NumbersThatAreRefusedChangeNothing) {
  Program p({{1, 0, 2}}, {}, 1);
  ClpLibrary& lib = p.library;
  const int zero[] = {0};
  const double nan = std::nan(""), inf = HUGE_VAL, one = 1;
  const auto column = [&](double cost, double lower, double upper) {
    return lib.CPXnewcols(p.env, p.lp, 1, &cost, &lower, &upper, nullptr, nullptr);
  };
  const auto row = [&](double value, double rhs) {
    return lib.CPXaddrows(p.env, p.lp, 0, 1, 1, &rhs, "G", zero, zero, &value, nullptr, nullptr);
  };
  const auto cost = [&](double value) { return lib.CPXchgobj(p.env, p.lp, 1, zero, &value); };
  for (const double bad : {nan, inf, -inf, 1e300, 1e25, -1e25}) {
    EXPECT_EQ(column(bad, 0, 1), CPXERR_BAD_NUMBER) << bad;
    EXPECT_EQ(row(bad, 1), CPXERR_BAD_NUMBER) << bad;
    EXPECT_EQ(cost(bad), CPXERR_BAD_NUMBER) << bad;
  }
  EXPECT_EQ(row(1.1e20, 1), CPXERR_BAD_NUMBER);
  EXPECT_EQ(row(1, nan), CPXERR_BAD_NUMBER);
  EXPECT_EQ(column(1, nan, 1), CPXERR_BAD_NUMBER);
  EXPECT_EQ(column(1, 0, nan), CPXERR_BAD_NUMBER);
  EXPECT_EQ(lib.CPXchgbds(p.env, p.lp, 1, zero, "L", &nan), CPXERR_BAD_NUMBER);
  EXPECT_EQ(lib.CPXtightenbds(p.env, p.lp, 1, zero, "U", &nan), CPXERR_BAD_NUMBER);
  EXPECT_EQ(lib.CPXgetnumcols(p.env, p.lp), 1);
  EXPECT_EQ(lib.CPXgetnumrows(p.env, p.lp), 0);
  ASSERT_EQ(p.solve(true), 1);
  EXPECT_EQ(p.value(), 0);
  EXPECT_EQ(lib.CPXchgbds(p.env, p.lp, 1, zero, "L", &one), 0);
  EXPECT_EQ(cost(9.9e24), 0);
  EXPECT_EQ(row(1e20, -inf), 0);
  ASSERT_EQ(p.solve(true), 1);
  EXPECT_EQ(p.value(), 9.9e24);
  EXPECT_EQ(row(1, inf), 0);
  EXPECT_EQ(p.solve(true), 2);
}

// Costs come close to 1e25, where CLP ends the process, and its scaling takes them beyond.
TEST(ClpSolveTest, APowerOfTwoOnAllCostsChangesTheValueOnly) {
  std::mt19937 random(11);
  std::uniform_real_distribution<double> mantissa(1, 10);
  const auto number = [&](int low, int high) {
    const int exponent = low + static_cast<int>(random() % static_cast<unsigned>(high - low + 1));
    return mantissa(random) * std::pow(10.0, exponent) * (random() % 3 ? 1 : -1);
  };
  int optimal = 0;
  for (int round = 0; round < 400; ++round) {
    std::vector<Column> columns;
    std::vector<Row> rows;
    const auto n = 2 + random() % 4;
    for (std::size_t j = 0; j < n; ++j) {
      columns.push_back({number(-2, 2), random() % 3 ? 0 : -kInf, random() % 3 ? kInf : 50});
    }
    for (auto i = 1 + random() % 5; i > 0; --i) {
      Row row{{}, "LGE"[random() % 3], number(-3, 2)};
      for (std::size_t j = 0; j < n; ++j) row.coefficients.push_back(number(-6, 5));
      rows.push_back(row);
    }
    const bool presolve = random() % 2, dual = random() % 2;
    const auto solved = [&](double scale) {
      std::vector<Column> scaled = columns;
      for (Column& column : scaled) column.cost *= scale;
      Program program(scaled, rows, 1);
      program.set(CPX_PARAM_PREIND, presolve);
      const int status = program.solve(dual);
      return std::pair(status, status == 1 ? program.value() / scale : 0.0);
    };
    const auto plain = solved(1), large = solved(std::ldexp(1.0, 73));
    if (plain.first > 3 || large.first > 3) continue;
    EXPECT_EQ(large.first, plain.first) << round;
    EXPECT_NEAR(large.second, plain.second, 1e-6 * std::fabs(plain.second)) << round;
    optimal += plain.first == 1;
  }
  EXPECT_GT(optimal, 50);
}

TEST(ClpMatrixTest, TightenedBoundsNeverWiden) {
  Program p({{1, 0, 10}}, {}, 1);
  const int zeros[] = {0, 0, 0, 0};
  const double values[] = {-1, 11, 2, 8};
  p.library.CPXtightenbds(p.env, p.lp, 4, zeros, "LULU", values);
  double lb = 0, ub = 0;
  p.library.CPXgetlb(p.env, p.lp, &lb, 0, 0);
  p.library.CPXgetub(p.env, p.lp, &ub, 0, 0);
  EXPECT_EQ(lb, 2);
  EXPECT_EQ(ub, 8);
}

}  // namespace
}  // namespace planloc
