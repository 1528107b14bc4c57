// ClpLibrary: statuses and solutions beside those of clp_peer_test.cpp, parameters, return codes.
#include "planloc/engine/clp_library.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
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
    {"unbounded column beside crossed bounds", {{-1, 0, kInf}, {0, 2, 1}}, {}, 2, 0},
    {"unbounded column beside an empty row that fails", {{-1, 0, kInf}}, {{{0}, 'E', 1}}, 2, 0},
    // The dual side is infeasible, too, and presolve sees it first.
    {"infeasible twice", {{-1, 0, kInf}, {0, 0, 1}, {0, 0, 1}}, {{{0, 1, 1}, 'G', 3}}, 2, 0},
    {"unbounded, presolve sees it", {{-1, 0, kInf}, {0, 0, 1}}, {{{0, 1}, 'L', 3}}, 3, 0},
    {"unbounded by a price that scaling hides",
     {{0.93, 0, kInf}, {-0.075, 0, kInf}, {-3.9, -kInf, 50}, {0.058, 0, kInf}, {-71, -kInf, 50}},
     {{{598, 0.066, 491, 85, -2.2e-5}, 'L', -846},
      {{4.5e-6, 639, -0.094, -3.5e-4, 0.091}, 'G', 9.6}},
     3,
     0},
    {"bounds at 1e20 are infinite", {{-1, -1e20, 1e20}}, {{{1}, 'G', 0}}, 3, 0},
    {"bounds within are not", {{-1, -1e20, 9e19}}, {{{1}, 'G', 0}}, 1, -9e19},
    {"a right-hand side of 1e20 restricts nothing", {{-1, 0, kInf}}, {{{1}, 'L', 1e20}}, 3, 0},
};

TEST(ClpStatusTest, MatrixOfCases) {
  for (const StatusCase& c : kStatusCases) {
    for (int variant = 0; variant < 8; ++variant) {
      const int sense = variant & 1 ? -1 : 1;
      Program program(c.columns, c.rows, sense);
      program.set(CPX_PARAM_PREIND, (variant & 2) != 0);
      EXPECT_EQ(program.solve((variant & 4) != 0), c.status) << c.what << ", " << variant;
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

struct Three : Program {
  Three()
      : Program(std::vector<Column>(3, {-1, 0, kInf}),
                {{{1, 2, 3}, 'L', 10}, {{3, 1, 2}, 'L', 12}, {{1, 4, 1}, 'L', 9}}, 1) {
    set(CPX_PARAM_PREIND, 0);
  }
};

TEST(ClpSolveTest, LaterSolvesStartFromTheBasis) {
  Three program;
  ASSERT_EQ(program.solve(false), 1);
  EXPECT_GT(program.iterations(), 0);
  program.add_sparse_row({{0, 1}}, 'L', 6000);  // not binding: nothing to do
  ASSERT_EQ(program.solve(false), 1);
  EXPECT_EQ(program.iterations(), 0);
  program.set(CPX_PARAM_ADVIND, 0);
  ASSERT_EQ(program.solve(false), 1);
  EXPECT_GT(program.iterations(), 0);
}

TEST(ClpSolveTest, LimitsEndASolve) {
  const auto run = [](int limit, double seconds) {
    Three program;
    program.set(CPX_PARAM_ITLIM, limit);
    program.library.CPXsetdblparam(program.env, CPX_PARAM_TILIM, seconds);
    return program.solve(false);
  };
  EXPECT_EQ(run(1000, 1e75), CPX_STAT_OPTIMAL);
  EXPECT_EQ(run(0, 1e75), CPX_STAT_IT_LIM_FEAS);
  EXPECT_EQ(run(1000, 0), CPX_STAT_TIME_LIM_FEAS);
}

TEST(ClpParameterTest, RangesDefaultsAndUnknownNumbers) {
  ClpLibrary library;
  int status = -1;
  CPXENVptr env = library.CPXopenCPLEXdevelop(&status);
  ASSERT_EQ(status, 0);
  const std::array<int, 3> ints[] = {{1030, 0, 0},     {1030, 1, 0},    {1030, 2, 1015},
                                     {1030, -1, 1014}, {1006, 2, 0},    {1006, 0, 1014},
                                     {1019, 2, 0},     {1019, 3, 1015}, {1035, 1, 0},
                                     {1016, 1, 1013},  {99, 0, 1013},   {1004, 0, 1014}};
  int value = 0;
  for (const auto& [number, given, code] : ints) {
    value = -7;
    EXPECT_EQ(library.CPXsetintparam(env, number, given), code) << number;
    library.CPXgetintparam(env, number, &value);
    EXPECT_EQ(value == given, code == 0) << number;
  }
  EXPECT_EQ(library.CPXsetdblparam(env, 1016, 1e-9), 0);
  EXPECT_EQ(library.CPXsetdblparam(env, 1016, 1e-10), 1014);
  EXPECT_EQ(library.CPXsetdblparam(env, 1016, 1), 1015);
  EXPECT_EQ(library.CPXsetdblparam(env, 1016, std::nan("")), CPXERR_BAD_NUMBER);
  EXPECT_EQ(library.CPXsetdblparam(env, 1030, 1), 1013);
  EXPECT_EQ(library.CPXsetstrparam(env, 1030, "a"), 1013);
  EXPECT_EQ(library.CPXinfointparam(env, 1046, &value, nullptr, nullptr), 0);
  EXPECT_EQ(value, 100);
  EXPECT_EQ(library.CPXinfointparam(env, 99, &value, nullptr, nullptr), 1013);
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
  const auto new_column = [&](const char* type) {
    return lib.CPXnewcols(p.env, p.lp, 1, nullptr, nullptr, nullptr, type, nullptr);
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
  EXPECT_EQ(new_column("X"), CPXERR_BAD_CTYPE);
  double bound = 0;
  EXPECT_EQ(lib.CPXgetlb(p.env, p.lp, &bound, 0, -1), CPXERR_INDEX_RANGE);
  EXPECT_EQ(lib.CPXgetub(p.env, p.lp, &bound, 2, 2), CPXERR_INDEX_RANGE);
  ASSERT_EQ(p.solve(true), 1);
  EXPECT_EQ(lib.CPXgetx(p.env, p.lp, &bound, 0, 2), CPXERR_INDEX_RANGE);
  EXPECT_EQ(new_column("B"), 0);
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
  const int codes[] = {column(nan, 0, 1),
                       column(1, nan, 1),
                       column(1, 0, nan),
                       column(-1e25, 0, 1),
                       row(nan, 1),
                       row(-1.1e20, 1),
                       row(1, nan),
                       cost(nan),
                       cost(1e25),
                       cost(-inf),
                       lib.CPXchgbds(p.env, p.lp, 1, zero, "L", &nan),
                       lib.CPXtightenbds(p.env, p.lp, 1, zero, "U", &nan)};
  for (const int& code : codes) EXPECT_EQ(code, CPXERR_BAD_NUMBER) << &code - codes;
  EXPECT_EQ(lib.CPXgetnumcols(p.env, p.lp), 1);
  EXPECT_EQ(lib.CPXgetnumrows(p.env, p.lp), 0);
  EXPECT_EQ(lib.CPXchgbds(p.env, p.lp, 1, zero, "L", &one), 0);
  EXPECT_EQ(cost(9.9e24), 0);
  EXPECT_EQ(row(1e20, -inf), 0);
  ASSERT_EQ(p.solve(true), 1);
  EXPECT_EQ(p.value(), 9.9e24);
  EXPECT_EQ(row(1, inf), 0);
  EXPECT_EQ(p.solve(true), 2);
}

TEST(ClpMatrixTest, TightenedBoundsNeverWiden) {
  Program p({{1, 0, 10}, {-1, 0, 10}}, {}, 1);
  const int columns[] = {0, 0, 1, 1};
  const double values[] = {2, -1, 8, 11};
  p.library.CPXtightenbds(p.env, p.lp, 4, columns, "LLUU", values);
  ASSERT_EQ(p.solve(true), 1);
  EXPECT_EQ(p.x(), (std::vector<double>{2, 8}));
}

}  // namespace
}  // namespace planloc
