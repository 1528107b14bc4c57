#include "planloc/optimum/allocation/lower_bound.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <optional>
#include <utility>

#include "planloc/optimum/allocation/dual_master.h"
#include "planloc/optimum/allocation/place_finder.h"
#include "planloc/optimum/allocation/price_search.h"
#include "planloc/optimum/allocation/service.h"

namespace planloc::detail {

namespace {

// Of the value: what roundings in the bound may come to, and more.
constexpr double kMargin = 1e-10;
constexpr double kShareOfGap = 0.1;  // that the search for the least price may leave
constexpr double kNarrower = 0.7;
constexpr double kWider = 8;
// Of the price of a facility: places that gain this much are improved into clusters.
constexpr double kGoodShare = 0.9;
constexpr int kMostSteps = 20;

class column_generation {
 public:
  column_generation(const allocation_ground& ground, allocation& a, double goal,
                    const std::function<bool()>& expired, const std::function<void(double)>& told)
      : ground_(ground),
        answer_(a),
        goal_(std::max(goal, 100 * kMargin * a.value)),
        expired_(expired),
        told_(told),
        service_(ground.table, places()),
        find_place_(ground.table),
        search_(ground.table),
        most_(most()),
        master_(a.points.size(), most_) {}

  void run() {
    start();
    while (answer_.value - bound_ > goal_ && !expired_()) {
      master_.set_box(middle_, half_width_);
      if (!master_.solve(expired_)) break;
      if (!price()) break;
    }
    if (bound_ > -std::numeric_limits<double>::infinity()) claim();
  }

 private:
  std::vector<xy> places() const {
    std::vector<xy> all;
    const xy& base = ground_.table.base;
    for (const xy& at : answer_.points) all.push_back({at.x - base.x, at.y - base.y});
    all.insert(all.end(), ground_.existing.begin(), ground_.existing.end());
    return all;
  }

  std::vector<double> most() const {
    std::vector<double> m(ground_.table.size(), std::numeric_limits<double>::infinity());
    std::vector<double> d(m.size());
    for (const xy& e : ground_.existing) {
      ground_.table.distances(e, d, {});
      for (std::size_t i = 0; i < m.size(); ++i) m[i] = std::min(m[i], d[i]);
    }
    return m;
  }

  // Prices between the distances from the nearest facility and from the next.
  void start() {
    double sum = 0;
    for (const service::link& l : service_.links()) {
      middle_.push_back((l.to_first + l.to_second) / 2);
      sum += middle_.back();
    }
    half_width_ = sum / static_cast<double>(middle_.size());
    for (std::uint32_t k = 0; k < answer_.points.size(); ++k) {
      const std::span<const std::uint32_t> slots = service_.served_by(k);
      if (!slots.empty()) add({slots.begin(), slots.end()}, service_.places()[k]);
    }
    for (std::uint32_t i = 0; i < middle_.size(); ++i) add({i}, ground_.place_of(i));
  }

  void add(std::vector<std::uint32_t> slots, const xy& start) {
    if (master_.knows(slots)) return;
    const double cost = find_place_(slots, start).value;
    master_.add_cluster(std::move(slots), cost);
  }

  bool price();
  bool take(const std::vector<double>& prices, double bound);
  void improve(xy at, std::span<const double> prices);
  void claim();

  const allocation_ground& ground_;
  allocation& answer_;
  double goal_;
  const std::function<bool()>& expired_;
  const std::function<void(double)>& told_;
  service service_;
  place_finder find_place_;
  price_search search_;
  std::vector<double> most_;
  dual_master master_;
  std::vector<double> middle_;  // of the box
  double half_width_ = 0;
  double bound_ = -std::numeric_limits<double>::infinity();
  std::vector<double> best_prices_;
  bool fine_ = false;
};

// Alternates between the sites that gain at a place and the best place for them.
void column_generation::improve(xy at, std::span<const double> prices) {
  std::vector<std::uint32_t> slots;
  for (int k = 0; k < kMostSteps; ++k) {
    std::vector<std::uint32_t> next;
    for (std::uint32_t i = 0; i < prices.size(); ++i) {
      if (prices[i] > 0 && ground_.table.piece(i, at).distance < prices[i]) next.push_back(i);
    }
    if (next.empty() || next == slots) break;
    slots = std::move(next);
    at = find_place_(slots, at).at;
  }
  if (!slots.empty()) add(std::move(slots), at);
}

bool column_generation::price() {
  const std::vector<double> prices(master_.prices().begin(), master_.prices().end());
  const auto count = static_cast<double>(answer_.points.size());
  const double gap = fine_ ? goal_ : std::clamp(answer_.value - bound_, goal_, answer_.value);
  const std::optional<double> least =
      search_.run(prices, -master_.facility_price(), kShareOfGap * gap / count, expired_);
  answer_.counters.cells = search_.cells();
  if (!least) return false;
  ++answer_.counters.prices;
  const std::size_t before = master_.clusters();
  for (const price_search::met& m : search_.places()) {
    if (m.value < -kGoodShare * master_.facility_price()) improve(m.at, prices);
  }
  const bool better = take(prices, std::accumulate(prices.begin(), prices.end(), count * *least));
  if (master_.clusters() > before) {
    if (!better) half_width_ *= kNarrower;
    return true;
  }
  if (better) return true;
  half_width_ *= kWider;
  // Inside of the box nothing is left to gain but what the search for the least price leaves open.
  return master_.at_box() || !std::exchange(fine_, true);
}

// A better bound moves the box.
bool column_generation::take(const std::vector<double>& prices, double bound) {
  if (!(bound > bound_)) return false;
  bound_ = bound;
  best_prices_ = middle_ = prices;
  if (told_) told_(bound_);
  return true;
}

void column_generation::claim() {
  answer_.lower_bound = std::max(0.0, bound_ - kMargin * answer_.value);
  answer_.prices.assign(best_prices_.size(), 0);
  for (std::size_t slot = 0; slot < best_prices_.size(); ++slot) {
    answer_.prices[ground_.table.site[slot]] = best_prices_[slot];
  }
}

}  // namespace

void bound_below(const allocation_ground& ground, allocation& a, double goal,
                 const std::function<bool()>& expired, const std::function<void(double)>& told) {
  column_generation(ground, a, goal, expired, told).run();
}

}  // namespace planloc::detail
