// Integers of unbounded size, copied by value. Exact fractions are in rational.h.
//
// Reports go through `error_handler` with code 1; when the handler returns, the result is 0.
#ifndef PLANLOC_FOUNDATION_NUMERIC_INTEGER_H_
#define PLANLOC_FOUNDATION_NUMERIC_INTEGER_H_

#include <gmpxx.h>

#include <compare>
#include <istream>
#include <ostream>
#include <string>
#include <utility>

namespace planloc {

class integer {
 public:
  integer() = default;  // 0
  integer(int v) : v_(v) {}
  integer(unsigned v) : v_(v) {}
  integer(long v) : v_(v) {}
  integer(unsigned long v) : v_(v) {}
  explicit integer(mpz_class v) : v_(std::move(v)) {}

  // The value cut off towards 0. "integer(double): argument infinite" for infinities and NaN.
  explicit integer(double d);

  // Decimal digits behind an optional sign; anything else: "input string is not an integer\n".
  explicit integer(const std::string& digits);

  integer& operator+=(const integer& b);
  integer& operator-=(const integer& b);
  integer& operator*=(const integer& b);
  // Quotient cut off towards 0 and its remainder, which has the sign of the dividend.
  // "division by zero", "mod by zero".
  integer& operator/=(const integer& b);
  integer& operator%=(const integer& b);

  friend integer operator+(integer a, const integer& b) { return a += b; }
  friend integer operator-(integer a, const integer& b) { return a -= b; }
  friend integer operator*(integer a, const integer& b) { return a *= b; }
  friend integer operator/(integer a, const integer& b) { return a /= b; }
  friend integer operator%(integer a, const integer& b) { return a %= b; }
  integer operator-() const { return integer(mpz_class(-v_)); }

  // The value times and over a power of 2; the latter rounded down.
  integer operator<<(unsigned long bits) const { return integer(mpz_class(v_ << bits)); }
  integer operator>>(unsigned long bits) const { return integer(mpz_class(v_ >> bits)); }

  friend bool operator==(const integer& a, const integer& b) { return cmp(a.v_, b.v_) == 0; }
  friend std::strong_ordering operator<=>(const integer& a, const integer& b) {
    return cmp(a.v_, b.v_) <=> 0;
  }

  // Friends only, found through their argument: `sqrt(2.0)` must not come here.
  friend int sign(const integer& a) { return a.sign(); }
  friend integer abs(const integer& a) { return a.sign() < 0 ? -a : a; }
  friend integer gcd(const integer& a, const integer& b);  // never negative
  // The root rounded down. "negative argument in sqrt".
  friend integer sqrt(const integer& a);
  // The logarithm to base 2 rounded down. "nonpositive argument for log(integer)".
  friend int log(const integer& a);

  int sign() const { return sgn(v_); }
  bool iszero() const { return sign() == 0; }
  // Number of binary digits of the magnitude; 0 for 0.
  unsigned long length() const;
  // The nearest double, ties to even; an infinity beyond the largest one.
  double to_double() const;
  std::string to_string() const { return v_.get_str(); }

  const mpz_class& value() const { return v_; }

 private:
  mpz_class v_;
};

// base^exponent mod m, in 0..|m|-1. "modExp exponent must be >= 0", "mod by zero".
integer modExp(const integer& base, const integer& exponent, const integer& m);

std::ostream& operator<<(std::ostream& out, const integer& a);
// Reads up to the next white space. "input string is not an integer\n".
std::istream& operator>>(std::istream& in, integer& a);

}  // namespace planloc

#endif  // PLANLOC_FOUNDATION_NUMERIC_INTEGER_H_
