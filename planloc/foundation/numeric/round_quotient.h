// The nearest double of a quotient of big integers. Internal: callers use `integer::to_double`,
// `rational::to_double` and `rat_point::to_point`.
#ifndef PLANLOC_FOUNDATION_NUMERIC_ROUND_QUOTIENT_H_
#define PLANLOC_FOUNDATION_NUMERIC_ROUND_QUOTIENT_H_

#include <gmpxx.h>

#include <span>

namespace planloc::detail {

// (num / den) * 2^exponent, rounded once.
// 1. The result is the double nearest to the exact value, ties to even, denormal results included.
// 2. Values beyond the largest double by half a unit or more give an infinity of their sign.
// 3. An exact 0 gives +0.0; a value that rounds to 0 keeps its sign.
// The result depends on the value alone, not on common factors of `num` and `den`.
// REQUIRES: den != 0.
double round_quotient(const mpz_class& num, const mpz_class& den, long exponent = 0);

// The same for magnitudes in limbs, least significant first; leading zeros are allowed.
double round_quotient(bool negative, std::span<const mp_limb_t> num, std::span<const mp_limb_t> den,
                      long exponent);

}  // namespace planloc::detail

#endif  // PLANLOC_FOUNDATION_NUMERIC_ROUND_QUOTIENT_H_
