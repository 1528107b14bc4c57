#include "planloc/engine/ilc_linopt.h"

#include <gtest/gtest.h>

#include <functional>
#include <sstream>
#include <string>
#include <tuple>

#include "engine_fixture.h"

namespace planloc {
namespace {

using LinOptTest = OptimiserTest;

TEST_F(LinOptTest, ObjectiveVariable) {
  IlcFloatVar x(m, 1, 4), y(m, 2, 5), fixed(m, 3, 3);
  EXPECT_EQ(lp.setObjMin(x).getImpl(), x.getImpl());
  EXPECT_EQ(lp.setObjMin(1.0 * x + 0.0 * y).getImpl(), x.getImpl());
  EXPECT_EQ(lp.setObjMin(0.25 * x + 0.75 * x).getImpl(), x.getImpl());
  EXPECT_EQ(lp.getNumberOfColumns(), 1);
  EXPECT_NE(lp.setObjMin(2.0 * x).getImpl(), x.getImpl());

  const IlcFloatVar sum = lp.setObjMax(x + 2.0 * y + fixed);
  EXPECT_EQ(sum.getMin(), -IlcInfinity);
  EXPECT_EQ(lp.dualOpt(), 1);
  EXPECT_EQ(lp.getObjValue(), 17);
  EXPECT_EQ(lp.getCurrentValue(sum), 17);
  EXPECT_EQ(lp.getCurrentValue(fixed), 3);
  EXPECT_EQ(lp.getVarIndex(sum), -1);

  EXPECT_EQ(lp.setObjMin(0.0 * x).getValue(), 0);
  EXPECT_EQ(lp.dualOpt(), 1);
  EXPECT_EQ(lp.getObjValue(), 0);

  const int columns = lp.getNumberOfColumns();
  EXPECT_EQ(lp.setObjMin(x + y, 2).getMax(), 9);
  EXPECT_EQ(lp.getNumberOfColumns(), columns);
}

TEST_F(EngineTest, LinkedOptimiserCarriesTheObjectiveAsARow) {
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
  IlcFloatVar x(m, 0, 10), y(m, 0, 5);
  lp.setObjMax(x);
  const IlcConstraint row = x <= y, both = x + 1.0 <= y, manager_only = x + 2.0 <= y;
  lp.add(row, 0);
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
}

// What the manager has narrowed an expression to is no knowledge of the program.
TEST_F(EngineTest, ConstraintsThatTheManagerKnowsRestrictTheProgram) {
  IlcFloatVar k(m, 16, 16);
  const struct {
    const char* what;
    std::function<void(IlcLinOpt&, IlcFloatVar, IlcFloatVar)> add;
    double value;
  } cases[] = {
      {"the same constraint", [&](auto& lp, auto x, auto y) { lp.add(2 * x + y <= k, 1); }, 13},
      {"one of the same expression",
       [&](auto& lp, auto x, auto y) {
         m.add(x + y <= 5);
         lp.add(x + y <= 7);
       },
       5},
      {"the same, written from the other side",
       [&](auto& lp, auto x, auto y) {
         m.add(x + y <= 5);
         lp.add(7 >= x + y);
       },
       5},
      {"one that leaves a single value, of many solutions",
       [&](auto& lp, auto x, auto y) {
         m.add(x + y >= 5);
         lp.add(5 >= x + y);
       },
       5},
      {"an equation",
       [&](auto& lp, auto x, auto y) {
         lp.add(x + y == 4, 1);
         lp.add(2 * x >= y, 2);
       },
       4},
  };
  for (const auto& c : cases) {
    IlcLinOpt lp(m, 0);
    IlcFloatVar x(m, 0, 10), y(m, 0, 10);
    lp.setObjMax(x + y);
    c.add(lp, x, y);
    EXPECT_EQ(lp.dualOpt(), 1) << c.what;
    EXPECT_EQ(lp.getObjValue(), c.value) << c.what;
    EXPECT_EQ(lp.getNumberOfRows(), 1) << c.what;
    lp.end();
  }
}

TEST_F(LinOptTest, RepeatedVariablesHaveNoSingleSolution) {
  IlcFloatVar x(m, 0, 5), y(m, 0, 5), z(m, 0, 5);
  lp.setObjMax(z);
  lp.add(2 * x - (x + z) <= -5);  // x - z, which is -5 at one point only: but the row says it
  lp.add(z - x >= 0);
  EXPECT_EQ(lp.dualOpt(), 1);
  EXPECT_EQ(lp.getCurrentValue(x), 0);
  EXPECT_EQ(lp.getObjValue(), 5);
  lp.add(x + -1.0 * x + y <= -5);
  EXPECT_EQ(lp.dualOpt(), 2);
}

TEST_F(EngineTest, InfeasibleOrAbortedSolvesFailWithoutEditMode) {
  const struct {
    double limit;  // of z - x, with both in [0, 1]
    int iterations;
    bool solved;
  } cases[] = {{0.5, 100, true}, {3, 100, false}, {0.5, 0, false}};
  for (const int mode : {IlcEdit, IlcNoEdit}) {
    for (const auto& c : cases) {
      IlcManager other(mode);
      IlcLinOpt lp(other, 0);
      IlcFloatVar x(other, 0, 1), y(other, 0, 1), z(other, 0, 1);
      lp.setParam(CPX_PARAM_ITLIM, c.iterations);
      lp.setParam(CPX_PARAM_PREIND, 0);
      lp.setObjMin(x + y + z);
      lp.add(z + y - x >= c.limit);
      lp.add(z + x - y >= c.limit);
      const Report report =
          report_of([&] { EXPECT_EQ(lp.primalOpt() == CPX_STAT_OPTIMAL, c.solved); });
      const bool fails = mode == IlcNoEdit && !c.solved;
      EXPECT_EQ(report.text,
                fails ? "fail not in a Solve (try enclosing in IlcSolve)" : "no report");
      EXPECT_EQ(other.getNumberOfFails(), fails);
      other.end();
    }
  }
}

TEST_F(LinOptTest, ConstraintsThatMakeNoRow) {
  IlcFloatVar x(m, 0, 4), y(m, 0, 6), zero(m, 0, 0), fixed(m, 2, 2);
  IlcFloatVar low(m, 1, 9), high(m, 0, 1);
  const std::tuple<IlcConstraint, int, const char*> cases[] = {
      {x <= y + 4.0, 0, "always satisfied"},
      {x <= y, 1, "a row"},
      {low <= high, 0, "satisfied at one point only"},
      {x + zero <= 3, 0, "one term beside a zero"},
      {fixed + x <= y, 1, "a fixed variable beside two terms"},
      {1e-200 * (1e-200 * free_variable()) + x <= y, 1, "a coefficient that vanishes"},
      {1e-200 * (1e-200 * y) + at_least_zero() <= 3, 0, "and leaves one term"},
      {1 <= fixed, 0, "no term"},
      {x + y >= 1, 1, "greater or equal"},
      {x == y, 1, "equal"},
      {fixed + y == 5, 0, "equation of one term"}};
  int rows = 0;
  for (const auto& [ct, rows_made, what] : cases) {
    lp.add(ct);
    rows += rows_made;
    EXPECT_EQ(lp.getNumberOfRows(), rows) << what;
    EXPECT_EQ(lp.getConstraintIndex(ct), rows_made ? rows - 1 : -1) << what;
  }
  EXPECT_EQ(low.getMax(), 1);
  EXPECT_EQ(high.getMin(), 1);
  EXPECT_EQ(x.getMax(), 3);
  EXPECT_EQ(y.getMin(), 3);
  EXPECT_EQ(y.getMax(), 3);
  EXPECT_EQ(report_of([&] { lp.add(x >= 20); }).text,
            "fail not in a Solve (try enclosing in IlcSolve)");
}

TEST_F(LinOptTest, ManyTermsGrowTheScratchArrays) {
  IlcFloatVarArray vars(m, 4500, 0.0, 1.0);
  IlcFloatExp sum = 1.0 * vars[0];
  double expected = 1;
  for (int i = 1; i < vars.getSize(); ++i) {
    sum = sum + (i % 7) * vars[i];
    expected += i % 7;
  }
  lp.setObjMax(sum);
  EXPECT_EQ(lp.dualOpt(), 1);
  EXPECT_EQ(lp.getObjValue(), expected);
  EXPECT_EQ(lp.getVarIndex(vars[7]), -1);
  EXPECT_EQ(lp.getVar(lp.getVarIndex(vars[4499])).getImpl(), vars[4499].getImpl());
  EXPECT_EQ(lp.getVar(lp.getNumberOfColumns()).IlcFloatExp::getImpl(), nullptr);
}

TEST_F(LinOptTest, ValuesAreClampedToTheVariable) {
  IlcFloatVar x(m, 0, 10);
  lp.setObjMax(x);
  lp.dualOpt();
  x.setRange(0, 10 - 1e-7);
  EXPECT_EQ(lp.getCurrentValue(x), 10 - 1e-7);
  lp.setObjMin(x);
  lp.dualOpt();
  x.setRange(1e-7, 10);
  EXPECT_EQ(lp.getCurrentValue(x), 1e-7);
  EXPECT_EQ(lp.getCurrentValue(IlcFloatVar(m, 3, 5)), 3);
  EXPECT_EQ(lp.getCurrentValue(IlcFloatVar(m, -3, -2)), -2);
  EXPECT_EQ(lp.getCurrentValue(free_variable()), 0);
}

TEST_F(EngineTest, PendingConstraintsCanBeRemoved) {
  IlcFloatVar x = at_least_zero(), y = at_least_zero();
  const IlcConstraint rows[] = {x + y <= 4, x + y <= 2, x + y <= 3};
  for (int removed = 0; removed < 3; ++removed) {
    IlcLinOpt lp(m, 0);
    lp.setObjMax(x + y);
    for (const IlcConstraint& row : rows) lp.add(row);
    lp.remove(rows[removed]);
    lp.add(x + 2.0 * y <= 100);
    EXPECT_EQ(lp.dualOpt(), 1);
    EXPECT_EQ(lp.getObjValue(), removed == 1 ? 3 : 2);
    EXPECT_EQ(lp.getNumberOfRows(), 3);
    lp.end();
  }
}

TEST_F(LinOptTest, DualValuesSlacksAndReducedCosts) {
  IlcFloatVar x = at_least_zero(), y = at_least_zero(), z = at_least_zero();
  // max 3x + 2y - z: x = 2, y = 3, z = 0, as in a textbook tableau.
  const IlcConstraint first = x + y <= 5, second = 2.0 * x + y <= 7, slack = x - 1.0 <= y + z,
                      dropped = x >= -1;
  lp.setObjMax(3.0 * x + 2.0 * y + -1.0 * z);
  for (const IlcConstraint& ct : {first, second, slack, dropped}) lp.add(ct);
  ASSERT_EQ(lp.dualOpt(), 1);
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
}

TEST_F(LinOptTest, InformationAndListing) {
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
}

TEST_F(LinOptTest, BoundChangesAreTestedBeforeAnyChange) {
  IlcManager searching(IlcNoEdit);
  IlcLinOpt other(searching, 0);
  const IlcFloatVar x(m, 0, 10), y(searching, 0, 10), none;
  const auto text = [](auto call) { return report_of(call).text; };
  const std::tuple<IlcLinOpt, IlcFloatVar, std::string> cases[] = {
      {lp, none, ": empty variable"},
      {lp, x, ": inconsistent bounds"},
      {other, y, ": manager in IlcNoEdit mode"}};
  for (const auto& [opt, variable, why] : cases) {
    IlcLinOpt e = opt;
    const IlcFloatVar var = variable;
    EXPECT_EQ(text([&] { e.chgBounds(var, 2, 1); }), "IlcLinOptI::chgBounds" + why);
    EXPECT_EQ(text([&] { e.chgLowerBound(var, 11); }), "IlcLinOptI::chgLowerBound" + why);
    EXPECT_EQ(text([&] { e.chgUpperBound(var, -1); }), "IlcLinOptI::chgUpperBound" + why);
  }
  EXPECT_EQ(x.getMin(), 0);
  EXPECT_EQ(x.getMax(), 10);
  EXPECT_EQ(text([&] { other.remove(y <= y); }), "IlcLinOptI::remove : manager in IlcNoEdit mode");
  other.end();
  searching.end();
}

TEST_F(EngineTest, UseExceptionsSwitchesTheReporter) {
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
  const IlcFloatVar x;
  const IlcConstraint ct;
  const std::pair<const char*, std::function<void(IlcLinOpt)>> members[] = {
      {"IlcLinOpt::setParam empty handle", [](IlcLinOpt e) { e.setParam(1030, 1); }},
      {"IlcLinOpt::primalOpt empty handle", [](IlcLinOpt e) { e.primalOpt(); }},
      {"IlcLinOpt::dualOpt empty handle", [](IlcLinOpt e) { e.dualOpt(); }},
      {"IlcLinOpt::getParam empty handle", [](IlcLinOpt e) { e.getParam(CPX_PARAM_EPRHS); }},
      {"IlcLinOpt::getParamDefault empty handle",
       [](IlcLinOpt e) { e.getParamDefault(CPX_PARAM_WORKDIR); }},
      {"IlcLinOpt::getParamMin empty handle", [](IlcLinOpt e) { e.getParamMin(CPX_PARAM_ITLIM); }},
      {"IlcLinOpt::getParamMax empty handle", [](IlcLinOpt e) { e.getParamMax(CPX_PARAM_SCRIND); }},
      {"IlcLinOpt::setParamsDefault empty handle", [](IlcLinOpt e) { e.setParamsDefault(); }},
      {"IlcLinOpt::writeProblem empty handle", [](IlcLinOpt e) { e.writeProblem("a.lp"); }},
      {"IlcLinOpt::setLPCallback empty handle", [](IlcLinOpt e) { e.setLPCallback({}); }},
      {"IlcLinOpt:getLPCallback: empty handle", [](IlcLinOpt e) { e.getLPCallback(); }},
      {"IlcLinOpt::setMIPCallback empty handle", [](IlcLinOpt e) { e.setMIPCallback({}); }},
      {"IlcLinOpt::getMIPCallback empty handle", [](IlcLinOpt e) { e.getMIPCallback(); }},
      {"IlcLinOpt::getBasis empty handle", [](IlcLinOpt e) { e.getBasis(); }},
      {"IlcLinOpt::setBasis empty handle", [](IlcLinOpt e) { e.setBasis({}); }},
      {"IlcLinOpt::fillBasis empty handle", [](IlcLinOpt e) { e.fillBasis({}); }},
      {"IlcLinOpt::writeBasis empty handle", [](IlcLinOpt e) { e.writeBasis("a"); }},
      {"IlcLinOpt::readBasis empty handle", [](IlcLinOpt e) { e.readBasis("a"); }},
      {"IlcLinOpt::setPriOrder empty handle", [](IlcLinOpt e) { e.setPriOrder({}, {}); }},
      {"IlcLinOpt::getBestObjValue empty handle", [](IlcLinOpt e) { e.getBestObjValue(); }},
      {"IlcLinOpt::setCurrentValue: empty handle",
       [](IlcLinOpt e) { e.setCurrentValue(IlcIntVarArray(), IlcIntArray()); }},
      {"IlcLinOpt::setSearchMethod: empty handle", [](IlcLinOpt e) { e.setSearchMethod(0); }},
      {"IlcLinOpt::setFirstMethod: empty handle", [](IlcLinOpt e) { e.setFirstMethod(0); }},
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
      {"IlcLinOpt::getPiecewiseLinearGenerateGoal: empty handle",
       [](IlcLinOpt e) { e.getPiecewiseLinearGenerateGoal(); }},
      {"IlcLinOpt::getPiecewiseLinearGenerateGoalCut: empty handle",
       [](IlcLinOpt e) { e.getPiecewiseLinearGenerateGoalCut(); }},
      {"IlcLinOpt::getDualValue: empty handle", [&](IlcLinOpt e) { e.getDualValue(ct); }},
      {"IlcLinOpt::getSlackValue: empty handle", [&](IlcLinOpt e) { e.getSlackValue(ct); }},
  };
  for (const auto& [text, call] : members) {
    EXPECT_EQ(report_of([&call = call] { call(IlcLinOpt()); }).text, text);
  }
  const std::pair<const char*, int (IlcLinOpt::*)()> counts[] = {
      {"::networkPrimalOpt", &IlcLinOpt::networkPrimalOpt},
      {"::networkDualOpt", &IlcLinOpt::networkDualOpt},
      {"::barrierOpt", &IlcLinOpt::barrierOpt},
      {"::barrierPrimalOpt", &IlcLinOpt::barrierPrimalOpt},
      {"::barrierDualOpt", &IlcLinOpt::barrierDualOpt},
      {"::mipOpt", &IlcLinOpt::mipOpt},
      {"::getSubproblemStatus", &IlcLinOpt::getSubproblemStatus},
      {"::getPhaseOneCount", &IlcLinOpt::getPhaseOneCount},
      {"::getNodeCount", &IlcLinOpt::getNodeCount},
      {":::getNodeLeftCount", &IlcLinOpt::getNodeLeftCount},
      {"::getCrossPPushCount", &IlcLinOpt::getCrossPPushCount},
      {"::getCrossPExchCount", &IlcLinOpt::getCrossPExchCount},
      {"::getCrossDPushCount", &IlcLinOpt::getCrossDPushCount},
      {"::getCliqueCount", &IlcLinOpt::getCliqueCount},
      {"::getCoverCount", &IlcLinOpt::getCoverCount},
  };
  for (const auto& [name, member] : counts) {
    EXPECT_EQ(report_of([member = member] { (IlcLinOpt().*member)(); }).text,
              std::string("IlcLinOpt") + name + " empty handle");
  }
}

TEST_F(LinOptTest, InlineMembersAssert) {
  IlcLinOpt empty;
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
}

}  // namespace
}  // namespace planloc
