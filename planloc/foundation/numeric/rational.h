// Exact fractions of unbounded size, copied by value. Whole numbers are in integer.h.
//
// A rational made from a double keeps the double and forms big numbers only when an operation
// needs them. No operation shows the difference.
//
// Reports go through `error_handler` with code 1; when the handler returns, the result is 0.
#ifndef PLANLOC_FOUNDATION_NUMERIC_RATIONAL_H_
#define PLANLOC_FOUNDATION_NUMERIC_RATIONAL_H_

#include <gmpxx.h>

#include <cmath>
#include <compare>
#include <limits>
#include <memory>
#include <ostream>
#include <utility>

#include "planloc/foundation/numeric/integer.h"
#include "planloc/foundation/numeric/lazy_shared.h"

namespace planloc {

class rational {
 public:
  rational() = default;  // 0
  // Every bit of `d`: rational(0.1) is not 1/10. "integer(double): argument infinite" for
  // infinities and NaN.
  rational(double d) : double_(std::isfinite(d) ? d + 0.0 : not_finite()) {}
  rational(int v) : double_(v) {}
  rational(long v) : rational(integer(v)) {}
  rational(const integer& v) : rational(mpq_class(v.value())) {}
  // "division by zero" if `denominator` is 0.
  rational(const integer& numerator, const integer& denominator);

  // In lowest terms, the denominator above 0.
  integer numerator() const { return integer(exact().get_num()); }
  integer denominator() const { return integer(exact().get_den()); }

  friend rational operator+(const rational& a, const rational& b);
  friend rational operator-(const rational& a, const rational& b);
  friend rational operator*(const rational& a, const rational& b);
  // "division by zero".
  friend rational operator/(const rational& a, const rational& b);
  rational operator-() const;

  rational& operator+=(const rational& b) { return *this = *this + b; }
  rational& operator-=(const rational& b) { return *this = *this - b; }
  rational& operator*=(const rational& b) { return *this = *this * b; }
  rational& operator/=(const rational& b) { return *this = *this / b; }

  friend std::strong_ordering operator<=>(const rational& a, const rational& b) {
    return order(a, b) <=> 0;
  }
  friend bool operator==(const rational& a, const rational& b) { return order(a, b) == 0; }

  friend int sign(const rational& a) { return a.sign(); }
  int sign() const;
  // The nearest double, ties to even; an infinity beyond the largest one.
  double to_double() const { return holds_double() ? double_ : round_exact(); }

  // Whether the value is known to be a double because it was made from one; then `to_double` is
  // exact and costs nothing.
  bool holds_double() const { return !std::isnan(double_); }

 private:
  explicit rational(mpq_class v)
      : double_(std::numeric_limits<double>::quiet_NaN()),
        exact_(std::make_shared<const mpq_class>(std::move(v))) {}

  static double not_finite();  // reports
  double round_exact() const;
  static int order(const rational& a, const rational& b);
  const mpq_class& exact() const;

  // Never -0.0: the value 0 has no sign. NaN if the value is in `exact_` alone.
  double double_ = 0.0;
  detail::lazy_shared<mpq_class> exact_;
};

// numerator "/" denominator, both in lowest terms.
std::ostream& operator<<(std::ostream& out, const rational& a);

}  // namespace planloc

#endif  // PLANLOC_FOUNDATION_NUMERIC_RATIONAL_H_
