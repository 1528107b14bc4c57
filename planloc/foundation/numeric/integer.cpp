#include "planloc/foundation/numeric/integer.h"

#include <cctype>
#include <cmath>
#include <utility>

#include "planloc/foundation/containers/error_handler.h"
#include "planloc/foundation/numeric/round_quotient.h"

namespace planloc {
namespace {

// GMP itself would also take white space between the digits.
bool is_decimal(const std::string& text) {
  const std::size_t start = !text.empty() && (text[0] == '-' || text[0] == '+') ? 1 : 0;
  if (start == text.size()) return false;
  for (std::size_t i = start; i < text.size(); ++i) {
    if (!std::isdigit(static_cast<unsigned char>(text[i]))) return false;
  }
  return true;
}

}  // namespace

integer::integer(double d) {
  if (!std::isfinite(d)) {
    error_handler(1, "integer(double): argument infinite");
    return;
  }
  v_ = d;
}

integer::integer(const std::string& digits) {
  if (!is_decimal(digits)) {
    error_handler(1, "input string is not an integer\n");
    return;
  }
  v_.set_str(digits[0] == '+' ? digits.substr(1) : digits, 10);
}

integer& integer::operator+=(const integer& b) {
  v_ += b.v_;
  return *this;
}

integer& integer::operator-=(const integer& b) {
  v_ -= b.v_;
  return *this;
}

integer& integer::operator*=(const integer& b) {
  v_ *= b.v_;
  return *this;
}

integer& integer::operator/=(const integer& b) {
  if (b.iszero()) {
    error_handler(1, "division by zero");
    v_ = 0;
  } else {
    v_ /= b.v_;
  }
  return *this;
}

integer& integer::operator%=(const integer& b) {
  if (b.iszero()) {
    error_handler(1, "mod by zero");
    v_ = 0;
  } else {
    v_ %= b.v_;
  }
  return *this;
}

unsigned long integer::length() const { return iszero() ? 0 : mpz_sizeinbase(v_.get_mpz_t(), 2); }

double integer::to_double() const { return detail::round_quotient(v_, 1); }

integer gcd(const integer& a, const integer& b) { return integer(gcd(a.value(), b.value())); }

integer sqrt(const integer& a) {
  if (a.sign() < 0) {
    error_handler(1, "negative argument in sqrt");
    return 0;
  }
  return integer(mpz_class(sqrt(a.value())));
}

int log(const integer& a) {
  if (a.sign() <= 0) {
    error_handler(1, "nonpositive argument for log(integer)");
    return 0;
  }
  return static_cast<int>(a.length()) - 1;
}

integer modExp(const integer& base, const integer& exponent, const integer& m) {
  if (exponent.sign() < 0) {
    error_handler(1, "modExp exponent must be >= 0");
    return 0;
  }
  if (m.iszero()) {
    error_handler(1, "mod by zero");
    return 0;
  }
  mpz_class result;
  mpz_powm(result.get_mpz_t(), base.value().get_mpz_t(), exponent.value().get_mpz_t(),
           m.value().get_mpz_t());
  return integer(std::move(result));
}

std::ostream& operator<<(std::ostream& out, const integer& a) { return out << a.value(); }

std::istream& operator>>(std::istream& in, integer& a) {
  std::string text;
  if (in >> text) a = integer(text);
  return in;
}

}  // namespace planloc
