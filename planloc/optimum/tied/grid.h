// Sums of doubles without loss as whole numbers of a common unit, a power of 2: 128 bits where they
// do, GMP's where not. Internal.
#ifndef PLANLOC_OPTIMUM_TIED_GRID_H_
#define PLANLOC_OPTIMUM_TIED_GRID_H_

#include <gmpxx.h>

#include <bit>
#include <cmath>
#include <cstdint>

namespace planloc::detail {

__extension__ typedef __int128 wide;

// The bits of a double that is 0 or positive and normal: mantissa * 2^exponent.
struct mantissa_exponent {
  std::int64_t mantissa;
  int exponent;
};
inline mantissa_exponent split(double d) {
  const auto bits = std::bit_cast<std::uint64_t>(d);
  const int exponent = static_cast<int>(bits >> 52);
  if (exponent == 0) return {0, 0};
  return {static_cast<std::int64_t>((bits & 0xfffffffffffffU) | 0x10000000000000U),
          exponent - 1075};
}

// The unit for some numbers, and whether their sum fits 128 bits.
class grid {
 public:
  void add(double d) {
    if (d == 0) return;
    const mantissa_exponent m = split(d);
    unit_ = std::min(unit_, m.exponent + std::countr_zero(static_cast<std::uint64_t>(m.mantissa)));
    total_ += d;
  }
  int unit() const { return unit_; }
  bool fits_wide() const { return total_ < std::ldexp(1, std::min(1000, 120 + unit_)); }

 private:
  int unit_ = 2000;
  double total_ = 0;
};

// d in units of 2^unit. REQUIRES: a unit of a grid that d was added to.
template <class Number>
Number in_units(double d, int unit) {
  const mantissa_exponent m = split(d);
  const int shift = m.exponent - unit;
  if (m.mantissa == 0) return Number(0);
  if (shift < 0) return Number(m.mantissa >> -shift);
  Number n(m.mantissa);
  n <<= static_cast<unsigned>(shift);
  return n;
}

inline const mpz_class& to_mpz(const mpz_class& n) { return n; }
inline mpz_class to_mpz(wide n) {
  mpz_class result(static_cast<long>(n >> 62));
  result <<= 62;
  return result + static_cast<long>(n & ((wide(1) << 62) - 1));
}

}  // namespace planloc::detail

#endif  // PLANLOC_OPTIMUM_TIED_GRID_H_
