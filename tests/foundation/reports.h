// What a call reports through `error_handler`, caught so that a test goes on behind it, and what a
// value prints.
#ifndef PLANLOC_TESTS_FOUNDATION_REPORTS_H_
#define PLANLOC_TESTS_FOUNDATION_REPORTS_H_

#include <gtest/gtest.h>

#include <functional>
#include <initializer_list>
#include <sstream>
#include <string>

#include "planloc/foundation/containers/error_handler.h"

namespace planloc::testing_support {

struct report {
  int code;
  std::string text;
};

// "<code>: <text>" of the first report of `call`, "none" if there is no report.
template <class Call>
std::string report_of(Call call) {
  const ErrorHandler previous = set_error_handler([](int code, const char* text) {
    throw report{code, text};
  });
  std::string result = "none";
  try {
    call();
  } catch (const report& r) {
    result = std::to_string(r.code) + ": " + r.text;
  }
  set_error_handler(previous);
  return result;
}

struct report_case {
  std::function<void()> call;
  std::string report;
};

inline void expect_reports(std::initializer_list<report_case> cases) {
  for (const report_case& c : cases) EXPECT_EQ(report_of(c.call), c.report);
}

template <class T>
std::string text_of(const T& x) {
  std::ostringstream out;
  out << x;
  return out.str();
}

}  // namespace planloc::testing_support

#endif  // PLANLOC_TESTS_FOUNDATION_REPORTS_H_
