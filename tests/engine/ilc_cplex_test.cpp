#include "planloc/engine/ilc_cplex.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>
#include <memory>
#include <new>
#include <string>
#include <tuple>
#include <utility>

#include "engine_fixture.h"

namespace {
std::size_t refused_size = 0;  // the next request of this size fails
}  // namespace

#ifndef __SANITIZE_ADDRESS__  // which keeps its own
// The adaptor's arrays come from here. Inlined, the pair looks mismatched to GCC.
[[gnu::noinline]] void* operator new(std::size_t size) {
  if (size > 0 && size == refused_size) {
    refused_size = 0;
    throw std::bad_alloc();
  }
  if (void* const memory = std::malloc(size ? size : 1)) return memory;
  throw std::bad_alloc();
}
[[gnu::noinline]] void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return std::malloc(size ? size : 1);
}
[[gnu::noinline]] void operator delete(void* memory) noexcept { std::free(memory); }
[[gnu::noinline]] void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
#endif

namespace planloc {
namespace {

using Use = std::function<void(IlcCplex&)>;

const double kOne = 1, kTwo = 2, kFour = 4;
const int kColumn = 0;

// An adaptor whose reports are thrown.
class IlcCplexTest : public EngineTest {
 protected:
  IlcCplexTest() {
    IlcLinOpt(m, 0).end();
    library.take();
  }
  std::unique_ptr<IlcCplex> adaptor(int close_on_error = 0) {
    return std::make_unique<IlcCplex>(m, 1, close_on_error);
  }
  // minimise -x0, 0 <= x0 <= 4, 2 x0 <= 6.
  void load(IlcCplex& cplex) {
    const double lb = 0, cost = -1;
    cplex.newCols(1, &lb, &kFour, "C", names);
    cplex.chgObj(1, &kColumn, &cost, 1);
    cplex.newRow(1, &kColumn, &kTwo, 'L', 6);
  }
  std::unique_ptr<IlcCplex> loaded(int close_on_error = 0) {
    auto cplex = adaptor(close_on_error);
    load(*cplex);
    return cplex;
  }

  char none[1] = "";
  char* names[1] = {none};
};

TEST_F(IlcCplexTest, EnvironmentIsOpenedByTheFirstAndClosedByTheLast) {
  for (int round = 0; round < 2; ++round) {
    library.take();
    auto first = adaptor();
    auto second = adaptor();
    EXPECT_EQ(first->getEnv(), second->getEnv());
    first->close();
    EXPECT_EQ(library.count("closeCPLEX"), 0);
    second->close();
    first.reset();
    second.reset();
    EXPECT_EQ(library.count("openCPLEXdevelop"), 1);
    EXPECT_EQ(library.count("closeCPLEX"), 1);
    EXPECT_EQ(library.count("freeprob"), 2);
  }
}

TEST_F(IlcCplexTest, ColumnsGoOutInRunsOfNamedAndUnnamed) {
  const auto cplex = adaptor();
  char a[] = "a", b[] = "b";
  char* mixed[] = {none, a, b, none};
  const double lb[] = {0, 1, 2, 3}, ub[] = {4, 5, 6, 7};
  library.take();
  cplex->newCols(4, lb, ub, "CCCC", mixed);
  EXPECT_EQ(library.take(), (Calls{"newcols [0,4]", "newcols [1,5] [2,6] a b", "newcols [3,7]"}));
  cplex->newCols(2, lb, ub, "CI", mixed);
  EXPECT_EQ(library.take(), (Calls{"newcols [0,4] types C", "newcols [1,5] types I a"}));
  const IlcManager searching(IlcNoEdit);
  IlcCplex other(searching, 1, 0);
  library.take();
  other.newCols(1, lb, ub, "I", mixed);
  EXPECT_EQ(library.take(), (Calls{"newcols [0,4]"})) << "types are for edit mode";
  other.close();
  IlcManager(searching).end();
}

TEST_F(IlcCplexTest, BuffersGrowByTheParametersAndThenDouble) {
  const auto cplex = loaded();
  cplex->setIntParam(CPX_PARAM_ROWGROWTH, 2);
  cplex->setIntParam(CPX_PARAM_NZGROWTH, 3);
  Calls grown;
  for (int i = 1; i <= 9; ++i) {
    library.take();
    cplex->bufferRow(1, &kColumn, &kOne, 'L', i);
    for (const std::string& call : library.calls) grown.push_back(std::to_string(i) + call);
  }
  // Rows: 2, 4, 8, 16; nonzeros, of which one place stays free: 3, 6, 12.
  EXPECT_EQ(grown, (Calls{"1getintparam 1046", "1getintparam 1048", "3getintparam 1046",
                          "3getintparam 1048", "5getintparam 1046", "6getintparam 1048",
                          "9getintparam 1046"}));
  cplex->nameLastBufferedRow("r");
  library.take();
  cplex->postToCplex();
  cplex->postToCplex();  // no rows, no call
  EXPECT_EQ(library.calls,
            (Calls{"addrows ?: 1 x0 L 1; ?: 1 x0 L 2; ?: 1 x0 L 3; ?: 1 x0 L 4; ?: 1 x0 L 5; "
                   "?: 1 x0 L 6; ?: 1 x0 L 7; ?: 1 x0 L 8; r: 1 x0 L 9"}));
}

TEST_F(IlcCplexTest, SolutionArraysAreReadOncePerSolve) {
  const auto cplex = loaded();
  ASSERT_EQ(cplex->dualOpt(), CPX_STAT_OPTIMAL);
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(cplex->getCurrentValue(0), 3);
    EXPECT_EQ(cplex->getDualValue(0), -0.5);
    EXPECT_EQ(cplex->getSlackValue(0), 0);
    EXPECT_EQ(cplex->getReducedCost(0), 0);
  }
  for (const char* read : {"getx", "getpi", "getslack", "getdj"}) {
    EXPECT_EQ(library.count(read), 1) << read;
  }
  cplex->chgMax(0, 2);
  cplex->getCurrentValue(0);
  EXPECT_EQ(library.count("getx"), 1) << "bounds clear nothing";
  ASSERT_EQ(cplex->primalOpt(), CPX_STAT_OPTIMAL);
  EXPECT_EQ(cplex->getCurrentValue(0), 2);
  EXPECT_EQ(cplex->getSlackValue(0), 2);
  EXPECT_EQ(cplex->getReducedCost(0), -1);
  EXPECT_EQ(cplex->getDualValue(0), 0);
}

TEST_F(IlcCplexTest, ChangesOfTheProgramClearTheCaches) {
  const Use changes[] = {
      [](IlcCplex& c) { c.newRow(1, &kColumn, &kOne, 'L', 9); },
      [this](IlcCplex& c) { c.newCols(1, &kOne, &kOne, "C", names); },
      [](IlcCplex& c) { c.deleteRow(0); },
      [](IlcCplex& c) { c.chgObj(1, &kColumn, &kOne, -1); },
      [](IlcCplex& c) { c.eraseObj(); },
  };
  for (const Use& change : changes) {
    const auto cplex = loaded();
    cplex->dualOpt();
    cplex->getCurrentValue(0);
    change(*cplex);
    EXPECT_EQ(report_of([&] { cplex->getCurrentValue(0); }).code, CPXERR_NO_SOLN)
        << &change - changes;
  }
}

TEST_F(IlcCplexTest, LibraryCodesAreReportedUnderTheOperationsName) {
  const char upper = 'U';
  double bounds[2];
  int i = 0;
  std::vector<int> columns, rows;
  const IlcSOS set{1, {0}, {1}};
  // Of an adaptor that has no environment any more.
  const std::pair<std::string, Use> closed[] = {
      {"newCols", [this](IlcCplex& c) { c.newCols(1, &kOne, &kOne, "C", names); }},
      {"newRow", [](IlcCplex& c) { c.newRow(1, &kColumn, &kOne, 'L', 1); }},
      {"deleteRow", [](IlcCplex& c) { c.deleteRow(0); }},
      {"chgObj", [](IlcCplex& c) { c.chgObj(1, &kColumn, &kOne, 1); }},
      {"chgMin", [](IlcCplex& c) { c.chgMin(0, 1); }},
      {"chgMax", [](IlcCplex& c) { c.chgMax(0, 1); }},
      {"setMax", [&](IlcCplex& c) { c.tighten(1, &kColumn, &upper, &kOne); }},
      {"getBounds(lb)", [&](IlcCplex& c) { c.getBounds(bounds, bounds); }},
      {"primalOpt", [](IlcCplex& c) { c.primalOpt(); }},
      {"setProblemType", [](IlcCplex& c) { c.setProblemType(1); }},
      {"getCurrentValue", [](IlcCplex& c) { c.getCurrentValue(0); }},
      {"updateReducedCost", [](IlcCplex& c) { c.getReducedCost(0); }},
      {"updateDuals", [](IlcCplex& c) { c.getDualValue(0); }},
      {"updateSlackValue", [](IlcCplex& c) { c.getSlackValue(0); }},
      {"getObjValue", [](IlcCplex& c) { c.getObjValue(); }},
      {"setIntParam", [](IlcCplex& c) { c.setIntParam(1030, 1); }},
      {"getIntParam", [](IlcCplex& c) { c.getIntParam(1030); }},
      {"getInfoIntParam", [&](IlcCplex& c) { c.getInfoIntParam(1030, &i, &i, &i); }},
      {"setFloatParam", [](IlcCplex& c) { c.setFloatParam(1016, 1e-6); }},
      {"setStringParam", [](IlcCplex& c) { c.setStringParam(1064, "."); }},
      {"newCol", [](IlcCplex& c) { c.newCol(0, 1, 'C', "a"); }},
      {"delRows", [](IlcCplex& c) { c.delRows(0, 0); }},
      {"delCols", [](IlcCplex& c) { c.delCols(0, 0); }},
      {"chgRhs", [](IlcCplex& c) { c.chgRhs(0, 1); }},
      {"setMin", [](IlcCplex& c) { c.setMin(0, 1); }},
      {"setMax", [](IlcCplex& c) { c.setMax(0, 1); }},
      {"getMin", [](IlcCplex& c) { c.getMin(0); }},
      {"getMax", [](IlcCplex& c) { c.getMax(0); }},
      {"barrierOpt", [](IlcCplex& c) { c.barrierOpt(); }},
      {"barrierPrimalOpt", [](IlcCplex& c) { c.barrierPrimalOpt(); }},
      {"barrierDualOpt", [](IlcCplex& c) { c.barrierDualOpt(); }},
      {"mipOpt", [](IlcCplex& c) { c.mipOpt(); }},
      {"getMIPObjValue", [](IlcCplex& c) { c.getMIPObjValue(); }},
      {"getBestObjValue", [](IlcCplex& c) { c.getBestObjValue(); }},
      {"copyCtype", [](IlcCplex& c) { c.copyCtype("I"); }},
      {"setSOS", [&](IlcCplex& c) { c.setSOS({set}); }},
      {"newSOS", [&](IlcCplex& c) { c.newSOS(set); }},
      {"setPriOrder", [](IlcCplex& c) { c.setPriOrder(0, nullptr, nullptr, nullptr); }},
      {"setStartingSolution", [](IlcCplex& c) { c.setStartingSolution(&kOne); }},
      {"setBasis", [](IlcCplex& c) { c.setBasis({}, {}); }},
      {"setBase", [](IlcCplex& c) { c.setBase(&kColumn, &kColumn); }},
      {"getBasis", [&](IlcCplex& c) { c.getBasis(columns, rows); }},
      {"getBase", [&](IlcCplex& c) { c.getBase(&i, &i); }},
      {"writeBase", [](IlcCplex& c) { c.writeBase("/"); }},
      {"readBase", [](IlcCplex& c) { c.readBase("/"); }},
      {"writeProblem", [](IlcCplex& c) { c.writeProblem("/", "LP"); }},
      {"getFloatParam", [](IlcCplex& c) { c.getFloatParam(1016); }},
      {"getInfoFloatParam",
       [&](IlcCplex& c) { c.getInfoFloatParam(1016, bounds, bounds, bounds); }},
      {"setDblParam", [](IlcCplex& c) { c.setDblParam(1016, 1e-6); }},
      {"getStringParam", [](IlcCplex& c) { c.getStringParam(1064); }},
      {"getStringParamDefault", [](IlcCplex& c) { c.getStringParamDefault(1064); }},
      {"setParamsDefault", [](IlcCplex& c) { c.setParamsDefault(); }},
      {"unsetLPCallback", [](IlcCplex& c) { c.unsetLPCallback(); }},
      {"unsetMIPCallback", [](IlcCplex& c) { c.unsetMIPCallback(); }},
  };
  for (const auto& [name, use] : closed) {
    const auto cplex = loaded();
    cplex->close();
    EXPECT_EQ(report_of([&, &run = use] { run(*cplex); }).text,
              "IlcCplex::" + name + " : Error 1002: No environment.");
  }
  const std::tuple<std::string, std::string, Use> refused[] = {
      {"addrows", "postToCplex",
       [](IlcCplex& c) {
         c.bufferRow(1, &kColumn, &kOne, 'L', 1);
         c.postToCplex();
       }},
      {"dualopt", "dualOpt", [](IlcCplex& c) { c.dualOpt(); }},
      {"chgobj", "eraseObj", [](IlcCplex& c) { c.eraseObj(); }},
      {"getub", "getBounds(ub)", [&](IlcCplex& c) { c.getBounds(bounds, bounds); }},
      {"hybnetopt", "netPrimalOpt", [](IlcCplex& c) { c.netPrimalOpt(2); }},
      {"hybnetopt", "netPrimalOpt", [](IlcCplex& c) { c.netDualOpt(2); }},
      {"freeprob", "~IlcCplex", [](IlcCplex& c) { c.close(); }},
      {"closeCPLEX", "~IlcCplex", [](IlcCplex& c) { c.close(); }},
  };
  for (const int close_on_error : {0, 1}) {
    for (const auto& [call, name, use] : refused) {
      const auto cplex = loaded(close_on_error);
      library.fail_next = {{call, 1001}};
      EXPECT_EQ(report_of([&, &run = use] { run(*cplex); }),
                (Report{close_on_error ? 53 : 1001,
                        "IlcCplex::" + name + " : Error 1001: Out of memory."}));
      EXPECT_EQ(cplex->getLp() == nullptr, close_on_error || name == "~IlcCplex") << name;
    }
  }
}

TEST_F(IlcCplexTest, ConstructionReportsAndGivesBackWhatItHolds) {
  library.fail_next = {{"createprob", 1001}};
  EXPECT_EQ(report_of([&] { adaptor(); }),
            (Report{1001, "IlcCplex::IlcCplex : Error 1001: Out of memory."}));
  EXPECT_EQ(library.count("closeCPLEX"), 1);
  library.fail_next = {{"openCPLEXdevelop", 32999}};
  library.take();
  EXPECT_EQ(report_of([&] { adaptor(); }), (Report{32999, "IlcCplex::IlcCplex : "}));
  EXPECT_EQ(library.calls, (Calls{"openCPLEXdevelop", "geterrorstring without environment"}));
}

TEST_F(IlcCplexTest, MissingMemoryIsReportedAndTheAdaptorStaysUsable) {
#ifdef __SANITIZE_ADDRESS__
  GTEST_SKIP() << "requests can't be made to fail";
#endif
  const std::pair<const char*, Use> cases[] = {
      {"IlcCplex::getCurrentValue: No more memory", [](IlcCplex& c) { c.getCurrentValue(0); }},
      {"IlcCplex::updateReducedCost: No more memory", [](IlcCplex& c) { c.getReducedCost(0); }},
      {"IlcCplex::updateDualValue: No more memory", [](IlcCplex& c) { c.getDualValue(0); }},
      {"IlcCplex::updateSlackValue: No more memory", [](IlcCplex& c) { c.getSlackValue(0); }},
      {"Solver : no more memory", [](IlcCplex& c) { c.bufferRow(1, &kColumn, &kOne, 'L', 1); }},
  };
  for (const auto& [text, call] : cases) {
    const auto cplex = loaded();
    cplex->dualOpt();
    refused_size = (text[0] == 'S' ? 100 : 1) * sizeof(double);
    EXPECT_EQ(report_of([&, &call = call] { call(*cplex); }).text, text);
    EXPECT_EQ(report_of([&, &call = call] { call(*cplex); }).text, "no report");
  }
  constexpr int n = 37;
  IlcLinOpt lp(m, 0);
  const IlcIntVarArray vars(m, n, 0, 1);
  IlcFloatArray weights(m, n, 0.0);
  for (int i = 0; i < n; ++i) weights[i] = i;
  const std::pair<std::size_t, std::function<void()>> members[] = {
      {sizeof(double), [&] { lp.addSOS(1, vars, weights); }},
      {sizeof(int), [&] { lp.setPriOrder(vars, IlcIntArray(m, n, 1)); }}};
  for (const auto& [size, call] : members) {
    refused_size = n * size;
    EXPECT_EQ(report_of(call).text, "No more memory");
    EXPECT_EQ(report_of(call).text, "no report");
  }
  lp.end();
}

TEST_F(IlcCplexTest, ReadsWithoutASolutionSolveOnlyWhenSearching) {
  IlcManager searching(IlcNoEdit);
  const struct {
    IlcManager manager;
    int close_on_error, solves_for_value, solves_for_reduced_cost;
  } cases[] = {{m, 0, 0, 0}, {m, 1, 0, 1}, {searching, 0, 1, 1}};
  for (const auto& c : cases) {
    const auto solves = [&](double (IlcCplex::*read)(int)) {
      IlcCplex cplex(c.manager, 1, c.close_on_error);
      load(cplex);
      library.take();
      report_of([&] { (cplex.*read)(0); });
      return library.count("primopt");
    };
    EXPECT_EQ(solves(&IlcCplex::getCurrentValue), c.solves_for_value);
    EXPECT_EQ(solves(&IlcCplex::getReducedCost), c.solves_for_reduced_cost);
  }
  IlcCplex solved(searching, 1, 0);
  load(solved);
  EXPECT_EQ(solved.getCurrentValue(0), 3);
  solved.close();
  searching.end();
}

TEST_F(IlcCplexTest, SenseAndTypes) {
  const auto cplex = loaded();
  EXPECT_TRUE(cplex->isMinimize());
  cplex->chgObj(1, &kColumn, &kOne, -1);
  EXPECT_FALSE(cplex->isMinimize());
  cplex->setToLP();
  EXPECT_EQ(library.count("chgprobtype"), 0) << "it is one";
  cplex->setProblemType(CPXPROB_MIP);
  cplex->setToLP();
  EXPECT_EQ(cplex->getProblemType(), CPXPROB_LP);
}

}  // namespace
}  // namespace planloc
