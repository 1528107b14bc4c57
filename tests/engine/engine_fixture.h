#ifndef PLANLOC_TESTS_ENGINE_ENGINE_FIXTURE_H_
#define PLANLOC_TESTS_ENGINE_ENGINE_FIXTURE_H_

#include <gtest/gtest.h>

#include <csignal>
#include <string>
#include <vector>

#include "planloc/engine/engine.h"
#include "recording_library.h"

namespace planloc {

using Calls = std::vector<std::string>;

inline const testing::KilledBySignal kAborted(SIGABRT);

// A manager in edit mode and a recording library in force.
class EngineTest : public testing::Test {
 protected:
  EngineTest() {
    IlcInitFloat();
    m = IlcManager(1);
    before_ = set_cplex_library(&library);
  }
  ~EngineTest() override {
    m.end();
    set_cplex_library(before_);
  }

  IlcFloatVar free_variable(const char* name = nullptr) {
    return IlcFloatVar(m, -IlcInfinity, IlcInfinity, name);
  }
  IlcFloatVar at_least_zero() { return IlcFloatVar(m, 0.0, IlcInfinity); }

  IlcManager m;
  RecordingLibrary library;

 private:
  CplexLibrary* before_ = nullptr;
};

// The same with an optimiser, whose reports are thrown.
class OptimiserTest : public EngineTest {
 protected:
  OptimiserTest() : lp(m, 0) {}
  ~OptimiserTest() override { lp.end(); }

  IlcLinOpt lp;
};

// What a call reports through the throwing reporter.
struct Report {
  int code;
  std::string text;
  bool operator==(const Report&) const = default;
};

inline std::ostream& operator<<(std::ostream& out, const Report& report) {
  return out << report.code << " \"" << report.text << '"';
}

template <typename Call>
Report report_of(Call call) {
  try {
    call();
  } catch (const IlcLinOptException& e) {
    return {e.getCode(), e.getText()};
  }
  return {0, "no report"};
}

}  // namespace planloc

#endif  // PLANLOC_TESTS_ENGINE_ENGINE_FIXTURE_H_
