#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

#include "planloc/optimum/proof/verify_leaves.h"

namespace planloc::detail {

namespace {

using reason = branch_certificate::reason;

class far_check {
 public:
  far_check(const problem& p, const branch_certificate& c, const mpq_class& least)
      : problem_(p),
        gauge_(p.gauge_of(0)),
        reasons_(c.outside),
        least_(rounded_up(least)),
        reach_(around(reach(c))) {
    double most = 0;
    for (const site& s : p.sites()) {
      const mpq_class x = mpq_class(s.x) - mpq_class(c.base.x);
      const mpq_class y = mpq_class(s.y) - mpq_class(c.base.y);
      from_base_.push_back({around(x), around(y)});
      most = std::max({most, std::fabs(x.get_d()), std::fabs(y.get_d())});
    }
    const double far = reach(c).get_d();
    if (!(far > most) || !std::isfinite(far)) refuse("the square does not hold the sites");
    slower_ = most > 0 ? std::ldexp(1, std::ilogb(most) - std::ilogb(far)) : 1;
  }

  void check() {
    for (int side = 0; side < 4; ++side) visit({side, {-1, 1}, {0, 1}});
    if (next_ != reasons_.size()) refuse("there are more reasons than places outside");
  }

 private:
  static constexpr double kMostParts = 16;

  struct box {
    int side;  // right, top, left, bottom
    interval s;
    interval t;
  };

  void visit(const box& b) {
    if (next_ == reasons_.size()) refuse("places outside without a reason");
    const reason why = reasons_[next_++];
    if (why == reason::bound) {
      if (!(bound(b) >= least_)) refuse("f may be less outside of the square");
      return;
    }
    if (why != reason::halved) refuse("no such reason outside of the square");
    box one = b;
    box other = b;
    interval box::*const cut =
        (b.t.high - b.t.low) * slower_ > b.s.high - b.s.low ? &box::t : &box::s;
    const double middle = ((b.*cut).low + (b.*cut).high) / 2;
    if (!((b.*cut).low < middle && middle < (b.*cut).high))
      refuse("parts of the outside are too small to be halved");
    (one.*cut).high = (other.*cut).low = middle;
    visit(one);
    visit(other);
  }

  // Holds the derivative of the gauge by x. It grows with x and falls with the magnitude of y.
  interval derivative(const interval& x, const interval& y) const {
    const interval m = magnitude(y);
    const auto at = [&](double u, double v) {
      return tangent(gauge_, {interval(u), interval(v)}).x;
    };
    return {at(x.low, x.low >= 0 ? m.high : m.low).low,
            at(x.high, x.high >= 0 ? m.low : m.high).high};
  }

  // By how much the distance of site i exceeds that of the base.
  interval excess(std::size_t i, const box& b) const {
    const interval_pair& a = from_base_[i];
    const interval out = b.side < 2 ? 1 : -1;
    const interval_pair y = b.side % 2 == 0 ? interval_pair{out, b.s} : interval_pair{b.s, out};
    const interval weight(problem_.sites()[i].weight);
    if (gauge_.kind() == gauge::shape::euclidean) {  // |u|^2 - |y|^2 = (|u| - |y|) (|u| + |y|)
      const interval t = b.t / reach_;
      const interval_pair u{y.x - t * a.x, y.y - t * a.y};
      const interval above = t * (square(a.x) + square(a.y)) - interval(2) * dot(y, a);
      return weight * above / (gauge_value(gauge_, y) + gauge_value(gauge_, u));
    }
    const double parts =
        std::ceil(std::clamp(2 * b.t.high * slower_ / (b.s.high - b.s.low), 2.0, kMostParts));
    interval sum;
    for (double k = 0; k < parts; ++k) {
      const interval share = interval(k, k + 1) / interval(parts);
      const interval part = b.t * share / reach_;
      const interval_pair u{y.x - part * a.x, y.y - part * a.y};
      sum = sum - derivative(u.x, u.y) * a.x - derivative(u.y, u.x) * a.y;
    }
    return weight * sum / interval(parts);
  }

  double bound(const box& b) const {
    std::vector<interval> all;
    for (std::size_t i = 0; i < from_base_.size(); ++i) all.push_back(excess(i, b));
    return ordered_sum(problem_, std::move(all)).low;
  }

  const problem& problem_;
  const gauge& gauge_;
  const std::vector<reason>& reasons_;
  double least_;
  interval reach_;
  std::vector<interval_pair> from_base_;
  double slower_ = 1;
  std::size_t next_ = 0;
};

}  // namespace

void check_far(const problem& p, const branch_certificate& c, const mpq_class& least) {
  far_check(p, c, least).check();
}

}  // namespace planloc::detail
