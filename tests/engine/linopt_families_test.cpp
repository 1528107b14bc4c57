// The member families of IlcLinOpt beyond a plain solve.
#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <functional>
#include <string>
#include <tuple>

#include "engine_fixture.h"

namespace planloc {
namespace {

// max 5x + 4y, 6x + 4y <= 24, x + 2y <= 6: 21 at (3, 1.5), and 20 at (4, 0) in whole numbers.
class FamiliesTest : public OptimiserTest {
 protected:
  FamiliesTest() {
    lp.setObjMax(5 * x + 4 * y);
    lp.add(first);
    lp.add(second);
  }

  IlcIntVar x{m, 0, 9, "x"}, y{m, 0, 9, "y"};
  IlcConstraint first = 6 * x + 4 * y <= 24;
  IlcConstraint second = x + 2 * y <= 6;
};

TEST_F(FamiliesTest, EveryMethodFindsTheSameOptimum) {
  for (const auto method :
       {&IlcLinOpt::primalOpt, &IlcLinOpt::dualOpt, &IlcLinOpt::barrierOpt,
        &IlcLinOpt::barrierPrimalOpt, &IlcLinOpt::barrierDualOpt,
        static_cast<int (IlcLinOpt::*)()>(&IlcLinOpt::networkPrimalOpt),
        static_cast<int (IlcLinOpt::*)()>(&IlcLinOpt::networkDualOpt), &IlcLinOpt::mipOpt}) {
    const bool whole = method == &IlcLinOpt::mipOpt;
    EXPECT_EQ((lp.*method)() % 100, 1);
    EXPECT_NEAR(lp.getObjValue(), whole ? 20 : 21, 1e-9);
    EXPECT_NEAR(lp.getCurrentValue(x), whole ? 4 : 3, 1e-9);
    EXPECT_NEAR(lp.getSlackValue(second), whole ? 2 : 0, 1e-9);
  }
  EXPECT_GT(lp.getNumberOfIterations(), 0);
  EXPECT_NEAR(lp.getBestObjValue(), 20, 1e-9);
  EXPECT_EQ(lp.networkPrimalOpt(1), 1);
  EXPECT_EQ(lp.networkDualOpt(3), 1);
  EXPECT_EQ(lp.getParam(CPX_PARAM_NETFIND), lp.getParamDefault(CPX_PARAM_NETFIND));
}

TEST_F(FamiliesTest, TypesOfColumnsAndOfTheProgram) {
  const auto types = [this] {
    std::string seen;
    for (const std::string& call : library.take()) {
      if (call.find("chgprobtype") == 0) seen += call.back();
      if (call.find("newcols") == 0) seen += call.substr(call.find("types") + 5);
    }
    return seen;
  };
  EXPECT_EQ(types(), " II x y");
  const IlcIntVarArray set(m, 2, 0, 1);
  set[1] = IlcIntVar(m, 1, 2);
  const IlcFloatArray weights(m, 2, 1.0);
  weights[1] = 2;
  lp.addSOS(1, set, weights);
  EXPECT_EQ(types(), " BI");
  lp.dualOpt();
  EXPECT_EQ(types(), "2") << "relaxed for the solve";
  const IlcConstraint cut = x + y <= 4;
  lp.add(cut);
  EXPECT_EQ(types(), "1") << "a change takes that back";
  lp.primalOpt();
  lp.chgUpperBound(x, 8);
  EXPECT_EQ(types(), "21");
  lp.primalOpt();
  lp.remove(cut);
  EXPECT_EQ(types(), "21");
  lp.primalOpt();
  lp.setObjMax(5 * x + 4 * y);
  EXPECT_EQ(types(), "21");
  lp.primalOpt();
  lp.mipOpt();
  EXPECT_EQ(types(), "21");
}

TEST_F(EngineTest, BoundsOfIntegerVariablesAreWholeNumbers) {
  IlcIntVar x(m, 0, 10);
  m.add(2 * x <= 15);
  m.add(0.1 * x <= 0.3);  // 0.3 / 0.1 is just below 3
  m.add(3 * x >= 4);
  EXPECT_EQ(x.getMin(), 2);
  EXPECT_EQ(x.getMax(), 3);
  x.setRange(3, 7);
  EXPECT_EQ(x.getValue(), 3);
  m.useExceptions(1);
  IlcIntVar y(m, 0, 10);
  EXPECT_THROW(m.add(3 * y == 4), IlcFailException);
}

TEST_F(FamiliesTest, SpecialOrderedSetsAndBoundOverloads) {
  IlcFloatVarArray z(m, 3, 0.0, 1.0);
  const IlcFloatArray weights(m, 3, 0.0);
  for (int i = 0; i < 3; ++i) weights[i] = i + 1;
  lp.setObjMax(5 * x + 4 * y + z[0] + 2 * z[1] + 2 * z[2]);
  lp.addSOS(1, z, weights);
  lp.mipOpt();
  EXPECT_NEAR(lp.getObjValue(), 22, 1e-9);
  lp.chgBounds(y, 2, 2);
  lp.chgLowerBound(z[0], 0.5);
  lp.mipOpt();
  EXPECT_NEAR(lp.getObjValue(), 2 * 5 + 2 * 4 + 1, 1e-9);
}

TEST_F(FamiliesTest, StartsPrioritiesAndBasesLeadToTheOptimum) {
  const IlcIntVarArray both(m, 2);
  both[0] = x;
  both[1] = y;
  const int numbers[] = {4, 0};
  lp.setCurrentValue(both, IlcIntArray(m, 2, numbers));
  const IlcFloatVarArray one(m, 1);
  one[0] = x;
  lp.setCurrentValue(one, IlcFloatArray(m, 1, 4.0));
  lp.setPriOrder(both, IlcIntArray(m, 2, numbers), IlcIntArray(m, 2, CPX_BRANCH_UP));
  EXPECT_EQ(lp.mipOpt() / 100, 1);
  EXPECT_EQ(lp.getObjValue(), 20);

  ASSERT_EQ(lp.dualOpt(), 1);
  const IlcBasis basis = lp.getBasis();
  EXPECT_EQ(basis.getManager().getImpl(), m.getImpl());
  EXPECT_EQ(basis.getStatus(x), CPX_BASIC);
  EXPECT_EQ(basis.getStatus(y), CPX_BASIC);
  EXPECT_NE(basis.getStatus(first), CPX_BASIC);
  EXPECT_EQ(basis.getStatus(x + y <= 1), -1);
  const std::string file = testing::TempDir() + "/families.bas";
  lp.writeBasis(file.c_str());

  // Rows come and go, a column comes: what is left of the basis is still the start.
  lp.remove(first);
  const IlcConstraint third = x + y + at_least_zero() >= 1;
  lp.add(first);
  lp.add(third);
  lp.setBasis(basis);
  const int before = lp.getNumberOfIterations();
  EXPECT_EQ(lp.primalOpt(), 1);
  EXPECT_EQ(lp.getNumberOfIterations(), before) << "nothing to do from an optimal basis";
  EXPECT_EQ(lp.getObjValue(), 21);
  lp.fillBasis(basis);
  EXPECT_EQ(basis.getStatus(third), CPX_BASIC);
  lp.remove(third);
  lp.readBasis(file.c_str());
  EXPECT_EQ(lp.primalOpt(), 1);
  std::filesystem::remove(file);
}

TEST_F(FamiliesTest, ParametersAndTheirRanges) {
  EXPECT_EQ(lp.getParam(CPX_PARAM_EPRHS), 1e-6);
  EXPECT_LT(lp.getParamMin(CPX_PARAM_EPRHS), lp.getParamMax(CPX_PARAM_EPRHS));
  EXPECT_EQ(lp.getParamMin(CPX_PARAM_SCRIND), 0);
  EXPECT_EQ(lp.getParamMax(CPX_PARAM_SCRIND), 1);
  EXPECT_EQ(lp.getParam(CPX_PARAM_BASINTERVAL), lp.getParamMax(CPX_PARAM_BASINTERVAL));
  lp.setParam(CPX_PARAM_WORKDIR, "d");
  EXPECT_EQ(lp.getParam(CPX_PARAM_WORKDIR), "d");
  lp.setParam(CPX_PARAM_ITLIM, 7);
  lp.setParam(CPX_PARAM_PREIND, 0);
  lp.setParamsDefault();
  EXPECT_EQ(lp.getParam(CPX_PARAM_ITLIM), lp.getParamDefault(CPX_PARAM_ITLIM));
  EXPECT_EQ(lp.getParam(CPX_PARAM_PREIND), lp.getParamDefault(CPX_PARAM_PREIND));
  EXPECT_EQ(lp.getParam(CPX_PARAM_WORKDIR), lp.getParamDefault(CPX_PARAM_WORKDIR));
}

struct Stopper final : IlcCallbackI {
  int execute() override { return ++calls; }
  int calls = 0;
};

TEST_F(FamiliesTest, CallbacksStopASolve) {
  Stopper lp_stopper, mip_stopper;
  lp.setLPCallback(&lp_stopper);
  lp.setMIPCallback(&mip_stopper);
  EXPECT_EQ(lp.getLPCallback().getImpl(), &lp_stopper);
  EXPECT_EQ(lp.getMIPCallback().getImpl(), &mip_stopper);
  lp.setParam(CPX_PARAM_PREIND, 0);
  const int status = lp.primalOpt();
  EXPECT_TRUE(status == CPX_STAT_ABORT_FEAS || status == CPX_STAT_ABORT_INFEAS) << status;
  lp.unsetLPCallback();
  lp.unsetMIPCallback();
  EXPECT_EQ(lp.getMIPCallback().getImpl(), nullptr);
  EXPECT_EQ(lp.primalOpt(), 1);
}

TEST_F(FamiliesTest, OptimizeNarrowsTheObjectiveVariable) {
  const IlcFloatVar objective = lp.setObjMax(5 * x + 4 * y);
  for (const int method : {0, 1, 4}) {
    lp.setFirstMethod(method);
    EXPECT_EQ(lp.optimize(), 1) << method;
    EXPECT_NEAR(objective.getMin(), 21 - 1e-6, 1e-8);
    EXPECT_NEAR(objective.getMax(), 21 + 1e-6, 1e-8);
  }
  lp.add(x + y >= 20);
  EXPECT_EQ(lp.optimize(), 0);
  EXPECT_EQ(report_of([&] { IlcLinOpt(m, 0).optimize(); }).text,
            "optimize: no objective function was defined");
}

TEST_F(FamiliesTest, BadUseIsReported) {
  IlcManager searching(IlcNoEdit);
  IlcLinOpt other(searching, 0);
  const IlcIntVarArray ints(m, 2, 0, 1), no_ints, empty(m, 0, 0, 1);
  const IlcFloatVarArray floats(m, 2, 0.0, 1.0), no_floats;
  const IlcFloatArray three(m, 3, 1.0);
  const IlcIntArray one(m, 1, 1), two(m, 2, 1);
  const std::pair<const char*, std::function<void()>> cases[] = {
      {"IlcLinOpt::setCurrentValue: Bad array sizes", [&] { lp.setCurrentValue(floats, three); }},
      {"IlcLinOpt::setCurrentValue: Bad array sizes", [&] { lp.setCurrentValue(ints, one); }},
      {"IlcLinOptI::setPriOrder : empty array of variables", [&] { lp.setPriOrder(no_ints, two); }},
      {"IlcLinOptI::setPriOrder : array too small", [&] { lp.setPriOrder(empty, two); }},
      {"IlcLinOptI::setPriOrder : sizes of arrays are different",
       [&] { lp.setPriOrder(ints, one); }},
      {"IlcLinOptI::setPriOrder : sizes of arrays are different",
       [&] { lp.setPriOrder(ints, two, one); }},
      {"IlcLinOptI::addSOS : empty array of variables", [&] { lp.addSOS(1, no_floats, three); }},
      {"IlcLinOptI::addSOS : empty reference row", [&] { lp.addSOS(1, ints, IlcFloatArray()); }},
      {"IlcLinOptI::addSOS : different sizes for arrays", [&] { lp.addSOS(1, ints, three); }},
      {"IlcLinOpt::setSearchMethod: Bad method", [&] { lp.setSearchMethod(6); }},
      {"IlcLinOpt::setFirstMethod: Bad method", [&] { lp.setFirstMethod(-1); }},
      {"IlcLinOpt::setBasis : empty handle for argument", [&] { lp.setBasis(IlcBasis()); }},
      {"IlcLinOpt::fillBasis : empty handle", [&] { lp.fillBasis(IlcBasis()); }},
      {"IlcBasis::getManager : empty handle", [] { IlcBasis().getManager(); }},
      {"IlcBasis::getStatus : empty handle", [&] { IlcBasis().getStatus(first); }},
      {"IlcBasis::getStatus : empty handle for argument",
       [&] {
         lp.dualOpt();
         lp.getBasis().getStatus(IlcFloatVar());
       }},
      {"IlcLinOpt::setLPCallback : empty handle", [&] { lp.setLPCallback(IlcCallback()); }},
      {"IlcLinOpt::setMIPCallback : empty handle for argument",
       [&] { lp.setMIPCallback(IlcCallback()); }},
      {"IlcLinOpt::setMIPCallback : manager in IlcNoEdit mode",
       [&] {
         Stopper stopper;
         other.setMIPCallback(&stopper);
       }},
      {"IlcLinOpt::getMIPCallback : manager in IlcNoEdit mode", [&] { other.getMIPCallback(); }},
      {"IlcLinOpt::getSubproblemStatus : manager in IlcNoEdit mode",
       [&] { other.getSubproblemStatus(); }},
      {"IlcLinOptI::mipOpt manager in IlcNoEdit mode", [&] { other.mipOpt(); }},
  };
  for (const auto& [text, call] : cases) EXPECT_EQ(report_of(call).text, text);
  EXPECT_EQ(report_of([&] { lp.writeProblem("families.unknown"); }).code, CPXERR_BAD_FILETYPE);
  other.end();
  searching.end();
}

// A copy of the handle outlives the optimiser.
TEST_F(EngineTest, HandlesOfAnEndedOptimiserAreEmpty) {
  IlcLinOpt lp(m, 0), copy = lp;
  const IlcFloatVar x(m, 0, 1);
  lp.end();
  EXPECT_EQ(report_of([&] { copy.dualOpt(); }).text, "IlcLinOpt::dualOpt empty handle");
  EXPECT_EXIT(copy.add(x <= x), kAborted, "_impl != 0");
  EXPECT_EXIT(copy.end(), kAborted, "_impl != 0");
}

// What the library or the manager refuses is no part of the program, which stays in order.
TEST_F(FamiliesTest, RefusedRowsAndColumnsLeaveNoTrace) {
  const IlcConstraint bad = std::nan("") * x + y <= 3, good = x + 3 * y <= 9;
  const IlcFloatVar outside(m, 0, 1), no_number(m, std::nan(""), 1);
  lp.add(outside >= 2);
  lp.add(bad);
  EXPECT_EQ(report_of([&] { lp.dualOpt(); }).text,
            "fail not in a Solve (try enclosing in IlcSolve)");
  EXPECT_EQ(report_of([&] { lp.dualOpt(); }).code, CPXERR_BAD_NUMBER);
  lp.add(good);
  EXPECT_EQ(lp.getConstraintIndex(bad), -1);
  EXPECT_EQ(lp.getConstraintIndex(good), 0);
  EXPECT_EQ(lp.getNumberOfRows(), 1);
  EXPECT_EQ(report_of([&] { lp.add(x + no_number <= 2); }).code, CPXERR_BAD_NUMBER);
  EXPECT_EQ(lp.getVarIndex(no_number), -1);
  EXPECT_EQ(lp.primalOpt(), 1);
  EXPECT_EQ(lp.getObjValue(), 5 * 9);
  lp.add(good);  // twice: two rows, and either can go
  lp.remove(good);
  EXPECT_EQ(lp.getConstraintIndex(good), 0);
  lp.remove(good);
  EXPECT_EQ(lp.getNumberOfRows(), 0);
}

}  // namespace
}  // namespace planloc
