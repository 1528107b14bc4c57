#include "planloc/facilities/bulk_powers.h"

#include <bit>
#include <cmath>
#include <cstdint>

#include "planloc/facilities/wide_vectors.h"

namespace planloc::detail {
namespace {

// high + low is a number to more than a hundred bits.
struct two_doubles {
  double high;
  double low;
};

// The exact product, where the processor rounds a * b - p once.
inline two_doubles exact_product(double a, double b) {
  const double p = a * b;
  return {p, std::fma(a, b, -p)};
}

// ----- Roots -----

// The square root to 2^-104 of it: a step of Newton's method from the rounded one.
inline two_doubles square_root(double x) {
  const double s = std::sqrt(x);
  const two_doubles square = exact_product(s, s);
  return {s, ((x - square.high) - square.low) / (s + s)};
}

// x^(-1/3) to some 1e-16 of it, from a float of x by its bits: 4 % off at first, and each step of
// Halley's method leaves five times the cube of the error.
inline double inverse_cube_root(double x, std::uint32_t bits) {
  const auto rough = static_cast<float>(x);
  float near = std::bit_cast<float>(0x54a2fa8cU - bits / 3U);
  for (int step = 0; step < 2; ++step) {
    const float u = 1.0F - rough * near * near * near;
    near += near * u * (0.33333334F + u * 0.22222222F);
  }
  const double y = near;
  const double u = 1.0 - x * y * y * y;
  return y + y * u * (1.0 / 3.0 + u * (2.0 / 9.0));
}

inline std::uint32_t bits_of_float(double x) {
  return std::bit_cast<std::uint32_t>(static_cast<float>(x));
}

// The logarithm to 0.006, of a float above 0 by its bits.
inline double rough_logarithm(std::uint32_t bits) {
  const double exponent = static_cast<double>(static_cast<std::int32_t>(bits >> 23)) - 127.0;
  const double m = std::bit_cast<float>((bits & 0x7fffffU) | 0x3f800000U);
  return 0.6931 * (exponent + (m - 1.0) * (1.0 + 0.3466 * (2.0 - m)));
}

// ----- Powers to more than a hundred bits -----

struct square {
  static constexpr double kExponent = 2.0;
  static two_doubles of(double x) { return exact_product(x, x); }
};

struct cube {
  static constexpr double kExponent = 3.0;
  static two_doubles of(double x) {
    const two_doubles square = exact_product(x, x);
    const two_doubles cube = exact_product(x, square.high);
    return {cube.high, cube.low + x * square.low};
  }
};

struct root {
  static constexpr double kExponent = 0.5;
  static two_doubles of(double x) { return square_root(x); }
};

struct three_halves_power {
  static constexpr double kExponent = 1.5;
  static two_doubles of(double x) {
    const two_doubles s = square_root(x);
    const two_doubles cube = exact_product(x, s.high);
    return {cube.high, cube.low + x * s.low};
  }
};

struct inverse_root {
  static constexpr double kExponent = -0.5;
  // y (1 + f) with f = 1 - y (s + r) is the reciprocal of the root s + r to the square of f.
  static two_doubles of(double x) {
    const two_doubles s = square_root(x);
    const double y = 1.0 / s.high;
    const two_doubles one = exact_product(y, s.high);
    return {y, y * (((1.0 - one.high) - one.low) - y * s.low)};
  }
};

// With y about x^(-1/3) and (1 + f)^3 = x y^3: x y (1 - f) is the power 2/3, and x y^2 (1 - 2 f)
// the power 1/3; times 1 + g, those of the exponents as doubles.
struct two_thirds_power {
  static constexpr double kExponent = 1.0 - 1.0 / 3.0;
  static constexpr double kOver = 0x1p-53 / 1.5;  // kExponent - 2 / 3
  static two_doubles of(double x) {
    const std::uint32_t bits = bits_of_float(x);
    const double y = inverse_cube_root(x, bits);
    const two_doubles square = exact_product(y, y);
    const two_doubles power = exact_product(x, y);
    const two_doubles one = exact_product(square.high, power.high);
    const double rest = square.high * power.low + square.low * power.high;
    const double f = (((one.high - 1.0) + one.low) + rest) * (1.0 / 3.0);
    return {power.high, power.low + power.high * (kOver * rough_logarithm(bits) - f)};
  }
};

struct third_power {
  static constexpr double kExponent = 1.0 / 3.0;
  static constexpr double kOver = -0x1p-54 / 3.0;  // kExponent - 1 / 3
  static two_doubles of(double x) {
    const std::uint32_t bits = bits_of_float(x);
    const double y = inverse_cube_root(x, bits);
    const two_doubles square = exact_product(y, y);
    const two_doubles power = exact_product(x, square.high);
    const double low = power.low + x * square.low;
    const two_doubles one = exact_product(power.high, y);
    const double f = (((one.high - 1.0) + one.low) + low * y) * (1.0 / 3.0);
    return {power.high, low + power.high * (kOver * rough_logarithm(bits) - 2.0 * f)};
  }
};

// ----- Many at once -----

#ifdef PLANLOC_FUSED

// Where none of the products leaves the range of doubles, floats hold x, and the logarithms
// of the powers are below 130.
constexpr double kLeast = 0x1p-60;
constexpr double kLargest = 0x1p60;

// 0 there, else NaN.
inline double nothing_if_moderate(double x) {
  return x > kLeast && x < kLargest ? 0.0 : std::nan("");
}

// high + low rounded, or NaN where the library might round it in another way: its powers of such
// numbers are less than 0.515 of the last place off (glibc since 2.28: 0.509, and what the
// logarithm adds), so a sum that is nearer than 0.48 to a double gives that double. Below a power
// of two places are half as wide.
inline double rounded_as_by_library(double high, double low) {
  const double v = high + low;
  const double rest = (high - v) + low;
  const double power = std::bit_cast<double>(std::bit_cast<std::uint64_t>(v) & 0x7ff0000000000000U);
  const bool is_sure = std::fabs(rest) < 0.48 * 0x1p-52 * power && v != power;
  return is_sure ? v : std::nan("");
}

// NaN where the power is not sure.
template <typename Power>
PLANLOC_FUSED void find_sure(std::size_t n, const double* x, double* powers) {
  for (std::size_t i = 0; i < n; ++i) {
    const two_doubles p = Power::of(x[i]);
    powers[i] = rounded_as_by_library(p.high, p.low) + nothing_if_moderate(x[i]);
  }
}

PLANLOC_FUSED void find_inverse_cube_roots(std::size_t n, const double* x, double* roots) {
  for (std::size_t i = 0; i < n; ++i) {
    roots[i] = inverse_cube_root(x[i], bits_of_float(x[i])) + nothing_if_moderate(x[i]);
  }
}

#endif

template <typename Power>
void bulk_power(std::size_t n, const double* x, double* powers) {
  // Compilers make a product of the power of a constant 2.0, which rounds in another way.
  const volatile double exponent = Power::kExponent;
#ifdef PLANLOC_FUSED
  if (PLANLOC_HAS_FUSED) {
    find_sure<Power>(n, x, powers);
    for (std::size_t i = 0; i < n; ++i) {
      if (std::isnan(powers[i])) powers[i] = std::pow(x[i], exponent);
    }
    return;
  }
#endif
  for (std::size_t i = 0; i < n; ++i) powers[i] = std::pow(x[i], exponent);
}

}  // namespace

void bulk_powers(bulk_exponent exponent, std::size_t n, const double* x, double* powers) {
  switch (exponent) {
    case bulk_exponent::kTwo:
      return bulk_power<square>(n, x, powers);
    case bulk_exponent::kThree:
      return bulk_power<cube>(n, x, powers);
    case bulk_exponent::kHalf:
      return bulk_power<root>(n, x, powers);
    case bulk_exponent::kThreeHalves:
      return bulk_power<three_halves_power>(n, x, powers);
    case bulk_exponent::kMinusHalf:
      return bulk_power<inverse_root>(n, x, powers);
    case bulk_exponent::kTwoThirds:
      return bulk_power<two_thirds_power>(n, x, powers);
    case bulk_exponent::kThird:
      return bulk_power<third_power>(n, x, powers);
  }
}

void inverse_cube_roots(std::size_t n, const double* x, double* roots) {
#ifdef PLANLOC_FUSED
  if (PLANLOC_HAS_FUSED) {
    find_inverse_cube_roots(n, x, roots);
    for (std::size_t i = 0; i < n; ++i) {
      if (std::isnan(roots[i])) roots[i] = 1.0 / std::cbrt(x[i]);
    }
    return;
  }
#endif
  for (std::size_t i = 0; i < n; ++i) roots[i] = 1.0 / std::cbrt(x[i]);
}

}  // namespace planloc::detail
