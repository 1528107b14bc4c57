#include "planloc/facilities/bulk_powers.h"

#include <bit>
#include <cmath>
#include <cstdint>

#include "planloc/facilities/wide_vectors.h"

namespace planloc::detail {
namespace {

// Where none of the products below leaves the range of doubles, floats hold x, and the logarithm of
// the library's power is below 104.
constexpr double kLeast = 0x1p-100;
constexpr double kLargest = 0x1p100;

// 0 there, else NaN.
inline double nothing_if_moderate(double x) {
  return x > kLeast && x < kLargest ? 0.0 : std::nan("");
}

// high + low is a number to more than a hundred bits.
struct two_doubles {
  double high;
  double low;
};

// The exact product, by splitting the factors (Dekker, 1971).
struct split_product {
  static two_doubles of(double a, double b) {
    constexpr double kSplit = 0x1p27 + 1.0;
    const double a_part = kSplit * a;
    const double a1 = a_part - (a_part - a);
    const double a2 = a - a1;
    const double b_part = kSplit * b;
    const double b1 = b_part - (b_part - b);
    const double b2 = b - b1;
    const double p = a * b;
    return {p, ((a1 * b1 - p) + a1 * b2 + a2 * b1) + a2 * b2};
  }
};

// The same number, where the processor rounds a * b - p once.
struct fused_product {
  static two_doubles of(double a, double b) {
    const double p = a * b;
    return {p, std::fma(a, b, -p)};
  }
};

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

template <typename Product>
void find_half_powers(std::size_t n, const double* x, double* three_halves, double* minus_half) {
  for (std::size_t i = 0; i < n; ++i) {
    // s + r is the root to 2^-104 of it: a step of Newton's method from s.
    const double s = std::sqrt(x[i]);
    const two_doubles square = Product::of(s, s);
    const double r = ((x[i] - square.high) - square.low) / (s + s);
    const two_doubles product = Product::of(x[i], s);
    const double cube = rounded_as_by_library(product.high, product.low + x[i] * r);
    // y (1 + f) with f = 1 - y (s + r) is the reciprocal of the root to the square of f.
    const double y = 1.0 / s;
    const two_doubles one = Product::of(y, s);
    const double inverse = rounded_as_by_library(y, y * (((1.0 - one.high) - one.low) - y * r));
    const double nothing = nothing_if_moderate(x[i]);
    three_halves[i] = cube + nothing;
    minus_half[i] = inverse + nothing;
  }
}

// kTwoThirds - 2 / 3.
constexpr double kOverTwoThirds = 0x1p-53 / 1.5;

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

template <typename Product>
void find_two_thirds(std::size_t n, const double* x, double* powers) {
  for (std::size_t i = 0; i < n; ++i) {
    const std::uint32_t bits = bits_of_float(x[i]);
    const double y = inverse_cube_root(x[i], bits);
    // x y (1 - f), where (1 + f)^3 = x y^3, is the power 2/3; times 1 + g the one of kTwoThirds.
    const two_doubles square = Product::of(y, y);
    const two_doubles power = Product::of(x[i], y);
    const two_doubles one = Product::of(square.high, power.high);
    const double rest = square.high * power.low + square.low * power.high;
    const double f = (((one.high - 1.0) + one.low) + rest) * (1.0 / 3.0);
    const double g = kOverTwoThirds * rough_logarithm(bits);
    powers[i] = rounded_as_by_library(power.high, power.low + power.high * (g - f)) +
                nothing_if_moderate(x[i]);
  }
}

PLANLOC_WIDE_VECTORS
void find_split(std::size_t n, const double* x, double* three_halves, double* minus_half) {
  find_half_powers<split_product>(n, x, three_halves, minus_half);
}

PLANLOC_WIDE_VECTORS
void find_split(std::size_t n, const double* x, double* powers) {
  find_two_thirds<split_product>(n, x, powers);
}

#ifdef PLANLOC_FUSED
PLANLOC_FUSED
void find_fused(std::size_t n, const double* x, double* three_halves, double* minus_half) {
  find_half_powers<fused_product>(n, x, three_halves, minus_half);
}

PLANLOC_FUSED
void find_fused(std::size_t n, const double* x, double* powers) {
  find_two_thirds<fused_product>(n, x, powers);
}
#endif

// NaN where the power is not sure.
template <typename... Powers>
void find_sure(std::size_t n, const double* x, Powers... powers) {
#ifdef PLANLOC_FUSED
  if (PLANLOC_HAS_FUSED) return find_fused(n, x, powers...);
#endif
  find_split(n, x, powers...);
}

PLANLOC_WIDE_VECTORS
void find_inverse_cube_roots(std::size_t n, const double* x, double* roots) {
  for (std::size_t i = 0; i < n; ++i) {
    roots[i] = inverse_cube_root(x[i], bits_of_float(x[i])) + nothing_if_moderate(x[i]);
  }
}

}  // namespace

void two_thirds_powers(std::size_t n, const double* x, double* powers) {
#ifdef __GLIBC__
  find_sure(n, x, powers);
  for (std::size_t i = 0; i < n; ++i) {
    if (std::isnan(powers[i])) powers[i] = std::pow(x[i], kTwoThirds);
  }
#else
  for (std::size_t i = 0; i < n; ++i) powers[i] = std::pow(x[i], kTwoThirds);
#endif
}

void inverse_cube_roots(std::size_t n, const double* x, double* roots) {
  find_inverse_cube_roots(n, x, roots);
  for (std::size_t i = 0; i < n; ++i) {
    if (std::isnan(roots[i])) roots[i] = 1.0 / std::cbrt(x[i]);
  }
}

void half_powers(std::size_t n, const double* x, double* three_halves, double* minus_half) {
#ifdef __GLIBC__
  find_sure(n, x, three_halves, minus_half);
  for (std::size_t i = 0; i < n; ++i) {
    if (std::isnan(three_halves[i])) three_halves[i] = std::pow(x[i], 1.5);
    if (std::isnan(minus_half[i])) minus_half[i] = std::pow(x[i], -0.5);
  }
#else
  for (std::size_t i = 0; i < n; ++i) {
    three_halves[i] = std::pow(x[i], 1.5);
    minus_half[i] = std::pow(x[i], -0.5);
  }
#endif
}

}  // namespace planloc::detail
