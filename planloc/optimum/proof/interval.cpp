#include "planloc/optimum/proof/interval.h"

#include <array>
#include <cstddef>

namespace planloc::detail {

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
const interval kLog2(0x1.62e42fefa39efp-1, 0x1.62e42fefa39f0p-1);

constexpr int kTerms = 14;

// 1 / (2 k + 1)
const std::array<interval, kTerms> kOddParts = [] {
  std::array<interval, kTerms> parts;
  for (int k = 0; k < kTerms; ++k) parts[static_cast<std::size_t>(k)] = divided(1, 2 * k + 1);
  return parts;
}();

// log m = 2 artanh t with t = (m - 1) / (m + 1), for m in [1/2, 1), moved to [0.7, 1.4): |t| <=
// 0.18. After fourteen terms the rest of the series is at most 0.04 times the next power.
interval log_of(double x) {
  int exponent = 0;
  double m = std::frexp(x, &exponent);
  if (m < 0.7) {
    m *= 2;
    --exponent;
  }
  const interval t = (interval(m) - 1) / (interval(m) + 1);
  const interval t2 = square(t);
  interval sum(0, 0.04);
  for (int k = kTerms - 1; k >= 0; --k) sum = sum * t2 + kOddParts[static_cast<std::size_t>(k)];
  return interval(2) * t * sum + interval(exponent) * kLog2;
}

// exp z = 2^k exp r with |r| <= 0.36. After fifteen terms the rest is the next one times 0.9
// to 1.1.
interval exp_of(double z) {
  if (z < -700) return {0, 0x1p-1000};
  if (z > 700) return {0x1p1000, kInfinity};
  const double k = std::nearbyint(z / kLog2.low);
  const interval r = interval(z) - interval(k) * kLog2;
  interval sum(0.9, 1.1);
  for (int n = 15; n >= 1; --n) sum = interval(1) + divided(sum * r, n);
  const double scale = std::ldexp(1, static_cast<int>(k));
  return sum * interval(scale);
}

}  // namespace

interval power(const interval& a, const interval& e) {
  if (a.high <= 0) return 0;
  const interval high = e * log_of(a.high);
  interval result{0, exp_of(high.high).high};
  if (a.low > 0) result.low = std::max(0.0, exp_of((e * log_of(a.low)).low).low);
  return result;
}

}  // namespace planloc::detail
