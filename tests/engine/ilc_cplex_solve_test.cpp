// IlcCplex: mixed integer programs, the solves of a search, bases and callbacks.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "engine_fixture.h"
#include "planloc/engine/ilc_cplex.h"

namespace planloc {
namespace {

constexpr int kThree[] = {0, 1, 2};

// maximise 5 x0 + 4 x1 + 3 x2 in [0, 10]; 2 x0 + 3 x1 + x2 <= 5, 4 x0 + x1 + 2 x2 <= 11,
// 3 x0 + 4 x1 + 2 x2 <= 8: value 13 at (2, 0, 1).
class IlcCplexSolveTest : public EngineTest {
 protected:
  IlcCplexSolveTest() {  // reports are thrown from here on
    IlcLinOpt(m, 0).end();
    IlcLinOpt(searching, 0).end();
  }
  ~IlcCplexSolveTest() override { searching.end(); }

  std::unique_ptr<IlcCplex> made(bool edit = true) {
    auto c = std::make_unique<IlcCplex>(edit ? m : searching, 1, 0);
    for (int j = 0; j < 3; ++j) c->newCol(0, 10, 'C', nullptr);
    const double cost[] = {5, 4, 3}, rows[3][3] = {{2, 3, 1}, {4, 1, 2}, {3, 4, 2}};
    c->chgObj(3, kThree, cost, -1);
    const double rhs[] = {5, 11, 8};
    for (int i = 0; i < 3; ++i) c->bufferRow(3, kThree, rows[i], 'L', rhs[i]);
    c->postToCplex();
    library.take();
    return c;
  }
  std::vector<double> values(IlcCplex& c) {
    return {c.getCurrentValue(0), c.getCurrentValue(1), c.getCurrentValue(2)};
  }

  IlcManager searching{IlcNoEdit};
};

TEST_F(IlcCplexSolveTest, MixedIntegerReadsAndLinearReads) {
  const auto c = made();
  const double half = 7.5;
  c->chgRhs(2, half);
  c->copyCtype("III");
  ASSERT_EQ(c->mipOpt(), CPXMIP_OPTIMAL);
  EXPECT_TRUE(c->isSolvedAsMIP());
  const double integer_value = c->getMIPObjValue();
  EXPECT_EQ(integer_value, 11);
  EXPECT_EQ(values(*c), (std::vector<double>{1, 0, 2}));
  EXPECT_EQ(c->getSlackValue(2), 0.5);
  EXPECT_EQ(library.count("getmipx") + library.count("getmipslack"), 2);
  EXPECT_EQ(c->getBestObjValue(), 11);
  EXPECT_GT(c->getIterations(), 0);
  EXPECT_EQ(report_of([&] { c->getDualValue(0); }).code, CPXERR_NOT_FOR_MIP);
  EXPECT_EQ(report_of([&] { c->primalOpt(); }).code, CPXERR_NOT_FOR_MIP);

  c->setProblemType(CPXPROB_RELAXED);
  ASSERT_EQ(c->dualOpt(), CPX_STAT_OPTIMAL);
  EXPECT_FALSE(c->isSolvedAsMIP());
  EXPECT_EQ(c->getObjValue(), 12.5);
  c->setProblemType(CPXPROB_FIXED);
  ASSERT_EQ(c->primalOpt(), CPX_STAT_OPTIMAL);
  EXPECT_EQ(c->getObjValue(), 11);
  EXPECT_EQ(c->getReducedCost(0), 5) << "all are fixed, so no row has a price";
  c->setProblemType(CPXPROB_MIP);
  ASSERT_EQ(c->mipOpt(), CPXMIP_OPTIMAL);
  EXPECT_EQ(c->getMIPObjValue(), integer_value);
  c->setProblemType(CPXPROB_LP);
  EXPECT_EQ(report_of([&] { c->setProblemType(CPXPROB_RELAXED); }).code, CPXERR_NOT_MIP);
  EXPECT_EQ(report_of([&] { c->mipOpt(); }).code, CPXERR_NOT_MIP);
  c->setProblemType(CPXPROB_MIP);
  EXPECT_EQ(c->mipOpt(), CPXMIP_OPTIMAL);
  EXPECT_EQ(c->getMIPObjValue(), 12.5) << "the types are gone";
}

TEST_F(IlcCplexSolveTest, SetsPrioritiesAndStarts) {
  const auto c = made();
  c->newSOS({1, {0, 1}, {1, 2}});
  c->newSOS({2, {2, 1, 0}, {3, 2, 1}, 4});
  EXPECT_EQ(library.take(), (Calls{"chgprobtype 1", "copysos S1 x0:1 x1:2",
                                   "copysos S1 x0:1 x1:2; S2 x2:3 x1:2 x0:1"}));
  ASSERT_EQ(c->mipOpt(), CPXMIP_OPTIMAL);
  EXPECT_EQ(values(*c), (std::vector<double>{2.5, 0, 0}));
  c->setSOS({});
  c->copyCtype("III");
  const int priorities[] = {3, 1, 2}, directions[] = {CPX_BRANCH_UP, 0, CPX_BRANCH_DOWN};
  c->setPriOrder(3, kThree, priorities, directions);
  // Starts: complete, of an unknown value, impossible. The answer is the same.
  const double unknown = std::nan("");
  const std::vector<double> starts[] = {{2, 0, 1}, {1, unknown, 0}, {9, 9, 9}};
  for (const std::vector<double>& start : starts) {
    c->setStartingSolution(start.data());
    ASSERT_EQ(c->mipOpt(), CPXMIP_OPTIMAL);
    EXPECT_EQ(values(*c), (std::vector<double>{2, 0, 1}));
  }
  // Nor is it a start what is outside of the bounds.
  c->chgMax(0, 1);
  c->setStartingSolution(starts[0].data());
  ASSERT_EQ(c->mipOpt(), CPXMIP_OPTIMAL);
  EXPECT_EQ(c->getMIPObjValue(), 12);
  c->chgMax(0, 10);
  // The start is what is left where no node may be searched.
  c->chgRhs(2, 7.5);
  c->setIntParam(CPX_PARAM_NODELIM, 0);
  const double one[] = {1, 0, 0};
  c->setStartingSolution(one);
  const int status = c->mipOpt();
  EXPECT_TRUE(status == CPXMIP_NODE_LIM_FEAS || status == CPXMIP_OPTIMAL) << status;
  EXPECT_GE(c->getMIPObjValue(), 5);

  const IlcSOS bad[] = {{3, {0}, {1}}, {1, {0, 0}, {1, 2}}, {1, {0, 1}, {1, 1}},
                        {1, {7}, {1}}, {1, {}, {}},         {1, {0, 1}, {1}}};
  const int codes[] = {CPXERR_BAD_SOS_TYPE,    CPXERR_DUP_ENTRY,    CPXERR_SOS_BAD_WEIGHT,
                       CPXERR_COL_INDEX_RANGE, CPXERR_BAD_ARGUMENT, CPXERR_BAD_ARGUMENT};
  for (const int& code : codes) {
    EXPECT_EQ(report_of([&] { c->newSOS(bad[&code - codes]); }).code, code);
  }
  const int negative = -1, beyond = 3;
  EXPECT_EQ(report_of([&] { c->setPriOrder(1, kThree, &negative, nullptr); }).code,
            CPXERR_BAD_PRIORITY);
  EXPECT_EQ(report_of([&] { c->setPriOrder(1, &beyond, priorities, nullptr); }).code,
            CPXERR_COL_INDEX_RANGE);
}

TEST_F(IlcCplexSolveTest, BarrierAndNetworkSolves) {
  const auto c = made();
  ASSERT_EQ(c->barrierPrimalOpt(), CPX_STAT_OPTIMAL);
  ASSERT_EQ(c->barrierDualOpt(), CPX_STAT_OPTIMAL);
  EXPECT_EQ(library.take(), (Calls{"hybbaropt 112", "hybbaropt 100"}));
  const int before = c->getIterations();
  ASSERT_EQ(c->barrierOpt(), CPX_STAT_OPTIMAL);
  const int interior = library.CPXgetbaritcnt(c->getEnv(), c->getLp());
  EXPECT_GT(interior, 0);
  EXPECT_EQ(c->getIterations() - before, library.CPXgetitcnt(c->getEnv(), c->getLp()) + interior);
  library.take();
  ASSERT_EQ(c->netDualOpt(3), CPX_STAT_OPTIMAL);
  ASSERT_EQ(c->netPrimalOpt(2), CPX_STAT_OPTIMAL);
  EXPECT_EQ(library.take(), (Calls{"getintparam 1022", "setintparam 1022 3", "hybnetopt 100",
                                   "setintparam 1022 2", "getintparam 1022", "hybnetopt 112"}));
}

TEST_F(IlcCplexSolveTest, SolvesOfASearch) {
  const struct {
    IlcMethod method;
    Calls calls;  // after those of an adaptor that is linear already
  } methods[] = {
      {kIlcPrimal, {"primopt"}},
      {kIlcDual, {"dualopt"}},
      {kIlcNetworkPrimal,
       {"setintparam 1022 1", "setintparam 1001 1", "hybnetopt 112", "primopt",
        "setintparam 1001 0"}},
      {kIlcNetworkDual,
       {"setintparam 1022 1", "setintparam 1001 1", "hybnetopt 100", "dualopt",
        "setintparam 1001 0"}},
      {kIlcBarrierPrimal, {"hybbaropt 112", "setintparam 1001 1", "primopt", "setintparam 1001 0"}},
      {kIlcBarrierDual, {"hybbaropt 100", "setintparam 1001 1", "dualopt", "setintparam 1001 0"}},
  };
  for (const auto& [method, calls] : methods) {
    const auto c = made();
    EXPECT_TRUE(c->optimize(method, 1));
    EXPECT_EQ(library.take(), calls);
    EXPECT_EQ(c->getObjValue(), 13);
  }
  const auto c = made();
  c->setFirstSolveParams();
  EXPECT_EQ(library.take(),
            (Calls{"setintparam 1003 -1", "setintparam 1030 1", "setintparam 1029 0",
                   "setintparam 1009 0", "setintparam 1001 0"}));
}

TEST_F(IlcCplexSolveTest, SearchesWithoutASolution) {
  const std::string kFail = "fail not in a Solve (try enclosing in IlcSolve)", kNone = "no report";
  const struct {
    bool dual;
    int code;            // of the first call, 0: that of the program
    char program;        // i infeasible, u unbounded, o with an optimum
    bool solved[2];      // edit, no edit
    std::string report;  // no edit
  } cases[] = {
      {false, 0, 'i', {false, false}, kFail},    {false, 0, 'u', {false, false}, kNone},
      {true, 0, 'i', {false, false}, kFail},     {true, 0, 'u', {false, false}, kFail},
      {false, 1217, 'o', {false, false}, kFail}, {true, 1217, 'o', {false, false}, kFail},
      {false, 1101, 'o', {false, false}, kNone}, {true, 1101, 'o', {false, false}, kNone},
      {false, 1101, 'i', {false, false}, kFail}, {false, 0, 'o', {true, true}, kNone},
  };
  for (const auto& k : cases) {
    for (const bool edit : {true, false}) {
      const auto c = made(edit);
      if (k.program == 'i') c->chgRhs(0, -1);
      if (k.program == 'u') c->delRows(0, 2);
      for (int j = 0; k.program == 'u' && j < 3; ++j) c->chgMax(j, CPX_INFBOUND);
      if (k.code) library.fail_next = {{k.dual ? "dualopt" : "primopt", k.code}};
      bool solved = false;
      const Report report =
          report_of([&] { solved = c->optimize(k.dual ? kIlcDual : kIlcPrimal, 2); });
      EXPECT_EQ(report.text, edit ? kNone : k.report) << &k - cases;
      EXPECT_EQ(solved, k.solved[!edit]) << &k - cases;
    }
  }
}

TEST_F(IlcCplexSolveTest, BasesAndFiles) {
  const auto c = made();
  std::vector<int> columns, rows;
  EXPECT_EQ(report_of([&] { c->getBasis(columns, rows); }).code, CPXERR_NO_BASIS);
  c->primalOpt();
  c->getBasis(columns, rows);
  EXPECT_EQ(columns, (std::vector<int>{CPX_BASIC, CPX_AT_LOWER, CPX_BASIC}));
  EXPECT_EQ(rows, (std::vector<int>{CPX_AT_LOWER, CPX_BASIC, CPX_AT_LOWER}));
  EXPECT_EQ(report_of([&] { c->setBasis({0}, rows); }).code, CPXERR_BAD_ARGUMENT);
  columns[0] = 4;
  EXPECT_EQ(report_of([&] { c->setBasis(columns, rows); }).code, CPXERR_BAD_ARGUMENT);
  EXPECT_EQ(report_of([&] { c->readBase("no such folder/a.bas"); }).code, CPXERR_FAIL_OPEN_READ);
  EXPECT_EQ(report_of([&] { c->writeProblem("no such folder/a.lp"); }).code,
            CPXERR_FAIL_OPEN_WRITE);
  EXPECT_EQ(report_of([&] { c->writeProblem("a.xyz"); }).code, CPXERR_BAD_FILETYPE);
}

// ----- Callbacks -----

struct Counter : IlcCallbackI {
  int execute() override {
    ++calls;
    places.push_back(getWhere());
    const bool mip = getWhere() == CPX_CALLBACK_MIP;
    iterations = getIntInfo(mip ? CPX_CALLBACK_INFO_MIP_ITERATIONS : CPX_CALLBACK_INFO_ITCOUNT);
    value = getFloatInfo(mip ? CPX_CALLBACK_INFO_BEST_REMAINING : CPX_CALLBACK_INFO_PRIMAL_OBJ);
    if (ask) getIntInfo(ask);
    if (throws) throw std::runtime_error("enough");
    return calls == stop_at;
  }
  int calls = 0, stop_at = -1, iterations = -1, ask = 0;
  bool throws = false;
  double value = std::nan("");
  std::vector<int> places;
};

TEST_F(IlcCplexSolveTest, LPCallbacksSeeTheProgressAndStop) {
  const auto c = made();
  c->setIntParam(CPX_PARAM_ADVIND, 0);
  c->setIntParam(CPX_PARAM_PREIND, 0);
  Counter counter;
  EXPECT_EQ(report_of([&] { counter.getIntInfo(CPX_CALLBACK_INFO_ITCOUNT); }).code,
            CPXERR_CALLBACK);
  c->setLPCallback(&counter);
  EXPECT_EQ(c->getLPCallback().getImpl(), &counter);
  EXPECT_EQ(c->getMIPCallback().getImpl(), nullptr);
  ASSERT_EQ(c->primalOpt(), CPX_STAT_OPTIMAL);
  EXPECT_GE(counter.calls, 1);
  EXPECT_EQ(counter.iterations, counter.calls);
  EXPECT_LE(counter.value, 13);
  EXPECT_EQ(counter.places[0], CPX_CALLBACK_PRIMAL);
  c->barrierOpt();
  EXPECT_NE(std::find(counter.places.begin(), counter.places.end(), CPX_CALLBACK_BARRIER),
            counter.places.end());

  for (int (IlcCplex::*solve)() : {&IlcCplex::primalOpt, &IlcCplex::barrierOpt}) {
    counter = Counter();
    counter.stop_at = 1;
    c->setLPCallback(&counter);
    const int status = ((*c).*solve)();
    EXPECT_TRUE(status == CPX_STAT_ABORT_FEAS || status == CPX_STAT_ABORT_INFEAS) << status;
    EXPECT_EQ(counter.calls, 1);
  }
  counter.stop_at = -1;
  counter.throws = true;
  EXPECT_THROW(c->primalOpt(), std::runtime_error);
  counter.throws = false;
  counter.ask = CPX_CALLBACK_INFO_NODE_COUNT;  // of mixed integer programs only
  EXPECT_EQ(report_of([&] { c->primalOpt(); }),
            (Report{CPXERR_BAD_ARGUMENT,
                    "IlcCallbackI::getCallbackInfo : Error 1003: Bad argument to function."}));
  c->unsetLPCallback();
  EXPECT_EQ(c->primalOpt(), CPX_STAT_OPTIMAL);
}

TEST_F(IlcCplexSolveTest, MIPCallbacksSeeTheProgressAndStop) {
  // A knapsack that takes a search: items of nearly the same value.
  IlcCplex c(m, 1, 0);
  constexpr int n = 22;
  std::vector<double> cost, weight;
  std::vector<int> all;
  for (int j = 0; j < n; ++j) {
    c.newCol(0, 1, 'B', nullptr);
    weight.push_back(100 + (j * 37) % 61 + 0.1 * j);
    cost.push_back(weight.back() + (j * 17) % 7 * 0.3);
    all.push_back(j);
  }
  c.chgObj(n, all.data(), cost.data(), -1);
  c.newRow(n, all.data(), weight.data(), 'L', 934.5);
  Counter counter;
  c.setMIPCallback(&counter);
  c.setFloatParam(CPX_PARAM_EPGAP, 0);
  ASSERT_EQ(c.mipOpt(), CPXMIP_OPTIMAL);
  const double best = c.getMIPObjValue();
  ASSERT_GT(counter.calls, 2);
  EXPECT_GE(counter.value, best - 1e-6);
  EXPECT_EQ(counter.places[0], CPX_CALLBACK_MIP);
  EXPECT_GT(c.getNodeCount(), 0);
  counter = Counter();
  counter.stop_at = 1;
  c.setMIPCallback(&counter);
  const int status = c.mipOpt();
  EXPECT_TRUE(status == CPXMIP_ABORT_FEAS || status == CPXMIP_ABORT_INFEAS) << status;
  if (status == CPXMIP_ABORT_FEAS) {
    EXPECT_LE(c.getMIPObjValue(), best);
  } else {
    EXPECT_EQ(report_of([&] { c.getMIPObjValue(); }).code, CPXERR_NO_INT_SOLN);
  }
  c.close();
}

TEST_F(IlcCplexSolveTest, CallbacksGoWithTheAdaptorThatSetThem) {
  const auto other = made();
  Counter counter;
  {
    const auto c = made();
    c->setLPCallback(&counter);
  }
  EXPECT_EQ(other->getLPCallback().getImpl(), nullptr);
  other->primalOpt();
  EXPECT_EQ(counter.calls, 0);
}

}  // namespace
}  // namespace planloc
