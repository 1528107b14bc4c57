// What the tests of the location model share.
#ifndef PLANLOC_TESTS_MODEL_MODEL_TESTING_H_
#define PLANLOC_TESTS_MODEL_MODEL_TESTING_H_

#include <gtest/gtest.h>

#include <functional>
#include <sstream>
#include <string>
#include <vector>

#include "planloc/model/location.h"
#include "tests/model/own_process.h"

namespace planloc {

template <class T>
std::string text(const T& x) {
  std::ostringstream out;
  out << x;
  return out.str();
}

inline location at(double x, double y, double w = 1.0) { return location(2.0, 1.0, x, y, w); }

// A call that ends the process through the reporter.
struct Ending {
  int code;
  std::string message;
  std::function<void()> call;
};

inline void expect_endings(const std::vector<Ending>& endings) {
  for (const Ending& e : endings) {
    EXPECT_EQ(in_own_process(e.call), reported(e.code, e.message));
  }
}

}  // namespace planloc

#endif  // PLANLOC_TESTS_MODEL_MODEL_TESTING_H_
