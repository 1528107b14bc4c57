#include "planloc/engine/ilc_linopt.h"

#include <gtest/gtest.h>

#include <cmath>
#include <csignal>
#include <functional>
#include <sstream>
#include <string>

#include "engine_fixture.h"

namespace planloc {
namespace {

const testing::KilledBySignal kAborted(SIGABRT);

using LinOptTest = EngineTest;

TEST_F(LinOptTest, CellProgramInSmall) {
  // Two facilities under the l1 distance; the order weights 1 and 2 pull towards the second.
  IlcLinOpt lp(m, 0);
  IlcFloatVarArray Z(m, 2, 0.0, IlcInfinity), X(m, 2, -IlcInfinity, IlcInfinity);
  const double px[] = {0.5, 4.5}, py[] = {0.25, 1.25};
  lp.setObjMin(1.0 * Z[0] + 2.0 * Z[1], 0);
  for (int f = 0; f < 2; ++f) {
    for (const double a : {-1.0, 1.0}) {
      for (const double b : {-1.0, 1.0}) {
        lp.add(a * (X[0] - px[f]) + b * (X[1] - py[f]) <= Z[f], 0);
      }
    }
  }
  lp.add(Z[0] <= Z[1], 0);
  ASSERT_EQ(lp.dualOpt(), 1);
  EXPECT_EQ(lp.getObjValue(), 7.5);
  EXPECT_EQ(lp.getCurrentValue(Z[0]), 2.5);
  EXPECT_EQ(lp.getCurrentValue(Z[1]), 2.5);
  EXPECT_EQ(lp.getNumberOfRows(), 9);
  EXPECT_EQ(lp.getNumberOfColumns(), 4);
  lp.end();
}

TEST_F(LinOptTest, StatusesAreThoseOfTheLibrary) {
  const struct {
    double cost, rhs;
    int status;
  } cases[] = {{1, 3, 1}, {1, -3, 2}, {-1, 3, 3}, {-1, -3, 2}};
  for (const auto& c : cases) {
    IlcLinOpt lp(m, 0);
    IlcFloatVar x = at_least_zero(), y(m, 0, 2), z = at_least_zero();
    lp.setObjMin(c.cost * z + y);
    lp.add(x + y <= constant(c.rhs));
    lp.add(x <= z);
    EXPECT_EQ(lp.dualOpt(), c.status) << c.cost << ' ' << c.rhs;
    EXPECT_EQ(lp.primalOpt(), c.status) << c.cost << ' ' << c.rhs;
    lp.end();
  }
}

TEST_F(LinOptTest, ObjectiveVariable) {
  IlcLinOpt lp(m, 0);
  IlcFloatVar x(m, 1, 4), y(m, 2, 5), fixed(m, 3, 3);
  EXPECT_EQ(lp.setObjMin(x).getImpl(), x.getImpl());
  EXPECT_EQ(lp.setObjMin(1.0 * x + 0.0 * y).getImpl(), x.getImpl());
  EXPECT_EQ(lp.setObjMin(0.25 * x + 0.75 * x).getImpl(), x.getImpl());
  EXPECT_EQ(lp.getNumberOfColumns(), 1);

  const IlcFloatVar twice = lp.setObjMin(2.0 * x);
  EXPECT_NE(twice.getImpl(), x.getImpl());
  EXPECT_EQ(lp.dualOpt(), 1);
  EXPECT_EQ(lp.getCurrentValue(twice), 2);

  const IlcFloatVar sum = lp.setObjMax(x + 2.0 * y + fixed);
  EXPECT_EQ(sum.getMin(), -IlcInfinity);
  EXPECT_EQ(lp.dualOpt(), 1);
  EXPECT_EQ(lp.getObjValue(), 17);
  EXPECT_EQ(lp.getCurrentValue(sum), 17);
  EXPECT_EQ(lp.getCurrentValue(fixed), 3);
  EXPECT_EQ(lp.getVarIndex(sum), -1);

  const IlcFloatVar none = lp.setObjMin(0.0 * x);
  EXPECT_EQ(none.getValue(), 0);
  EXPECT_EQ(lp.dualOpt(), 1);
  EXPECT_EQ(lp.getObjValue(), 0);

  const int columns = lp.getNumberOfColumns();
  const IlcFloatVar converted = lp.setObjMin(x + y, 2);
  EXPECT_EQ(converted.getMin(), 3);
  EXPECT_EQ(converted.getMax(), 9);
  EXPECT_EQ(lp.getNumberOfColumns(), columns);
  lp.end();
}

TEST_F(LinOptTest, NumbersThatTheLibraryRefusesAreReported) {
  const double nan = std::nan("");
  const auto refused = [](const char* name) {
    return Report{CPXERR_BAD_NUMBER,
                  std::string(name) + " : Error 1225: Number is not finite or too large."};
  };
  for (const double number : {1e25, -1e25, 1e300, -IlcInfinity, nan}) {
    IlcLinOpt lp(m, 0);
    IlcFloatVar x = at_least_zero(), y = at_least_zero();
    EXPECT_EQ(report_of([&] { lp.setObjMin(number * x + y); }), refused("IlcCplex::chgObj"))
        << number;
    lp.setObjMin(x + y);
    lp.add(number * x + y <= constant(1));
    EXPECT_EQ(report_of([&] { lp.dualOpt(); }), refused("IlcCplex::postToCplex")) << number;
    lp.end();
  }
  IlcLinOpt lp(m, 0);
  IlcFloatVar x = at_least_zero(), y = at_least_zero();
  lp.setObjMin(9e24 * x + 5e24 * y);
  EXPECT_EQ(lp.dualOpt(), 1);
  EXPECT_EQ(report_of([&] { lp.add(1e25 * x <= y); }), refused("IlcCplex::newRow"));
  EXPECT_EQ(report_of([&] { lp.add(x + nan <= y); }), refused("IlcCplex::newRow"));
  EXPECT_EQ(report_of([&] { lp.add(IlcFloatVar(m, nan, 1) + x <= y); }),
            refused("IlcCplex::newCols"));
  lp.end();
}

TEST_F(LinOptTest, LinkedOptimiserCarriesTheObjectiveAsARow) {
  IlcLinOpt lp(m, 1);
  IlcFloatVar x(m, 1, 4), y(m, 2, 5);
  const IlcFloatVar objective = lp.setObjMax(x + y);
  EXPECT_EQ(lp.dualOpt(), 1);
  EXPECT_EQ(lp.getNumberOfRows(), 1);
  EXPECT_EQ(lp.getVarIndex(objective), 2);
  EXPECT_EQ(lp.getCurrentValue(objective), 9);
  EXPECT_EQ(m.getErrorReporter(), ilc_default_reporter()) << "a = 1 installs nothing";
  lp.end();
}

TEST_F(LinOptTest, LevelsChooseBetweenProgramAndManager) {
  IlcLinOpt lp(m, 0);
  IlcFloatVar x(m, 0, 10), y(m, 0, 5);
  lp.setObjMax(x);
  const IlcConstraint row = x <= y, both = x + 1.0 <= y, manager_only = x + 2.0 <= y;
  lp.add(row, 0);
  EXPECT_EQ(x.getMax(), 10);
  lp.add(both, 1);
  EXPECT_EQ(x.getMax(), 4);
  lp.add(manager_only, 2);
  EXPECT_EQ(x.getMax(), 3);
  EXPECT_EQ(lp.dualOpt(), 1);
  EXPECT_EQ(lp.getObjValue(), 3);
  EXPECT_EQ(lp.getNumberOfRows(), 2);
  EXPECT_TRUE(m.isAdded(both));
  lp.remove(both);
  EXPECT_FALSE(m.isAdded(both));
  EXPECT_EQ(lp.getNumberOfRows(), 1);
  lp.end();
}

TEST_F(LinOptTest, ConstraintsThatMakeNoRow) {
  IlcFloatVar x(m, 0, 4), y(m, 0, 6), zero(m, 0, 0), fixed(m, 2, 2);
  IlcFloatVar low(m, 1, 9), high(m, 0, 1);
  const struct {
    IlcConstraint ct;
    int rows;
    const char* what;
  } cases[] = {{x <= y + 4.0, 0, "always satisfied"},
               {x <= y, 1, "a row"},
               {low <= high, 0, "satisfied at one point only"},
               {x + zero <= constant(3), 0, "one term beside a zero"},
               {fixed + x <= y, 1, "a fixed variable beside two terms"},
               {1e-200 * (1e-200 * free_variable()) + x <= y, 1, "a coefficient that vanishes"},
               {1e-200 * (1e-200 * y) + at_least_zero() <= constant(3), 0, "and leaves one term"},
               {constant(1) <= fixed, 0, "no term"},
               {x + y >= constant(1), 1, "greater or equal"},
               {x == y, 1, "equal"},
               {fixed + y == constant(5), 0, "equation of one term"}};
  int rows = 0;
  IlcLinOpt lp(m, 0);
  for (const auto& c : cases) {
    lp.add(c.ct);
    rows += c.rows;
    EXPECT_EQ(lp.getNumberOfRows(), rows) << c.what;
    EXPECT_EQ(lp.getConstraintIndex(c.ct), c.rows ? rows - 1 : -1) << c.what;
  }
  EXPECT_EQ(low.getMax(), 1);
  EXPECT_EQ(high.getMin(), 1);
  EXPECT_EQ(x.getMax(), 3);
  EXPECT_EQ(y.getMin(), 3);
  EXPECT_EQ(y.getMax(), 3);
  lp.end();
  EXPECT_EXIT(
      {
        IlcLinOpt conflict(m, 0);
        conflict.useExceptions(0);
        m.setErrorReporter(ilc_default_reporter());
        conflict.add(x >= constant(20));
        conflict.dualOpt();
      },
      kAborted, "fail not in a Solve");
}

TEST_F(LinOptTest, ManyTermsGrowTheScratchArrays) {
  IlcLinOpt lp(m, 0);
  IlcFloatVarArray vars(m, 4500, 0.0, 1.0);
  IlcFloatExp sum = 1.0 * vars[0];
  for (int i = 1; i < vars.getSize(); ++i) sum = sum + (i % 7) * vars[i];
  double expected = 1;
  for (int i = 1; i < vars.getSize(); ++i) expected += i % 7;
  lp.setObjMax(sum);
  EXPECT_EQ(lp.dualOpt(), 1);
  EXPECT_EQ(lp.getObjValue(), expected);
  EXPECT_EQ(lp.getVar(0).getImpl(), vars[0].getImpl());
  EXPECT_EQ(lp.getVarIndex(vars[7]), -1);
  EXPECT_EQ(lp.getVar(lp.getVarIndex(vars[4499])).getImpl(), vars[4499].getImpl());
  EXPECT_EQ(lp.getVar(100000).IlcFloatExp::getImpl(), nullptr);
  lp.end();
}

TEST_F(LinOptTest, ValuesAreClampedToTheVariable) {
  IlcLinOpt lp(m, 0);
  IlcFloatVar x(m, 0, 10);
  lp.setObjMax(x);
  lp.dualOpt();
  EXPECT_EQ(lp.getCurrentValue(x), 10);
  x.setRange(0, 10 - 1e-7);
  EXPECT_EQ(lp.getCurrentValue(x), 10 - 1e-7);
  lp.setObjMin(x);
  lp.dualOpt();
  EXPECT_EQ(lp.getCurrentValue(x), 0);
  x.setRange(1e-7, 10);
  EXPECT_EQ(lp.getCurrentValue(x), 1e-7);
  EXPECT_EQ(lp.getCurrentValue(IlcFloatVar(m, 3, 5)), 3);
  EXPECT_EQ(lp.getCurrentValue(IlcFloatVar(m, -3, -2)), -2);
  EXPECT_EQ(lp.getCurrentValue(free_variable()), 0);
  lp.end();
}

TEST_F(LinOptTest, PendingConstraintsCanBeRemoved) {
  IlcFloatVar x = at_least_zero(), y = at_least_zero();
  const IlcConstraint rows[] = {x + y <= constant(4), x + y <= constant(2), x + y <= constant(3)};
  for (int removed = 0; removed < 3; ++removed) {
    IlcLinOpt lp(m, 0);
    lp.setObjMax(x + y);
    for (const IlcConstraint& row : rows) lp.add(row);
    lp.remove(rows[removed]);
    lp.add(x + 2.0 * y <= constant(100));
    EXPECT_EQ(lp.dualOpt(), 1);
    EXPECT_EQ(lp.getObjValue(), removed == 1 ? 3 : 2);
    EXPECT_EQ(lp.getNumberOfRows(), 3);
    lp.end();
  }
}

TEST_F(LinOptTest, DualValuesSlacksAndReducedCosts) {
  IlcLinOpt lp(m, 0);
  IlcFloatVar x = at_least_zero(), y = at_least_zero(), z = at_least_zero();
  // max 3x + 2y - z: x = 2, y = 3, z = 0, as in a textbook tableau.
  const IlcConstraint first = x + y <= constant(5), second = 2.0 * x + y <= constant(7),
                      slack = x - 1.0 <= y + z, dropped = x >= constant(-1);
  lp.setObjMax(3.0 * x + 2.0 * y + -1.0 * z);
  for (const IlcConstraint& ct : {first, second, slack, dropped}) lp.add(ct);
  ASSERT_EQ(lp.dualOpt(), 1);
  EXPECT_DOUBLE_EQ(lp.getObjValue(), 12);
  EXPECT_DOUBLE_EQ(lp.getDualValue(first), 1);
  EXPECT_DOUBLE_EQ(lp.getDualValue(second), 1);
  EXPECT_DOUBLE_EQ(lp.getDualValue(slack), 0);
  EXPECT_DOUBLE_EQ(lp.getDualValue(dropped), 0);
  EXPECT_DOUBLE_EQ(lp.getSlackValue(first), 0);
  EXPECT_DOUBLE_EQ(lp.getSlackValue(slack), 2);
  EXPECT_DOUBLE_EQ(lp.getReducedCost(x), 0);
  EXPECT_DOUBLE_EQ(lp.getReducedCost(z), -1);
  EXPECT_EQ(report_of([&] { lp.getSlackValue(dropped); }).text,
            "IlcLinOptI::getSlackValue : unknown constraint");
  lp.end();
}

TEST_F(LinOptTest, InformationAndListing) {
  IlcLinOpt lp(m, 0);
  std::ostringstream out;
  m.setOut(out);
  IlcFloatVar x(m, 0, 9, "x"), y(m, 0, 9, "y"), z(m, 0, 9, "z");
  lp.setObjMax(x + y + z);
  lp.add(x + y <= z);
  lp.add(x <= y);
  lp.printInformation();
  EXPECT_EQ(out.str(),
            "Number of constraints         : 2\n"
            "Number of variables           : 3\n"
            "Number of non-zeros           : 5\n"
            "Matrix fill rate              : 83.33\n"
            "Iterations                    : 0\n");
  lp.dualOpt();
  EXPECT_GT(lp.getNumberOfIterations(), 0);
  std::ostringstream listing;
  listing << lp;
  EXPECT_EQ(listing.str(), " -- begin spy \n spy : (x + y) <= z\n spy : x <= y\n -- end spy -- \n");
  lp.end();
}

TEST_F(LinOptTest, BoundChangesAreTestedBeforeAnyChange) {
  IlcLinOpt lp(m, 0);
  IlcFloatVar x(m, 0, 10);
  const IlcFloatVar none;
  const auto text = [](auto call) { return report_of(call).text; };
  EXPECT_EQ(text([&] { lp.chgBounds(none, 2, 1); }), "IlcLinOptI::chgBounds: empty variable");
  EXPECT_EQ(text([&] { lp.chgLowerBound(none, 2); }), "IlcLinOptI::chgLowerBound: empty variable");
  EXPECT_EQ(text([&] { lp.chgUpperBound(none, 2); }), "IlcLinOptI::chgUpperBound: empty variable");
  EXPECT_EQ(text([&] { lp.chgBounds(x, 2, 1); }), "IlcLinOptI::chgBounds: inconsistent bounds");
  EXPECT_EQ(text([&] { lp.chgLowerBound(x, 11); }),
            "IlcLinOptI::chgLowerBound: inconsistent bounds");
  EXPECT_EQ(text([&] { lp.chgUpperBound(x, -1); }),
            "IlcLinOptI::chgUpperBound: inconsistent bounds");
  EXPECT_EQ(x.getMin(), 0);
  EXPECT_EQ(x.getMax(), 10);
  EXPECT_EQ(text([&] { lp.chgBounds(x, 1, 1); }), "no report");
  lp.end();

  IlcManager searching(IlcNoEdit);
  IlcLinOpt other(searching, 0);
  IlcFloatVar y(searching, 0, 10);
  EXPECT_EQ(text([&] { other.chgBounds(y, 2, 1); }),
            "IlcLinOptI::chgBounds: manager in IlcNoEdit mode");
  EXPECT_EQ(text([&] { other.chgLowerBound(y, 1); }),
            "IlcLinOptI::chgLowerBound: manager in IlcNoEdit mode");
  EXPECT_EQ(text([&] { other.chgUpperBound(y, 1); }),
            "IlcLinOptI::chgUpperBound: manager in IlcNoEdit mode");
  EXPECT_EQ(text([&] { other.remove(y <= y); }), "IlcLinOptI::remove : manager in IlcNoEdit mode");
  EXPECT_EQ(y.getMin(), 0);
  other.end();
  searching.end();
}

TEST_F(LinOptTest, UseExceptionsSwitchesTheReporter) {
  IlcErrorReporter mine;
  m.setErrorReporter(&mine);
  IlcLinOpt lp(m, 0);
  EXPECT_NE(m.getErrorReporter(), &mine);
  lp.useExceptions(0);
  EXPECT_EQ(m.getErrorReporter(), &mine);
  EXPECT_EXIT(lp.getObjValue(), kAborted,
              "^Solver Error : IlcCplex::getObjValue : Error 1217: No solution exists.\n");
  lp.useExceptions(1);
  EXPECT_EQ(report_of([&] { lp.getObjValue(); }).code, 1217);
  lp.end();
  EXPECT_EQ(report_of([&] { lp.dualOpt(); }).text, "IlcLinOpt::dualOpt empty handle");
}

TEST(LinOptExceptionTest, TextIsBoundedAndDefaultsToTheLibrarys) {
  EXPECT_STREQ(IlcLinOptException(7, "text").getText(), "text");
  EXPECT_EQ(IlcLinOptException(7, "text").getCode(), 7);
  EXPECT_EQ(std::string(IlcLinOptException(7, std::string(2000, 'a').c_str()).what()),
            std::string(1023, 'a'));
  EXPECT_STREQ(IlcLinOptException(1217).getText(), "Error 1217: No solution exists.");
  EXPECT_STREQ(IlcLinOptException(7).getText(), "");
}

TEST_F(LinOptTest, EmptyHandlesReportByName) {
  IlcLinOpt(m, 0).end();
  const IlcFloatVar x;
  const IlcConstraint ct;
  const std::pair<const char*, std::function<void(IlcLinOpt)>> members[] = {
      {"IlcLinOpt::setParam empty handle", [](IlcLinOpt e) { e.setParam(1030, 1); }},
      {"IlcLinOpt::setParam empty handle", [](IlcLinOpt e) { e.setParam(CPX_PARAM_PREIND, 1); }},
      {"IlcLinOpt::setParam empty handle", [](IlcLinOpt e) { e.setParam(1016, 1e-6); }},
      {"IlcLinOpt::setParam empty handle", [](IlcLinOpt e) { e.setParam(1064, "a"); }},
      {"IlcLinOpt::primalOpt empty handle", [](IlcLinOpt e) { e.primalOpt(); }},
      {"IlcLinOpt::dualOpt empty handle", [](IlcLinOpt e) { e.dualOpt(); }},
      {"IlcLinOpt::getObjValue empty handle", [](IlcLinOpt e) { e.getObjValue(); }},
      {"IlcLinOpt::useExceptions empty handle", [](IlcLinOpt e) { e.useExceptions(1); }},
      {"IlcLinOpt::getCPXENVptr: empty handle", [](IlcLinOpt e) { e.getCPXENVptr(); }},
      {"IlcLinOpt::getCPXLPptr: empty handle", [](IlcLinOpt e) { e.getCPXLPptr(); }},
      {"IlcLinOpt::getVar: empty handle", [](IlcLinOpt e) { e.getVar(0); }},
      {"IlcLinOpt::getVarIndex: empty handle", [&](IlcLinOpt e) { e.getVarIndex(x); }},
      {"IlcLinOpt::getConstraintIndex: empty handle",
       [&](IlcLinOpt e) { e.getConstraintIndex(ct); }},
      {"IlcLinOpt::chgBounds: empty handle", [&](IlcLinOpt e) { e.chgBounds(x, 0, 1); }},
      {"IlcLinOpt::chgLowerBound: empty handle", [&](IlcLinOpt e) { e.chgLowerBound(x, 0); }},
      {"IlcLinOpt::chgUpperBound: empty handle", [&](IlcLinOpt e) { e.chgUpperBound(x, 0); }},
      {"IlcLinOpt::remove: empty handle", [&](IlcLinOpt e) { e.remove(ct); }},
      {"IlcLinOpt::getDualValue: empty handle", [&](IlcLinOpt e) { e.getDualValue(ct); }},
      {"IlcLinOpt::getSlackValue: empty handle", [&](IlcLinOpt e) { e.getSlackValue(ct); }},
  };
  for (const auto& [text, call] : members) {
    EXPECT_EQ(report_of([&] { call(IlcLinOpt()); }).text, text);
  }
}

TEST_F(LinOptTest, InlineMembersAssert) {
  IlcLinOpt lp(m, 0), empty;
  const IlcFloatVar x(m, 0, 1);
  EXPECT_EXIT(empty.add(x <= x), kAborted, "_impl != 0");
  EXPECT_EXIT(empty.setObjMin(x), kAborted, "_impl != 0");
  EXPECT_EXIT(empty.setObjMax(x), kAborted, "_impl != 0");
  EXPECT_EXIT(empty.getCurrentValue(x), kAborted, "_impl != 0");
  EXPECT_EXIT(empty.end(), kAborted, "_impl != 0");
  EXPECT_EXIT(lp.add(IlcConstraint()), kAborted, "ct.getImpl\\(\\) != 0");
  EXPECT_EXIT(lp.setObjMin(IlcFloatExp()), kAborted, "exp.getImpl\\(\\) != 0");
  EXPECT_EXIT(lp.setObjMax(IlcFloatExp()), kAborted, "exp.getImpl\\(\\) != 0");
  EXPECT_EXIT(lp.getCurrentValue(IlcFloatVar()), kAborted, "var.getImpl\\(\\) != 0");
  lp.end();
}

}  // namespace
}  // namespace planloc
