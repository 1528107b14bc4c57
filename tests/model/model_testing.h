// What the tests of the location model share.
#ifndef PLANLOC_TESTS_MODEL_MODEL_TESTING_H_
#define PLANLOC_TESTS_MODEL_MODEL_TESTING_H_

#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <sstream>
#include <string>
#include <vector>

#include "planloc/model/location.h"

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

// Each call writes its one line to the error stream and ends the process with status 1.
inline void expect_endings(const std::vector<Ending>& endings) {
  for (const Ending& e : endings) {
    SCOPED_TRACE(e.code);
    std::string line;
    for (char c : "MAVI error: " + e.message + " ErrorCode: " + std::to_string(e.code) + "\n") {
      if (std::strchr(".()?[]*+^$|{}\\", c)) line += '\\';
      line += c;
    }
    EXPECT_EXIT(e.call(), testing::ExitedWithCode(1), "^" + line + "$");
  }
}

}  // namespace planloc

#endif  // PLANLOC_TESTS_MODEL_MODEL_TESTING_H_
