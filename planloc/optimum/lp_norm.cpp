#include "planloc/optimum/lp_norm.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <numbers>

namespace planloc::detail {

namespace {

// Up to this power of the square root, powers are products.
constexpr int kMostHalfPowers = 16;
// Powers above this one lose more digits of a slope than proofs can spare,
constexpr double kSteepPower = 1000;
// where the smaller coordinate's part of it is above e^-40.
constexpr double kCornerWidth = 40;
// Smaller ratios are left to the library.
constexpr double kTiny = 0x1p-1000;

constexpr std::uint64_t kBias = 1023ULL << 52;
constexpr double kToWhole = 0x1.8p52;  // added and taken off, it rounds to whole numbers
constexpr std::uint64_t kRootOfHalf = 0x3fe6a09e667f3bcdULL;

constexpr std::size_t kLogTerms = 11;
constexpr std::size_t kExpTerms = 14;

// 2 / (log 2 (2 k + 1))
constexpr std::array<double, kLogTerms> kLogSeries = [] {
  std::array<double, kLogTerms> c{};
  for (std::size_t k = 0; k < kLogTerms; ++k)
    c[k] = 2 * std::numbers::log2e / static_cast<double>(2 * k + 1);
  return c;
}();

// (log 2)^k / k!
constexpr std::array<double, kExpTerms> kExpSeries = [] {
  std::array<double, kExpTerms> c{1};
  for (std::size_t k = 1; k < kExpTerms; ++k)
    c[k] = c[k - 1] * std::numbers::ln2 / static_cast<double>(k);
  return c;
}();

// Even and odd terms by themselves: half of the waiting for the term before.
template <std::size_t Terms>
double polynomial(const std::array<double, Terms>& c, double z) {
  const double z2 = z * z;
  constexpr std::size_t kLastEven = (Terms - 1) / 2 * 2;
  constexpr std::size_t kLastOdd = Terms / 2 * 2 - 1;
  double even = c[kLastEven];
  for (std::size_t k = kLastEven; k >= 2; k -= 2) even = even * z2 + c[k - 2];
  double odd = c[kLastOdd];
  for (std::size_t k = kLastOdd; k >= 3; k -= 2) odd = odd * z2 + c[k - 2];
  return even + z * odd;
}

// log2 t = k + log2 m with m within 2^-1/2 and 2^1/2: 2 artanh s / log 2 for s = (m - 1) / (m + 1),
// |s| < 0.172. The terms left out are below 2^-60 of the first. REQUIRES: kTiny <= t <= 1.
double log2_of(double t) {
  const auto bits = std::bit_cast<std::uint64_t>(t);
  const std::uint64_t biased = (bits - kRootOfHalf + kBias) >> 52;  // 1023 + k
  const double m = std::bit_cast<double>(bits - (biased << 52) + kBias);
  const double k =
      std::bit_cast<double>(std::bit_cast<std::uint64_t>(0x1p52) | biased) - (0x1p52 + 1023);
  const double s = (m - 1) / (m + 1);
  return k + s * polynomial(kLogSeries, s * s);
}

// REQUIRES: -1000 <= y <= 0.
double exp2_of(double y) {
  const double shifted = y + kToWhole;
  const double power = polynomial(kExpSeries, y - (shifted - kToWhole));
  return std::bit_cast<double>(std::bit_cast<std::uint64_t>(power) +
                               (std::bit_cast<std::uint64_t>(shifted) << 52));
}

}  // namespace

// root() is ((1 + w) / (1 - w))^c sqrt(2)^c with c = 1 / p. The series of the former obeys
// (k + 1) a_(k+1) = 2 c a_k + (k - 1) a_(k-1), and none of its terms is above 2.
lp_norm::lp_norm(double p) : p_(p) {
  const double twice = 2 * (p - 1);
  if (twice == std::floor(twice) && twice <= kMostHalfPowers)
    half_powers_ = static_cast<int>(twice);
  const double c = 1 / p;
  series_[0] = 1;
  series_[1] = 2 * c;
  for (std::size_t k = 1; k + 1 < kTerms; ++k) {
    const auto n = static_cast<double>(k);
    series_[k + 1] = (2 * c * series_[k] + (n - 1) * series_[k - 1]) / (n + 1);
  }
  const double at_middle = std::pow(2, c / 2);
  for (double& a : series_) a *= at_middle;
}

// t^(p-1) as a product of square roots and squares of t.
void lp_norm::powers_by_roots(const chunk& t, std::size_t size, chunk& result) const {
  chunk square = t;
  if (half_powers_ % 2 == 1) {
    for (std::size_t k = 0; k < size; ++k) result[k] = std::sqrt(t[k]);
  } else {
    std::fill_n(result.begin(), size, 1.0);
  }
  for (int rest = half_powers_ / 2; rest > 0; rest /= 2) {
    if (rest % 2 == 1) {
      for (std::size_t k = 0; k < size; ++k) result[k] *= square[k];
    }
    if (rest == 1) break;
    for (std::size_t k = 0; k < size; ++k) square[k] *= square[k];
  }
}

// The logarithm is off by a few units of 2^-53 of itself, so t^e by |e log t| t^e times as much:
// never more than half of them.
void lp_norm::powers_by_logarithms(const chunk& t, std::size_t size, chunk& result) const {
  const double e = p_ - 1;
  for (std::size_t k = 0; k < size; ++k) {
    const double y = e * log2_of(t[k] > kTiny ? t[k] : kTiny);
    const double power = exp2_of(y > -1000 ? y : -1000);
    result[k] = y > -1000 ? power : 0;
  }
  if (std::all_of(t.begin(), t.begin() + size, [](double r) { return r >= kTiny; })) return;
  for (std::size_t k = 0; k < size; ++k) {
    if (t[k] < kTiny) result[k] = std::pow(t[k], e);
  }
}

// s^(1/p) for s = sqrt(2) (1 + w) / (1 - w) from 1 to 2, so |w| < 0.172: the terms left out are
// below 2^-58.
void lp_norm::root(const chunk& s, std::size_t size, chunk& result) const {
  for (std::size_t k = 0; k < size; ++k) {
    const double w = (s[k] - std::numbers::sqrt2) / (s[k] + std::numbers::sqrt2);
    result[k] = polynomial(series_, w);
  }
}

struct lp_norm::parts {
  chunk large;  // the coordinates' magnitudes
  chunk ratio;  // the smaller to the larger one; 0 at the origin
  chunk power;  // ratio^(p-1)
  chunk total;  // 1 + ratio^p
  chunk root;   // total^(1/p)
};

lp_norm::parts lp_norm::split(const vectors& u) const {
  parts r;
  for (std::size_t k = 0; k < u.size; ++k) {
    const double x = std::fabs(u.x[k]);
    const double y = std::fabs(u.y[k]);
    const double large = x > y ? x : y;
    const double ratio = (x > y ? y : x) / large;
    r.large[k] = large;
    r.ratio[k] = large > 0 ? ratio : 0;
  }
  if (half_powers_ > 0) {
    powers_by_roots(r.ratio, u.size, r.power);
  } else {
    powers_by_logarithms(r.ratio, u.size, r.power);
  }
  for (std::size_t k = 0; k < u.size; ++k) r.total[k] = 1 + r.ratio[k] * r.power[k];
  root(r.total, u.size, r.root);
  return r;
}

bool lp_norm::at_corner(double x, double y) const {
  if (p_ <= kSteepPower) return false;
  const auto [small, large] = std::minmax({std::fabs(x), std::fabs(y)});
  return (1 - small / large - 0x1p-50) * p_ <= kCornerWidth;
}

void lp_norm::values(const vectors& u, double* norm) const {
  const parts r = split(u);
  for (std::size_t k = 0; k < u.size; ++k) norm[k] = r.large[k] * r.root[k];
}

namespace {

// The gradient in coordinates, from its parts along the larger and the smaller one.
void place(const lp_norm::vectors& u, std::size_t k, double along_large, double along_small,
           const lp_norm::gradients& g) {
  const bool x_larger = std::fabs(u.x[k]) > std::fabs(u.y[k]);
  g.x[k] = std::copysign(x_larger ? along_large : along_small, u.x[k]);
  g.y[k] = std::copysign(x_larger ? along_small : along_large, u.y[k]);
}

}  // namespace

void lp_norm::slopes(const vectors& u, double* norm, const gradients& g) const {
  const parts r = split(u);
  for (std::size_t k = 0; k < u.size; ++k) {
    const double along = r.root[k] / r.total[k];
    const double along_large = r.large[k] > 0 ? along : 0;
    norm[k] = r.large[k] * r.root[k];
    place(u, k, along_large, along_large * r.power[k], g);
  }
}

void lp_norm::expand(const vectors& u, double* norm, const gradients& g, const hessians& h) const {
  const parts r = split(u);
  const double bend = p_ - 1;
  const double on_axis = p_ < 2 ? std::numeric_limits<double>::infinity() : 0;
  for (std::size_t k = 0; k < u.size; ++k) {
    const double along_large = r.root[k] / r.total[k];
    norm[k] = r.large[k] * r.root[k];
    place(u, k, along_large, along_large * r.power[k], g);
    // (p - 1) / large * total^(1/p - 2) times t^p, -t^(p-1) and t^(p-2).
    const double bent = bend * along_large / (r.large[k] * r.total[k]) * r.power[k];
    const double large = bent * r.ratio[k];
    const double small = r.ratio[k] > 0 ? bent / r.ratio[k] : on_axis;
    const bool x_larger = std::fabs(u.x[k]) > std::fabs(u.y[k]);
    h.xx[k] = x_larger ? large : small;
    h.yy[k] = x_larger ? small : large;
    h.xy[k] = std::copysign(bent, -(u.x[k] * u.y[k]));
  }
}

}  // namespace planloc::detail
