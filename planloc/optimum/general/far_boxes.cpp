#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <utility>

#include "planloc/optimum/general/far_sum.h"
#include "planloc/optimum/general/far_view.h"
#include "planloc/optimum/general/recession.h"
#include "planloc/optimum/general/search_tree.h"

namespace planloc::detail {

namespace {

using reason = branch_certificate::reason;

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

struct open_box {
  far_box box;
  std::uint32_t node;
  double bound;
};

class far_boxes {
 public:
  far_boxes(const problem& p, const distance_table& table, double reach)
      : view_(p, table, reach), sum_(p, table, view_) {
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

  far_level search(double target, const std::function<double(const xy&)>& try_place,
                   const std::function<bool()>& done) {
    for (int side = 0; side < 4; ++side) add({side, {-1, 1}, {0, 1}});
    while (open_.front().bound < target && width(open_.front().box) >= kLeastWidth &&
           nodes_.size() < most_ && !done()) {
      std::pop_heap(open_.begin(), open_.end(), later);
      const open_box b = open_.back();
      open_.pop_back();
      nodes_[b.node] = {reason::halved, static_cast<std::uint32_t>(nodes_.size())};
      for (const far_box& half : halves(b.box)) {
        add(half);
        target = std::min(target, try_place(middle(half)));
      }
    }
    return {open_.front().bound, reasons_from(nodes_, {0, 1, 2, 3})};
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

  void add(const far_box& b) {
    view_.look(b);
    open_.push_back({b, static_cast<std::uint32_t>(nodes_.size()), sum_.least(b) - margin_});
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

  xy middle(const far_box& b) const {
    const double far = 2 * view_.reach() / (b.t.low + b.t.high);
    const double along = far * (b.s.low + b.s.high) / 2;
    const double out = b.side < 2 ? far : -far;
    return b.side % 2 == 0 ? xy{out, along} : xy{along, out};
  }

  far_view view_;
  far_sum sum_;
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
                           double target, const std::function<double(const xy&)>& try_place,
                           const std::function<bool()>& done) {
  return far_boxes(p, table, reach).search(target, try_place, done);
}

}  // namespace planloc::detail
