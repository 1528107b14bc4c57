#include "planloc/engine/manager.h"

#include <gtest/gtest.h>

#include <csignal>
#include <ctime>
#include <functional>
#include <sstream>
#include <string>

#include "engine_fixture.h"
#include "planloc/engine/manager_impl.h"

namespace planloc {
namespace {

const testing::KilledBySignal kAborted(SIGABRT);

using ManagerTest = EngineTest;

TEST_F(ManagerTest, ClockStartsAtZeroAndNeverDecreases) {
  const IlcManager late(1);
  EXPECT_LT(late.getTime(), 0.1);
  const std::clock_t start = std::clock();
  double last = late.getTime();
  while (std::clock() - start < CLOCKS_PER_SEC / 20) {
    const double now = late.getTime();
    EXPECT_GE(now, last);
    last = now;
  }
  EXPECT_NEAR(last, 0.05, 0.02);
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
  EXPECT_EXIT(IlcGetManagerI(), kAborted, "Solver Error : no manager\n");
  EXPECT_EXIT(IlcGetManager(), kAborted, "Solver Error : no manager\n");
}

TEST_F(ManagerTest, SavedWordsAreKept) {
  int number = 3;
  double real = 0.5;
  void* pointer = &number;
  m.saveValue(&number);
  m.saveValue(&real);
  m.saveValue(&pointer);
  number = 4;
  const auto& trail = m.getImpl()->trail();
  ASSERT_EQ(trail.size(), 3U);
  EXPECT_EQ(trail[0].address, &number);
  EXPECT_EQ(trail[0].number, 3);
  EXPECT_EQ(trail[1].real, 0.5);
  EXPECT_EQ(trail[2].pointer, &number);
}

TEST_F(ManagerTest, AddedConstraintsNarrowAtOnceAndCanBeRemoved) {
  const IlcFloatVar x(m, 0, 10), y(m, 3, 5);
  const IlcConstraint ct = x <= y;
  EXPECT_FALSE(m.isAdded(ct));
  m.add(ct);
  EXPECT_TRUE(m.isAdded(ct));
  EXPECT_EQ(x.getMax(), 5);
  m.remove(ct);
  EXPECT_FALSE(m.isAdded(ct));
  EXPECT_EQ(x.getMax(), 5);
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
      {"saveValue", [](IlcManager e) { e.saveValue(static_cast<int*>(nullptr)); }},
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

TEST_F(ManagerTest, ReportsCarryTheirCodes) {
  IlcLinOpt(m, 0).end();  // leaves the throwing reporter behind
  EXPECT_EQ(report_of([] { IlcManager().getTime(); }),
            (Report{39, "IlcManager::getTime : empty manager"}));
  EXPECT_EQ(report_of([this] { IlcFloatVarArray(m, -1); }),
            (Report{5, "IlcFloatVarArrayI : bad array size"}));
}

struct KeepingReporter : IlcErrorReporter {
  std::string text;
  int code = 0;
  void show() override { text = getText(); }
  void abort(int c) override { code = c; }
};

TEST_F(ManagerTest, ReporterWritesLabelTextAndValue) {
  KeepingReporter r;
  const IlcFloatExp x = IlcFloatVar(m, 1, 2, "x"), y = IlcFloatVar(m, 3, 3);
  const auto text = [&r] { return std::to_string(r.code) + " " + r.text; };
  r.error(7, "a", "b", 0.25);
  EXPECT_EQ(text(), "7 a : b : 0.25");
  r.error(7, "a", "b", 3, 9);
  EXPECT_EQ(text(), "7 a : b : 3..9");
  r.IlcErrorReporter::error(7, "a", "b", 3);
  EXPECT_EQ(text(), "7 a : b : 3");
  r.error(7, "a", "b", x.getImpl());
  EXPECT_EQ(text(), "7 a : b : x");
  r.error(7, "a", "b", x.getImpl(), y.getImpl());
  EXPECT_EQ(text(), "7 a : b : x, 3");
  r.error(8, "a", "b");
  EXPECT_EQ(text(), "8 a : b");
  r.error(8, "a");
  EXPECT_EQ(text(), "8 a");
  r.error(8, std::string(400, 'a').c_str(), "b");
  EXPECT_EQ(r.text, std::string(256, 'a'));
}

TEST_F(ManagerTest, DefaultReporterPrintsAndAborts) {
  EXPECT_EXIT(m.getErrorReporter()->error(1, "Solver", "no more memory"), kAborted,
              "^Solver Error : Solver : no more memory\n");
  testing::internal::CaptureStderr();
  m.getErrorReporter()->warning("a", "b");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "Solver Warning : a : b\n");
}

TEST_F(ManagerTest, EndReleasesOptimisersThatWereNotEnded) {
  IlcManager other(1);
  IlcLinOpt lp(other, 0);
  const IlcFloatVar x(other, 1, 2);
  lp.setObjMin(x + 1.0);
  library.take();
  other.end();
  EXPECT_EQ(library.calls, (Calls{"freeprob", "closeCPLEX"}));
}

TEST_F(ManagerTest, EndReportsWhatReleasingAnOptimiserReports) {
  IlcManager other(1);
  const IlcLinOpt lp(other, 0);
  library.fail_next = {{"freeprob", 1001}};
  EXPECT_EQ(report_of([&] { other.end(); }),
            (Report{1001, "IlcCplex::~IlcCplex : Error 1001: Out of memory."}));
  EXPECT_EQ(report_of([&] { other.end(); }).text, "no report");
}

TEST(ArraysDeathTest, IndicesSizesAndEmptyHandles) {
  IlcManager m(1);
  IlcFloatVarArray vars(m, 3, 0.0, IlcInfinity);
  IlcIntArray ints(m, 3, 7);
  IlcFloatArray floats(m, 3, 0.5);
  const int given[] = {4, 5};
  EXPECT_EQ(IlcIntArray(m, 2, given)[1], 5);
  EXPECT_EQ(vars.getSize(), 3);
  EXPECT_EQ(vars[2].getMin(), 0.0);
  EXPECT_NE(vars[0].getImpl(), vars[1].getImpl());
  EXPECT_EQ(ints[2], 7);
  EXPECT_EQ(floats[2], 0.5);
  IlcIntArray shared = ints;
  shared[0] = 1;
  EXPECT_EQ(ints[0], 1);
  EXPECT_EQ(IlcFloatVarArray(m, 0, 0.0, IlcInfinity).getSize(), 0);

  EXPECT_EXIT(vars[3], kAborted, "getIndexMax\\(\\) > i");
  EXPECT_EXIT(vars[-1], kAborted, "i >= getIndexMin\\(\\)");
  EXPECT_EXIT(ints[3], kAborted, "getIndexMax\\(\\) > i");
  EXPECT_EXIT(ints[-1], kAborted, "i >= getIndexMin\\(\\)");
  EXPECT_EXIT(IlcIntArray(m, 0, 0)[0], kAborted, "getIndexMax\\(\\) > i");
  EXPECT_EXIT(IlcFloatVarArray()[0], kAborted, "_impl != 0");
  EXPECT_EXIT(IlcIntArray()[0], kAborted, "_impl != 0");
  EXPECT_EXIT(IlcFloatArray()[0], kAborted, "_impl != 0");
  EXPECT_EXIT(IlcFloatVarArray(m, -1, 0.0, 1.0), kAborted, "IlcFloatVarArrayI : bad array size\n");
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
