#include "planloc/optimum/proof/far_axis.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace planloc::detail {

namespace {

constexpr double kInfinite = std::numeric_limits<double>::infinity();
constexpr double kStrip = 2;
constexpr double kNear = 0.25;
// Of one question, and of all of a certificate.
constexpr std::size_t kMostParts = 50000;
constexpr std::size_t kMostInAll = 400000;
// In units of D: places so near the axis, and so far away, are told from sites as numbers.
constexpr double kBeside = 1 << 12;
constexpr double kMostAsNumber = 0x1p200;
// Powers of 2: where places count as far away, and how near the axis, for their values.
constexpr int kFarPower = 16;

// |Y| / X and D / X at most: see far_axis.h.
interval doubt(const interval& q, double sideways, double d) {
  const interval z = (interval(sideways) + interval(d)) / (interval(1) - interval(d));
  const double most = (interval(2) * q * (z + interval(d))).high;
  return {-most, most};
}

// (2^e)^q of any whole number e.
interval power_of_two(long e, const interval& q) {
  if (e == 0) return 1;
  return power(e > 0 ? 2 : 0.5, q * interval(static_cast<double>(std::labs(e))));
}

// x^q, x > 0.
interval power_of(const mpq_class& x, const interval& q) {
  const auto size = [](const mpz_class& z) {
    return static_cast<long>(mpz_sizeinbase(z.get_mpz_t(), 2));
  };
  const long e = size(x.get_num()) - size(x.get_den());
  mpq_class rest = x;
  if (e >= 0) {
    mpq_div_2exp(rest.get_mpq_t(), rest.get_mpq_t(), static_cast<mp_bitcnt_t>(e));
  } else {
    mpq_mul_2exp(rest.get_mpq_t(), rest.get_mpq_t(), static_cast<mp_bitcnt_t>(-e));
  }
  return power_of_two(e, q) * power(around(rest), q);
}

double middle_of(const interval& a) { return a.low + (a.high - a.low) / 2; }

}  // namespace

far_axis::far_axis(const problem& p, const std::vector<interval_pair>& from_base, double most) {
  const gauge& g = p.gauge_of(0);
  if (g.kind() != gauge::shape::lp || !(g.p() < 2) || !(most > 0)) return;
  weight_ = p.sites()[0].weight;
  for (const site& s : p.sites()) {
    if (s.gauge != p.sites()[0].gauge || s.weight != weight_) return;
  }
  lambda_ = listed_weights(p);
  mpq_class sum;
  for (const double l : lambda_) sum += l;
  known_ = sgn(sum) == 0;
  p_ = g.p();
  q_ = p_ - interval(1);
  unit_ = std::ldexp(1, std::ilogb(most) + 1);
  for (const interval_pair& a : from_base)
    from_base_.push_back({a.x / interval(unit_), a.y / interval(unit_)});
}

void far_axis::turn_to(int side) {
  const interval out = side < 2 ? 1 : -1;
  turned_.clear();
  for (const interval_pair& a : from_base_)
    turned_.push_back(side % 2 == 0 ? interval_pair{out * a.x, a.y}
                                    : interval_pair{out * a.y, a.x});
  const auto [first, last] = std::minmax_element(
      turned_.begin(), turned_.end(),
      [](const interval_pair& a, const interval_pair& b) { return a.y.low < b.y.low; });
  outermost_ = {static_cast<std::size_t>(first - turned_.begin()),
                static_cast<std::size_t>(last - turned_.begin())};
}

std::vector<far_axis::part> far_axis::first_parts(const interval& s, const interval& out) const {
  const interval v = s * (out / interval(unit_));  // also where infinity meets 0: the whole line
  std::vector<part> parts;
  const interval strip{std::max({v.low, -kStrip, s.low >= 0 ? 0 : -kStrip}),
                       std::min({v.high, kStrip, s.high <= 0 ? 0 : kStrip})};
  if (strip.low <= strip.high) parts.push_back({0, scales_, strip});
  const auto add_beyond = [&](int sign, const interval& beside) {
    if (!(beside.high > 0)) return;
    const interval r = power(interval{std::max(0.0, beside.low), beside.high}, q_);
    parts.push_back({sign, {std::max(0.0, r.low), r.high}, {0, 1 / kStrip}});
  };
  add_beyond(1, s);
  add_beyond(-1, -s);
  return parts;
}

// Whether no k = r w^q is one of the question's.
bool far_axis::is_empty(const part& c) const {
  if (c.sign == 0) return false;
  const interval k = c.scale * power(c.along, q_);
  return k.low > scales_.high || k.high < scales_.low;
}

interval far_axis::shape(const interval& b, int sign, double along) const {
  if (sign == 0) {
    const interval v = along;
    return (power(magnitude(v - b), p_) - power(magnitude(v), p_)) / p_;
  }
  const interval a = sign > 0 ? b : -b;
  if (along == 0) return -a;
  // (1 - x)^p = 1 - p x + p q x^2 / 2 * (1 - h x)^(p - 2) with h between 0 and 1.
  const interval x = a * interval(along);
  const interval m = magnitude(x);
  const interval by_x{(interval(1) / (interval(1) + interval(m.high))).low,
                      (interval(1) / (interval(1) - interval(m.high))).high};
  const interval near = -a + q_ / interval(2) * a * x * by_x;
  const interval all = (power(interval(1) - x, p_) - interval(1)) / (p_ * interval(along));
  return {std::max(near.low, all.low), std::min(near.high, all.high)};
}

far_axis::shapes far_axis::shapes_on(const part& c) const {
  shapes all;
  for (const interval_pair& a : turned_) {
    const interval first = shape(a.y, c.sign, c.along.low);
    all.push_back({first, c.along.high == c.along.low ? first : shape(a.y, c.sign, c.along.high)});
  }
  return all;
}

// By how much a difference of shapes on the part may be off those at its ends.
interval far_axis::bulge(const part& c) const {
  if (c.sign == 0) return 0;
  const double most = (q_ * square(c.along.high - interval(c.along.low)) / interval(3)).high;
  return {-most, most};
}

// The ordered sum, with excesses counted from one site's part of them.
interval far_axis::sum_beside(std::size_t reference, const shapes& all, const part& c) const {
  const auto [first, last] = all[reference];
  const interval between = bulge(c);
  std::vector<interval> excess;
  for (std::size_t i = 0; i < all.size(); ++i) {
    interval both = 0;
    if (i != reference) {
      const interval one = all[i][0] - first;
      const interval other = all[i][1] - last;
      both = interval(std::min(one.low, other.low), std::max(one.high, other.high)) + between;
    }
    excess.push_back(both * c.scale - turned_[i].x + doubt_);
  }
  return ordered(std::move(excess));
}

interval far_axis::ordered(std::vector<interval> excess) const {
  std::vector<double> low, high;
  for (const interval& e : excess) {
    low.push_back(e.low);
    high.push_back(e.high);
  }
  std::sort(low.begin(), low.end());
  std::sort(high.begin(), high.end());
  interval sum;
  for (std::size_t k = 0; k < low.size(); ++k)
    sum = sum + interval(lambda_[k]) * interval(low[k], high[k]);
  return sum * interval(weight_) * interval(unit_);
}

// The outermost sites' excesses change much as those of all others beyond some place do.
double far_axis::bound(const shapes& all, const part& c) const {
  const double sum = sum_beside(outermost_[0], all, c).low;
  return c.sign != 0 ? sum : std::max(sum, sum_beside(outermost_[1], all, c).low);
}

bool far_axis::above(double least, const part& c) {
  if (is_empty(c)) return true;
  if (++parts_ > kMostParts || ++all_parts_ > kMostInAll) return false;
  const shapes all = shapes_on(c);
  if (bound(all, c) >= least) return true;
  // Halved where that helps.
  part narrow = c;
  part of_one_scale = c;
  narrow.along = middle_of(c.along);
  of_one_scale.scale = middle_of(c.scale);
  interval part::*const cut =
      bound(shapes_on(narrow), narrow) > bound(all, of_one_scale) ? &part::along : &part::scale;
  const double middle = middle_of(c.*cut);
  if (!((c.*cut).low < middle && middle < (c.*cut).high)) return false;
  part one = c;
  part other = c;
  (one.*cut).high = (other.*cut).low = middle;
  return above(least, one) && above(least, other);
}

bool far_axis::nowhere_below(double least, int side, const interval& s, const interval& out) {
  if (!known_) return false;
  const double d = (interval(unit_) / interval(out.low)).high;
  const double sideways = std::max(-s.low, s.high);
  if (!(sideways + d <= kNear)) return false;
  turn_to(side);
  doubt_ = doubt(q_, sideways, d);
  scales_ = {
      std::isinf(out.high) ? 0 : std::max(0.0, power(interval(unit_) / interval(out.high), q_).low),
      power(d, q_).high};
  parts_ = 0;
  const std::vector<part> parts = first_parts(s, out);
  return std::all_of(parts.begin(), parts.end(), [&](const part& c) { return above(least, c); });
}

// The distance of (x, y) exceeds x by x ((1 + u)^(1/p) - 1), u = (y / x)^p, which is
// T (1 - q u / (2 p)) with T = y^p / (p x^q), and no more than q (2 p - 1) u^2 / (6 p^2) T besides.
interval far_axis::value_beside(const mpq_class& out, const mpq_class& along) const {
  std::vector<interval> excess;
  for (const interval_pair& a : turned_) {
    const mpq_class x = out / unit_;
    const interval way = around(x) - a.x;
    const interval y = magnitude(around(mpq_class(along / unit_)) - a.y);
    const interval u = power(y / way, p_);
    const interval t = power(y, p_) / (p_ * power(way, q_));
    const interval more =
        q_ * (interval(2) * p_ - interval(1)) * square(u) / (interval(6) * square(p_));
    excess.push_back(t * (interval(1) - q_ * u / (interval(2) * p_) + interval(0, more.high)) -
                     a.x);
  }
  return ordered(std::move(excess));
}

interval far_axis::value(int side, const mpq_class& out, const mpq_class& along) {
  const interval all{-kInfinite, kInfinite};
  const mpq_class far = abs(out);
  const mpq_class near = far / (1 << kFarPower);
  if (!known_ || near < unit_ || near < abs(along)) return all;
  turn_to(side);
  if (abs(along) <= kBeside * unit_ && far < kMostAsNumber) return value_beside(far, along);
  doubt_ = doubt(q_, rounded_up(mpq_class(abs(along) / far)), rounded_up(mpq_class(unit_ / far)));
  part at{0, {}, {}};
  const mpq_class v = along / unit_;
  const bool beyond = abs(v) >= mpq_class(kStrip);
  at.sign = beyond ? sgn(v) : 0;
  at.scale =
      beyond ? power_of(mpq_class(abs(along) / far), q_) : power_of(mpq_class(unit_ / far), q_);
  at.along = around(beyond ? mpq_class(1 / abs(v)) : v);
  return sum_beside(outermost_[0], shapes_on(at), at);
}

}  // namespace planloc::detail
