#include "planloc/foundation/numeric/integer.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <sstream>

#include "planloc/foundation/numeric/rational.h"
#include "tests/foundation/rat_cases.h"
#include "tests/foundation/reports.h"

namespace planloc {
namespace {

using testing_support::report_of;

constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr double kMax = std::numeric_limits<double>::max();
constexpr double kDenormal = std::numeric_limits<double>::denorm_min();

const integer kBig("123456789012345678901234567890");

TEST(Integer, Arithmetic) {
  EXPECT_EQ((kBig * kBig - 1).to_string(),
            "15241578753238836750495351562536198787501905199875019052099");
  EXPECT_TRUE((kBig + 7) * (kBig - 7) == kBig * kBig - 49);
  // Cut off towards 0; the remainder follows the dividend.
  for (const auto& [a, b] : {std::pair(17, 5), {-17, 5}, {17, -5}, {-17, -5}}) {
    EXPECT_TRUE(integer(a) / b == a / b && integer(a) % b == a % b) << a << ' ' << b;
  }
  EXPECT_TRUE(gcd(integer(-12) * kBig, integer(18) * kBig) == 6 * kBig);
  EXPECT_TRUE(sqrt(kBig * kBig + 1) == kBig && sqrt(kBig * kBig - 1) == kBig - 1);
  EXPECT_TRUE(log(integer(1) << 200) == 200 && log((integer(1) << 200) - 1) == 199);
  EXPECT_TRUE(modExp(3, 100, 101) == 1 && modExp(-2, 3, 5) == 2 && modExp(7, 0, 5) == 1);
  EXPECT_TRUE((integer(-5) >> 1) == -3 && integer(-5) < integer(-4) && abs(-kBig) > kBig - 1);
  EXPECT_TRUE(sign(-kBig) == -1 && integer().sign() == 0 && kBig.sign() == 1);
}

TEST(Integer, TextAndDoubles) {
  std::stringstream text("-42 +7");
  integer a, b;
  text >> a >> b;
  EXPECT_TRUE(a == -42 && b == 7);
  std::ostringstream out;
  out << kBig;
  EXPECT_EQ(out.str(), "123456789012345678901234567890");

  EXPECT_TRUE(integer(-2.9) == -2 && integer(0x1p100) == integer(1) << 100);
  const integer two53 = integer(1) << 53;
  EXPECT_EQ((two53 + 1).to_double(), 0x1p53);        // a tie: to even, down
  EXPECT_EQ((two53 + 3).to_double(), 0x1p53 + 4.0);  // a tie: to even, up
  EXPECT_EQ(((two53 + 1) * kBig * kBig).to_double(),
            rational((two53 + 1) * kBig * kBig).to_double());
  EXPECT_EQ((-(integer(1) << 1024)).to_double(), -kInf);
  EXPECT_EQ(((integer(1) << 1024) - (integer(1) << 970)).to_double(), kInf);  // a tie beyond kMax
  EXPECT_EQ(((integer(1) << 1024) - (integer(1) << 970) - 1).to_double(), kMax);
}

TEST(Integer, Reports) {
  EXPECT_EQ(report_of([] { kBig / 0; }), "1: division by zero");
  EXPECT_EQ(report_of([] { kBig % 0; }), "1: mod by zero");
  EXPECT_EQ(report_of([] { sqrt(integer(-1)); }), "1: negative argument in sqrt");
  EXPECT_EQ(report_of([] { log(integer(0)); }), "1: nonpositive argument for log(integer)");
  EXPECT_EQ(report_of([] { modExp(2, -1, 5); }), "1: modExp exponent must be >= 0");
  for (const char* bad : {"", "-", "12x", "1 2", "0x10", "--1"}) {
    EXPECT_EQ(report_of([&] { integer{std::string(bad)}; }), "1: input string is not an integer\n");
  }
  for (const double bad : {kInf, -kInf, std::nan("")}) {
    EXPECT_EQ(report_of([&] { integer{bad}; }), "1: integer(double): argument infinite");
    EXPECT_EQ(report_of([&] { rational{bad}; }), "1: integer(double): argument infinite");
  }
  EXPECT_EQ(report_of([] { rational(kBig, 0); }), "1: division by zero");
  EXPECT_EQ(report_of([] { rational(0.1) / rational(0.0); }), "1: division by zero");
}

TEST(Rational, KeepsEveryBitOfADouble) {
  EXPECT_TRUE(rational(0.1) != rational(1, 10));
  EXPECT_TRUE(rational(0.1) == rational(integer(3602879701896397L), integer(1) << 55));
  EXPECT_TRUE(rational(0.75).numerator() == 3 && rational(0.75).denominator() == 4);
  EXPECT_TRUE(rational(-0.0) == rational(0) && !std::signbit(rational(-0.0).to_double()));
  EXPECT_TRUE(rational(kDenormal).denominator() == integer(1) << 1074);
  EXPECT_EQ((rational(kMax) + rational(kDenormal) - rational(kMax)).to_double(), kDenormal);
}

TEST(Rational, Arithmetic) {
  const rational a(6, -4), b(1, 3);
  EXPECT_TRUE(a.numerator() == -3 && a.denominator() == 2);
  EXPECT_TRUE(a + b == rational(-7, 6) && a - b == rational(-11, 6));
  EXPECT_TRUE(a * b == rational(-1, 2) && a / b == rational(-9, 2) && -a == rational(1.5));
  EXPECT_TRUE(a < b && b < rational(0.34) && rational(0.25) < b && rational(0.5) > rational(0.25));
  EXPECT_TRUE(sign(a) == -1 && sign(-b) == -1 && sign(a - a) == 0);
}

// Random quotients, exact ties and their neighbours, at all sizes down into the denormal numbers.
TEST(Rational, ToDoubleRoundsOnceToEven) {
  rat_cases::Random random(5);
  const mpz_class huge = mpz_class(1) << 700;
  for (int run = 0; run < 4000; ++run) {
    // A tie has one bit more than the double next to it.
    const mpz_class twice = 2 * mpz_class(static_cast<unsigned long>(random() >> 11)) + 1;
    const int exponent = rat_cases::pick(random, -1130, 960);
    mpq_class v(twice);
    if (exponent >= 0) v <<= static_cast<unsigned>(exponent);
    if (exponent < 0) v >>= static_cast<unsigned>(-exponent);
    switch (rat_cases::pick(random, 0, 3)) {
      case 0:
        v *= mpq_class(huge + 1, huge);
        break;
      case 1:
        v *= mpq_class(huge - 1, huge);
        break;
      case 2:
        v *= mpq_class(static_cast<unsigned long>(random()), 1UL << 63);
        break;
      default:
        break;
    }
    if (random() % 2 == 0) v = -v;
    v.canonicalize();
    const double rounded = rational(integer(v.get_num()), integer(v.get_den())).to_double();
    ASSERT_EQ(rounded, rat_cases::nearest_double(v)) << v;
  }
}

TEST(Rational, ToDoubleAtTheEndsOfTheRange) {
  const auto value = [](integer n, int bits) {
    return rational(n, integer(1) << bits).to_double();
  };
  EXPECT_EQ(value(1, 1075), 0.0);  // a tie between 0 and the smallest double
  EXPECT_EQ(rational((integer(1) << 500) + 1, integer(1) << 1575).to_double(), kDenormal);
  EXPECT_EQ(value(3, 1075), 2 * kDenormal);
  EXPECT_EQ(value(1, 5000), 0.0);
  EXPECT_EQ(value((integer(1) << 53) - 1, 1075), 0x1p-1022);  // up into the normal numbers
  EXPECT_EQ(rational(-(integer(1) << 5000), 3).to_double(), -kInf);
}

}  // namespace
}  // namespace planloc
