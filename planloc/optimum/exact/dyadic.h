// Numbers whose denominator is a power of 2, as doubles are: sums and products need no common
// factors to be looked for. Internal.
#ifndef PLANLOC_OPTIMUM_EXACT_DYADIC_H_
#define PLANLOC_OPTIMUM_EXACT_DYADIC_H_

#include <gmpxx.h>

#include <algorithm>
#include <cmath>
#include <utility>

namespace planloc::detail {

// A double's mantissa as a whole number; its exponent is added to `exponent`.
inline long whole_mantissa(double d, long& exponent) {
  int e = 0;
  const auto m = static_cast<long>(std::ldexp(std::frexp(d, &e), 53));
  exponent += e - 53;
  return m;
}

inline mpq_class scaled_by_power_of_2(mpq_class q, long exponent) {
  if (exponent < 0) {
    mpq_div_2exp(q.get_mpq_t(), q.get_mpq_t(), static_cast<mp_bitcnt_t>(-exponent));
  } else {
    mpq_mul_2exp(q.get_mpq_t(), q.get_mpq_t(), static_cast<mp_bitcnt_t>(exponent));
  }
  return q;
}

class dyadic {
 public:
  dyadic() = default;
  dyadic(double d) {  // NOLINT(google-explicit-constructor): each double is one
    if (d != 0) mantissa_ = whole_mantissa(d, exponent_);
  }
  explicit dyadic(mpz_class whole) : mantissa_(std::move(whole)) {}
  dyadic(mpz_class mantissa, long exponent) : mantissa_(std::move(mantissa)), exponent_(exponent) {}

  friend dyadic operator*(const dyadic& a, const dyadic& b) {
    return {a.mantissa_ * b.mantissa_, a.exponent_ + b.exponent_};
  }
  friend dyadic operator+(const dyadic& a, const dyadic& b) {
    const long e = common_exponent(a, b);
    return {a.shifted_to(e) + b.shifted_to(e), e};
  }
  friend dyadic operator-(const dyadic& a, const dyadic& b) {
    const long e = common_exponent(a, b);
    return {a.shifted_to(e) - b.shifted_to(e), e};
  }
  friend int sgn(const dyadic& a) { return sgn(a.mantissa_); }
  // Common factors of long numbers, which hardly have any, are left in.
  friend mpq_class long_quotient(const dyadic& a, const dyadic& b) {
    constexpr std::size_t kLong = 1024;  // bits
    if (mpz_sizeinbase(a.mantissa_.get_mpz_t(), 2) < kLong ||
        mpz_sizeinbase(b.mantissa_.get_mpz_t(), 2) < kLong)
      return quotient(a, b);
    mpq_class q(a.mantissa_, b.mantissa_);
    if (sgn(b.mantissa_) < 0) q = mpq_class(-a.mantissa_, -b.mantissa_);
    return scaled_by_power_of_2(std::move(q), a.exponent_ - b.exponent_);
  }
  friend mpq_class quotient(const dyadic& a, const dyadic& b) {
    mpq_class q(a.mantissa_, b.mantissa_);
    q.canonicalize();
    return scaled_by_power_of_2(std::move(q), a.exponent_ - b.exponent_);
  }

  // Takes out what it has in common with d; returns what is left of d.
  mpz_class reduce(const mpz_class& d) {
    const mpz_class common = gcd(mantissa_, d);
    mantissa_ /= common;
    return d / common;
  }

  mpq_class value() const { return scaled_by_power_of_2(mpq_class(mantissa_), exponent_); }

 private:
  static long common_exponent(const dyadic& a, const dyadic& b) {
    if (sgn(a) == 0) return b.exponent_;
    if (sgn(b) == 0) return a.exponent_;
    return std::min(a.exponent_, b.exponent_);
  }
  mpz_class shifted_to(long exponent) const {
    mpz_class m = mantissa_;
    if (exponent_ > exponent) m <<= static_cast<mp_bitcnt_t>(exponent_ - exponent);
    return m;
  }
  mpz_class mantissa_;
  long exponent_ = 0;
};

}  // namespace planloc::detail

#endif  // PLANLOC_OPTIMUM_EXACT_DYADIC_H_
