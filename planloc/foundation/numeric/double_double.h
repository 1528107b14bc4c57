// Unevaluated sums of two doubles, for quotients and products that must be right far beyond the
// last place of a double. Internal: a rung between filters and exact numbers.
//
// A `double_double` is hi + lo with hi the double nearest to the sum. Operations have the relative
// error kDoubleDoubleError (a sum: of |a| + |b|) if no intermediate leaves the range
// 2^-960..2^960; the sums and products of doubles are exact. Methods: Dekker (1971), Knuth (1969).
#ifndef PLANLOC_FOUNDATION_NUMERIC_DOUBLE_DOUBLE_H_
#define PLANLOC_FOUNDATION_NUMERIC_DOUBLE_DOUBLE_H_

namespace planloc::detail {

// With e = 2^-53 the sum is good to 3e^2 + 13e^3 relative to |a| + |b|, the product to 8e^2; the
// quotient q1 + q2 leaves out a remainder of its second digit (3e^2 |q|) and has the errors of
// the remainder before (8e^2 + 4e^2). All stay below 32e^2 = 2^-101.
inline constexpr double kDoubleDoubleError = 0x1p-101;

struct double_double {
  double hi;
  double lo;

  double_double operator-() const { return {-hi, -lo}; }
};

// REQUIRES: |a| >= |b| or a == 0.
inline double_double quick_sum(double a, double b) {
  const double hi = a + b;
  return {hi, b - (hi - a)};
}

inline double_double exact_sum(double a, double b) {
  const double hi = a + b;
  const double b_part = hi - a;
  return {hi, (a - (hi - b_part)) + (b - b_part)};
}

inline double_double exact_difference(double a, double b) { return exact_sum(a, -b); }

inline double_double exact_product(double a, double b) {
  constexpr double kSplitter = 0x1p27 + 1.0;
  const auto high_half = [](double d) {
    const double scaled = kSplitter * d;
    return scaled - (scaled - d);
  };
  const double hi = a * b;
  const double a1 = high_half(a);
  const double a2 = a - a1;
  const double b1 = high_half(b);
  const double b2 = b - b1;
  return {hi, ((a1 * b1 - hi) + a1 * b2 + a2 * b1) + a2 * b2};
}

inline double_double operator+(const double_double& a, const double_double& b) {
  const double_double high = exact_sum(a.hi, b.hi);
  const double_double low = exact_sum(a.lo, b.lo);
  const double_double sum = quick_sum(high.hi, high.lo + low.hi);
  return quick_sum(sum.hi, sum.lo + low.lo);
}

inline double_double operator-(const double_double& a, const double_double& b) { return a + -b; }

inline double_double operator*(const double_double& a, const double_double& b) {
  const double_double high = exact_product(a.hi, b.hi);
  return quick_sum(high.hi, high.lo + (a.hi * b.lo + a.lo * b.hi));
}

inline double_double operator/(const double_double& a, const double_double& b) {
  const double q1 = a.hi / b.hi;
  const double_double rest = a - double_double{q1, 0.0} * b;
  return quick_sum(q1, rest.hi / b.hi);
}

}  // namespace planloc::detail

#endif  // PLANLOC_FOUNDATION_NUMERIC_DOUBLE_DOUBLE_H_
