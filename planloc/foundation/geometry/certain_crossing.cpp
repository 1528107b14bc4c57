#include "planloc/foundation/geometry/certain_crossing.h"

#include <cmath>

#include "planloc/foundation/geometry/double_double_xy.h"

namespace planloc::detail {
namespace {

// Zero or of a size from 2^-100 to 2^100. Differences of such numbers are 0 or multiples of 2^-153
// below 2^101. Products of two are 0 or at least 2^-306 and below 2^202, quotients of two sums of
// products at least 2^-509; nothing below over- or underflows, low halves of products included.
bool is_ordinary(double d) {
  const double size = std::fabs(d);
  return d == 0.0 || (size >= 0x1p-100 && size <= 0x1p100);
}

bool is_ordinary(const xy& p) { return is_ordinary(p.x) && is_ordinary(p.y); }

// The double nearest to start + direction * t. The error holds 8E (|start| + |product|), of which
// the product and the sum use 3E and the rounding of low +- error, at most 2^-106 of the sum, less
// than E.
std::optional<double> nearest(double start, const double_double& direction,
                              const double_double_estimate& t) {
  const double_double product = direction * t.value;
  const double_double sum = double_double{start, 0.0} + product;
  const double error = 1.5 * std::fabs(direction.hi) * t.error +
                       8.0 * kDoubleDoubleError * (std::fabs(start) + std::fabs(product.hi));
  return surely_nearest(sum, error) ? std::optional(sum.hi) : std::nullopt;
}

bool is_zero(const double_double& d) { return d.hi == 0.0; }

}  // namespace

std::optional<int> certain_turn(const xy& a, const xy& b, const xy& c, const xy& d) {
  if (!is_ordinary(a) || !is_ordinary(b) || !is_ordinary(c) || !is_ordinary(d)) return std::nullopt;
  const double_double_xy u = exact_difference(b, a);
  const double_double_xy v = exact_difference(d, c);
  if (u.x.lo != 0.0 || u.y.lo != 0.0 || v.x.lo != 0.0 || v.y.lo != 0.0) return std::nullopt;
  const double_double p = exact_product(u.x.hi, v.y.hi);
  const double_double q = exact_product(u.y.hi, v.x.hi);
  if (p.hi != q.hi) return p.hi > q.hi ? 1 : -1;
  return (p.lo > q.lo) - (p.lo < q.lo);
}

std::optional<xy> certain_crossing(const xy& a, const xy& b, const xy& c, const xy& d) {
  if (!is_ordinary(a) || !is_ordinary(b) || !is_ordinary(c) || !is_ordinary(d)) return std::nullopt;
  const double_double_xy u = exact_difference(b, a);
  const double_double_xy v = exact_difference(d, c);
  const double_double_estimate turn = cross(u, v);
  if (std::fabs(turn.value.hi) <= 2.0 * turn.error) return std::nullopt;
  const double_double_estimate t = quotient(cross(exact_difference(c, a), v), turn);
  // A line along an axis keeps its coordinate as it is.
  const auto x = is_zero(u.x) ? a.x : is_zero(v.x) ? std::optional(c.x) : nearest(a.x, u.x, t);
  if (!x) return std::nullopt;
  const auto y = is_zero(u.y) ? a.y : is_zero(v.y) ? std::optional(c.y) : nearest(a.y, u.y, t);
  if (!y) return std::nullopt;
  return xy{*x + 0.0, *y + 0.0};  // without a negative zero
}

}  // namespace planloc::detail
