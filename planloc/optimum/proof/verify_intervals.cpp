#include <algorithm>
#include <cmath>

#include "planloc/optimum/proof/interval_place.h"

namespace planloc::detail {

namespace {

// What the certificate proves of every place, given f at this one.
double bound(const interval_place& place, const convex_certificate& c, const interval& value) {
  interval shares = 0;
  interval at_place = 0;
  interval_pair rest{0, 0};
  for (const affine_piece& piece : c.pieces) {
    if (!(piece.multiplier >= 0) || !std::isfinite(piece.multiplier))
      refuse("a multiplier is negative");
    const interval mu = piece.multiplier;
    const interval_place::affine a = place.seen(piece, c.base);
    shares = shares + mu;
    at_place = at_place + mu * a.value;
    rest = {rest.x + mu * a.slope.x, rest.y + mu * a.slope.y};
  }
  if (!(shares.low > 0)) refuse("all multipliers are 0");
  const interval_place::growth far = place.far_away(c.pieces.front());
  if (!(far.pull.low > 0)) return 0;                          // all order weights are 0
  const double reach = ((value + far.back) / far.pull).high;  // no place farther away is better
  const interval steep = sqrt(square(rest.x) + square(rest.y)) / shares;
  return below((at_place / shares).low - above(steep.high * reach));
}

}  // namespace

verification verify_intervals(const problem& p, const solution& s, const convex_certificate& c) {
  const interval_place place(p, exact_place_of(s.point, s.exact));
  const interval value = place.value();
  if (!std::isfinite(value.high)) refuse("the distances are too large");
  verification v;
  v.value = value.high;
  v.lower_bound = std::max(0.0, bound(place, c, value));
  v.gap = v.value > v.lower_bound ? above(v.value - v.lower_bound) : 0;
  const double rounding = rounding_of(value.high);
  if (!(s.value >= value.low - rounding && s.value <= value.high + rounding)) {
    refuse("the value is not that of the point");
  }
  if (!(s.lower_bound <= v.lower_bound)) {
    refuse("the lower bound is above the one that the certificate proves");
  }
  if (s.status == solution_status::optimal)
    check_gap(s.value, s.lower_bound, kOptimalGap * value.high + rounding);
  v.accepted = true;
  return v;
}

}  // namespace planloc::detail
