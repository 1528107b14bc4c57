#include "planloc/foundation/geometry/fixed_crossing.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cassert>
#include <cstdint>

namespace planloc::detail {
namespace {

struct vec {
  int128 x;
  int128 y;

  bool is_zero() const { return x == 0 && y == 0; }
};

vec operator-(const vec& p, const vec& q) { return {p.x - q.x, p.y - q.y}; }

// A finite double as significand * 2^exponent.
struct parts {
  explicit parts(double d) {
    const auto bits = std::bit_cast<std::uint64_t>(d);
    const auto field = static_cast<int>(bits >> 52 & 0x7ff);
    const auto fraction = static_cast<std::int64_t>(bits & 0xfffffffffffff);
    const std::int64_t size = field == 0 ? fraction : fraction | std::int64_t{1} << 52;
    significand = d < 0.0 ? -size : size;
    exponent = std::max(field, 1) - 1075;
  }
  std::int64_t significand;
  int exponent;
};

// Scales the points by 2^-exponent to integers, or fails. A significand has 53 bits, so that the
// results stay below 2^(53 + kMaxSpread) = 2^126, and their differences below 2^127.
template <std::size_t N>
bool to_grid(const std::array<xy, N>& points, std::array<vec, N>& scaled, int& exponent) {
  int low = 1 << 20;
  int high = -(1 << 20);
  const auto widen_range = [&low, &high](const parts& p) {
    if (p.significand == 0) return;
    low = std::min(low, p.exponent);
    high = std::max(high, p.exponent);
  };
  for (const xy& p : points) {
    widen_range(parts(p.x));
    widen_range(parts(p.y));
  }
  if (high - low > kMaxSpread) return false;
  const auto scale = [low](double d) -> int128 {
    const parts p(d);
    if (p.significand == 0) return 0;
    assert(p.exponent >= low);
    return p.significand * (static_cast<int128>(1) << (p.exponent - low));
  };
  for (std::size_t i = 0; i < N; ++i) scaled[i] = {scale(points[i].x), scale(points[i].y)};
  exponent = low <= high ? low : 0;
  return true;
}

// Of two differences, below 2^127: products below 2^254, results below 2^255.
wide_int<4> cross(const vec& u, const vec& v) {
  return widen(u.x) * widen(v.y) - widen(u.y) * widen(v.x);
}

wide_int<4> dot(const vec& u, const vec& v) {
  return widen(u.x) * widen(v.x) - widen(u.y) * -widen(v.y);
}

// Whether the ray from the origin along `direction` contains p; a trivial one contains everything.
bool ray_contains(const vec& direction, const vec& p) {
  return cross(direction, p).sign() == 0 && dot(direction, p).sign() >= 0;
}

// origin * w + edge * t: below 2^(126 + 255) + 2^(127 + 255) < 2^383.
wide_int<6> move_along(int128 origin, const wide_int<4>& w, int128 edge, const wide_int<4>& t) {
  return widen(origin) * w - widen(-edge) * t;
}

}  // namespace

meeting meet_fixed(const xy& a, const xy& b, const xy& c, const xy& d, fixed_point& cut) {
  std::array<vec, 4> p;
  int exponent;
  if (!to_grid<4>({a, b, c, d}, p, exponent)) return meeting::kUnknown;
  const vec direction = p[1] - p[0];
  const vec to_source = p[2] - p[0];
  const vec edge = p[3] - p[2];

  if (edge.is_zero()) {
    return ray_contains(direction, to_source) ? meeting::kSource : meeting::kNone;
  }
  wide_int<4> w = cross(direction, edge);
  const int turn = w.sign();
  if (turn == 0) {
    if (ray_contains(direction, to_source)) return meeting::kSource;
    return ray_contains(direction, p[3] - p[0]) ? meeting::kTarget : meeting::kNone;
  }

  // The lines cut at a + direction * (to_source x edge) / w = c + edge * t / w.
  if (cross(to_source, edge).sign() * turn < 0) return meeting::kNone;
  wide_int<4> t = cross(to_source, direction);
  if (turn < 0) {
    w = -w;
    t = -t;
  }
  if (t.sign() < 0 || (w - t).sign() < 0) return meeting::kNone;
  cut = {move_along(p[2].x, w, edge.x, t), move_along(p[2].y, w, edge.y, t), w, exponent};
  return meeting::kCut;
}

std::optional<int> orientation_fixed(const xy& a, const xy& b, const xy& c) {
  std::array<vec, 3> p;
  int exponent;
  if (!to_grid<3>({a, b, c}, p, exponent)) return std::nullopt;
  return cross(p[1] - p[0], p[2] - p[0]).sign();
}

std::optional<int> turn_fixed(const xy& a, const xy& b, const xy& c, const xy& d) {
  std::array<vec, 4> p;
  int exponent;
  if (!to_grid<4>({a, b, c, d}, p, exponent)) return std::nullopt;
  return cross(p[1] - p[0], p[3] - p[2]).sign();
}

}  // namespace planloc::detail
