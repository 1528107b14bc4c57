#include <gtest/gtest.h>
#include <sys/resource.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <functional>
#include <new>
#include <sstream>
#include <vector>

#include "planloc/foundation/containers/array.h"
#include "planloc/foundation/containers/error_handler.h"
#include "planloc/foundation/containers/list.h"
#include "planloc/foundation/containers/string.h"
#include "tests/foundation/reports.h"

namespace planloc {
namespace {

using testing_support::report_of;

TEST(ErrorHandler, OnlyPositiveCodesEndTheProcess) {
  EXPECT_EXIT(default_error_handler(999, "gone"), testing::KilledBySignal(SIGABRT),
              "^\nFLNZ ERROR HANDLER\n\tgone\n\n");
  for (const int code : {0, -3}) {
    testing::internal::CaptureStderr();
    default_error_handler(code, "still here");
    EXPECT_EQ(
        testing::internal::GetCapturedStderr(),
        std::string("\nFLNZ ") + (code == 0 ? "WARNING" : "ERROR HANDLER") + "\n\tstill here\n\n");
  }
}

TEST(ErrorHandler, InstallingReturnsThePreviousHandler) {
  const ErrorHandler quiet = [](int, const char*) {};
  EXPECT_EQ(set_error_handler(quiet), &default_error_handler);
  EXPECT_EQ(set_error_handler(default_error_handler), quiet);
}

TEST(Array, RangesAndEntries) {
  array<int> a(-2, 3);
  EXPECT_EQ(a.size(), 6);
  for (int i = a.low(); i <= a.high(); ++i) {
    EXPECT_EQ(a[i], 0);
    a[i] = 10 * i;
  }
  EXPECT_EQ(a.entry(-2) + a.inf(3), 10);
  array<int> b = a;
  b[0] = 7;
  EXPECT_EQ(a[0], 0);
  EXPECT_EQ(array<int>(4).high(), 3);
  EXPECT_EQ(array<int>(1, 0).size(), 0);

  a.permute();
  std::vector<int> entries;
  for (int i = a.low(); i <= a.high(); ++i) entries.push_back(a[i]);
  std::sort(entries.begin(), entries.end());
  EXPECT_EQ(entries, (std::vector<int>{-20, -10, 0, 10, 20, 30}));
  a.sort([](int x, int y) { return y - x; });
  EXPECT_EQ(a[a.low()], 30);
  EXPECT_EQ(a[a.high()], -20);

  array<bool> flags(2);
  bool& flag = flags[1];
  flag = true;
  EXPECT_TRUE(flags[1] && !flags[0]);

  array2<double> grid(1, 2, -1, 1);
  grid(2, -1) = 5.0;
  EXPECT_EQ(grid(2, -1) + grid(1, 1), 5.0);
  EXPECT_EQ(grid.low2(), -1);
  EXPECT_EQ(grid.high1(), 2);
}

TEST(Array, PermutationReachesEveryOrderWithinItsRange) {
  std::vector<int> seen(6);
  for (int trial = 0; trial < 600; ++trial) {
    array<int> a(5);
    for (int i = 0; i < 5; ++i) a[i] = i;
    a.permute(1, 3);
    ASSERT_TRUE(a[0] == 0 && a[4] == 4);
    const int order = (a[1] - 1) * 2 + (a[2] > a[3]);
    ++seen[static_cast<std::size_t>(order)];
  }
  EXPECT_GT(*std::min_element(seen.begin(), seen.end()), 50);
}

struct Hungry {
  Hungry() { throw std::bad_alloc(); }
};

TEST(Array, Reports) {
  array<int> a(1, 3);
  array2<int> grid(2, 2);
  EXPECT_EQ(report_of([&] { a[0] = 1; }), "2: array::entry index out of range");
  EXPECT_EQ(report_of([&] { a.entry(4) = 1; }), "2: array::entry index out of range");
  EXPECT_EQ(report_of([&] { (void)a.inf(4); }), "2: array::inf index out of range");
  EXPECT_EQ(report_of([&] { a.permute(0, 2); }), "1: array::permute illegal range");
  EXPECT_EQ(report_of([&] { grid(0, 2) = 1; }), "2: array::entry index out of range");
  EXPECT_EQ(report_of([] { array<int> bad(2, 0); }), "1: array: bad array bounds [2..0]");
  EXPECT_EQ(report_of([] { array<int> bad(-1); }), "1: array: bad array bounds [0..-2]");
  EXPECT_EQ(report_of([] { array<int> good(2, 1); }), "none");
  EXPECT_EQ(report_of([] { array<Hungry> bad(2); }), "99: array: out of memory");
  EXPECT_EQ(report_of([] { array2<Hungry> bad(2, 2); }), "99: array2: out of memory");
}

TEST(String, ConstructionAndFormat) {
  EXPECT_EQ(string().length(), 0);
  EXPECT_EQ(string('x'), string("x"));
  EXPECT_STREQ(string("100%d").cstring(), "100%d");
  EXPECT_STREQ(string("%d of %5.2f %s", 3, 1.5, "km").cstring(), "3 of  1.50 km");
  const std::string wide(5000, 'w');
  EXPECT_EQ(string("%s!", wide.c_str()).length(), 5001);
  char buffer[] = "kept";
  const string s(buffer);
  buffer[0] = 'w';
  EXPECT_STREQ(s.cstring(), "kept");
}

TEST(String, ValuesAreIndependentOfTheirCopies) {
  string a("ab");
  const string b = a;
  a += "c" + string("d");
  EXPECT_EQ(a, "abcd");
  EXPECT_EQ(b, "ab");
  EXPECT_TRUE(a != b && b < a && !(a < b));
  EXPECT_EQ(compare(a, b), 1);
  EXPECT_EQ(a[3], 'd');
}

TEST(String, ReadsUpToWhiteSpace) {
  std::istringstream in("  one,two\tthree");
  string s;
  in >> s;
  EXPECT_EQ(s, "one,two");
  s.read(in);
  EXPECT_EQ(s, "three");
  in >> s;
  EXPECT_TRUE(in.fail());
  EXPECT_EQ(s, "three");
  std::ostringstream out;
  out << s;
  EXPECT_EQ(out.str(), "three");
}

TEST(String, Reports) {
  EXPECT_EQ(report_of([] { string nothing(0); }), "1: string::str_dup: nil argument");
  EXPECT_EQ(report_of([] { (void)string("ab")[2]; }), "1: string::operator[]: index out of range");
  EXPECT_EQ(report_of([] { (void)string("ab")[-1]; }), "1: string::operator[]: index out of range");
}

#ifndef __SANITIZE_ADDRESS__  // which ends the process on its own when memory runs out
TEST(OutOfMemory, IsReported) {
  static std::array<char, 1 << 26> much;
  much.fill('m');
  much.back() = '\0';
  const string half(much.data() + much.size() / 2);
  list<std::array<char, 1 << 26>> L;
  const struct {
    std::function<void()> call;
    const char* report;
  } cases[] = {
      {[&] { string{much.data()}; }, "\tstring::str_dup: out of memory\n"},
      {[&] { half + half; }, "\tstring::str_cat: out of memory\n"},
      {[&] { L.append(much); }, "\tFLNZ Memory Manager: Out of memory.\n"},
  };
  for (const auto& c : cases) {
    const auto starved = [&] {
      const rlimit none{0, 0};
      setrlimit(RLIMIT_AS, &none);
      c.call();
    };
    EXPECT_EXIT(starved(), testing::KilledBySignal(SIGABRT), c.report);
  }
}
#endif

}  // namespace
}  // namespace planloc
