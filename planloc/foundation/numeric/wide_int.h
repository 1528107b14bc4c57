// Signed integers of a fixed number of 64-bit limbs in two's complement, on the stack. Internal:
// the carrier of exact geometry on doubles of ordinary magnitude. Without a bound on the size use
// integer.h.
//
// No operation checks for overflow: its REQUIRES states the range, and the caller derives it.
#ifndef PLANLOC_FOUNDATION_NUMERIC_WIDE_INT_H_
#define PLANLOC_FOUNDATION_NUMERIC_WIDE_INT_H_

#include <gmpxx.h>

#include <array>
#include <cstddef>
#include <cstdint>

namespace planloc::detail {

__extension__ using int128 = __int128;
__extension__ using uint128 = unsigned __int128;

template <std::size_t N>
struct wide_int {
  std::array<mp_limb_t, N> limb;  // least significant first

  bool negative() const { return limb[N - 1] >> 63 != 0; }

  int sign() const {
    if (negative()) return -1;
    mp_limb_t any = 0;
    for (const mp_limb_t l : limb) any |= l;
    return any != 0 ? 1 : 0;
  }
};

inline wide_int<2> widen(int128 a) {
  return {{static_cast<mp_limb_t>(a), static_cast<mp_limb_t>(a >> 64)}};
}

// REQUIRES: |a - b| < 2^(64 N - 1).
template <std::size_t N>
wide_int<N> operator-(const wide_int<N>& a, const wide_int<N>& b) {
  wide_int<N> result;
  mp_limb_t borrow = 0;
  for (std::size_t i = 0; i < N; ++i) {
    const uint128 difference = static_cast<uint128>(a.limb[i]) - b.limb[i] - borrow;
    result.limb[i] = static_cast<mp_limb_t>(difference);
    borrow = static_cast<mp_limb_t>(difference >> 64) & 1;
  }
  return result;
}

// REQUIRES: a != -2^(64 N - 1).
template <std::size_t N>
wide_int<N> operator-(const wide_int<N>& a) {
  return wide_int<N>{} - a;
}

template <std::size_t N>
wide_int<N> magnitude(const wide_int<N>& a) {
  return a.negative() ? -a : a;
}

// The product of any two, without loss.
template <std::size_t N, std::size_t M>
wide_int<N + M> operator*(const wide_int<N>& a, const wide_int<M>& b) {
  wide_int<N + M> result{};
  for (std::size_t i = 0; i < N; ++i) {
    mp_limb_t carry = 0;
    for (std::size_t j = 0; j < M; ++j) {
      const uint128 sum = static_cast<uint128>(a.limb[i]) * b.limb[j] + result.limb[i + j] + carry;
      result.limb[i + j] = static_cast<mp_limb_t>(sum);
      carry = static_cast<mp_limb_t>(sum >> 64);
    }
    result.limb[i + M] = carry;
  }
  // Read as unsigned, a negative factor is 2^(64 N) too large; that much of the other one goes.
  const auto subtract_high = [&result](const auto& factor, std::size_t offset) {
    mp_limb_t borrow = 0;
    for (std::size_t i = 0; i < factor.limb.size(); ++i) {
      const uint128 difference =
          static_cast<uint128>(result.limb[offset + i]) - factor.limb[i] - borrow;
      result.limb[offset + i] = static_cast<mp_limb_t>(difference);
      borrow = static_cast<mp_limb_t>(difference >> 64) & 1;
    }
  };
  if (a.negative()) subtract_high(b, N);
  if (b.negative()) subtract_high(a, M);
  return result;
}

template <std::size_t N>
mpz_class to_mpz(const wide_int<N>& a) {
  const wide_int<N> size = magnitude(a);
  mpz_class result;
  mpz_import(result.get_mpz_t(), N, -1, sizeof(mp_limb_t), 0, 0, size.limb.data());
  return a.negative() ? mpz_class(-result) : result;
}

}  // namespace planloc::detail

#endif  // PLANLOC_FOUNDATION_NUMERIC_WIDE_INT_H_
