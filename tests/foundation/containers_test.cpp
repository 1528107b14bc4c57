#include <gtest/gtest.h>
#include <sys/resource.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <functional>
#include <new>
#include <sstream>
#include <utility>
#include <vector>

#include "planloc/foundation/containers/array.h"
#include "planloc/foundation/containers/error_handler.h"
#include "planloc/foundation/containers/list.h"
#include "planloc/foundation/containers/string.h"
#include "tests/foundation/reports.h"

namespace planloc {
namespace {

using testing_support::expect_reports;

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

TEST(Array, RangesAndEntries) {
  array<int> a(-2, 3);
  EXPECT_EQ(a.size(), 6);
  for (int i = a.low(); i <= a.high(); ++i) a[i] += 10 * i;
  EXPECT_EQ(a.entry(-2) + a.inf(3), 10);
  array<int> copy = a;
  copy.sort([](int x, int y) { return y - x; });
  EXPECT_EQ(copy[-2], 30);
  EXPECT_EQ(copy[3], -20);
  EXPECT_EQ(a[3], 30);
  EXPECT_EQ(array<int>(4).high(), 3);
  EXPECT_EQ(array<int>(1, 0).size(), 0);

  array2<double> grid(1, 2, -1, 3);
  grid(2, -1) = 5.0;
  EXPECT_EQ(grid(2, -1) + grid(1, 1), 5.0);
  EXPECT_EQ(grid.high1() + 10 * grid.low2() + 100 * grid.high2(), 292);
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
  expect_reports({
      {[&] { a[0] = 1; }, "2: array::entry index out of range"},
      {[&] { (void)a.inf(4); }, "2: array::inf index out of range"},
      {[&] { a.permute(0, 2); }, "1: array::permute illegal range"},
      {[&] { grid(0, 2) = 1; }, "2: array::entry index out of range"},
      {[] { array<int> bad(2, 0); }, "1: array: bad array bounds [2..0]"},
      {[] { array<Hungry> bad(2); }, "99: array: out of memory"},
      {[] { array2<Hungry> bad(2, 2); }, "99: array2: out of memory"},
  });
}

TEST(String, TextsAndTheirCopies) {
  EXPECT_EQ(string().length(), 0);
  EXPECT_EQ(string('x'), string("x"));
  EXPECT_STREQ(string("100%d").cstring(), "100%d");
  EXPECT_STREQ(string("%d of %5.2f %s", 3, 1.5, "km").cstring(), "3 of  1.50 km");
  EXPECT_EQ(string("%s!", std::string(5000, 'w').c_str()).length(), 5001);
  string a("ab");
  const string b = a;
  a += "c" + string("d");
  EXPECT_EQ(a, "abcd");
  EXPECT_EQ(b, "ab");
  EXPECT_TRUE(a != b && b < a && !(a < b));
  EXPECT_EQ(a[3], 'd');
  std::istringstream in("  one,two\tthree");
  string one, two, none("kept");
  in >> one >> two >> none;
  EXPECT_EQ(testing_support::text_of(one + "|" + two + "|" + none), "one,two|three|kept");
  expect_reports({
      {[] { string nothing(0); }, "1: string::str_dup: nil argument"},
      {[&] { (void)b[-1]; }, "1: string::operator[]: index out of range"},
      {[&] { (void)b[2]; }, "1: string::operator[]: index out of range"},
  });
}

#ifndef __SANITIZE_ADDRESS__  // which ends the process on its own when memory runs out
TEST(OutOfMemory, IsReported) {
  static std::array<char, 1 << 26> much;
  much.fill('m');
  much.back() = '\0';
  const string half(much.data() + much.size() / 2);
  list<std::array<char, 1 << 26>> L;
  const std::pair<std::function<void()>, const char*> cases[] = {
      {[&] { string{much.data()}; }, "\tstring::str_dup: out of memory\n"},
      {[&] { half + half; }, "\tstring::str_cat: out of memory\n"},
      {[&] { L.append(much); }, "\tFLNZ Memory Manager: Out of memory.\n"},
  };
  for (const auto& [call, report] : cases) {
    const auto starved = [&, &call = call] {
      const rlimit none{0, 0};
      setrlimit(RLIMIT_AS, &none);
      call();
    };
    EXPECT_EXIT(starved(), testing::KilledBySignal(SIGABRT), report);
  }
}
#endif

}  // namespace
}  // namespace planloc
