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
constexpr std::size_t kFarthestShake = 10;
constexpr double kUnknown = std::numeric_limits<double>::infinity();
constexpr std::size_t kFewTouched = 4;  // one slot in so many: else all candidates are asked again
// Distances between all pairs of sites are kept up to this many, and this many are computed for
// one pass of interchanges beyond.
constexpr std::size_t kMostKept = std::size_t{1} << 22;

}  // namespace

// ----- Ground -----

candidate_places::candidate_places(const distance_table& table, std::vector<xy> places)
    : table_(table), places_(std::move(places)) {
  const std::size_t n = table.size();
  if (n * places_.size() > kMostKept) return;
  kept_.resize(n * places_.size());
  for (std::size_t k = 0; k < places_.size(); ++k) {
    table.distances(places_[k], std::span(kept_).subspan(k * n, n), {});
  }
}

std::span<const double> candidate_places::distances(std::size_t k,
                                                    std::vector<double>& scratch) const {
  const std::size_t n = table_.size();
  if (!kept_.empty()) return std::span(kept_).subspan(k * n, n);
  scratch.resize(n);
  table_.distances(places_[k], scratch, {});
  return scratch;
}

namespace {

std::vector<xy> places_of_sites(const distance_table& table) {
  std::vector<xy> places;
  for (std::size_t slot = 0; slot < table.size(); ++slot) {
    places.push_back({table.x[slot], table.y[slot]});
  }
  return places;
}

}  // namespace

allocation_ground::allocation_ground(const allocation_problem& p)
    : problem(p), table(p.single()), sites(table, places_of_sites(table)) {
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
  const auto serve = [&](std::span<const double> distance) {
    for (std::size_t i = 0; i < near.size(); ++i) near[i] = std::min(near[i], distance[i]);
  };
  for (const xy& e : ground_.existing) {
    scratch_.resize(t.size());
    t.distances(e, scratch_, {});
    serve(scratch_);
  }
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
    serve(ground_.sites.distances(slot, scratch_));
  }
  return places;
}

void local_search::start() { start_from(draw_places()); }

void local_search::start_from(std::vector<xy> places) {
  descend_from(std::move(places));
  best_ = now_;
  best_gain_ = gain_;
}

std::vector<xy> local_search::best_of_both(std::span<const xy> others) const {
  std::vector<xy> places(others.begin(), others.end());
  const auto own = best_->places().first(count_);
  places.insert(places.end(), own.begin(), own.end());
  const std::size_t both = places.size();
  places.insert(places.end(), ground_.existing.begin(), ground_.existing.end());
  service all(ground_.table, places);
  const std::vector<double> nowhere(ground_.table.size(), std::numeric_limits<double>::infinity());
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
    all.move(cheapest, places[cheapest], nowhere);
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
  best_gain_ = gain_;
}

// One half of them near each other, the others anywhere.
std::vector<std::uint32_t> local_search::facilities_to_throw(std::size_t reach) {
  std::vector<std::uint32_t> order(count_);
  std::iota(order.begin(), order.end(), 0);
  const xy amid = now_->places()[below(count_)];
  const auto away = [&](std::uint32_t k) {
    const xy& p = now_->places()[k];
    return std::hypot(p.x - amid.x, p.y - amid.y);
  };
  std::stable_sort(order.begin(), order.end(),
                   [&](std::uint32_t a, std::uint32_t b) { return away(a) < away(b); });
  for (std::size_t k = (reach + 1) / 2; k < reach; ++k) {
    std::swap(order[k], order[k + below(count_ - k)]);
  }
  order.resize(reach);
  return order;
}

void local_search::shake() {
  ++counters_.shakes;
  now_ = best_;
  gain_ = best_gain_;
  for (const std::uint32_t k : facilities_to_throw(reach_)) {
    const std::size_t to = below(candidates_.size());
    now_->move(k, candidates_[to], candidates_.distances(to, column_));
  }
  descend();
  if (now_->value() < best_->value() * (1 - kGain)) {
    best_ = now_;
    best_gain_ = gain_;
    reach_ = 1;
  } else {
    reach_ = reach_ % std::min(count_, kFarthestShake) + 1;
  }
}

// ----- Descent -----

void local_search::descend_from(std::vector<xy> places) {
  places.insert(places.end(), ground_.existing.begin(), ground_.existing.end());
  now_.emplace(ground_.table, std::move(places));
  gain_.assign(candidates_.size(), kUnknown);
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
// that it serves go to their second, but for those that the new one takes. Differences of large
// distances may promise a gain where there is none, so the move has to show it.
bool local_search::try_candidate(std::size_t k, double least_gain) {
  const std::span<const double> distance = candidates_.distances(k, column_);
  const std::span<const service::link> links = now_->links();
  scratch_.assign(loss_.begin(), loss_.end());
  double gain = 0;
  for (std::size_t i = 0; i < links.size(); ++i) {
    const service::link& l = links[i];
    if (distance[i] >= l.to_second) continue;
    scratch_[l.first] -= l.to_second - std::max(distance[i], l.to_first);
    gain += std::max(0.0, l.to_first - distance[i]);
  }
  const auto cheapest =
      std::min_element(scratch_.begin(), scratch_.begin() + static_cast<std::ptrdiff_t>(count_));
  gain_[k] = gain;
  if (!(gain - *cheapest > least_gain)) return false;
  const auto facility = static_cast<std::uint32_t>(cheapest - scratch_.begin());
  const xy left = now_->places()[facility];
  const double before = now_->value();
  now_->move(facility, candidates_[k], distance);
  ++counters_.interchanges;
  if (now_->value() < before - least_gain / 2) return true;
  now_->move(facility, left);
  return false;
}

// What candidates gain is no longer known where it comes from sites whose links have changed.
void local_search::ask_again() {
  const std::span<const std::uint32_t> touched = now_->touched();
  const bool all = !candidates_.kept() || touched.size() > ground_.table.size() / kFewTouched;
  for (std::size_t k = 0; k < gain_.size(); ++k) {
    if (gain_[k] == kUnknown) continue;
    if (all) {
      gain_[k] = kUnknown;
      continue;
    }
    const std::span<const double> distance = candidates_.distances(k, column_);
    const auto near = [&](std::uint32_t slot) { return distance[slot] < now_->reach(slot); };
    if (std::any_of(touched.begin(), touched.end(), near)) gain_[k] = kUnknown;
  }
  now_->forget_touched();
}

// Tries the candidates in a ring, from one that is drawn, until none helps; a drawn part of them
// where there are very many. Those are passed over that gained too little before, unless something
// near them has changed.
bool local_search::interchange() {
  const std::size_t all = candidates_.size();
  const std::size_t tries =
      std::min(all, std::max<std::size_t>(kMostKept / ground_.table.size(), 32));
  const std::size_t step = all / tries;
  double least_loss = 0;
  const auto price = [&] {
    ask_again();
    loss_.assign(now_->places().size(), 0);
    for (const service::link& l : now_->links()) loss_[l.first] += l.to_second - l.to_first;
    least_loss =
        *std::min_element(loss_.begin(), loss_.begin() + static_cast<std::ptrdiff_t>(count_));
  };
  price();
  bool helped = false;
  std::size_t at = below(all);
  for (std::size_t left = tries; left > 0 && (left % 64 != 0 || !expired_()); --left) {
    at = (at + step) % all;
    if (gain_[at] <= least_loss || !try_candidate(at, kGain * now_->value())) continue;
    helped = true;
    price();
    left = tries;
  }
  return helped;
}

}  // namespace planloc::detail
