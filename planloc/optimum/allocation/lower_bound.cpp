#include "planloc/optimum/allocation/lower_bound.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <optional>
#include <utility>

#include "planloc/optimum/allocation/assignment.h"
#include "planloc/optimum/allocation/dual_master.h"
#include "planloc/optimum/allocation/place_finder.h"
#include "planloc/optimum/allocation/price_groups.h"
#include "planloc/optimum/allocation/price_search.h"
#include "planloc/optimum/allocation/service.h"

namespace planloc::detail {

namespace {

// Of the sum of prices: what roundings in the bound may come to, and more.
constexpr double kMargin = 1e-10;
constexpr double kShareOfGap = 0.1;  // that the search for the least price may leave
// Beyond so many sites their prices move in groups: the master's inverse has to find room.
constexpr std::size_t kMostRows = 4000;
constexpr std::size_t kFirstGroups = 250;
constexpr std::size_t kMostGroups = 1000;
constexpr double kNarrower = 0.7;
constexpr double kSomewhatWider = 1.3;
constexpr double kWider = 8;
// Of the price of a facility: places that gain this much are improved into clusters.
constexpr double kGoodShare = 0.9;
constexpr double kLeastShare = 0.02;
constexpr double kNextPrice = 1.5;
constexpr double kLeastWidth = 1e-3;
constexpr double kFirstWidth = 0.15;
constexpr int kMostSteps = 20;

class column_generation {
 public:
  column_generation(const allocation_ground& ground, allocation& a, double goal,
                    const std::function<bool()>& expired, const std::function<void(double)>& told)
      : ground_(ground),
        answer_(a),
        goal_(goal),
        expired_(expired),
        told_(told),
        service_(ground.table, places()),
        find_place_(ground.table),
        search_(ground.table),
        most_(most()) {}

  void run() {
    if (start()) {
      while (answer_.value - bound_ > goal_ && !expired_()) {
        master_->set_box(middle_, half_width_);
        if (!master_->solve(expired_)) break;
        round();
        if (!price() && !refine()) break;
      }
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

  bool start();
  // Of the box around the best prices.
  double first_width() const {
    const double sum = std::accumulate(best_prices_.begin(), best_prices_.end(), 0.0);
    const double gain = std::max(sum - answer_.value, kLeastWidth * answer_.value);
    return kFirstWidth * gain / static_cast<double>(best_prices_.size());
  }
  void make_master(std::size_t groups);
  bool refine();
  std::vector<double> prices_for(double facility_price);
  void add(std::vector<std::uint32_t> slots, const xy& start) {
    if (master_->knows(slots)) return;
    const double cost = find_place_(slots, start).value;
    master_->add_cluster(std::move(slots), cost);
  }

  // Of the search for the least price; not beyond what doubles can tell.
  double tolerance(double gap, double sum_of_prices) const {
    const auto count = static_cast<double>(answer_.points.size());
    return std::max(kShareOfGap * gap, kMargin / 10 * sum_of_prices) / count;
  }
  double master_value() const;
  void round();
  bool price();
  bool take(std::vector<double> prices, double bound);
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
  std::optional<dual_master> master_;
  std::vector<double> middle_;  // of the box: prices of groups
  double half_width_ = 0;
  double bound_ = -std::numeric_limits<double>::infinity();
  std::vector<double> best_prices_;
  bool fine_ = false;
};

// Prices between the distances from the nearest facility and from the next, so that each facility
// gains as much.
std::vector<double> column_generation::prices_for(double facility_price) {
  const std::span<const service::link> links = service_.links();
  std::vector<double> spare(service_.places().size(), 0);
  for (const service::link& l : links) spare[l.first] += l.to_second - l.to_first;
  std::vector<double> prices;
  for (std::size_t i = 0; i < links.size(); ++i) {
    const service::link& l = links[i];
    const double share = spare[l.first] > facility_price ? facility_price / spare[l.first] : 1.0;
    prices.push_back(std::min(most_[i], l.to_first + share * (l.to_second - l.to_first)));
  }
  return prices;
}

// The best of such prices, whatever a facility gains; and the clusters of the answer. False if it
// ended before.
bool column_generation::start() {
  struct tried {
    std::vector<double> prices;
    std::vector<price_search::met> places;
  };
  std::vector<tried> good;
  const auto count = static_cast<double>(answer_.points.size());
  double spare = answer_.value * kLeastWidth;
  for (const service::link& l : service_.links()) spare += l.to_second - l.to_first;
  for (double price = spare / count; price > kLeastShare * spare / count; price /= kNextPrice) {
    std::vector<double> prices = prices_for(price);
    const double sum = std::accumulate(prices.begin(), prices.end(), 0.0);
    const std::optional<double> least =
        search_.run(prices, 0, tolerance(answer_.value, sum), expired_);
    if (!least) return false;
    if (!take(prices, sum + count * *least)) continue;
    half_width_ = first_width();
    const auto met = search_.places();
    good.push_back({std::move(prices), {met.begin(), met.end()}});
  }
  make_master(best_prices_.size() <= kMostRows ? 0 : kFirstGroups);
  for (const tried& t : good)
    for (const price_search::met& m : t.places) improve(m.at, t.prices);
  for (std::uint32_t k = 0; k < answer_.points.size(); ++k) {
    const std::span<const std::uint32_t> slots = service_.served_by(k);
    if (!slots.empty()) add({slots.begin(), slots.end()}, service_.places()[k]);
  }
  if (master_->groups().size.size() < best_prices_.size()) return true;
  for (std::uint32_t i = 0; i < best_prices_.size(); ++i) add({i}, ground_.place_of(i));
  return true;
}

// Groups of no slots: one for each.
void column_generation::make_master(std::size_t groups) {
  middle_ = groups == 0 ? best_prices_ : std::vector<double>(groups, 0);
  master_.emplace(answer_.points.size(),
                  groups == 0
                      ? price_groups::of_one(most_)
                      : price_groups::near_each_other(ground_.table, best_prices_, most_, groups));
}

// Where the prices of groups have nothing left to gain: smaller groups, if that is possible.
bool column_generation::refine() {
  const std::size_t groups = master_->groups().size.size();
  if (expired_() || groups == best_prices_.size() || groups == kMostGroups) return false;
  const std::vector<dual_master::cluster> known = master_->known_clusters();
  make_master(kMostGroups);
  for (const dual_master::cluster& c : known) master_->add_cluster(c.slots, c.cost);
  half_width_ = first_width();
  fine_ = false;
  return true;
}

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

double column_generation::master_value() const {
  const auto count = static_cast<double>(answer_.points.size());
  const std::vector<double> prices = master_->groups().prices_of_slots(master_->prices());
  return std::accumulate(prices.begin(), prices.end(), -count * master_->facility_price());
}

// Where the master knows of something better than the answer, its foremost clusters are places to
// descend from.
void column_generation::round() {
  if (master_->at_box() || master_value() > answer_.value - goal_) return;
  std::vector<xy> places;
  for (const auto& slots : master_->foremost(answer_.points.size())) {
    places.push_back(find_place_(slots, ground_.place_of(slots[0])).at);
  }
  if (places.size() < answer_.points.size()) return;
  local_search search(ground_, ground_.sites, 0, expired_);
  search.start_from(std::move(places));
  allocation next;
  next.counters = answer_.counters;
  for (std::size_t k = 0; k < answer_.points.size(); ++k) {
    next.points.push_back(ground_.absolute(search.best_places()[k]));
  }
  alternate_to_optima(ground_.problem, next, expired_);
  if (next.value < answer_.value) answer_ = std::move(next);
}

bool column_generation::price() {
  std::vector<double> prices = master_->groups().prices_of_slots(master_->prices());
  const auto count = static_cast<double>(answer_.points.size());
  const double gap = fine_ ? goal_ : std::clamp(answer_.value - bound_, goal_, answer_.value);
  const double sum = std::accumulate(prices.begin(), prices.end(), 0.0);
  const std::optional<double> least =
      search_.run(prices, -master_->facility_price(), tolerance(gap, sum), expired_);
  answer_.counters.cells = search_.cells();
  if (!least) return false;
  ++answer_.counters.prices;
  const std::size_t before = master_->clusters();
  for (const price_search::met& m : search_.places()) {
    if (m.value < -kGoodShare * master_->facility_price()) improve(m.at, prices);
  }
  const bool better = take(std::move(prices), sum + count * *least);
  if (better) {
    if (master_->at_box()) half_width_ *= kSomewhatWider;
    return true;
  }
  if (master_->clusters() > before) {
    half_width_ *= kNarrower;
    return true;
  }
  half_width_ *= kWider;
  // Inside of the box nothing is left to gain but what the search for the least price leaves open.
  return master_->at_box() || !std::exchange(fine_, true);
}

// A better bound moves the box. False if it is hardly better.
bool column_generation::take(std::vector<double> prices, double bound) {
  if (!(bound > bound_)) return false;
  const bool much = bound > bound_ + kShareOfGap * goal_;
  bound_ = bound;
  best_prices_ = std::move(prices);
  if (master_) middle_.assign(master_->prices().begin(), master_->prices().end());
  if (told_) told_(bound_);
  return much;
}

void column_generation::claim() {
  const double sum = std::accumulate(best_prices_.begin(), best_prices_.end(), 0.0);
  answer_.lower_bound = std::max(0.0, bound_ - kMargin * sum);
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
