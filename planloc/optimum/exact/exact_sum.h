// Sums without loss. Internal.
#ifndef PLANLOC_OPTIMUM_EXACT_EXACT_SUM_H_
#define PLANLOC_OPTIMUM_EXACT_EXACT_SUM_H_

#include <gmpxx.h>

#include <cstdint>
#include <utility>
#include <vector>

#include "planloc/optimum/exact/dyadic.h"

namespace planloc::detail {

// A sum of products of doubles: an integer times a power of 2.
class dyadic_sum {
 public:
  void add(double a, double b) {
    if (a == 0 || b == 0) return;
    long exponent = 0;
    term_ = whole_mantissa(a, exponent);
    term_ *= whole_mantissa(b, exponent);
    add_term(exponent);
  }
  void add(double a, double b, double c) {
    if (a == 0 || b == 0 || c == 0) return;
    long exponent = 0;
    term_ = whole_mantissa(a, exponent);
    term_ *= whole_mantissa(b, exponent);
    term_ *= whole_mantissa(c, exponent);
    add_term(exponent);
  }

  dyadic total() const { return {total_, exponent_}; }
  mpq_class value() const { return scaled_by_power_of_2(mpq_class(total_), exponent_); }

 private:
  void add_term(long exponent) {
    if (exponent < exponent_) {
      if (sgn(total_) != 0) total_ <<= static_cast<unsigned>(exponent_ - exponent);
      exponent_ = exponent;
    }
    term_ <<= static_cast<unsigned>(exponent - exponent_);
    total_ += term_;
  }

  long exponent_ = 0;
  mpz_class total_;
  mpz_class term_;
};

// A sum of fractions. By halves, and put in lowest terms once at the end if at all: the
// denominators of many different gauges have nothing in common, so a running total would drag the
// product of all so far through every step, and look for common factors in vain.
template <class Number>
class fraction_sum {
 public:
  // REQUIRES: denominator > 0.
  void add(Number numerator, Number denominator) {
    numerators_.push_back(std::move(numerator));
    denominators_.push_back(std::move(denominator));
  }

  struct quotient {
    Number numerator, denominator;  // not in lowest terms; the denominator is positive
  };
  quotient value() {
    if (numerators_.empty()) return {Number(0), Number(1)};
    for (std::size_t width = 1; width < numerators_.size(); width *= 2) {
      for (std::size_t k = 0; k + width < numerators_.size(); k += 2 * width) {
        numerators_[k] =
            numerators_[k] * denominators_[k + width] + numerators_[k + width] * denominators_[k];
        denominators_[k] = denominators_[k] * denominators_[k + width];
      }
    }
    return {std::move(numerators_[0]), std::move(denominators_[0])};
  }

 private:
  std::vector<Number> numerators_;
  std::vector<Number> denominators_;
};

// The same of products of fractions.
class product_sum : public fraction_sum<mpz_class> {
 public:
  void add(const mpq_class& a, const mpq_class& b) {
    fraction_sum::add(a.get_num() * b.get_num(), a.get_den() * b.get_den());
  }
};

}  // namespace planloc::detail

#endif  // PLANLOC_OPTIMUM_EXACT_EXACT_SUM_H_
