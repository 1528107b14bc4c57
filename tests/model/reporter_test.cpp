#include "planloc/model/reporter.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <iostream>

#include "tests/model/own_process.h"

namespace planloc {
namespace {

const bool enabled_before_main = window_reports_enabled;

bool announce_destructors = false;
struct Announcer {
  const char* text;
  ~Announcer() {
    if (announce_destructors) std::fputs(text, stderr);
  }
};
Announcer at_file_level{"file level\n"};

// A call that comes back says so behind what it wrote.
Outcome outcome(const std::function<void()>& call) {
  return in_own_process([&] {
    call();
    std::cout << "returned";
  });
}

TEST(ReporterTest, ErrorIsOneLineAndTheGivenStatus) {
  EXPECT_TRUE(enabled_before_main);
  for (bool use_window : {false, true}) {
    EXPECT_EQ(outcome([=] { MaviError(string("100%s"), 7, 3, use_window); }),
              (Outcome{3, "", "MAVI error: 100%s ErrorCode: 7\n"}));
  }
}

TEST(ReporterTest, ErrorDestroysFileLevelObjectsOnly) {
  const auto call = [] {
    announce_destructors = true;
    const Announcer on_the_stack{"stack\n"};
    MaviError("text", 1, 1, true);
  };
  EXPECT_EQ(outcome(call), (Outcome{1, "", "MAVI error: text ErrorCode: 1\nfile level\n"}));
}

TEST(ReporterTest, MessagesEndTheProcessOnZeroOnly) {
  for (int number : {-1, 0, 1, 3}) {
    SCOPED_TRACE(number);
    const Outcome expected =
        ended("", number == 0 ? "MAVI message: hello\n" : "MAVI message: hello\nreturned");
    EXPECT_EQ(outcome([=] { MaviMessage("hello", number, true); }), expected);
    EXPECT_EQ(outcome([=] { MaviMessage(string("hello"), number, false); }), expected);
    // A query goes by its second number alone.
    EXPECT_EQ(outcome([=] { MaviQuery("hello", number, 0, true); }), expected);
    EXPECT_EQ(outcome([=] { MaviQuery("hello", number, 1, false); }), expected);
  }
}

}  // namespace
}  // namespace planloc
