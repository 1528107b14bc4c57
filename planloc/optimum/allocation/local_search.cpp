#include "planloc/optimum/allocation/local_search.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <utility>

namespace planloc::detail {

namespace {

// Of the value: what counts as an improvement. Less would let roundings lead in circles.
constexpr double kGain = 1e-9;
constexpr std::size_t kFarthestShake = 4;
constexpr double kUnknown = std::numeric_limits<double>::infinity();
// One pass of interchanges looks at so many blocks of sites, of which one try takes all, and some
// more for what it finds there.
constexpr std::size_t kMostLooks = std::size_t{1} << 22;
constexpr std::size_t kLooksOfTry = 64;
constexpr std::size_t kTriesToAsk = 4096;

}  // namespace

// ----- Ground -----

allocation_ground::allocation_ground(const allocation_problem& p)
    : problem(p),
      table(p.single()),
      sites(table, p.count() + p.existing().size()),
      at_sites(sites, {sites.blocks.places().begin(), sites.blocks.places().end()}) {
  for (const xy& e : p.existing()) existing.push_back({e.x - table.base.x, e.y - table.base.y});
}

xy allocation_ground::absolute(const xy& place) const {
  for (std::size_t slot = 0; slot < table.size(); ++slot) {
    if (place != place_of(slot)) continue;
    const site& s = problem.sites()[table.site[slot]];
    return {s.x, s.y};
  }
  return {table.base.x + place.x, table.base.y + place.y};
}

// ----- Starts and shakes -----

local_search::local_search(const allocation_ground& ground, const candidate_places& candidates,
                           std::uint64_t seed, std::function<bool()> expired)
    : ground_(ground),
      candidates_(candidates),
      count_(ground.problem.count()),
      random_(seed),
      expired_(std::move(expired)),
      find_place_(ground.table) {}

// Sites drawn one by one, with a probability that grows with the square of the distance from what
// is there.
std::vector<xy> local_search::draw_places() {
  const distance_table& t = ground_.table;
  std::vector<double> near(t.size(), std::numeric_limits<double>::infinity());
  std::vector<double> distance(t.size());
  const auto serve = [&](const xy& at) {
    t.distances(at, distance, {});
    for (std::size_t i = 0; i < near.size(); ++i) near[i] = std::min(near[i], distance[i]);
  };
  for (const xy& e : ground_.existing) serve(e);
  std::vector<xy> places;
  std::vector<double> share(t.size());
  while (places.size() < count_) {
    double total = 0;
    for (std::size_t i = 0; i < share.size(); ++i) {
      const double square = std::isinf(near[i]) ? 1 : near[i] * (near[i] / t.weight[i]);
      share[i] = total += square;
    }
    const double at = uniform() * total;
    const auto slot = std::min<std::size_t>(
        static_cast<std::size_t>(std::upper_bound(share.begin(), share.end(), at) - share.begin()),
        share.size() - 1);
    places.push_back(ground_.place_of(slot));
    serve(places.back());
  }
  return places;
}

void local_search::start() { start_from(draw_places()); }

void local_search::start_from(std::vector<xy> places) {
  descend_from(std::move(places));
  best_ = now_;
  best_offers_ = offers_;
}

std::vector<xy> local_search::best_of_both(std::span<const xy> others) const {
  std::vector<xy> places(others.begin(), others.end());
  const auto own = best_->places().first(count_);
  places.insert(places.end(), own.begin(), own.end());
  const std::size_t both = places.size();
  places.insert(places.end(), ground_.existing.begin(), ground_.existing.end());
  service all(ground_.sites, places);
  std::vector<char> dropped(both, 0);
  std::vector<double> loss;
  for (std::size_t left = both; left > count_; --left) {
    loss.assign(places.size(), 0);
    for (const service::link& l : all.links()) loss[l.first] += l.to_second - l.to_first;
    std::uint32_t cheapest = 0;
    while (dropped[cheapest] != 0) ++cheapest;
    for (std::uint32_t k = cheapest; k < both; ++k)
      if (dropped[k] == 0 && loss[k] < loss[cheapest]) cheapest = k;
    dropped[cheapest] = 1;
    all.drop(cheapest);
  }
  std::vector<xy> kept;
  for (std::size_t k = 0; k < both; ++k)
    if (dropped[k] == 0) kept.push_back(places[k]);
  return kept;
}

void local_search::merge(std::span<const xy> others) {
  descend_from(best_of_both(others));
  if (!(now_->value() < best_->value() * (1 - kGain))) return;
  best_ = now_;
  best_offers_ = offers_;
}

namespace {

// The places that are nearest to one, in the maximum norm, with their numbers.
void find_nearest(std::span<const xy> places, const xy& amid, std::size_t count,
                  std::vector<std::pair<double, std::uint32_t>>& found) {
  found.clear();
  for (std::uint32_t k = 0; k < places.size(); ++k)
    found.emplace_back(std::max(std::fabs(places[k].x - amid.x), std::fabs(places[k].y - amid.y)),
                       k);
  if (count < found.size())
    std::nth_element(found.begin(), found.begin() + static_cast<std::ptrdiff_t>(count),
                     found.end());
  found.resize(count);
  std::sort(found.begin(), found.end());
}

}  // namespace

// Some facilities near each other go to candidates around them.
void local_search::throw_near(std::size_t reach) {
  const xy amid = now_->places()[below(count_)];
  const std::size_t from = std::min(count_, 2 * reach + 2);
  const std::size_t to = std::min(candidates_.size(), from * candidates_.size() / count_ + 1);
  find_nearest(now_->places().first(count_), amid, from, near_facilities_);
  find_nearest(candidates_.blocks().places(), amid, to, near_candidates_);
  for (std::size_t k = 0; k < reach; ++k) {
    std::swap(near_facilities_[k], near_facilities_[k + below(from - k)]);
    now_->move(near_facilities_[k].second, candidates_[near_candidates_[below(to)].second]);
  }
}

void local_search::shake() {
  ++counters_.shakes;
  if (candidates_.size() == 0) return;
  now_ = best_;
  offers_ = best_offers_;
  throw_near(reach_);
  descend();
  if (now_->value() < best_->value() * (1 - kGain)) {
    best_ = now_;
    best_offers_ = offers_;
    reach_ = 1;
  } else {
    reach_ = reach_ % std::min(count_, kFarthestShake) + 1;
  }
}

// ----- Descent -----

void local_search::descend_from(std::vector<xy> places) {
  places.insert(places.end(), ground_.existing.begin(), ground_.existing.end());
  now_.emplace(ground_.sites, std::move(places));
  offers_.assign(candidates_.size(), {kUnknown, 0, 0});
  descend();
}

void local_search::descend() {
  alternate();
  while (!expired_() && interchange()) alternate();
}

// Moves each facility to the best place for the sites that it serves, until none changes.
bool local_search::alternate() {
  const double before = now_->value();
  for (bool moved = true; moved && !expired_();) {
    moved = false;
    for (std::uint32_t k = 0; k < count_; ++k) {
      if (!now_->changed(k)) continue;
      now_->settle(k);
      const std::span<const std::uint32_t> slots = now_->served_by(k);
      if (slots.empty()) continue;
      ++counters_.solves;
      double here = 0;
      for (const std::uint32_t s : slots) here += now_->links()[s].to_first;
      const placed found = find_place_(slots, now_->places()[k]);
      if (!(found.value < here - kGain * now_->value())) continue;
      now_->move(k, found.at);
      moved = true;
    }
  }
  return now_->value() < before * (1 - kGain);
}

// What dropping a facility costs when a new one stands at a candidate (Whitaker 1983): the sites
// that it serves go to their second, but for those that the new one takes.
void local_search::ask(std::size_t k) {
  const std::span<const service::link> links = now_->links();
  double gain = 0;
  spared_at_.clear();
  candidates_.each_near(k, *now_, [&](std::uint32_t slot, double distance) {
    const service::link& l = links[slot];
    gain += std::max(0.0, l.to_first - distance);
    if (l.first >= count_) return;
    if (spared_[l.first] == 0) spared_at_.push_back(l.first);
    spared_[l.first] += l.to_second - std::max(distance, l.to_first);
  });
  offer best{gain, -kUnknown, 0};
  for (const std::uint32_t f : spared_at_) {
    const double in_place = gain - (loss_[f] - std::exchange(spared_[f], 0));
    if (in_place > best.in_place) best = {gain, in_place, f};
  }
  offers_[k] = best;
}

// Differences of large distances may promise a gain where there is none, so the move has to show
// it.
bool local_search::exchange(std::size_t k, double least_gain) {
  offer& o = offers_[k];
  const std::uint32_t facility = o.in_place >= o.gain - loss_[cheapest_] ? o.of : cheapest_;
  const xy left = now_->places()[facility];
  const double before = now_->value();
  now_->move(facility, candidates_[k]);
  ++counters_.interchanges;
  if (now_->value() < before - least_gain / 2) return true;
  now_->move(facility, left);
  return false;
}

// What facilities would cost if they were dropped. What candidates gain is no longer known where it
// comes from sites whose links have changed.
void local_search::price() {
  const place_blocks& blocks = candidates_.blocks();
  for (const std::uint32_t slot : now_->touched()) {
    const double reach = now_->reach(slot);
    const xy at = ground_.place_of(slot);
    const double away = reach / ground_.sites.slope[slot];
    for (std::size_t b = 0; b < blocks.size(); ++b) {
      if (blocks.away(b, at) > away) continue;
      for (const std::uint32_t k : blocks[b]) {
        if (offers_[k].gain == kUnknown || ground_.sites.at_least(slot, candidates_[k]) >= reach)
          continue;
        if (ground_.sites.distance(slot, candidates_[k]) < reach) offers_[k].gain = kUnknown;
      }
    }
  }
  now_->forget_touched();
  loss_.assign(now_->places().size(), 0);
  spared_.resize(loss_.size(), 0);
  for (const service::link& l : now_->links()) loss_[l.first] += l.to_second - l.to_first;
  cheapest_ = static_cast<std::uint32_t>(
      std::min_element(loss_.begin(), loss_.begin() + static_cast<std::ptrdiff_t>(count_)) -
      loss_.begin());
}

// The best interchanges one by one, of all candidates; of a drawn part where there are very many.
// Those are asked again that have something near them changed.
bool local_search::interchange() {
  const std::size_t all = offers_.size();
  if (all == 0) return false;
  const std::size_t tries =
      std::clamp<std::size_t>(kMostLooks / (ground_.sites.blocks.size() + kLooksOfTry), 1, all);
  const std::size_t first = below(all);
  for (bool helped = false;; helped = true) {
    price();
    const double least_gain = kGain * now_->value();
    std::size_t best = all;
    double most = least_gain;
    for (std::size_t j = 0, k = first; j < tries; ++j, k = k + 1 == all ? 0 : k + 1) {
      if (j % kTriesToAsk == 0 && expired_()) return helped;
      if (offers_[k].gain == kUnknown) ask(k);
      const double gain = std::max(offers_[k].gain - loss_[cheapest_], offers_[k].in_place);
      if (gain <= most) continue;
      most = gain;
      best = k;
    }
    if (best == all || !exchange(best, least_gain)) return helped;
  }
}

}  // namespace planloc::detail
