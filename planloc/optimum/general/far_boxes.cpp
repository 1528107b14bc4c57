#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include "planloc/optimum/general/recession.h"
#include "planloc/optimum/general/search_tree.h"

namespace planloc::detail {

namespace {

using reason = branch_certificate::reason;

constexpr std::size_t kMostBoxes = 20000;
constexpr std::size_t kMostSlowBoxes = 3000;  // under lp gauges
constexpr double kLeastWidth = 0x1p-40;
// Of a way from the middle to a site: slopes are averaged over so many parts of it, so that they
// change there about as much as on the box.
constexpr double kLeastParts = 2;
constexpr double kMostParts = 16;
// Of the terms: for what is computed in doubles and checked in intervals.
constexpr double kRounding = 0x1p-42;

struct range {
  double low, high;
};

range times(const range& a, double b) {
  return b < 0 ? range{a.high * b, a.low * b} : range{a.low * b, a.high * b};
}
range plus(const range& a, const range& b) { return {a.low + b.low, a.high + b.high}; }
double least_magnitude(const range& a) { return std::max({a.low, -a.high, 0.0}); }
double most_magnitude(const range& a) { return std::max(-a.low, a.high); }
range length(const range& x, const range& y) {
  return {std::hypot(least_magnitude(x), least_magnitude(y)),
          std::hypot(most_magnitude(x), most_magnitude(y))};
}

// Places base + reach / t * y, with 0 <= t <= 1 and y on a side of the square of half side 1.
struct far_box {
  int side;  // right, top, left, bottom
  range s;   // the coordinate of y along the side
  range t;
  std::uint32_t node = 0;
  double bound = 0;
};

class far_boxes {
 public:
  far_boxes(const problem& p, const distance_table& table, double reach)
      : problem_(p), table_(table), gauge_(p.gauge_of(0)), reach_(reach) {
    const double most = table.extent();
    slower_ = most > 0 ? std::ldexp(1, std::ilogb(most) - std::ilogb(reach)) : 1;
    double steep = 0;
    for (const order_run& r : p.runs())
      steep += std::fabs(r.weight) * static_cast<double>(r.count) * table.weight[0];
    margin_ = kRounding * steep * most;
  }

  far_level search(double target, const std::function<double(const xy&)>& try_place,
                   const std::function<bool()>& done) {
    const auto later = [](const far_box& a, const far_box& b) { return a.bound > b.bound; };
    for (int side = 0; side < 4; ++side) {
      nodes_.push_back({});
      open_.push_back({side, {-1, 1}, {0, 1}, static_cast<std::uint32_t>(side), 0});
      open_.back().bound = bound(open_.back());
    }
    std::make_heap(open_.begin(), open_.end(), later);
    const bool slow = gauge_.kind() == gauge::shape::lp;
    const std::size_t most = slow ? kMostSlowBoxes : kMostBoxes;
    while (open_.front().bound < target && nodes_.size() < most && !done()) {
      std::pop_heap(open_.begin(), open_.end(), later);
      const far_box b = open_.back();
      if (b.s.high - b.s.low < kLeastWidth) break;
      open_.pop_back();
      nodes_[b.node] = {reason::halved, static_cast<std::uint32_t>(nodes_.size())};
      auto [one, other] = halves(b);
      for (far_box* h : {&one, &other}) {
        h->node = static_cast<std::uint32_t>(nodes_.size());
        nodes_.push_back({});
        h->bound = bound(*h);
        target = std::min(target, try_place(middle(*h)));
        open_.push_back(*h);
        std::push_heap(open_.begin(), open_.end(), later);
      }
    }
    double least = std::numeric_limits<double>::infinity();
    for (const far_box& b : open_) least = std::min(least, b.bound);
    return {least, reasons_from(nodes_, {0, 1, 2, 3})};
  }

 private:
  struct node {
    reason why = reason::bound;
    std::uint32_t first_child = 0;
  };

  std::pair<far_box, far_box> halves(const far_box& b) const {
    std::pair<far_box, far_box> h{b, b};
    range far_box::*const cut =
        (b.t.high - b.t.low) * slower_ > b.s.high - b.s.low ? &far_box::t : &far_box::s;
    (h.first.*cut).high = (h.second.*cut).low = ((b.*cut).low + (b.*cut).high) / 2;
    return h;
  }

  xy middle(const far_box& b) const {
    const double far = 2 * reach_ / (b.t.low + b.t.high);
    const double along = far * (b.s.low + b.s.high) / 2;
    const double out = b.side < 2 ? far : -far;
    return b.side % 2 == 0 ? xy{out, along} : xy{along, out};
  }

  // The norm's derivative by its first argument, which grows with that and falls with the magnitude
  // of the other one.
  double derivative(double u, double v) const {
    const double size = gauge_({u, v});
    return std::copysign(std::pow(std::fabs(u) / size, gauge_.p() - 1), u);
  }
  range derivatives(const range& u, const range& v) const {
    const double near = least_magnitude(v);
    const double far = most_magnitude(v);
    return {derivative(u.low, u.low >= 0 ? far : near),
            derivative(u.high, u.high >= 0 ? near : far)};
  }

  // By how much the distance of a site exceeds that of the base.
  range excess(std::size_t slot, const far_box& b) const {
    const double x = table_.x[slot];
    const double y = table_.y[slot];
    const double out = b.side < 2 ? 1 : -1;
    const range yx = b.side % 2 == 0 ? range{out, out} : b.s;
    const range yy = b.side % 2 == 0 ? b.s : range{out, out};
    if (gauge_.kind() == gauge::shape::euclidean) {
      const range t{b.t.low / reach_, b.t.high / reach_};
      const range above = plus(times(t, x * x + y * y), plus(times(yx, -2 * x), times(yy, -2 * y)));
      const range below =
          plus(length(yx, yy), length(plus(yx, times(t, -x)), plus(yy, times(t, -y))));
      return times({above.low / (above.low > 0 ? below.high : below.low),
                    above.high / (above.high > 0 ? below.low : below.high)},
                   table_.weight[slot]);
    }
    const double wide = 2 * b.t.high * slower_ / (b.s.high - b.s.low);
    const double parts = std::ceil(std::clamp(wide, kLeastParts, kMostParts));
    range sum{0, 0};
    for (double k = 0; k < parts; ++k) {
      const range part{b.t.low * k / parts / reach_, b.t.high * (k + 1) / parts / reach_};
      const range ux = plus(yx, times(part, -x));
      const range uy = plus(yy, times(part, -y));
      sum = plus(sum, plus(times(derivatives(ux, uy), -x), times(derivatives(uy, ux), -y)));
    }
    return times(sum, table_.weight[slot] / parts);
  }

  double bound(const far_box& b) {
    lows_.clear();
    highs_.clear();
    for (std::size_t k = 0; k < table_.size(); ++k) {
      const range e = excess(k, b);
      lows_.push_back(e.low);
      highs_.push_back(e.high);
    }
    std::sort(lows_.begin(), lows_.end());
    std::sort(highs_.begin(), highs_.end());
    double sum = -margin_;
    std::size_t k = 0;
    for (const order_run& r : problem_.runs()) {
      for (const std::size_t end = k + r.count; k < end; ++k)
        sum += r.weight * (r.weight > 0 ? lows_[k] : highs_[k]);
    }
    return sum;
  }

  const problem& problem_;
  const distance_table& table_;
  const gauge& gauge_;
  double reach_;
  double slower_;  // by what f changes slower with t than along a side
  double margin_;
  std::vector<node> nodes_;
  std::vector<far_box> open_;
  std::vector<double> lows_, highs_;
};

}  // namespace

bool levels_everywhere(const problem& p) {
  const bool smooth = p.gauge_of(0).kind() != gauge::shape::polyhedral;
  return smooth && has_one_kind(p) && sgn(sum_of_weights(p)) == 0;
}

far_level search_far_boxes(const problem& p, const distance_table& table, double reach,
                           double target, const std::function<double(const xy&)>& try_place,
                           const std::function<bool()>& done) {
  return far_boxes(p, table, reach).search(target, try_place, done);
}

}  // namespace planloc::detail
