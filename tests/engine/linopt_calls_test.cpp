// Which calls of the library an optimiser makes, and when.
#include <gtest/gtest.h>

#include <string>

#include "engine_fixture.h"

namespace planloc {
namespace {

class LinOptCallsTest : public OptimiserTest {
 protected:
  // The calls that change or solve the program; the others are counted where they matter.
  Calls changes() {
    Calls kept;
    for (const std::string& call : library.take()) {
      if (call.find("param") == std::string::npos && call.find("getlb") != 0 &&
          call.find("getub") != 0) {
        kept.push_back(call);
      }
    }
    return kept;
  }
};

TEST_F(LinOptCallsTest, ConstructionSetsTheTolerances) {
  EXPECT_EQ(library.calls, (Calls{"openCPLEXdevelop", "createprob", "infointparam 1004",
                                  "setintparam 1004 2100000000", "setintparam 1035 0",
                                  "setdblparam 1016 1e-06", "setdblparam 1014 1e-06"}));
}

TEST_F(LinOptCallsTest, RowsWaitForTheFirstSolveAndGoOutInOneCall) {
  IlcFloatVar x = free_variable(), y = at_least_zero(), z(m, -1, 1);
  changes();
  lp.setObjMin(2.0 * y + 3.0 * z);
  EXPECT_EQ(changes(), (Calls{"newcols [0,1e+20] [-1,1]", "chgobj 2 x0 3 x1", "chgobjsen 1"}));
  IlcConstraint third = x + y >= z + 2.0;
  third.setName("third");
  lp.add(x - 1.0 <= y);
  lp.add(z - 5.0 <= y);  // always satisfied
  lp.add(x + 2.0 * y == 4);
  lp.add(third);
  EXPECT_EQ(library.take(), Calls{});
  EXPECT_EQ(lp.dualOpt(), 1);
  EXPECT_EQ(library.count("getlb"), 1);
  EXPECT_EQ(library.count("getub"), 1);
  EXPECT_EQ(changes(),
            (Calls{"newcols [-1e+20,1e+20]",
                   "addrows ?: 1 x2 -1 x0 L 1; ?: 1 x2 2 x0 E 4; third: 1 x2 1 x0 -1 x1 G 2",
                   "dualopt"}));
}

TEST_F(LinOptCallsTest, RowsOfALiveOptimiserGoOutOneByOne) {
  IlcFloatVar x = at_least_zero(), y = at_least_zero();
  lp.setObjMin(x + y);
  lp.add(x + y >= 1);
  lp.dualOpt();
  lp.getCurrentValue(x);
  library.take();
  IlcConstraint named = x + 3.0 * y >= 3, last = 2.0 * x + y >= 4;
  named.setName("r");
  lp.add(named);
  lp.add(last);
  EXPECT_EQ(changes(),
            (Calls{"addrows 1 x0 3 x1 G 3", "chgname 114 1 r", "addrows 2 x0 1 x1 G 4"}));
  EXPECT_EQ(report_of([&] { lp.getCurrentValue(x); }).code, CPXERR_NO_SOLN);
  library.take();
  EXPECT_EQ(lp.dualOpt(), 1);
  EXPECT_NEAR(lp.getCurrentValue(x), 1.8, 1e-15);
  EXPECT_EQ(lp.getConstraintIndex(named), 1);
  lp.remove(named);
  EXPECT_EQ(lp.getNumberOfRows(), 2);
  EXPECT_EQ(lp.getConstraintIndex(named), -1);
  EXPECT_EQ(lp.getConstraintIndex(last), 1);
  EXPECT_EQ(lp.primalOpt(), 1);
  EXPECT_EQ(lp.getObjValue(), 2);
  EXPECT_EQ(changes(), (Calls{"dualopt", "getx 0 1", "delrows 1 1", "primopt", "getobjval"}));
}

TEST_F(LinOptCallsTest, RowsOfExpressionsAsPeopleWriteThem) {
  const IlcFloatVar x = free_variable(), y = free_variable();
  IlcFloatExp sum = 0;
  sum += 2 * x;
  sum -= y;
  sum += 1;
  sum -= 4.5;
  lp.setObjMin(x + y);
  const std::pair<IlcConstraint, const char*> cases[] = {
      {x + y >= 4.0, "1 x0 1 x1 G 4"},
      {x + y >= 0, "1 x0 1 x1 G 0"},
      {x + y == 0, "1 x0 1 x1 E 0"},
      {0 <= x + y, "-1 x0 -1 x1 L 0"},
      {5 >= x + y, "-1 x0 -1 x1 G -5"},
      {3 == x - y, "-1 x0 1 x1 E -3"},
      {x / 2 - 3 * (y - 1) <= 0, "0.5 x0 -3 x1 L -3"},
      {-x + 2 <= y * 4, "-1 x0 -4 x1 L -2"},
      {1 - x - (2 - y) <= 7, "-1 x0 1 x1 L 8"},
      {sum <= 0, "2 x0 -1 x1 L 3.5"},
  };
  for (const auto& [ct, row] : cases) lp.add(ct);
  changes();
  lp.getNumberOfRows();
  std::string rows = "addrows";
  for (const auto& [ct, row] : cases) rows.append(rows == "addrows" ? " " : "; ").append(row);
  EXPECT_EQ(changes()[0], rows);
}

TEST_F(LinOptCallsTest, ConstraintsOfOneVariableNarrowItsColumn) {
  IlcFloatVar x(m, 0, 10), y(m, 0, 10), later(m, 0, 10), fixed(m, 2, 2);
  lp.setObjMin(x + y);
  lp.add(2.0 * x >= 3);
  lp.add(y + fixed <= 8);
  lp.add(later <= 7);
  lp.add(later + x >= y);
  changes();
  EXPECT_EQ(lp.getNumberOfRows(), 1);  // flushes
  EXPECT_EQ(changes(),
            (Calls{"newcols [0,7]", "addrows 1 x2 1 x0 -1 x1 G 0", "tightenbds L x0 1.5 U x1 6"}));
  EXPECT_EQ(lp.dualOpt(), 1);
  EXPECT_EQ(changes(), (Calls{"dualopt"}));
  EXPECT_EQ(lp.getCurrentValue(x), 1.5);
  lp.add(y >= 2);  // of a live optimiser, before the next solve
  EXPECT_EQ(changes(), (Calls{"getx 0 2"}));
  EXPECT_EQ(lp.dualOpt(), 1);
  EXPECT_EQ(changes(), (Calls{"tightenbds L x1 2", "dualopt"}));
  EXPECT_EQ(lp.getObjValue(), 3.5);
  EXPECT_EQ(lp.dualOpt(), 1);
  EXPECT_EQ(library.count("getlb"), 0) << "nothing moved since";
}

TEST_F(LinOptCallsTest, BoundsAndRightHandSidesAreClamped) {
  IlcFloatVar x(m, -1e21, 1e21), y(m, -1e20, 1e20), z = free_variable();
  IlcFloatVar beyond(m, 1e21, IlcInfinity);
  lp.setObjMin(x + y + z + beyond);
  EXPECT_EQ(changes()[2], "newcols [-1e+20,1e+20] [-1e+20,1e+20] [-1e+20,1e+20] [1e+21,1e+20]");
  for (const double rhs : {1e21, 1e20, 9e19, -1e21, -1e20}) lp.add(x + y <= rhs);
  lp.getNumberOfRows();
  EXPECT_EQ(changes()[1],
            "addrows 1 x0 1 x1 L 1e+20; 1 x0 1 x1 L 1e+20; 1 x0 1 x1 L 9e+19; "
            "1 x0 1 x1 L -1e+20; 1 x0 1 x1 L -1e+20");
}

TEST_F(LinOptCallsTest, ColumnsOfOneVariableAreMerged) {
  IlcFloatVar a = free_variable(), b = free_variable(), c = free_variable(), d = free_variable();
  changes();
  lp.setObjMin(a + 2.0 * b + (3.0 * a + c));
  EXPECT_EQ(changes()[1], "chgobj 4 x0 2 x1 1 x2");
  // a b c a d b: the last entry moves into the place of the second a, and again of b.
  lp.add((a + 2.0 * b) + (3.0 * c + 4.0 * a) + (5.0 * d + 6.0 * b) <= 7);
  lp.add(a <= a);
  lp.add((a + (2.0 * a + 4.0 * a)) + b <= 1);
  lp.getNumberOfRows();
  EXPECT_EQ(changes()[1], "addrows 5 x0 8 x1 3 x2 5 x3 L 7; 0 x0 L 0; 7 x0 1 x1 L 1");
}

TEST_F(LinOptCallsTest, ObjectiveConstantGetsAColumnAndASecondObjectiveErasesTheFirst) {
  IlcFloatVar x(m, 1, 4);
  changes();
  lp.setObjMin(x + 5.0);
  EXPECT_EQ(changes(), (Calls{"newcols [1,4] [1,1]", "chgobj 1 x0 5 x1", "chgobjsen 1"}));
  EXPECT_EQ(lp.dualOpt(), 1);
  EXPECT_EQ(lp.getObjValue(), 6);
  changes();
  EXPECT_EQ(lp.setObjMax(x).getImpl(), x.getImpl());
  EXPECT_EQ(changes(), (Calls{"chgobj 0 x0 0 x1", "chgobj 1 x0", "chgobjsen -1"}));
  EXPECT_EQ(lp.dualOpt(), 1);
  EXPECT_EQ(lp.getObjValue(), 4);
}

TEST_F(LinOptCallsTest, SetParamPassesNumbersOn) {
  changes();
  lp.setParam(CPX_PARAM_EPRHS, 1e-7);
  lp.setParam(1030, 0);
  lp.setParam(1064, "d");
  lp.setParam(1014, 1e-5);
  EXPECT_EQ(library.calls, (Calls{"setdblparam 1016 1e-07", "setintparam 1030 0",
                                  "setstrparam 1064 d", "setdblparam 1014 1e-05"}));
  EXPECT_EQ(report_of([&] { lp.setParam(99, 0); }),
            (Report{1013, "IlcCplex::setIntParam : Error 1013: Invalid parameter number."}));
}

TEST_F(LinOptCallsTest, ChangedBoundsReachVariableAndColumn) {
  IlcFloatVar x(m, 0, 10), y(m, 0, 10);
  lp.setObjMax(x + 2.0 * x);
  lp.chgBounds(y, 1, 1);
  EXPECT_EQ(y.getMax(), 1);
  changes();
  lp.chgBounds(x, 2, 8);
  lp.chgLowerBound(x, 3);
  lp.chgUpperBound(x, 7);
  EXPECT_EQ(changes(), (Calls{"chgbds L x0 2", "chgbds U x0 8", "chgbds L x0 3", "chgbds U x0 7"}));
  EXPECT_EQ(x.getMin(), 3);
  EXPECT_EQ(lp.dualOpt(), 1);
  EXPECT_EQ(lp.getObjValue(), 21);
  changes();
  lp.chgUpperBound(x, 9);  // the variable stays at 7, and so does the program
  EXPECT_EQ(x.getMax(), 7);
  EXPECT_EQ(lp.dualOpt(), 1);
  EXPECT_EQ(changes(), (Calls{"chgbds U x0 9", "tightenbds U x0 7", "dualopt"}));
  EXPECT_EQ(lp.getObjValue(), 21);
}

}  // namespace
}  // namespace planloc
