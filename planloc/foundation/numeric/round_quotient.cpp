#include "planloc/foundation/numeric/round_quotient.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <limits>
#include <vector>

namespace planloc::detail {
namespace {

static_assert(GMP_NUMB_BITS == 64 && std::numeric_limits<double>::digits == 53);
__extension__ using uint128 = unsigned __int128;

// Limbs on the stack, on the heap only for numbers of unusual length.
class limb_buffer {
 public:
  explicit limb_buffer(std::size_t size) {
    if (size > small_.size()) large_.resize(size);
  }
  mp_limb_t* data() { return large_.empty() ? small_.data() : large_.data(); }

 private:
  std::array<mp_limb_t, 16> small_;
  std::vector<mp_limb_t> large_;
};

std::span<const mp_limb_t> without_leading_zeros(std::span<const mp_limb_t> a) {
  while (!a.empty() && a.back() == 0) a = a.first(a.size() - 1);
  return a;
}

long bit_length(std::span<const mp_limb_t> a) {
  return static_cast<long>(64 * a.size()) - std::countl_zero(a.back());
}

// Writes floor(a * 2^shift) to `result`, which has room for one limb more than that takes at most.
// The result says whether bits were cut off.
bool shift_limbs(std::span<const mp_limb_t> a, long shift, mp_limb_t* result) {
  const auto whole = static_cast<std::size_t>(std::abs(shift) / 64);
  const auto bits = static_cast<unsigned>(std::abs(shift) % 64);
  if (shift >= 0) {
    std::fill_n(result, whole, 0);
    mp_limb_t* const high = result + whole;
    high[a.size()] = 0;
    if (bits == 0) {
      std::copy(a.begin(), a.end(), high);
    } else {
      high[a.size()] = mpn_lshift(high, a.data(), static_cast<mp_size_t>(a.size()), bits);
    }
    return false;
  }
  const auto kept = a.subspan(whole);
  bool cut = std::any_of(a.begin(), kept.begin(), [](mp_limb_t limb) { return limb != 0; });
  if (bits == 0) {
    std::copy(kept.begin(), kept.end(), result);
  } else {
    cut |= mpn_rshift(result, kept.data(), static_cast<mp_size_t>(kept.size()), bits) != 0;
  }
  return cut;
}

// (q + f) * 2^exponent for 2^63 <= q < 2^65, where 0 <= f < 1 and f > 0 just if `more`.
double round_scaled(uint128 q, bool more, long exponent) {
  const int q_bits = (q >> 64) != 0 ? 65 : 64;
  const long leading = q_bits - 1 + exponent;  // the value lies in [2^leading, 2^(leading + 1))
  if (leading > 1023) return std::numeric_limits<double>::infinity();
  if (leading < -1075) return 0.0;
  // Below 2^-1022 doubles are multiples of 2^-1074, so that fewer bits are left.
  const long precision = std::min(53L, leading + 1075);
  const long drop = q_bits - precision;
  const auto kept = static_cast<std::uint64_t>(q >> drop);
  const uint128 rest = q - (static_cast<uint128>(kept) << drop);
  const uint128 half = static_cast<uint128>(1) << (drop - 1);
  const bool up = rest > half || (rest == half && (more || (kept & 1) != 0));
  return std::ldexp(static_cast<double>(kept + (up ? 1 : 0)), static_cast<int>(exponent + drop));
}

}  // namespace

double round_quotient(bool negative, std::span<const mp_limb_t> num, std::span<const mp_limb_t> den,
                      long exponent) {
  num = without_leading_zeros(num);
  den = without_leading_zeros(den);
  if (num.empty()) return 0.0;

  // The numerator is scaled to 64 bits more than the denominator, so that the integer quotient has
  // 64 or 65 bits: more than a double keeps, whatever the operands. What the scaling cuts off
  // and the remainder of the division only break ties.
  const long shift = bit_length(den) + 64 - bit_length(num);
  const std::size_t size = den.size() + 1;
  limb_buffer scaled(size + 1);
  limb_buffer remainder(den.size());
  std::array<mp_limb_t, 2> quotient;
  bool more = shift_limbs(num, shift, scaled.data());
  mpn_tdiv_qr(quotient.data(), remainder.data(), 0, scaled.data(), static_cast<mp_size_t>(size),
              den.data(), static_cast<mp_size_t>(den.size()));
  more |= !mpn_zero_p(remainder.data(), static_cast<mp_size_t>(den.size()));

  const uint128 q = (static_cast<uint128>(quotient[1]) << 64) | quotient[0];
  const double magnitude = round_scaled(q, more, exponent - shift);
  return negative ? -magnitude : magnitude;
}

double round_quotient(const mpz_class& num, const mpz_class& den, long exponent) {
  const auto limbs = [](const mpz_class& a) {
    return std::span(mpz_limbs_read(a.get_mpz_t()), mpz_size(a.get_mpz_t()));
  };
  return round_quotient((sgn(num) < 0) != (sgn(den) < 0), limbs(num), limbs(den), exponent);
}

}  // namespace planloc::detail
