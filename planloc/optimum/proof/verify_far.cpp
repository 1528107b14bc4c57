#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>
#include <vector>

#include "planloc/optimum/proof/far_order.h"
#include "planloc/optimum/proof/verify_leaves.h"

namespace planloc::detail {

namespace {

using reason = branch_certificate::reason;

class far_check {
 public:
  far_check(const problem& p, const branch_certificate& c, const mpq_class& least)
      : problem_(p),
        order_(p),
        reasons_(c.outside),
        least_(rounded_up(least)),
        reach_(around(reach(c))) {
    for (const gauge& g : p.gauges()) {
      std::vector<interval_pair>& normals = normals_.emplace_back();
      for (std::size_t j = 0; j < g.vertices().size(); ++j) normals.push_back(edge_normal(g, j));
    }
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

  // Holds the derivative of a norm by x. It grows with x and falls with the magnitude of y.
  static interval derivative(const gauge& g, const interval& x, const interval& y) {
    const interval m = magnitude(y);
    const auto at = [&](double u, double v) { return tangent(g, {interval(u), interval(v)}).x; };
    return {at(x.low, x.low >= 0 ? m.high : m.low).low,
            at(x.high, x.high >= 0 ? m.low : m.high).high};
  }

  static interval_pair directions(const box& b) {
    const interval out = b.side < 2 ? 1 : -1;
    return b.side % 2 == 0 ? interval_pair{out, b.s} : interval_pair{b.s, out};
  }

  // Holds the slopes that a gauge has at u, along -a.
  interval along_slopes(std::uint32_t gauge, const interval_pair& u, const interval_pair& a) const {
    const class gauge& g = problem_.gauges()[gauge];
    if (g.kind() != gauge::shape::polyhedral)
      return -(derivative(g, u.x, u.y) * a.x) - derivative(g, u.y, u.x) * a.y;
    double most = 0;
    for (const interval_pair& n : normals_[gauge]) most = std::max(most, dot(n, u).low);
    interval slopes{std::numeric_limits<double>::infinity(),
                    -std::numeric_limits<double>::infinity()};
    for (const interval_pair& n : normals_[gauge]) {
      if (dot(n, u).high < most) continue;
      const interval along = -dot(n, a);
      slopes = {std::min(slopes.low, along.low), std::max(slopes.high, along.high)};
    }
    return slopes;
  }

  // By how much the distance of site i exceeds that of the base under its gauge and weight.
  interval excess(std::size_t i, const box& b) const {
    const interval_pair& a = from_base_[i];
    const interval_pair y = directions(b);
    const site& s = problem_.sites()[i];
    if (const gauge& g = problem_.gauge_of(i); g.kind() == gauge::shape::euclidean) {
      const interval t = b.t / reach_;  // |u|^2 - |y|^2 = (|u| - |y|) (|u| + |y|)
      const interval_pair u{y.x - t * a.x, y.y - t * a.y};
      const interval above = t * (square(a.x) + square(a.y)) - interval(2) * dot(y, a);
      return interval(s.weight) * above / (gauge_value(g, y) + gauge_value(g, u));
    }
    const double parts =
        std::ceil(std::clamp(2 * b.t.high * slower_ / (b.s.high - b.s.low), 2.0, kMostParts));
    interval sum;
    for (double k = 0; k < parts; ++k) {
      const interval share = interval(k, k + 1) / interval(parts);
      const interval part = b.t * share / reach_;
      sum = sum + along_slopes(s.gauge, {y.x - part * a.x, y.y - part * a.y}, a);
    }
    return interval(s.weight) * sum / interval(parts);
  }

  double bound(const box& b) {
    const interval_pair y = directions(b);
    for (alike_sites& k : order_.kinds()) {
      k.growth = gauge_value(problem_.gauges()[k.gauge], y);
      k.lower.clear();
      k.higher.clear();
      for (const std::uint32_t i : k.sites) {
        const interval e = excess(i, b);
        k.lower.push_back(e.low);
        k.higher.push_back(e.high);
      }
      std::sort(k.lower.begin(), k.lower.end());
      std::sort(k.higher.begin(), k.higher.end());
    }
    const double far =
        b.t.low > 0 ? (reach_ / interval(b.t.low)).high : std::numeric_limits<double>::infinity();
    return order_.least({(reach_ / interval(b.t.high)).low, far});
  }

  const problem& problem_;
  far_order order_;
  const std::vector<reason>& reasons_;
  double least_;
  interval reach_;
  std::vector<interval_pair> from_base_;
  std::vector<std::vector<interval_pair>> normals_;  // by gauge
  double slower_ = 1;
  std::size_t next_ = 0;
};

}  // namespace

void check_far(const problem& p, const branch_certificate& c, const mpq_class& least) {
  far_check(p, c, least).check();
}

}  // namespace planloc::detail
