#include "planloc/optimum/allocation/column_generation.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <utility>

#include "planloc/optimum/allocation/assignment.h"
#include "planloc/optimum/allocation/price_groups.h"
#include "planloc/optimum/allocation/triple_cuts.h"

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
constexpr double kLeastPart = 0.125;  // of the way from the best prices to the master's
// Of the price of a facility: places that gain this much are improved into clusters.
constexpr double kGoodShare = 0.9;
constexpr double kLeastShare = 0.02;
constexpr double kNextPrice = 1.5;
constexpr double kLeastWidth = 1e-3;
constexpr double kFirstWidth = 0.15;
constexpr int kMostSteps = 20;
constexpr std::size_t kMostCutRounds = 30;
constexpr std::size_t kShakes = 50;  // of an answer, among the places that the master takes

constexpr int kSections = 50;  // of the golden ratio
// Of a facility: what is as good as whole.
constexpr double kNearlyWhole = 0.02;
constexpr double kWholeCut = 1e-3;

}  // namespace

column_generation::column_generation(const bound_task& task, std::vector<peopled_cell> cells)
    : task_(task),
      ground_(task.ground),
      cells_(std::move(cells)),
      service_(ground_.sites, places()),
      find_place_(ground_.table),
      search_(ground_.table),
      most_(most()) {}

bool column_generation::run() {
  if (start()) go_on(std::numeric_limits<std::size_t>::max());
  return bound_ > -std::numeric_limits<double>::infinity();
}

void column_generation::run_from(const site_prices& prices, std::vector<double> least,
                                 const std::vector<dual_master::cluster>& clusters,
                                 std::size_t rounds) {
  take(prices, std::move(least), {});
  make_master(0, {prices.triples().begin(), prices.triples().end()});
  add_known(clusters);
  go_on(rounds);
}

std::optional<std::vector<double>> column_generation::least_with(const site_prices& prices) {
  std::vector<double> least;
  if (!search(prices, task_.goal, {}, least, {})) return std::nullopt;
  return least;
}

void column_generation::go_on(std::size_t rounds) {
  for (std::size_t k = 0; k < rounds; ++k) {
    if (task_.answer.value - bound_ <= task_.goal || task_.expired()) break;
    master_->set_box(middle_, half_width_);
    if (!master_->solve(task_.expired)) break;
    if (nearly_all_gained() && cut_off()) continue;
    round(0);
    if (!price() && !refine() && !cut_off()) break;
  }
}

std::vector<xy> column_generation::places() const {
  std::vector<xy> all;
  const xy& base = ground_.table.base;
  for (const xy& at : task_.answer.points) all.push_back({at.x - base.x, at.y - base.y});
  all.insert(all.end(), ground_.existing.begin(), ground_.existing.end());
  return all;
}

std::vector<double> column_generation::most() const {
  std::vector<double> m(ground_.table.size(), std::numeric_limits<double>::infinity());
  std::vector<double> d(m.size());
  for (const xy& e : ground_.existing) {
    ground_.table.distances(e, d, {});
    for (std::size_t i = 0; i < m.size(); ++i) m[i] = std::min(m[i], d[i]);
  }
  return m;
}

double column_generation::first_width() const {
  const double sum = best_prices_.sum();
  const double value = task_.answer.value;
  const double gain = std::max(sum - value, kLeastWidth * value);
  return kFirstWidth * gain / static_cast<double>(best_prices_.size());
}

// The cell of a place; on a border the first.
std::uint32_t column_generation::cell_of(const xy& at) const {
  std::uint32_t c = 0;
  while (c + 1 < cells_.size() && !cells_[c].where.contains(at)) ++c;
  return c;
}

void column_generation::add(std::vector<std::uint32_t> slots, const xy& start) {
  const placed p = find_place_(slots, start);
  const std::uint32_t cell = cell_of(p.at);
  if (cells_[cell].count > 0) master_->add_cluster(std::move(slots), p.at, cell, p.value);
}

// Of the search for the least price; not beyond what doubles can tell.
double column_generation::tolerance(double gap, double sum_of_prices) const {
  const auto count = static_cast<double>(task_.answer.points.size());
  return std::max(kShareOfGap * gap, kMargin / 10 * sum_of_prices) / count;
}

// The least priced sum of each cell, of which something may be known. False if the time has
// expired.
bool column_generation::search(
    const site_prices& prices, double gap, const std::vector<double>& known,
    std::vector<double>& least,
    const std::function<void(const price_search::met&, std::uint32_t)>& met) {
  const double sum = prices.sum();
  least.assign(cells_.size(), 0);
  for (std::uint32_t c = 0; c < cells_.size(); ++c) {
    if (cells_[c].count == 0) continue;
    const std::size_t before = search_.cells();
    const std::optional<double> found = search_.run(
        prices, cells_[c].where, known.empty() ? 0 : known[c], tolerance(gap, sum), task_.expired);
    task_.answer.counters.cells += search_.cells() - before;
    if (!found) {
      task_.given_up = true;
      return false;
    }
    least[c] = *found;
    if (!met) continue;
    const std::vector<price_search::met> places(search_.places().begin(), search_.places().end());
    for (const price_search::met& m : places) met(m, c);
  }
  return true;
}

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

// The best of such prices, whatever a facility gains; and the clusters of the answer. False if the
// time has expired before.
bool column_generation::start() {
  struct tried {
    site_prices prices;
    std::vector<price_search::met> places;
  };
  std::vector<tried> good;
  const auto count = static_cast<double>(task_.answer.points.size());
  double spare = task_.answer.value * kLeastWidth;
  for (const service::link& l : service_.links()) spare += l.to_second - l.to_first;
  for (double price = spare / count; price > kLeastShare * spare / count; price /= kNextPrice) {
    site_prices prices(prices_for(price));
    std::vector<double> least;
    std::vector<price_search::met> met;
    if (!search(prices, task_.answer.value, {}, least,
                [&](const price_search::met& m, std::uint32_t) { met.push_back(m); }))
      return false;
    if (!take(prices, std::move(least), {})) continue;
    half_width_ = first_width();
    good.push_back({std::move(prices), std::move(met)});
  }
  make_master(best_prices_.size() <= kMostRows ? 0 : kFirstGroups, {});
  for (const tried& t : good)
    for (const price_search::met& m : t.places) improve(m.at, cell_of(m.at), t.prices);
  for (std::uint32_t k = 0; k < task_.answer.points.size(); ++k) {
    const std::span<const std::uint32_t> served = service_.served_by(k);
    std::vector<std::uint32_t> slots(served.begin(), served.end());
    std::sort(slots.begin(), slots.end());
    if (!slots.empty()) add(std::move(slots), service_.places()[k]);
  }
  if (master_->groups().size.size() < best_prices_.size()) return true;
  for (std::uint32_t i = 0; i < best_prices_.size(); ++i) add({i}, ground_.place_of(i));
  return true;
}

// Groups of no slots: one for each.
void column_generation::make_master(std::size_t groups, std::vector<priced_triple> triples) {
  const std::span<const double> prices = best_prices_.of_slots();
  middle_ = groups == 0 ? std::vector<double>(prices.begin(), prices.end())
                        : std::vector<double>(groups, 0);
  for (const priced_triple& t : triples) middle_.push_back(-t.price);
  std::vector<std::size_t> counts;
  for (const peopled_cell& c : cells_) counts.push_back(c.count);
  master_.emplace(std::move(counts),
                  groups == 0 ? price_groups::of_one(ground_.table.weight, most_)
                              : price_groups::near_each_other(
                                    ground_.table, {prices.begin(), prices.end()}, most_, groups),
                  std::move(triples));
}

void column_generation::add_known(const std::vector<dual_master::cluster>& clusters) {
  for (const dual_master::cluster& c : clusters) {
    const std::uint32_t cell = cell_of(c.at);
    if (cells_[cell].count > 0) master_->add_cluster(c.slots, c.at, cell, c.cost);
  }
  half_width_ = first_width();
  fine_ = false;
}

// Where the prices of groups have nothing left to gain: smaller groups, if that is possible.
bool column_generation::refine() {
  const std::size_t groups = master_->groups().size.size();
  if (task_.expired() || groups == best_prices_.size() || groups == kMostGroups) return false;
  const std::vector<dual_master::cluster> known = master_->known_clusters();
  make_master(kMostGroups, {});
  add_known(known);
  return true;
}

// Whether what prices can still gain is less than what they will leave; in a case, prices come
// first.
bool column_generation::nearly_all_gained() const {
  if (cells_.size() > 1 || master_->at_box()) return false;
  const double most = master_value();
  const double left = task_.answer.value - most;
  return left > task_.goal && most - bound_ < left;
}

// Where all prices of sites have nothing left to gain: prices of triples, if some are violated.
bool column_generation::cut_off() {
  const bool in_groups = master_->groups().size.size() < best_prices_.size();
  if (task_.expired() || in_groups || cuts_++ == kMostCutRounds) return false;
  round(kShakes);
  std::vector<priced_triple> triples = master_->priced_triples();
  // Those of no use make room in the knots.
  std::erase_if(triples, [](const priced_triple& t) { return !(t.price > 0); });
  const std::size_t before = triples.size();
  triples = with_violated_triples(master_->taken(), std::move(triples));
  if (triples.size() == before) return false;
  const dual_master before_cut = std::move(*master_);
  make_master(0, std::move(triples));
  add_known(before_cut.known_clusters());
  master_->continue_from(before_cut);
  return true;
}

// The best place in a cell, to some 1e-8 of the value: where the best one of all is outside, it is
// on a side between.
placed column_generation::place_in(std::span<const std::uint32_t> slots, const xy& start,
                                   std::uint32_t cell) {
  const placed free = find_place_(slots, start);
  const price_cell& c = cells_[cell].where;
  if (c.contains(free.at)) return free;
  xy low = start;
  xy high = start;
  for (const std::uint32_t i : slots) {
    low = {std::min(low.x, ground_.table.x[i]), std::min(low.y, ground_.table.y[i])};
    high = {std::max(high.x, ground_.table.x[i]), std::max(high.y, ground_.table.y[i])};
  }
  low = {std::max(low.x, c.low.x), std::max(low.y, c.low.y)};
  high = {std::min(high.x, c.high.x), std::min(high.y, c.high.y)};
  const xy nearest{std::clamp(free.at.x, c.low.x, c.high.x),
                   std::clamp(free.at.y, c.low.y, c.high.y)};
  placed best{start, sum_of_distances(ground_.table, slots, start).value};
  for (const bool along_x : {true, false}) {
    if ((along_x ? nearest.y == free.at.y : nearest.x == free.at.x)) continue;
    const placed p = along_x ? on_side(slots, nearest, true, low.x, high.x)
                             : on_side(slots, nearest, false, low.y, high.y);
    if (p.value < best.value) best = p;
  }
  return best;
}

// By golden sections.
placed column_generation::on_side(std::span<const std::uint32_t> slots, xy at, bool along_x,
                                  double low, double high) const {
  const auto value = [&](double d) {
    (along_x ? at.x : at.y) = d;
    return sum_of_distances(ground_.table, slots, at).value;
  };
  constexpr double kSection = 0.6180339887498949;
  double a = high - kSection * (high - low);
  double b = low + kSection * (high - low);
  double at_a = value(a);
  double at_b = value(b);
  for (int k = 0; k < kSections; ++k) {
    if (at_a < at_b) {
      high = std::exchange(b, a);
      at_b = at_a;
      a = high - kSection * (high - low);
      at_a = value(a);
    } else {
      low = std::exchange(a, b);
      at_a = at_b;
      b = low + kSection * (high - low);
      at_b = value(b);
    }
  }
  const double least = value(at_a < at_b ? a : b);
  return {at, least};
}

// Alternates between the sites that gain the most at a place and the best place for them in the
// cell.
void column_generation::improve(xy at, std::uint32_t cell, const site_prices& prices) {
  std::vector<std::uint32_t> slots;
  double cost = 0;
  for (int k = 0; k < kMostSteps; ++k) {
    std::vector<std::uint32_t> next = prices.gaining(ground_.table, at);
    if (next.empty() || next == slots) break;
    slots = std::move(next);
    const placed p = place_in(slots, at, cell);
    at = p.at;
    cost = p.value;
  }
  if (!slots.empty()) master_->add_cluster(std::move(slots), at, cell, cost);
}

double column_generation::master_value() const {
  double value = master_->prices().sum();
  for (std::uint32_t c = 0; c < cells_.size(); ++c)
    value -= static_cast<double>(cells_[c].count) * master_->facility_price(c);
  return value;
}

// Where the master knows of something better than the answer, its foremost clusters are places to
// descend from.
void column_generation::round(std::size_t shakes) {
  if (master_->at_box() || master_value() > task_.answer.value - task_.goal) return;
  std::vector<xy> foremost;
  for (const auto& slots : master_->foremost(task_.answer.points.size()))
    foremost.push_back(find_place_(slots, ground_.place_of(slots[0])).at);
  if (foremost.size() == task_.answer.points.size()) descend_from(std::move(foremost), shakes);
  if (shakes == 0) return;
  std::vector<xy> own = places();
  own.resize(task_.answer.points.size());
  descend_from(std::move(own), shakes);
}

// The places of the clusters that the master takes, in whole or in part, are those to exchange
// facilities for.
void column_generation::descend_from(std::vector<xy> places, std::size_t shakes) {
  std::vector<xy> taken;
  for (const dual_master::taken_cluster& c : master_->taken()) taken.push_back(c.at);
  const candidate_places candidates(ground_.sites, std::move(taken));
  local_search search(ground_, shakes == 0 ? ground_.at_sites : candidates, 0, task_.expired);
  search.start_from(std::move(places));
  for (std::size_t k = 0; k < shakes && !task_.expired(); ++k) search.shake();
  allocation next;
  next.counters = task_.answer.counters;
  for (std::size_t k = 0; k < task_.answer.points.size(); ++k)
    next.points.push_back(ground_.absolute(search.best_places()[k]));
  alternate_to_optima(ground_.problem, next, task_.expired);
  if (next.value < task_.answer.value) task_.answer = std::move(next);
}

// At the master's prices; where these are no better than the best ones, at prices between the two:
// that takes far less time than the master's next ones. False if nothing is left to gain, or the
// time has expired.
bool column_generation::price() {
  const std::size_t before = master_->finds();
  const std::vector<double> of_best = middle_;
  const std::vector<double> of_master(master_->duals().begin(), master_->duals().end());
  std::vector<double> duals = of_master;
  for (double part = 1; part >= kLeastPart;) {
    const std::optional<bool> better = price_at(duals);
    if (!better) return false;
    if (*better) {
      if (part == 1 && master_->at_box()) half_width_ *= kSomewhatWider;
      return true;
    }
    if (master_->finds() == before) break;
    part /= 2;
    for (std::size_t i = 0; i < duals.size(); ++i)
      duals[i] = of_best[i] + part * (of_master[i] - of_best[i]);
  }
  if (master_->finds() > before) {
    half_width_ *= kNarrower;
    return true;
  }
  half_width_ *= kWider;
  // Inside of the box nothing is left to gain but what the search for the least price leaves open.
  return master_->at_box() || !std::exchange(fine_, true);
}

// Whether the bound at such prices is better; clusters that gain more than those that the master
// knows are made known to it. None if the time has expired.
std::optional<bool> column_generation::price_at(const std::vector<double>& duals) {
  site_prices prices = master_->prices_at(duals);
  const double value = task_.answer.value;
  const double gap = fine_ ? task_.goal : std::clamp(value - bound_, task_.goal, value);
  std::vector<double> known;
  for (std::uint32_t c = 0; c < cells_.size(); ++c) known.push_back(master_->least_known(c, duals));
  std::vector<double> least;
  const bool ended =
      !search(prices, gap, known, least, [&](const price_search::met& m, std::uint32_t cell) {
        if (m.value < kGoodShare * known[cell]) improve(m.at, cell, prices);
      });
  if (ended) return std::nullopt;
  ++task_.answer.counters.prices;
  return take(std::move(prices), std::move(least), duals);
}

// A better bound moves the box. False if it is hardly better.
bool column_generation::take(site_prices prices, std::vector<double> least,
                             const std::vector<double>& duals) {
  double bound = prices.sum();
  for (std::size_t c = 0; c < cells_.size(); ++c)
    bound += static_cast<double>(cells_[c].count) * least[c];
  if (!(bound > bound_)) return false;
  const bool much = bound > bound_ + kShareOfGap * task_.goal;
  bound_ = bound;
  best_prices_ = std::move(prices);
  least_ = std::move(least);
  middle_ = duals;
  if (task_.told) task_.told(bound_);
  return much;
}

// So that the line has the same place in absolute coordinates, in which it is written down.
double column_generation::rounded_cut(double at, bool by_x) const {
  const double base = by_x ? ground_.table.base.x : ground_.table.base.y;
  return (base + at) - base;
}

std::optional<cell_cut> column_generation::fractional_cut() const {
  std::optional<cell_cut> best;
  if (!master_) return best;
  const auto from_whole = [](double d) { return std::fabs(d - std::round(d)); };
  const std::vector<dual_master::taken_cluster> shares = master_->taken();
  double most = 0;
  for (std::uint32_t c = 0; c < cells_.size(); ++c) {
    const bool whole = std::none_of(shares.begin(), shares.end(), [&](const auto& s) {
      return s.cell == c && from_whole(s.level) > kNearlyWhole;
    });
    if (whole) continue;
    for (const bool by_x : {true, false}) {
      std::vector<std::pair<double, double>> along;  // coordinate and share
      for (const dual_master::taken_cluster& s : shares)
        if (s.cell == c) along.emplace_back(by_x ? s.at.x : s.at.y, s.level);
      std::sort(along.begin(), along.end());
      double below = 0;
      for (std::size_t k = 0; k + 1 < along.size(); ++k) {
        below += along[k].second;
        const double gap = along[k + 1].first - along[k].first;
        // Where all numbers are whole, their parts may not be: a cut that parts them comes last.
        const double good = std::max(from_whole(below) - kNearlyWhole, kWholeCut) * gap;
        if (good <= most) continue;
        most = good;
        best = cell_cut{c, by_x, rounded_cut(along[k].first + gap / 2, by_x)};
      }
    }
  }
  return best;
}

}  // namespace planloc::detail
