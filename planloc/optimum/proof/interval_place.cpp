#include "planloc/optimum/proof/interval_place.h"

#include <algorithm>

namespace planloc::detail {

namespace {

struct rounded_sum {
  double sum;
  double rest;  // what the rounding lost, exactly (Knuth 1969)
};
rounded_sum two_sum(double a, double b) {
  const double sum = a + b;
  const double b_part = sum - a;
  return {sum, (a - (sum - b_part)) + (b - b_part)};
}

// base + offset - site, exact where doubles can tell it: near a site the direction hangs on it.
interval difference(double base, double site, const interval& offset) {
  const auto [near, lost] = two_sum(base, -site);
  const auto [sum, lost_again] = two_sum(near, offset.low);
  const interval open = offset.low == offset.high ? 0 : interval(offset.high) - offset.low;
  return interval(sum) + (interval(lost) + interval(lost_again) + interval(0, open.high));
}

// A coordinate less those of sites, with their last bits or nearly so.
class differences {
 public:
  explicit differences(const mpq_class& at)
      : at_(at), near_(at.get_d()), rest_(enclosed(at - near_)) {}

  interval from(double site) const {
    const interval d = difference(near_, site, rest_);
    // Where all digits of `near_` cancel, and most of the rest do.
    return d.high - d.low <= 0x1p-48 * magnitude(d).low ? d : enclosed(at_ - site);
  }

 private:
  const mpq_class& at_;
  double near_;
  interval rest_;
};

}  // namespace

interval_place::interval_place(const problem& p, const fraction_pair& at)
    : problem_(p), lambda_(listed_weights(p)) {
  const differences x(at.x);
  const differences y(at.y);
  for (const site& t : p.sites()) offset_.push_back({x.from(t.x), y.from(t.y)});
}

interval interval_place::value() const {
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

interval_place::affine interval_place::seen(const affine_piece& piece, const xy& base) const {
  std::vector<interval> value;
  std::vector<interval> x;
  std::vector<interval> y;
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

interval_place::growth interval_place::far_away(const affine_piece& piece) const {
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
  return {sum_of(pull), sum_of(back)};
}

}  // namespace planloc::detail
