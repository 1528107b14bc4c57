#include "planloc/engine/ilc_cplex.h"

#include <gtest/gtest.h>

#include <csignal>
#include <functional>
#include <memory>
#include <new>
#include <string>

#include "engine_fixture.h"

namespace {
bool out_of_memory = false;
}  // namespace

// The adaptor's arrays come from here.
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
  return out_of_memory ? nullptr : ::operator new[](size);
}

namespace planloc {
namespace {

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
  // x0 <= 4, 0 <= x0, minimise -x0.
  void load(IlcCplex& cplex) {
    const double lb = 0, ub = 4, cost = -1;
    const char type = 'C';
    char name[] = "";
    char* names = name;
    const int column = 0;
    cplex.newCols(1, &lb, &ub, &type, &names);
    cplex.chgObj(1, &column, &cost, 1);
  }
  void load_with_row(IlcCplex& cplex) {
    load(cplex);
    const double value = 2;
    const int column = 0;
    cplex.newRow(1, &column, &value, 'L', 6);
  }
};

TEST_F(IlcCplexTest, ConstructionTurnsFilesAndScreenOff) {
  const auto cplex = adaptor();
  EXPECT_EQ(library.calls, (Calls{"openCPLEXdevelop", "createprob", "infointparam 1004",
                                  "setintparam 1004 2100000000", "setintparam 1035 0"}));
}

TEST_F(IlcCplexTest, EnvironmentIsOpenedByTheFirstAndClosedByTheLast) {
  for (int round = 0; round < 2; ++round) {
    library.take();
    auto first = adaptor();
    auto second = adaptor();
    EXPECT_EQ(first->getEnv(), second->getEnv());
    first->close();
    EXPECT_EQ(library.count("closeCPLEX"), 0);
    second->close();
    EXPECT_EQ(library.count("openCPLEXdevelop"), 1);
    EXPECT_EQ(library.count("closeCPLEX"), 1);
    EXPECT_EQ(library.count("freeprob"), 2);
    first.reset();
    second.reset();
    EXPECT_EQ(library.count("freeprob"), 2);
  }
}

TEST_F(IlcCplexTest, ColumnsGoOutInRunsOfNamedAndUnnamed) {
  const auto cplex = adaptor();
  char a[] = "a", b[] = "b", none[] = "";
  char* names[] = {none, a, b, none};
  const double lb[] = {0, 1, 2, 3}, ub[] = {4, 5, 6, 7};
  library.take();
  cplex->newCols(4, lb, ub, "CCCC", names);
  EXPECT_EQ(library.take(), (Calls{"newcols [0,4]", "newcols [1,5] [2,6] a b", "newcols [3,7]"}));
  cplex->newCols(2, lb, ub, "CI", names);
  EXPECT_EQ(library.take(), (Calls{"newcols [0,4] types C", "newcols [1,5] types I a"}));
  const IlcManager searching(IlcNoEdit);
  IlcCplex other(searching, 1, 0);
  library.take();
  other.newCols(1, lb, ub, "I", names);
  EXPECT_EQ(library.take(), (Calls{"newcols [0,4]"})) << "types are for edit mode";
  other.close();
  IlcManager(searching).end();
}

TEST_F(IlcCplexTest, BufferedRowsGoOutTogetherWithNamesIfThereAreAny) {
  const auto cplex = adaptor();
  load(*cplex);
  const double two = 2;
  const int column = 0;
  library.take();
  cplex->postToCplex();
  EXPECT_EQ(library.take(), Calls{}) << "no rows, no call";
  cplex->bufferRow(1, &column, &two, 'L', 1);
  cplex->bufferRow(0, &column, &two, 'G', -1);
  EXPECT_EQ(library.take(), (Calls{"getintparam 1046", "getintparam 1048"}));
  EXPECT_EQ(cplex->getBufferedRows(), 2);
  cplex->postToCplex();
  EXPECT_EQ(library.take(), (Calls{"addrows 2 x0 L 1; G -1"}));
  cplex->bufferRow(1, &column, &two, 'E', 3);
  cplex->bufferRow(1, &column, &two, 'E', 4);
  cplex->nameLastBufferedRow("r");
  cplex->postToCplex();
  EXPECT_EQ(library.take(),
            (Calls{"getintparam 1046", "getintparam 1048", "addrows ?: 2 x0 E 3; r: 2 x0 E 4"}));
  EXPECT_EQ(cplex->getBufferedRows(), 0);
}

TEST_F(IlcCplexTest, BuffersGrowByTheParametersAndThenDouble) {
  const auto cplex = adaptor();
  load(*cplex);
  cplex->setIntParam(CPX_PARAM_ROWGROWTH, 2);
  cplex->setIntParam(CPX_PARAM_NZGROWTH, 3);
  const double value = 1;
  const int column = 0;
  Calls grown;
  for (int i = 1; i <= 9; ++i) {
    library.take();
    cplex->bufferRow(1, &column, &value, 'L', i);
    for (const std::string& call : library.calls) grown.push_back(std::to_string(i) + call);
  }
  // Rows: 2, 4, 8, 16; nonzeros, of which one place stays free: 3, 6, 12.
  EXPECT_EQ(grown, (Calls{"1getintparam 1046", "1getintparam 1048", "3getintparam 1046",
                          "3getintparam 1048", "5getintparam 1046", "6getintparam 1048",
                          "9getintparam 1046"}));
  library.take();
  cplex->postToCplex();
  EXPECT_EQ(library.calls[0],
            "addrows 1 x0 L 1; 1 x0 L 2; 1 x0 L 3; 1 x0 L 4; 1 x0 L 5; 1 x0 L 6; 1 x0 L 7; "
            "1 x0 L 8; 1 x0 L 9");
}

TEST_F(IlcCplexTest, SolutionArraysAreReadOncePerSolve) {
  const auto cplex = adaptor();
  load_with_row(*cplex);
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
  EXPECT_EQ(library.count("getx"), 2);
}

TEST_F(IlcCplexTest, ChangesOfTheProgramClearTheCaches) {
  const double one = 1;
  const int column = 0;
  char none[] = "";
  char* names = none;
  const std::pair<const char*, std::function<void(IlcCplex&)>> changes[] = {
      {"newRow", [&](IlcCplex& c) { c.newRow(1, &column, &one, 'L', 9); }},
      {"newCols", [&](IlcCplex& c) { c.newCols(1, &one, &one, "C", &names); }},
      {"deleteRow", [&](IlcCplex& c) { c.deleteRow(0); }},
      {"chgObj", [&](IlcCplex& c) { c.chgObj(1, &column, &one, -1); }},
      {"eraseObj", [&](IlcCplex& c) { c.eraseObj(); }},
  };
  for (const auto& [name, change] : changes) {
    const auto cplex = adaptor();
    load_with_row(*cplex);
    cplex->dualOpt();
    cplex->getCurrentValue(0);
    change(*cplex);
    library.take();
    EXPECT_EQ(report_of([&] { cplex->getCurrentValue(0); }),
              (Report{1217, "IlcCplex::getCurrentValue : Error 1217: No solution exists."}))
        << name;
    EXPECT_EQ(library.count("getx"), 1) << name;
    EXPECT_EQ(library.count("primopt"), 0) << name;
  }
}

TEST_F(IlcCplexTest, LibraryCodesAreReportedUnderTheOperationsName) {
  const double one = 1;
  const int column = 0;
  const char upper = 'U';
  char none[] = "";
  char* names = none;
  double bounds[2];
  int i = 0;
  const struct {
    const char* call;
    const char* name;
    std::function<void(IlcCplex&)> run;
  } cases[] = {
      {"newcols", "newCols", [&](IlcCplex& c) { c.newCols(1, &one, &one, "C", &names); }},
      {"addrows", "newRow", [&](IlcCplex& c) { c.newRow(1, &column, &one, 'L', 1); }},
      {"addrows", "postToCplex",
       [&](IlcCplex& c) {
         c.bufferRow(1, &column, &one, 'L', 1);
         c.postToCplex();
       }},
      {"delrows", "deleteRow", [](IlcCplex& c) { c.deleteRow(0); }},
      {"chgobj", "chgObj", [&](IlcCplex& c) { c.chgObj(1, &column, &one, 1); }},
      {"chgobj", "eraseObj", [](IlcCplex& c) { c.eraseObj(); }},
      {"chgbds", "chgMin", [](IlcCplex& c) { c.chgMin(0, 1); }},
      {"chgbds", "chgMax", [](IlcCplex& c) { c.chgMax(0, 1); }},
      {"tightenbds", "setMax", [&](IlcCplex& c) { c.tighten(1, &column, &upper, &one); }},
      {"getlb", "getBounds(lb)", [&](IlcCplex& c) { c.getBounds(bounds, bounds); }},
      {"getub", "getBounds(ub)", [&](IlcCplex& c) { c.getBounds(bounds, bounds); }},
      {"primopt", "primalOpt", [](IlcCplex& c) { c.primalOpt(); }},
      {"dualopt", "dualOpt", [](IlcCplex& c) { c.dualOpt(); }},
      {"chgprobtype", "setProblemType", [](IlcCplex& c) { c.setProblemType(1); }},
      {"getx", "getCurrentValue", [](IlcCplex& c) { c.getCurrentValue(0); }},
      {"getdj", "updateReducedCost", [](IlcCplex& c) { c.getReducedCost(0); }},
      {"getpi", "updateDuals", [](IlcCplex& c) { c.getDualValue(0); }},
      {"getslack", "updateSlackValue", [](IlcCplex& c) { c.getSlackValue(0); }},
      {"getobjval", "getObjValue", [](IlcCplex& c) { c.getObjValue(); }},
      {"setintparam", "setIntParam", [](IlcCplex& c) { c.setIntParam(1030, 1); }},
      {"getintparam", "getIntParam", [](IlcCplex& c) { c.getIntParam(1030); }},
      {"infointparam", "getInfoIntParam",
       [&](IlcCplex& c) { c.getInfoIntParam(1030, &i, &i, &i); }},
      {"setdblparam", "setFloatParam", [](IlcCplex& c) { c.setFloatParam(1016, 1e-6); }},
      {"setstrparam", "setStringParam", [](IlcCplex& c) { c.setStringParam(1064, "."); }},
      {"freeprob", "~IlcCplex", [](IlcCplex& c) { c.close(); }},
      {"closeCPLEX", "~IlcCplex", [](IlcCplex& c) { c.close(); }},
  };
  for (const int close_on_error : {0, 1}) {
    for (const auto& c : cases) {
      const auto cplex = adaptor(close_on_error);
      load_with_row(*cplex);
      library.fail_next = {{c.call, 1001}};
      library.take();
      EXPECT_EQ(report_of([&] { c.run(*cplex); }),
                (Report{close_on_error ? 53 : 1001,
                        std::string("IlcCplex::") + c.name + " : Error 1001: Out of memory."}));
      EXPECT_EQ(cplex->getLp() == nullptr, close_on_error || c.name == std::string("~IlcCplex"))
          << c.name;
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
  EXPECT_EQ(library.count("geterrorstring"), 1) << "with a null environment";
  EXPECT_EQ(library.calls[1], "geterrorstring -32999");
}

TEST_F(IlcCplexTest, MissingMemoryIsReportedAndTheAdaptorStaysUsable) {
  const double one = 1;
  const int column = 0;
  const std::pair<const char*, std::function<void(IlcCplex&)>> cases[] = {
      {"IlcCplex::getCurrentValue: No more memory", [](IlcCplex& c) { c.getCurrentValue(0); }},
      {"IlcCplex::updateReducedCost: No more memory", [](IlcCplex& c) { c.getReducedCost(0); }},
      {"IlcCplex::updateDualValue: No more memory", [](IlcCplex& c) { c.getDualValue(0); }},
      {"IlcCplex::updateSlackValue: No more memory", [](IlcCplex& c) { c.getSlackValue(0); }},
      {"Solver : no more memory", [&](IlcCplex& c) { c.bufferRow(1, &column, &one, 'L', 1); }},
  };
  for (const auto& [text, call] : cases) {
    const auto cplex = adaptor();
    load_with_row(*cplex);
    cplex->dualOpt();
    out_of_memory = true;
    const Report report = report_of([&] { call(*cplex); });
    out_of_memory = false;
    EXPECT_EQ(report.text, text);
    EXPECT_EQ(report_of([&] { call(*cplex); }).text, "no report");
  }
}

TEST_F(IlcCplexTest, ReadsWithoutASolutionSolveOnlyWhenSearching) {
  const auto reads_and_solves = [&](IlcManager manager, int close_on_error, auto read) {
    IlcCplex cplex(manager, 1, close_on_error);
    load_with_row(cplex);
    library.take();
    report_of([&] { read(cplex); });
    return library.count("primopt");
  };
  const auto x = [](IlcCplex& c) { EXPECT_EQ(c.getCurrentValue(0), 3); };
  const auto x_fails = [](IlcCplex& c) { c.getCurrentValue(0); };
  const auto dj = [](IlcCplex& c) { c.getReducedCost(0); };
  EXPECT_EQ(reads_and_solves(m, 0, x_fails), 0);
  EXPECT_EQ(reads_and_solves(m, 1, x_fails), 0);
  EXPECT_EQ(reads_and_solves(m, 0, dj), 0);
  EXPECT_EQ(reads_and_solves(m, 1, dj), 1);
  IlcManager searching(IlcNoEdit);
  EXPECT_EQ(reads_and_solves(searching, 0, x), 1);
  EXPECT_EQ(reads_and_solves(searching, 0, dj), 1);
  searching.end();
}

TEST_F(IlcCplexTest, SenseAndNamesAndTypes) {
  const auto cplex = adaptor();
  load_with_row(*cplex);
  EXPECT_TRUE(cplex->isMinimize());
  const int column = 0;
  const double one = 1;
  cplex->chgObj(1, &column, &one, -1);
  EXPECT_FALSE(cplex->isMinimize());
  library.take();
  cplex->setRowName("last");
  EXPECT_EQ(library.take(), (Calls{"chgname r 0 last"}));
  cplex->setToLP();
  EXPECT_EQ(library.take(), Calls{});
  cplex->setProblemType(CPXPROB_MIP);
  cplex->setToLP();
  EXPECT_EQ(library.take(), (Calls{"chgprobtype 1", "chgprobtype 0"}));
}

}  // namespace
}  // namespace planloc
