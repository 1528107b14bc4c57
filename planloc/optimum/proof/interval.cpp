#include "planloc/optimum/proof/interval.h"

#include <array>
#include <cstddef>
#include <numbers>

namespace planloc::detail {

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kUnit = 0x1p-53;  // u below: what one rounding loses at most, of the result

constexpr int kLogTerms = 11;
constexpr int kExpTerms = 15;

constexpr std::array<double, kLogTerms> kOddParts = [] {
  std::array<double, kLogTerms> parts{};
  for (int k = 0; k < kLogTerms; ++k) parts[static_cast<std::size_t>(k)] = 1.0 / (2 * k + 1);
  return parts;
}();

constexpr std::array<double, kExpTerms> kParts = [] {
  std::array<double, kExpTerms> parts{};
  for (int k = 1; k < kExpTerms; ++k) parts[static_cast<std::size_t>(k)] = 1.0 / k;
  return parts;
}();

// log2 x = k + log2 m, log m = 2 artanh s = 2 s Q(s^2) with s = (m - 1) / (m + 1) and
// Q(z) = 1 + z / 3 + z^2 / 5 + ..., for m in [0.7, 1.4): |s| < 0.177, z < 0.0312.
//
// Off by at most 9 u of itself: m - 1 is exact, so s is off by 2 u, z by 5 u. Q = 1 + z R with
// z R < 0.011, and z R is off by less than 10 u of itself, so Q by 1.2 u; the terms left out are
// below 2^-59. The two factors, log2(e) with its own rounding, add 3 u: 6.3 u in all for log2 m,
// which is at most 0.515. With k = 0 nothing is added. Otherwise |k + log2 m| >= 0.485, so those
// 6.3 u are at most 6.7 u of the sum, which is rounded once more.
double log2_of(double x) {
  int exponent = 0;
  double m = std::frexp(x, &exponent);
  if (m < 0.7) {
    m *= 2;
    --exponent;
  }
  const double s = (m - 1) / (m + 1);
  const double z = s * s;
  double q = kOddParts.back();
  for (std::size_t k = kLogTerms - 1; k > 0; --k) q = q * z + kOddParts[k - 1];
  return exponent + 2 * std::numbers::log2e * s * q;
}

// 2^y = 2^k exp g with g = (y - k) log 2, |g| < 0.347, and exp g = P_0 with P_n = 1 + g P_(n+1) /
// (n + 1).
//
// Off by at most 5 u of itself: g is off by 2 u of itself, which exp g feels as 0.7 u. The term of
// P_n is at most 0.415 P_n, and loses 3 u beside the E that P_(n+1) is off by, so P_n is off by
// u + 0.415 (E + 3 u), which stays below 3.9 u. The terms left out are below 2^-60.
// REQUIRES: |y| <= 1000.
double exp2_of(double y) {
  const double k = std::nearbyint(y);
  const double g = (y - k) * std::numbers::ln2;
  double sum = 1;
  for (std::size_t n = kExpTerms - 1; n > 0; --n) sum = 1 + g * sum * kParts[n];
  return std::ldexp(sum, static_cast<int>(k));
}

// x^e, from 2^y with y = e log2 x, which is off by 10 u of itself and by what e leaves open. A y
// that is off by d makes 2^y off by less than 0.7 d of itself, as long as d is small.
interval power_of(double x, const interval& e) {
  if (x == 1) return 1;
  const double logarithm = log2_of(x);
  const double y = e.low * logarithm;
  const double off = 11 * kUnit * std::fabs(y) + 1.01 * (e.high - e.low) * std::fabs(logarithm);
  if (y < -1000) return {0, 0x1p-999};
  if (!(y <= 1000 && off < 0x1p-20)) return {0, kInfinity};
  const double value = exp2_of(y);
  const double relative = 0.7 * off + 8 * kUnit;  // the sums below lose u
  return {below(value * (1 - relative)), above(value * (1 + relative))};
}

}  // namespace

interval power(const interval& a, const interval& e) {
  if (a.high <= 0) return 0;
  if (!(a.high < kInfinity)) return {0, kInfinity};
  const interval high = power_of(a.high, e);
  if (a.low == a.high || !(a.low > 0)) return {a.low > 0 ? high.low : 0, high.high};
  // (low / high)^e = exp(-e log(high / low)) >= 1 - e (high - low) / low.
  const double drop = (e * divided(interval(a.high) - a.low, a.low)).high;
  if (drop < 0x1p-10) return {below(high.low * below(1 - drop)), high.high};
  return {power_of(a.low, e).low, high.high};
}

}  // namespace planloc::detail
