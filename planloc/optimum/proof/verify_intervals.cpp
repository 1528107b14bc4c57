#include <algorithm>
#include <cmath>

#include "planloc/optimum/proof/interval.h"
#include "planloc/optimum/proof/verify_parts.h"

namespace planloc::detail {

namespace {

struct interval_pair {
  interval x, y;
};

interval dot(const interval_pair& a, const interval_pair& b) { return a.x * b.x + a.y * b.y; }
interval cross(const interval_pair& a, const interval_pair& b) { return a.x * b.y - a.y * b.x; }

// Adjacent terms first: n terms lose as much as log n in a row.
interval sum_of(std::span<const interval> terms) {
  if (terms.empty()) return 0;
  if (terms.size() == 1) return terms[0];
  return sum_of(terms.first(terms.size() / 2)) + sum_of(terms.subspan(terms.size() / 2));
}

// A fraction between two doubles.
interval enclosed(const mpq_class& q) {
  const double d = q.get_d();
  return q == d ? interval(d) : widened(d, d);
}

interval_pair edge_normal(const gauge& g, std::size_t j) {
  const std::span<const xy> v = g.vertices();
  const interval_pair a{v[j].x, v[j].y};
  const interval_pair b{v[(j + 1) % v.size()].x, v[(j + 1) % v.size()].y};
  interval area = cross(a, b);
  // Positive, since the origin is strictly inside; too thin a cone leaves no more than that.
  area.low = std::max(area.low, std::numeric_limits<double>::denorm_min());
  return {(b.y - a.y) / area, (a.x - b.x) / area};
}

// (1 + t^p)^(1/p) times the larger coordinate, t the ratio of the smaller one to it.
struct lp_parts {
  interval ratio, larger, total;  // total = 1 + t^p
};

lp_parts split_lp(const interval_pair& u, double p) {
  const interval x = magnitude(u.x);
  const interval y = magnitude(u.y);
  interval most = larger(x, y);
  interval least{std::min(x.low, y.low), std::min(x.high, y.high)};
  if (!(most.low > 0)) return {{0, 1}, most, {1, 2}};
  interval ratio = least / most;
  ratio = {std::max(0.0, ratio.low), std::min(1.0, ratio.high)};
  const interval total = interval(1) + power(ratio, p);
  return {ratio, most, {std::max(1.0, total.low), std::min(2.0, total.high)}};
}

interval gauge_value(const gauge& g, const interval_pair& u) {
  if (g.kind() == gauge::shape::euclidean) return sqrt(square(u.x) + square(u.y));
  if (g.kind() == gauge::shape::lp) {
    const lp_parts parts = split_lp(u, g.p());
    return parts.larger * power(parts.total, interval(1) / interval(g.p()));
  }
  interval most = dot(edge_normal(g, 0), u);
  for (std::size_t j = 1; j < g.vertices().size(); ++j)
    most = larger(most, dot(edge_normal(g, j), u));
  return {std::max(0.0, most.low), std::max(0.0, most.high)};
}

interval with_sign(const interval& size, const interval& sign) {
  if (sign.low >= 0) return size;
  if (sign.high <= 0) return -size;
  return {-size.high, size.high};
}

// Holds the gradient at u; any slope where u may be 0.
interval_pair tangent(const gauge& g, const interval_pair& u) {
  if (g.kind() == gauge::shape::euclidean) {
    const interval norm = sqrt(square(u.x) + square(u.y));
    if (!(norm.low > 0)) return {{-1, 1}, {-1, 1}};
    return {u.x / norm, u.y / norm};
  }
  const lp_parts parts = split_lp(u, g.p());
  if (!(parts.larger.low > 0)) return {{-1, 1}, {-1, 1}};
  const interval of_larger =
      interval(1) / power(parts.total, (interval(g.p()) - 1) / interval(g.p()));
  const interval of_smaller = of_larger * power(parts.ratio, interval(g.p()) - 1);
  const interval x = magnitude(u.x);
  const interval y = magnitude(u.y);
  const interval either{std::min(of_larger.low, of_smaller.low),
                        std::max(of_larger.high, of_smaller.high)};
  const interval size_x = x.low > y.high ? of_larger : x.high < y.low ? of_smaller : either;
  const interval size_y = y.low > x.high ? of_larger : y.high < x.low ? of_smaller : either;
  return {with_sign(size_x, u.x), with_sign(size_y, u.y)};
}

// The slope, shortened if its dual norm may be above 1.
interval_pair in_polar(const gauge& g, const xy& slope) {
  const interval x = magnitude(slope.x);
  const interval y = magnitude(slope.y);
  double norm = 0;
  if (g.kind() == gauge::shape::euclidean) {
    norm = sqrt(square(x) + square(y)).high;
  } else {
    const interval most = larger(x, y);
    if (is_zero(most)) return {0, 0};
    const interval least{std::min(x.low, y.low), std::min(x.high, y.high)};
    const interval dual = interval(g.p()) / (interval(g.p()) - 1);
    interval ratio = least / most;
    ratio.high = std::min(1.0, ratio.high);
    norm = (most * power(interval(1) + power(ratio, dual), interval(1) / dual)).high;
  }
  if (norm <= 1) return {slope.x, slope.y};
  return {interval(slope.x) / norm, interval(slope.y) / norm};
}

// A radius of a disc that holds the unit ball.
double ball_radius(const gauge& g) {
  if (g.kind() == gauge::shape::polyhedral) {
    double most = 0;
    for (const xy& v : g.vertices()) most = std::max(most, sqrt(square(v.x) + square(v.y)).high);
    return most;
  }
  return g.kind() == gauge::shape::euclidean || g.p() <= 2 ? 1 : 1.5;
}

class interval_check {
 public:
  interval_check(const problem& p, const solution& s, const convex_certificate& c)
      : problem_(p), certificate_(c), lambda_(listed_weights(p)) {
    const fraction_pair at = exact_place_of(s);
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
