#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <utility>

#include "planloc/optimum/general/far_axes.h"
#include "planloc/optimum/general/far_sum.h"
#include "planloc/optimum/general/far_view.h"
#include "planloc/optimum/general/recession.h"
#include "planloc/optimum/general/search_tree.h"

namespace planloc::detail {

namespace {

using reason = branch_certificate::reason;

constexpr double kInfinite = std::numeric_limits<double>::infinity();
constexpr std::size_t kMostBoxes = 20000;
// Under lp gauges: so many, or times the sites.
constexpr std::size_t kMostSlowBoxes = 3000;
constexpr std::size_t kMostSlowSites = 200000;
constexpr double kLeastWidth = 0x1p-40;
// Half of the first square, in the sites' extents.
constexpr double kExtentsOfOneKind = 4;
constexpr double kExtents = 16;
constexpr double kMostExtents = 256;
// Of the terms: for what is computed in doubles and checked in intervals.
constexpr double kRounding = 0x1p-42;
// Inverse distances: from the one on a box may hold places where f hardly differs from its limit,
// and there it is looked at. Places that are tried at the end are from 2^8 to 2^96 times as far as
// the square reaches, by factors of 2^4.
constexpr double kNearLimit = 0x1p-4;
constexpr double kAtLimit = 0x1p-40;
constexpr double kAtLimitOnAxis = 0x1p-88;
constexpr int kLeastFar = 8;
constexpr int kMostFar = 96;
constexpr int kFarSteps = 4;

problem with_signs_changed(const problem& p) {
  std::vector<double> lambda;
  for (const order_run& r : p.runs()) lambda.insert(lambda.end(), r.count, -r.weight);
  return {{p.sites().begin(), p.sites().end()},
          {p.gauges().begin(), p.gauges().end()},
          order_weights(lambda)};
}

struct open_box {
  far_box box;
  std::uint32_t node;
  double bound;
};

class far_boxes {
 public:
  far_boxes(const problem& p, const distance_table& table, double reach)
      : view_(p, table, reach),
        sum_(p, table, view_),
        axes_(p, table, reach),
        negative_(with_signs_changed(p), table, view_) {
    const bool slow = std::any_of(
        table.blocks.begin(), table.blocks.end(),
        [](const gauge_block& b) { return b.kind == gauge::shape::lp && b.begin < b.end; });
    if (slow) most_ = std::clamp(kMostSlowSites / table.size(), kMostSlowBoxes, kMostBoxes);
    double heaviest = 0;
    for (const double w : table.weight) heaviest = std::max(heaviest, w);
    double steep = 0;
    for (const order_run& r : p.runs())
      steep += std::fabs(r.weight) * static_cast<double>(r.count) * heaviest;
    margin_ = kRounding * steep * view_.extent();
  }

  far_level search(double target, const far_calls& calls) {
    for (int side = 0; side < 4; ++side) add({side, {-1, 1}, {0, 1}}, target, calls);
    while (open_.front().bound < target && width(open_.front().box) >= kLeastWidth &&
           nodes_.size() < most_ && !calls.done()) {
      std::pop_heap(open_.begin(), open_.end(), later);
      const open_box b = open_.back();
      open_.pop_back();
      if (b.box.t.low == 0 && b.box.t.high <= kNearLimit) {
        look_far_away(b.box);
        target = std::min(target, calls.target(far_value_));
      }
      nodes_[b.node] = {reason::halved, static_cast<std::uint32_t>(nodes_.size())};
      for (const far_box& half : halves(b.box)) {
        add(half, target, calls);
        target = std::min(target, calls.try_place(middle(half)));
      }
    }
    far_level level{open_.front().bound, reasons_from(nodes_, {0, 1, 2, 3}), kInfinite, {0, 0}};
    if (axes_.value() < far_value_) {
      level.value = axes_.value();
      level.at = axes_.place();
    } else if (far_value_ < kInfinite) {
      level.value = find_place(level.bound + far_value_ - calls.target(far_value_));
      level.at = to_exact(place(far_));
    }
    return level;
  }

 private:
  struct node {
    reason why = reason::bound;
    std::uint32_t first_child = 0;
  };

  // The least bound first; of equal ones the last, so that those without a bound end soon.
  static bool later(const open_box& a, const open_box& b) {
    return a.bound > b.bound || (a.bound == b.bound && a.node < b.node);
  }

  static double width(const far_box& b) { return b.s.high - b.s.low; }

  void add(const far_box& b, double& target, const far_calls& calls) {
    view_.look(b);
    double bound = sum_.least(b) - margin_;
    if (bound < target) bound = std::max(bound, sum_.least_of_orders(b) - margin_);
    if (bound < target) {
      bound = std::max(bound, axes_.least(b, target, calls.target));
      target = std::min(target, calls.target(axes_.value()));
    }
    open_.push_back({b, static_cast<std::uint32_t>(nodes_.size()), bound});
    nodes_.push_back({});
    std::push_heap(open_.begin(), open_.end(), later);
  }

  std::array<far_box, 2> halves(const far_box& b) const {
    std::array<far_box, 2> h{b, b};
    low_high far_box::*const cut =
        (b.t.high - b.t.low) * view_.slower() > b.s.high - b.s.low ? &far_box::t : &far_box::s;
    (h[0].*cut).high = (h[1].*cut).low = ((b.*cut).low + (b.*cut).high) / 2;
    return h;
  }

  struct far_spot {
    int side;
    double s, t;
  };

  xy place(const far_spot& b) const {
    const double far = view_.reach() / b.t;
    const double out = b.side < 2 ? far : -far;
    return b.side % 2 == 0 ? xy{out, far * b.s} : xy{far * b.s, out};
  }
  xy middle(const far_box& b) const {
    return place({b.side, (b.s.low + b.s.high) / 2, (b.t.low + b.t.high) / 2});
  }

  // f at a place, by what the distances differ from the base's.
  double most(const far_spot& b) {
    const far_box alone{b.side, {b.s, b.s}, {b.t, b.t}};
    view_.look(alone);
    return -negative_.least(alone);
  }

  // Along axes some distances come near their limits by a small power of the inverse distance.
  void look_far_away(const far_box& b) {
    look_at({b.side, (b.s.low + b.s.high) / 2, kAtLimit});
    for (const double s : {b.s.low, b.s.high}) {
      if (s == 0) look_at({b.side, s, kAtLimitOnAxis});
    }
  }
  void look_at(const far_spot& spot) {
    const double value = most(spot);
    if (!(value < far_value_)) return;
    far_value_ = value;
    far_ = spot;
  }

  // In the best direction the nearest place with a value that will do, or else the best.
  double find_place(double will_do) {
    double best = kInfinite;
    far_spot spot = far_;
    for (int k = kLeastFar; k <= kMostFar && !(best <= will_do); k += kFarSteps) {
      spot.t = std::ldexp(1, -k);
      const double value = most(spot);
      if (!(value < best)) continue;
      best = value;
      far_ = spot;
    }
    return best;
  }

  far_view view_;
  far_sum sum_;
  far_axes axes_;
  far_sum negative_;              // of the problem with all order weights' signs changed
  double far_value_ = kInfinite;  // the least value that was seen far away
  far_spot far_{};
  std::size_t most_ = kMostBoxes;
  double margin_ = 0;
  std::vector<node> nodes_;
  std::vector<open_box> open_;  // a heap
};

}  // namespace

double half_for_far_boxes(const problem& p, const distance_table& table) {
  const far_view view(p, table, 1);
  if (p.polyhedral() || view.kinds().size() > kMostFarKinds) return 0;
  const double extent = view.extent() > 0 ? view.extent() : 1;
  if (view.kinds().size() == 1) return kExtentsOfOneKind * extent;
  // Sites of one gauge are in the order of their weights from here on.
  double settled = 0;
  for (std::size_t k = 1; k < view.kinds().size(); ++k) {
    const far_kind& light = view.kinds()[k - 1];
    const far_kind& heavy = view.kinds()[k];
    if (light.block == heavy.block)
      settled = std::max(settled, (heavy.weight + light.weight) / (heavy.weight - light.weight));
  }
  return std::clamp(2 * settled, kExtents, kMostExtents) * extent;
}

far_level search_far_boxes(const problem& p, const distance_table& table, double reach,
                           double target, const far_calls& calls) {
  return far_boxes(p, table, reach).search(target, calls);
}

}  // namespace planloc::detail
