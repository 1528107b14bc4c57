#include "planloc/engine/manager.h"

#include <gtest/gtest.h>

#include <ctime>
#include <functional>
#include <string>
#include <utility>

#include "engine_fixture.h"
#include "planloc/engine/manager_impl.h"

namespace planloc {
namespace {

using ManagerTest = EngineTest;

TEST_F(ManagerTest, ClockStartsAtZeroAndCountsSeconds) {
  const IlcManager late(1);
  EXPECT_LT(late.getTime(), 0.1);
  const std::clock_t start = std::clock();
  while (std::clock() - start < CLOCKS_PER_SEC / 20) continue;
  EXPECT_NEAR(late.getTime(), 0.05, 0.02);
  IlcManager(late).end();
}

TEST_F(ManagerTest, ModesPrecisionAndCurrentManager) {
  EXPECT_EQ(m.isInEditMode(), 1);
  EXPECT_EQ(m.getDefaultPrecision(), 1e-10);
  EXPECT_EQ(IlcGetManagerI(), m.getImpl());
  IlcManager searching(IlcNoEdit);
  EXPECT_EQ(searching.isInEditMode(), 0);
  EXPECT_EQ(IlcGetManager().getImpl(), searching.getImpl());
  const int stamp = searching.getStamp();
  IlcFloatVar(searching, 0, 1).setRange(0, 0);
  EXPECT_EQ(searching.getStamp(), stamp);
  searching.end();
  EXPECT_EXIT(IlcGetManager(), kAborted, "Solver Error : no manager\n");
}

TEST_F(ManagerTest, FailReportsOutsideOfASearch) {
  static int hooked;
  hooked = 0;
  m.setFailHook([](IlcManager manager) { hooked += manager.getNumberOfFails(); });
  m.useExceptions(1);
  EXPECT_THROW(m.fail(), IlcFailException);
  EXPECT_EQ(m.getNumberOfFails(), 1);
  EXPECT_EQ(hooked, 1);
  m.useExceptions(0);
  EXPECT_EXIT(m.fail(), kAborted,
              "^Solver Error : fail not in a Solve \\(try enclosing in IlcSolve\\)\n");
  EXPECT_EXIT(m.fail("here"), kAborted, "IlcSolve\\) : Label here\n");
  EXPECT_EXIT(IlcFloatVar(m, 2, 1), kAborted, "fail not in a Solve");
}

TEST(ManagerDeathTest, MembersOfAnEmptyHandleReport) {
  const std::pair<const char*, std::function<void(IlcManager)>> members[] = {
      {"getTime", [](IlcManager e) { e.getTime(); }},
      {"getHeap", [](IlcManager e) { e.getHeap(); }},
      {"getGlobalHeap", [](IlcManager e) { e.getGlobalHeap(); }},
      {"getStamp", [](IlcManager e) { e.getStamp(); }},
      {"isInEditMode", [](IlcManager e) { e.isInEditMode(); }},
      {"getErrorReporter", [](IlcManager e) { e.getErrorReporter(); }},
      {"setErrorReporter", [](IlcManager e) { e.setErrorReporter(nullptr); }},
      {"add", [](IlcManager e) { e.add(IlcConstraint()); }},
      {"isAdded", [](IlcManager e) { e.isAdded(IlcConstraint()); }},
      {"remove", [](IlcManager e) { e.remove(IlcConstraint()); }},
      {"saveValue", [](IlcManager e) { e.saveValue(nullptr); }},
      {"getDefaultPrecision", [](IlcManager e) { e.getDefaultPrecision(); }},
      {"end", [](IlcManager e) { e.end(); }},
      {"useExceptions", [](IlcManager e) { e.useExceptions(1); }},
      {"printInformation", [](IlcManager e) { e.printInformation(); }},
  };
  for (const auto& [name, call] : members) {
    EXPECT_EXIT(call(IlcManager()), kAborted,
                "Solver Error : IlcManager::" + std::string(name) + " : empty manager\n");
  }
}

TEST_F(ManagerTest, ReportsCarryCodeLabelTextAndValue) {
  IlcLinOpt(m, 0).end();  // leaves the throwing reporter behind
  IlcErrorReporter& r = *m.getErrorReporter();
  const IlcFloatExp x = IlcFloatVar(m, 1, 2, "x"), y = IlcFloatVar(m, 3, 3);
  const std::string longest(256, 'a');
  const std::pair<Report, std::function<void()>> cases[] = {
      {{39, "IlcManager::getTime : empty manager"}, [] { IlcManager().getTime(); }},
      {{5, "IlcFloatVarArrayI : bad array size"}, [this] { IlcFloatVarArray(m, -1); }},
      {{7, "a : b : 0.25"}, [&] { r.error(7, "a", "b", 0.25); }},
      {{7, "a : b : 3..9"}, [&] { r.error(7, "a", "b", 3, 9); }},
      {{7, "a : b : 3"}, [&] { r.error(7, "a", "b", 3); }},
      {{7, "a : b : x"}, [&] { r.error(7, "a", "b", x.getImpl()); }},
      {{7, "a : b : x, 3"}, [&] { r.error(7, "a", "b", x.getImpl(), y.getImpl()); }},
      {{7, "a : b"}, [&] { r.error(7, "a", "b"); }},
      {{7, "a"}, [&] { r.error(7, "a"); }},
      {{7, longest}, [&] { r.error(7, (longest + "a").c_str(), "b"); }},
  };
  for (const auto& [report, call] : cases) EXPECT_EQ(report_of(call), report);
}

TEST_F(ManagerTest, WarningsArePrinted) {
  testing::internal::CaptureStderr();
  m.getErrorReporter()->warning("a", "b");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "Solver Warning : a : b\n");
}

TEST_F(ManagerTest, EndReleasesOptimisersThatWereNotEnded) {
  IlcManager other(1);
  const IlcLinOpt lp(other, 0);
  library.take();
  library.fail_next = {{"freeprob", 1001}};
  EXPECT_EQ(report_of([&] { other.end(); }),
            (Report{1001, "IlcCplex::~IlcCplex : Error 1001: Out of memory."}));
  EXPECT_EQ(library.calls, (Calls{"freeprob", "closeCPLEX", "geterrorstring without environment"}));
  EXPECT_EQ(report_of([&] { other.end(); }).text, "no report");
}

TEST(ArraysDeathTest, IndicesSizesAndEmptyHandles) {
  IlcManager m(1);
  IlcFloatVarArray vars(m, 3, 0.0, IlcInfinity);
  const int given[] = {4, 5, 7};
  IlcIntArray ints(m, 3, given), shared = ints;
  shared[0] = 1;
  EXPECT_EQ(ints[0], 1);
  EXPECT_EQ(ints[2], 7);
  EXPECT_EQ(IlcFloatArray(m, 3, 0.5)[2], 0.5);
  EXPECT_NE(vars[0].getImpl(), vars[1].getImpl());
  EXPECT_EXIT(vars[3], kAborted, "getIndexMax\\(\\) > i");
  EXPECT_EXIT(vars[-1], kAborted, "i >= getIndexMin\\(\\)");
  EXPECT_EXIT(ints[3], kAborted, "getIndexMax\\(\\) > i");
  EXPECT_EXIT(ints[-1], kAborted, "i >= getIndexMin\\(\\)");
  EXPECT_EXIT(IlcFloatVarArray()[0], kAborted, "_impl != 0");
  EXPECT_EXIT(IlcIntArray()[0], kAborted, "_impl != 0");
  EXPECT_EXIT(IlcFloatArray()[0], kAborted, "_impl != 0");
  EXPECT_EXIT(IlcIntArray(m, -1, 0), kAborted, "IlcIntArrayI : bad array size\n");
  EXPECT_EXIT(IlcFloatArray(m, -1, 0.0), kAborted, "IlcFloatArrayI : bad array size\n");
  m.end();
}

TEST(StartDeathTest, OptimiserNeedsTheFloatSubsystem) {
  // A fresh process, in which no other test has started it.
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(IlcLinOpt(IlcManager(1)), kAborted, "IlcInitFloat has not been called");
}

}  // namespace
}  // namespace planloc
