#include <algorithm>
#include <cmath>

#include "planloc/optimum/proof/gauge_interval.h"
#include "planloc/optimum/proof/verify_parts.h"

namespace planloc::detail {

namespace {

class interval_check {
 public:
  interval_check(const problem& p, const solution& s, const convex_certificate& c)
      : problem_(p), certificate_(c), lambda_(listed_weights(p)) {
    const fraction_pair at = exact_place_of(s.point, s.exact);
    for (const site& t : p.sites()) {
      offset_.push_back({enclosed(at.x - t.x), enclosed(at.y - t.y)});
    }
  }

  // f at the place.
  interval value() const {
    std::vector<double> low;
    std::vector<double> high;
    for (std::size_t i = 0; i < offset_.size(); ++i) {
      const interval d = gauge_value(problem_.gauge_of(i), offset_[i]) * problem_.sites()[i].weight;
      low.push_back(d.low);
      high.push_back(d.high);
    }
    // The k-th smallest of numbers that grow grows.
    if (problem_.runs().size() > 1) {
      std::sort(low.begin(), low.end());
      std::sort(high.begin(), high.end());
    }
    std::vector<interval> terms;
    for (std::size_t k = 0; k < low.size(); ++k)
      terms.push_back(interval(lambda_[k]) * interval(low[k], high[k]));
    return sum_of(terms);
  }

  // What the certificate proves of every place, given f at this one.
  double bound(const interval& value) const {
    interval shares = 0;
    interval at_place = 0;
    interval_pair rest{0, 0};
    for (const affine_piece& piece : certificate_.pieces) {
      if (!(piece.multiplier >= 0) || !std::isfinite(piece.multiplier))
        refuse("a multiplier is negative");
      const interval mu = piece.multiplier;
      const affine a = affine_at_place(piece);
      shares = shares + mu;
      at_place = at_place + mu * a.value;
      rest = {rest.x + mu * a.slope.x, rest.y + mu * a.slope.y};
    }
    if (!(shares.low > 0)) refuse("all multipliers are 0");
    const interval steep = sqrt(square(rest.x) + square(rest.y)) / shares;
    return below((at_place / shares).low - above(steep.high * reach(value)));
  }

 private:
  struct affine {
    interval value;  // at the place
    interval_pair slope;
  };

  double weight_of(const affine_piece& piece, std::size_t i) const {
    return lambda_[piece.rank.empty() ? 0 : piece.rank[i]];
  }

  affine affine_at_place(const affine_piece& piece) const {
    std::vector<interval> value;
    std::vector<interval> x;
    std::vector<interval> y;
    const xy& base = certificate_.base;
    std::vector<const affine_piece::kink*> kinks(offset_.size());
    for (const affine_piece::kink& k : piece.kinks) kinks[k.site] = &k;
    for (std::size_t i = 0; i < offset_.size(); ++i) {
      const double l = weight_of(piece, i);
      if (l == 0) continue;
      const gauge& g = problem_.gauge_of(i);
      const site& s = problem_.sites()[i];
      interval_pair slope;
      if (g.kind() == gauge::shape::polyhedral) {
        slope = edge_normal(g, piece.edge[i]);
      } else if (kinks[i] != nullptr) {
        slope = in_polar(g, kinks[i]->slope);
      } else {
        slope = tangent(g, {difference(base.x, s.x, piece.taken_at.x),
                            difference(base.y, s.y, piece.taken_at.y)});
      }
      const interval w = interval(l) * interval(s.weight);
      value.push_back(w * dot(slope, offset_[i]));
      x.push_back(w * slope.x);
      y.push_back(w * slope.y);
    }
    return {sum_of(value), {sum_of(x), sum_of(y)}};
  }

  // base - site + offset, exact where doubles can tell it: near a site the direction hangs on it.
  static interval difference(double base, double site, double offset) {
    const auto [near, lost] = two_sum(base, -site);
    const auto [sum, lost_again] = two_sum(near, offset);
    return interval(sum) + (interval(lost) + interval(lost_again));
  }

  struct rounded_sum {
    double sum;
    double rest;  // what the rounding lost, exactly (Knuth 1969)
  };
  static rounded_sum two_sum(double a, double b) {
    const double sum = a + b;
    const double b_part = sum - a;
    return {sum, (a - (sum - b_part)) + (b - b_part)};
  }

  // Every place x that is no worse than this one lies within this distance of it: with the ranks of
  // any piece as fixed order, f(x) >= sum of lambda w gauge(x - a) >= sum of lambda w (gauge(x -
  // place) - gauge(a - place)), and gauge(u) >= |u| / radius of the ball.
  double reach(const interval& value) const {
    const affine_piece& piece = certificate_.pieces.front();
    std::vector<interval> pull;
    std::vector<interval> back;
    for (std::size_t i = 0; i < offset_.size(); ++i) {
      const double l = weight_of(piece, i);
      if (l == 0) continue;
      const gauge& g = problem_.gauge_of(i);
      const interval w = interval(l) * interval(problem_.sites()[i].weight);
      pull.push_back(w / interval(ball_radius(g)));
      back.push_back(w * gauge_value(g, {-offset_[i].x, -offset_[i].y}));
    }
    const interval total = sum_of(pull);
    if (!(total.low > 0)) return 0;  // all order weights are 0
    return ((value + sum_of(back)) / total).high;
  }

  const problem& problem_;
  const convex_certificate& certificate_;
  std::vector<double> lambda_;
  std::vector<interval_pair> offset_;  // place - site
};

}  // namespace

verification verify_intervals(const problem& p, const solution& s, const convex_certificate& c) {
  const interval_check check(p, s, c);
  const interval value = check.value();
  verification v;
  v.value = value.high;
  v.lower_bound = std::max(0.0, check.bound(value));
  v.gap = v.value > v.lower_bound ? above(v.value - v.lower_bound) : 0;
  const double rounding = 0x1p-44 * value.high;
  if (!(s.value >= value.low - rounding && s.value <= value.high + rounding)) {
    refuse("the value is not that of the point");
  }
  if (!(s.lower_bound <= v.lower_bound)) {
    refuse("the lower bound is above the one that the certificate proves");
  }
  v.accepted = true;
  return v;
}

}  // namespace planloc::detail
