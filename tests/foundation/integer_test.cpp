#include "planloc/foundation/numeric/integer.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <sstream>
#include <utility>

#include "planloc/foundation/numeric/rational.h"
#include "tests/foundation/reports.h"

namespace planloc {
namespace {

using testing_support::expect_reports;

constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr double kMax = std::numeric_limits<double>::max();
constexpr double kDenormal = std::numeric_limits<double>::denorm_min();

const integer kBig("123456789012345678901234567890");

TEST(Integer, ArithmeticAndConversions) {
  EXPECT_EQ((kBig * kBig - 1).to_string(),
            "15241578753238836750495351562536198787501905199875019052099");
  // Cut off towards 0; the remainder follows the dividend.
  for (const auto& [a, b] : {std::pair(17, 5), {-17, 5}, {17, -5}, {-17, -5}}) {
    EXPECT_TRUE(integer(a) / b == a / b && integer(a) % b == a % b) << a << ' ' << b;
  }
  EXPECT_TRUE(gcd(integer(-12) * kBig, integer(18) * kBig) == 6 * kBig);
  EXPECT_TRUE(sqrt(kBig * kBig + 1) == kBig && sqrt(kBig * kBig - 1) == kBig - 1);
  EXPECT_TRUE(log(integer(1) << 200) == 200 && log((integer(1) << 200) - 1) == 199);
  EXPECT_TRUE(modExp(3, 100, 101) == 1 && modExp(-2, 3, 5) == 2);
  std::stringstream text("-42 +7");
  integer a, b;
  text >> a >> b;
  EXPECT_TRUE(a == -42 && b == 7 && a < b && sign(-kBig) == -1);
  EXPECT_TRUE(integer(-2.9) == -2 && integer(0x1p100) == integer(1) << 100);
}

TEST(Integer, Reports) {
  expect_reports({
      {[] { kBig / 0; }, "1: division by zero"},
      {[] { kBig % 0; }, "1: mod by zero"},
      {[] { sqrt(integer(-1)); }, "1: negative argument in sqrt"},
      {[] { log(integer(0)); }, "1: nonpositive argument for log(integer)"},
      {[] { modExp(2, -1, 5); }, "1: modExp exponent must be >= 0"},
      {[] { rational(kBig, 0); }, "1: division by zero"},
      {[] { rational(0.1) / rational(0.0); }, "1: division by zero"},
  });
  for (const char* bad : {"", "-", "12x", "1 2", "0x10", "--1"}) {
    expect_reports({{[&] { integer{std::string(bad)}; }, "1: input string is not an integer\n"}});
  }
  for (const double bad : {kInf, -kInf, std::nan("")}) {
    expect_reports({{[&] { integer{bad}; }, "1: integer(double): argument infinite"},
                    {[&] { rational{bad}; }, "1: integer(double): argument infinite"}});
  }
}

TEST(Rational, KeepsEveryBitOfADouble) {
  EXPECT_TRUE(rational(0.1) != rational(1, 10));
  EXPECT_TRUE(rational(0.1) == rational(integer(3602879701896397L), integer(1) << 55));
  EXPECT_TRUE(rational(0.75).numerator() == 3 && rational(0.75).denominator() == 4);
  EXPECT_TRUE(rational(-0.0) == rational(0) && !std::signbit(rational(-0.0).to_double()));
  EXPECT_TRUE(rational(kDenormal).denominator() == integer(1) << 1074);
}

TEST(Rational, Arithmetic) {
  const rational a(6, -4), b(1, 3);
  EXPECT_TRUE(a.numerator() == -3 && a.denominator() == 2);
  EXPECT_TRUE(a + b == rational(-7, 6) && a - b == rational(-11, 6));
  EXPECT_TRUE(a * b == rational(-1, 2) && a / b == rational(-9, 2) && -a == rational(1.5));
  EXPECT_TRUE(a < b && b < rational(0.34) && rational(0.25) < b);
  EXPECT_TRUE(sign(a) == -1 && sign(-b) == -1 && sign(a - a) == 0);
}

// Quotients of all kinds come up in the tests of rays and segments.
TEST(Rational, ToDoubleRoundsOnceToEven) {
  const auto power = [](int exponent) { return integer(1) << exponent; };
  const std::pair<rational, double> cases[] = {
      {power(53) + 1, 0x1p53},        // a tie: to even, down
      {power(53) + 3, 0x1p53 + 4.0},  // a tie: to even, up
      {rational((power(53) + 1) * power(700) + 1, power(700)), 0x1p53 + 2.0},
      {rational((power(53) + 3) * power(700) - 1, power(700)), 0x1p53 + 2.0},
      {rational(1, power(1075)), 0.0},  // a tie
      {rational(power(500) + 1, power(1575)), kDenormal},
      {rational(3, power(1075)), 2 * kDenormal},
      {rational(1, power(5000)), 0.0},
      {rational(power(53) - 1, power(1075)), 0x1p-1022},  // up into the normal numbers
      {rational(-power(5000), 3), -kInf},
      {power(1024) - power(970), kInf},  // a tie beyond the largest double
      {power(1024) - power(970) - 1, kMax},
  };
  for (const auto& [value, rounded] : cases) {
    EXPECT_EQ(value.to_double(), rounded) << value;
    EXPECT_EQ((-value).to_double(), -rounded) << value;
  }
}

}  // namespace
}  // namespace planloc
