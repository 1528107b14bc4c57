// Sums without loss. Internal.
#ifndef PLANLOC_OPTIMUM_EXACT_SUM_H_
#define PLANLOC_OPTIMUM_EXACT_SUM_H_

#include <gmpxx.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <utility>
#include <vector>

namespace planloc::detail {

// A sum of products of doubles: an integer times a power of 2.
class dyadic_sum {
 public:
  void add(double a, double b) {
    if (a == 0 || b == 0) return;
    int ea = 0;
    int eb = 0;
    const auto ma = static_cast<long>(std::ldexp(std::frexp(a, &ea), 53));
    const auto mb = static_cast<long>(std::ldexp(std::frexp(b, &eb), 53));
    term_ = ma;
    term_ *= mb;
    const int exponent = ea + eb - 106;
    if (exponent < exponent_) {
      if (sgn(total_) != 0) total_ <<= static_cast<unsigned>(exponent_ - exponent);
      exponent_ = exponent;
    }
    term_ <<= static_cast<unsigned>(exponent - exponent_);
    total_ += term_;
  }

  mpq_class value() const {
    if (sgn(total_) == 0) return 0;
    mpq_class v(total_);
    if (exponent_ < 0) {
      v /= mpz_class(mpz_class(1) << static_cast<unsigned>(-exponent_));
    } else {
      v *= mpz_class(mpz_class(1) << static_cast<unsigned>(exponent_));
    }
    return v;
  }

 private:
  int exponent_ = 0;
  mpz_class total_;
  mpz_class term_;
};

// The terms by halves: the denominators of many different gauges have nothing in common, and a
// running total would drag the product of all so far through every step.
inline mpq_class sum_by_halves(std::vector<mpq_class> terms) {
  if (terms.empty()) return 0;
  for (std::size_t width = 1; width < terms.size(); width *= 2) {
    for (std::size_t k = 0; k + width < terms.size(); k += 2 * width) terms[k] += terms[k + width];
  }
  return std::move(terms.front());
}

}  // namespace planloc::detail

#endif  // PLANLOC_OPTIMUM_EXACT_SUM_H_
