#include "planloc/model/reporter.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <iostream>
#include <string>

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

// What a call writes to the standard output, for calls that return.
template <class Call>
std::string written(Call call) {
  testing::internal::CaptureStdout();
  call();
  return testing::internal::GetCapturedStdout();
}

// Sends the standard output of an ending call to the stream that a death test reads.
void show_output() { std::cout.rdbuf(std::cerr.rdbuf()); }

TEST(ReporterTest, PanelsAreEnabledFromTheStart) { EXPECT_TRUE(enabled_before_main); }

TEST(ReporterTest, ErrorIsOneLineAndTheGivenStatus) {
  for (bool use_window : {false, true}) {
    EXPECT_EXIT(MaviError("Division by zero.", 1211, 1, use_window), testing::ExitedWithCode(1),
                "^MAVI error: Division by zero\\. ErrorCode: 1211\n$");
    EXPECT_EXIT(MaviError(string("100%s"), 7, 3, use_window), testing::ExitedWithCode(3),
                "^MAVI error: 100%s ErrorCode: 7\n$");
  }
  const auto with_flag_off = [] {
    window_reports_enabled = false;
    MaviError("text", 1, 1, true);
  };
  EXPECT_EXIT(with_flag_off(), testing::ExitedWithCode(1), "^MAVI error: text ErrorCode: 1\n$");
}

TEST(ReporterTest, ErrorDestroysFileLevelObjectsOnly) {
  const auto call = [] {
    announce_destructors = true;
    const Announcer on_the_stack{"stack\n"};
    MaviError("text", 1, 1, true);
  };
  EXPECT_EXIT(call(), testing::ExitedWithCode(1), "^MAVI error: text ErrorCode: 1\nfile level\n$");
}

TEST(ReporterTest, MessageEndsTheProcessOnZeroOnly) {
  for (bool use_window : {false, true}) {
    EXPECT_EQ(written([=] { MaviMessage("hello", 1, use_window); }), "MAVI message: hello\n");
    EXPECT_EQ(written([=] { MaviMessage(string("hello"), -1, use_window); }),
              "MAVI message: hello\n");
    EXPECT_EXIT((show_output(), MaviMessage("bye", 0, use_window)), testing::ExitedWithCode(0),
                "^MAVI message: bye\n$");
  }
}

TEST(ReporterTest, QueryOnAStreamTestsTheSecondNumber) {
  for (int stop_if_zero : {0, 1}) {
    EXPECT_EQ(written([=] { MaviQuery("sure?", 3, stop_if_zero, true); }), "MAVI message: sure?\n");
    EXPECT_EXIT((show_output(), MaviQuery("sure?", 0, stop_if_zero, true)),
                testing::ExitedWithCode(0), "^MAVI message: sure\\?\n$");
  }
}

}  // namespace
}  // namespace planloc
