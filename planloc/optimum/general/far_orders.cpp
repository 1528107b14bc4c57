#include "planloc/optimum/general/far_orders.h"

#include <algorithm>
#include <limits>
#include <tuple>
#include <utility>

namespace planloc::detail {

namespace {

bool alike(const far_orders::candidate& a, const far_orders::candidate& b) {
  return a.site == b.site;
}

}  // namespace

void far_orders::add(std::vector<candidate> sites) {
  std::sort(sites.begin(), sites.end(), [](const candidate& a, const candidate& b) {
    return std::tie(a.excess.on_box.low, a.site.x, a.site.y) <
           std::tie(b.excess.on_box.low, b.site.x, b.site.y);
  });
  const std::size_t first = sites_.size();
  sites_.insert(sites_.end(), sites.begin(), sites.end());
  classes_.resize(sites_.size(), {first, sites_.size()});
  // Those that are alike have one excess, and so stand side by side.
  for (std::size_t k = first; k < sites_.size(); ++k)
    follows_.push_back(k > first && alike(sites_[k - 1], sites_[k]) ? 1 : 0);
}

double far_orders::least() {
  constexpr double kInfinite = std::numeric_limits<double>::infinity();
  const bool known =
      std::all_of(sites_.begin(), sites_.end(), [](const candidate& c) { return c.excess.known; });
  if (!known || sites_.size() > kMostSteps) return -kInfinite;
  placed_.assign(sites_.size(), 0);
  weight_.assign(sites_.size(), 0);
  orders_ = steps_ = 0;
  least_ = kInfinite;
  place(0, 0);
  return orders_ > kMostOrders || steps_ > kMostSteps ? -kInfinite : least_;
}

// The sites that are next at a rank have no other one that is surely nearer, nor one like them that
// comes first. Sites with the same order weight are placed from `from` on as they are listed: by
// their lower bounds, so that none of them is surely nearer than one before.
void far_orders::place(std::size_t rank, std::size_t from) {
  if (rank == sites_.size()) return weigh();
  const auto [begin, end] = classes_[rank];
  double nearest = std::numeric_limits<double>::infinity();  // all are surely farther beyond it
  for (std::size_t k = begin; k < end; ++k) {
    if (placed_[k] == 0) nearest = std::min(nearest, sites_[k].excess.on_box.high + caution_);
  }
  const bool new_run = rank == begin || lambda_[rank] != lambda_[rank - 1];
  for (std::size_t k = new_run ? begin : from; k < end && sites_[k].excess.on_box.low <= nearest;
       ++k) {
    if (placed_[k] != 0 || (follows_[k] != 0 && placed_[k - 1] == 0)) continue;
    if (++steps_ > kMostSteps || orders_ > kMostOrders) return;
    placed_[k] = 1;
    weight_[k] = lambda_[rank];
    place(rank + 1, k + 1);
    placed_[k] = 0;
  }
}

void far_orders::weigh() {
  ++orders_;
  double at_place = 0;
  low_high by_s{0, 0};
  low_high by_t{0, 0};
  const auto part = [](double w, const low_high& a) { return w < 0 ? w * a.high : w * a.low; };
  for (std::size_t k = 0; k < sites_.size();) {
    double w = 0;  // of all that are alike
    const far_view::changes& e = sites_[k].excess;
    do {
      w += weight_[k++];
    } while (k < sites_.size() && follows_[k] != 0);
    at_place += part(w, e.at_place);
    by_s = {by_s.low + part(w, e.by_s), by_s.high - part(-w, e.by_s)};
    by_t = {by_t.low + part(w, e.by_t), by_t.high - part(-w, e.by_t)};
  }
  const double steepest = std::max(-by_s.low, by_s.high);
  least_ = std::min(
      least_, at_place - std::max(0.0, steepest) * half_s_ + std::min(0.0, by_t.low) * wide_t_);
}

}  // namespace planloc::detail
