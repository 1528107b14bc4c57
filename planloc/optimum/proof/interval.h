// Intervals of doubles that hold the exact result: every operation rounds outwards. Internal to
// `verify`.
#ifndef PLANLOC_OPTIMUM_PROOF_INTERVAL_H_
#define PLANLOC_OPTIMUM_PROOF_INTERVAL_H_

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>

namespace planloc::detail {

struct interval {
  double low = 0;
  double high = 0;

  interval() = default;
  interval(double exact) : low(exact), high(exact) {}
  interval(double l, double h) : low(l), high(h) {}
};

// The next double below, as `std::nextafter` gives it, without the call.
inline double below(double d) {
  const auto bits = std::bit_cast<std::int64_t>(d);
  if (d > 0) return std::bit_cast<double>(bits - 1);
  if (d == 0) return -std::numeric_limits<double>::denorm_min();
  if (d >= -std::numeric_limits<double>::max()) return std::bit_cast<double>(bits + 1);
  return d;
}
inline double above(double d) { return -below(-d); }

// Ends that are already rounded, moved outwards. Undefined operations, such as infinity - infinity,
// give the whole line.
inline interval widened(double low, double high) {
  if (std::isnan(low) || std::isnan(high)) {
    return {-std::numeric_limits<double>::infinity(), std::numeric_limits<double>::infinity()};
  }
  return {below(low), above(high)};
}

inline bool is_zero(const interval& a) { return a.low == 0 && a.high == 0; }

inline interval operator-(const interval& a) { return {-a.high, -a.low}; }
inline interval operator+(const interval& a, const interval& b) {
  if (is_zero(a)) return b;
  if (is_zero(b)) return a;
  return widened(a.low + b.low, a.high + b.high);
}
inline interval operator-(const interval& a, const interval& b) {
  return widened(a.low - b.high, a.high - b.low);
}
inline interval operator*(const interval& a, const interval& b) {
  if (is_zero(a) || is_zero(b)) return 0;
  if (a.low >= 0) {
    if (b.low >= 0) return widened(a.low * b.low, a.high * b.high);
    if (b.high <= 0) return widened(a.high * b.low, a.low * b.high);
    return widened(a.high * b.low, a.high * b.high);
  }
  if (a.high <= 0) return -(-a * b);
  if (b.low >= 0 || b.high <= 0) return b * a;
  const double p = a.low * b.high;
  const double q = a.high * b.low;
  const double r = a.low * b.low;
  const double s = a.high * b.high;
  if (std::isnan(p + q) || std::isnan(r + s)) return widened(NAN, NAN);
  return widened(std::min(p, q), std::max(r, s));
}
// REQUIRES: b.low > 0.
inline interval operator/(const interval& a, const interval& b) {
  if (is_zero(a)) return 0;
  const auto [low, high] =
      std::minmax({a.low / b.low, a.low / b.high, a.high / b.low, a.high / b.high});
  return widened(low, high);
}
// The same as by the interval of one number, with half of the divisions. REQUIRES: b > 0.
inline interval divided(const interval& a, double b) {
  if (is_zero(a)) return 0;
  return widened(a.low / b, a.high / b);
}

// Of the part that is not negative.
inline interval sqrt(const interval& a) {
  if (is_zero(a)) return 0;
  return {std::max(0.0, below(std::sqrt(std::max(0.0, a.low)))),
          above(std::sqrt(std::max(0.0, a.high)))};
}

inline interval magnitude(const interval& a) {
  if (a.low >= 0) return a;
  if (a.high <= 0) return -a;
  return {0, std::max(-a.low, a.high)};
}

inline interval square(const interval& a) {
  if (is_zero(a)) return 0;
  const interval m = magnitude(a);
  return {std::max(0.0, below(m.low * m.low)), above(m.high * m.high)};
}

inline interval larger(const interval& a, const interval& b) {
  return {std::max(a.low, b.low), std::max(a.high, b.high)};
}

// a^e for 0 <= a and a narrow e > 0, from series of its own: no library promises its `pow` to the
// last bit. Of numbers, 6 units in the last place to either side, and 4 more for each power of 2
// that the result is away from 1.
interval power(const interval& a, const interval& e);

}  // namespace planloc::detail

#endif  // PLANLOC_OPTIMUM_PROOF_INTERVAL_H_
