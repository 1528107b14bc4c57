#include "planloc/foundation/numeric/rational.h"

#include <utility>

#include "planloc/foundation/containers/error_handler.h"
#include "planloc/foundation/numeric/round_quotient.h"

namespace planloc {

rational::rational(const integer& numerator, const integer& denominator) {
  if (denominator.iszero()) {
    error_handler(1, "division by zero");
    return;
  }
  mpq_class v(numerator.value(), denominator.value());
  v.canonicalize();
  *this = rational(std::move(v));
}

double rational::not_finite() {
  error_handler(1, "integer(double): argument infinite");
  return 0.0;
}

const mpq_class& rational::exact() const {
  return exact_.get([this] { return std::make_shared<const mpq_class>(double_); });
}

rational operator+(const rational& a, const rational& b) {
  return rational(mpq_class(a.exact() + b.exact()));
}

rational operator-(const rational& a, const rational& b) {
  return rational(mpq_class(a.exact() - b.exact()));
}

rational operator*(const rational& a, const rational& b) {
  return rational(mpq_class(a.exact() * b.exact()));
}

rational operator/(const rational& a, const rational& b) {
  if (b.sign() == 0) {
    error_handler(1, "division by zero");
    return {};
  }
  return rational(mpq_class(a.exact() / b.exact()));
}

rational rational::operator-() const {
  return holds_double() ? rational(-double_) : rational(mpq_class(-exact()));
}

int rational::order(const rational& a, const rational& b) {
  if (a.holds_double() && b.holds_double()) {
    return (a.double_ > b.double_) - (a.double_ < b.double_);
  }
  return cmp(a.exact(), b.exact());
}

int rational::sign() const {
  return holds_double() ? (double_ > 0.0) - (double_ < 0.0) : sgn(exact());
}

double rational::round_exact() const {
  return detail::round_quotient(exact().get_num(), exact().get_den());
}

std::ostream& operator<<(std::ostream& out, const rational& a) {
  return out << a.numerator() << '/' << a.denominator();
}

}  // namespace planloc
