#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <limits>
#include <optional>
#include <utility>
#include <vector>

#include "planloc/foundation/numeric/round_quotient.h"
#include "planloc/optimum/convex/cut_model.h"
#include "planloc/optimum/convex/euclidean_centre.h"
#include "planloc/optimum/convex/exact_cuts.h"
#include "planloc/optimum/convex/excess.h"
#include "planloc/optimum/convex/far_sites.h"
#include "planloc/optimum/convex/likely_optimum.h"
#include "planloc/optimum/convex/optimal_face.h"
#include "planloc/optimum/convex/smooth_median.h"
#include "planloc/optimum/convex/snap.h"
#include "planloc/optimum/exact/optimality.h"
#include "planloc/optimum/input_check.h"
#include "planloc/optimum/minimise.h"
#include "planloc/optimum/proved_claim.h"
#include "planloc/optimum/regions/boundary_search.h"

namespace planloc {

namespace {

using detail::cut_model;
using detail::evaluation;
using detail::exact_place;
using detail::exact_xy;
using detail::optimality;

// Above this relative gap the next place is half way between the model's minimiser and the best
// one.
constexpr double kHalfWayGap = 1e-3;
// Where doubles cannot narrow the gap further.
constexpr double kRoundingGap = 4e-15;
// Of the value: how far what intervals prove may stay behind the bound in doubles.
constexpr double kProofMargin = 3e-12;
// Of the value: when places begin to be counted from the nearest site.
constexpr double kSiteGap = 1e-6;
// Not if the site is further away than this share of the sites' extent, and the extent within this
// multiple of the places that are no worse.
constexpr double kSiteReach = 1e-4;
constexpr double kLevelReach = 32;
// Of the extent: how far from the model's minimiser break lines are looked for.
constexpr std::array kSnapReaches{1e-13, 1e-10, 1e-7};
constexpr std::array kCloserReaches{1e-14, 1e-13, 1e-12, 1e-11, 1e-10, 1e-9};
// Of the value and of the extent: the square in which the search goes on by differences holds the
// places that are not surely worse, and is no smaller than this.
constexpr double kCloserLevel = 4 * kRoundingGap;
constexpr double kLeastSquare = 1e-10;
// Up to this many sites are not folded.
constexpr std::size_t kFewSites = 2000;
constexpr int kMostRounds = 200;
constexpr int kMostSnaps = 4;
constexpr int kMostIdle = 3;

// The base, or, where places are counted from elsewhere, the middle: the square around it holds the
// sites.
xy amid_sites(const detail::distance_table& t) {
  const auto middle = [](const std::vector<double>& c) {
    const auto [low, high] = std::minmax_element(c.begin(), c.end());
    return *low <= 0 && *high >= 0 ? 0 : *low + (*high - *low) / 2;
  };
  return {middle(t.x), middle(t.y)};
}

double extent(std::span<const site> sites) {
  const auto [left, right] = std::minmax_element(
      sites.begin(), sites.end(), [](const site& a, const site& b) { return a.x < b.x; });
  const auto [low, high] = std::minmax_element(
      sites.begin(), sites.end(), [](const site& a, const site& b) { return a.y < b.y; });
  const double size = std::max(right->x - left->x, high->y - low->y);
  if (size > 0) return size;
  return std::max({std::fabs(left->x), std::fabs(left->y), 1.0});
}

// The distance of a slot, with the gauge in fractions: doubles do not tell it under a thin ball.
double exact_distance(const detail::distance_table& t, detail::exact_edges& edges, std::size_t slot,
                      const exact_xy& from_site) {
  const detail::gauge_block& b = t.blocks[t.block_of[slot]];
  mpq_class most;
  for (std::uint32_t e = b.first_edge; e < b.first_edge + b.edges; ++e)
    most = std::max(most, dot(edges.normal(e), from_site));
  most *= t.weight[slot];
  return detail::round_quotient(most.get_num(), most.get_den());
}

class convex_search {
 public:
  convex_search(const problem& p, const minimise_options& options)
      : problem_(p),
        options_(options),
        table_(p),
        evaluate_(p, table_),
        best_(evaluate_(amid_sites(table_))),
        extent_(extent(p.sites())),
        model_(best_, best_.at, extent_),
        reduced_(p, table_, evaluate_, kFewSites) {}

  solution run() {
    close_gap();
    if (problem_.polyhedral()) {
      if (!ended_) prove();
    } else {
      while (!ended_ && count_from_nearest()) close_gap();
    }
    if (result_.status != solution_status::optimal) close_in_doubles();
    result_.counters.evaluations = evaluate_.count();
    result_.counters.seconds = seconds();
    return std::move(result_);
  }

  // REQUIRES: polyhedral gauges.
  detail::likely_optimum find_likely() {
    close_gap();
    detail::likely_optimum result;
    if (!ended_) {
      places_.emplace(problem_, table_);
      const auto lines = lines_near(model_.minimiser(), kSnapReaches.back() * extent_);
      for (const double reach : kSnapReaches) {
        auto snapped = lines.snap(reach * extent_);
        if (snapped.lines < 2) continue;
        result.vertex = std::move(snapped.at);
        break;
      }
    }
    result.evaluations = evaluate_.count();
    return result;
  }

 private:
  // ----- In doubles -----

  void close_gap();
  double seconds() const;
  double asked_gap() const;
  bool limit_reached() const;
  bool must_end(double gap);
  void take(const evaluation& e);

  // ----- Gauges that are not polyhedral -----

  bool count_from_nearest();
  void polish(const std::vector<cut_model::support>& supports);
  void close_in_doubles();
  double value_under_thin_balls(const exact_xy& at) const;
  void claim_what_is_proved();

  // ----- Exactly -----

  void prove();
  bool prove_near(const cut_model& model, std::span<const double> reaches);
  cut_model closer_model();
  bool prove_snapped(const exact_xy& at, const cut_model& model);
  const exact_place& place(const exact_xy& at);
  detail::break_lines lines_near(const xy& at, double reach);
  double value_at(const exact_place& place) const;
  void accept(const exact_xy& at, const optimality& o);
  void prove_by_exact_cuts();
  exact_xy absolute(const xy& at) const;

  const problem& problem_;
  const minimise_options& options_;
  detail::distance_table table_;
  detail::evaluator evaluate_;
  evaluation best_;
  double extent_;
  std::optional<std::size_t> nearest_;  // the slot that places are counted from
  bool ended_ = false;  // by a limit, or where the gap is small enough for the caller
  cut_model model_;
  detail::reduced_sum reduced_;
  std::optional<detail::current_place> places_;
  std::vector<exact_xy> tried_;  // places that are no optima
  std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
  solution result_;
};

void convex_search::take(const evaluation& e) {
  model_.add(e);
  if (e.value >= best_.value) return;
  best_ = e;
  model_.recentre(e.at);
}

double convex_search::seconds() const {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start_).count();
}

double convex_search::asked_gap() const {
  return std::max(options_.absolute_gap, options_.relative_gap * best_.value);
}

bool convex_search::limit_reached() const {
  return options_.stop.stop_requested() || seconds() > options_.seconds;
}

bool convex_search::must_end(double gap) {
  if (options_.progress) options_.progress({best_.value, best_.value - gap, 0});
  // What intervals prove is a little less than the bound in doubles.
  const double asked = asked_gap();
  const bool close_enough = asked > 0 && gap + 2 * kProofMargin * best_.value <= asked &&
                            model_.share_of_square() <= kProofMargin * best_.value;
  ended_ = close_enough || limit_reached();
  return ended_;
}

void convex_search::close_gap() {
  xy last{NAN, NAN};
  double last_value = best_.value;
  int idle = 0;
  for (int round = 0; round < kMostRounds && idle < kMostIdle; ++round) {
    model_.solve();
    const double gap = best_.value - model_.bound();
    if (must_end(gap)) return;
    const bool closed = gap <= kRoundingGap * best_.value;
    if (closed || gap <= asked_gap()) {
      if (model_.near_border(best_.at)) {
        model_.widen(8);
        continue;
      }
      if (closed) return;
    }
    // What is left is told from next to the nearest site.
    if (!problem_.polyhedral() && !nearest_ && gap <= kSiteGap * best_.value) return;
    xy at = model_.minimiser();
    idle = at == last && best_.value == last_value ? idle + 1 : 0;
    last = at;
    last_value = best_.value;
    if (gap > kHalfWayGap * best_.value) {
      at = {at.x + (best_.at.x - at.x) / 2, at.y + (best_.at.y - at.y) / 2};
    }
    take(reduced_(at));
    if (reduced_.useful()) reduced_.narrow(model_.level_box(best_.value * (1 + kProofMargin)));
  }
}

// Counts places from the nearest site: then every distance is known to its own last bits, even in
// the last place of the coordinates. Sums of distances are often least at a site, where the
// tangents of no other place show it, so the site itself is tried too. False if nothing is left to
// gain.
bool convex_search::count_from_nearest() {
  const std::size_t slot = table_.nearest(best_.at);
  if (nearest_ == slot) return false;
  const double gap = best_.value - model_.bound();
  if (nearest_ && gap <= kProofMargin * best_.value) return false;
  const xy offset{table_.x[slot] - best_.at.x, table_.y[slot] - best_.at.y};
  if (!nearest_ && gap <= kSiteGap * best_.value &&
      std::max(std::fabs(offset.x), std::fabs(offset.y)) > kSiteReach * extent_ &&
      evaluate_.level_radius(best_) * kLevelReach > extent_) {
    nearest_ = table_.size();  // the positions' roundings do not count
    return true;
  }
  nearest_ = slot;
  const site& origin = problem_.sites()[table_.site[slot]];
  const xy site_at{origin.x, origin.y};
  const xy shift{table_.base.x - site_at.x, table_.base.y - site_at.y};
  std::vector<xy> places{best_.at};
  for (const cut_model::support& s : model_.supports()) places.push_back(s.place);
  table_.count_from(problem_, site_at);
  for (xy& at : places) at = {at.x + shift.x, at.y + shift.y};
  best_ = evaluate_(places[0]);
  const evaluation at_site = evaluate_({0, 0});
  if (at_site.value <= best_.value) best_ = at_site;
  model_ = cut_model(best_, best_.at, evaluate_.level_radius(best_));
  if (best_.at != at_site.at) model_.add(at_site);
  for (const xy& at : places) take(evaluate_(at));
  return true;
}

// Where f is smooth, its slope is nearly linear around the optimum, so the mean of the supporting
// places that takes their slopes to 0 is far nearer to the optimum than what the values can tell.
void convex_search::polish(const std::vector<cut_model::support>& supports) {
  double total = 0;
  xy offset{0, 0};
  for (const cut_model::support& s : supports) {
    const double share = std::max(s.multiplier, 0.0);
    total += share;
    offset.x += share * (s.place.x - best_.at.x);
    offset.y += share * (s.place.y - best_.at.y);
  }
  if (!(total > 0)) return;
  const evaluation e = evaluate_({best_.at.x + offset.x / total, best_.at.y + offset.y / total});
  const auto steepness = [](const evaluation& f) {
    return std::fabs(f.slope.x) + std::fabs(f.slope.y);
  };
  if (e.value <= best_.value * (1 + kRoundingGap) && steepness(e) < steepness(best_)) best_ = e;
}

// Intervals lose more than the margin where powers are taken, terms cancel, positions are rounded
// (those of a site that has come nearer than the one they are counted from), and doubles end early.
void convex_search::claim_what_is_proved() {
  const bool rounded =
      nearest_ && *nearest_ < table_.size() && table_.nearest(best_.at) != *nearest_;
  const bool rough =
      rounded || table_.has_thin_ball() ||
      std::any_of(table_.blocks.begin(), table_.blocks.end(),
                  [](const detail::gauge_block& b) { return b.kind == gauge::shape::lp; });
  const bool margin_will_do = !rough && (ended_ || result_.gap() <= kOptimalGap * best_.value);
  if (margin_will_do && model_.share_of_square() <= kProofMargin * best_.value) return;
  evaluate_.release();
  detail::claim_what_is_proved(problem_, result_);
}

// f at a place that need not be exact, but for each distance.
double convex_search::value_under_thin_balls(const exact_xy& at) const {
  detail::exact_edges edges(table_);
  std::vector<double> distances;
  for (std::size_t slot = 0; slot < table_.size(); ++slot) {
    const detail::gauge_block& b = table_.blocks[table_.block_of[slot]];
    const std::uint32_t i = table_.site[slot];
    const site& s = problem_.sites()[i];
    const exact_xy from_site{at.x - s.x, at.y - s.y};
    distances.push_back(b.edges > 0 ? exact_distance(table_, edges, slot, from_site)
                                    : s.weight * problem_.gauge_of(i)(to_nearest(from_site)));
  }
  std::sort(distances.begin(), distances.end());
  double sum = 0;
  auto next = distances.begin();
  for (const order_run& r : problem_.runs()) {
    for (const auto end = next + static_cast<std::ptrdiff_t>(r.count); next != end; ++next)
      sum += r.weight * *next;
  }
  return sum;
}

void convex_search::close_in_doubles() {
  const auto supports = model_.supports();
  polish(supports);
  convex_certificate c;
  c.base = table_.base;
  for (const cut_model::support& s : supports) {
    if (!(s.multiplier > 0)) continue;
    c.pieces.push_back(evaluate_.piece_at(s.place));
    c.pieces.back().multiplier = s.multiplier;
  }
  result_.proof = std::move(c);
  const exact_xy at = absolute(best_.at);
  result_.value = table_.has_thin_ball() ? value_under_thin_balls(at) : best_.value;
  result_.lower_bound =
      std::clamp(model_.bound() - kProofMargin * result_.value, 0.0, result_.value);
  result_.point = to_nearest(at);
  if (to_exact(result_.point) != at) result_.exact = to_text(at);
  claim_what_is_proved();
  const double gap = result_.gap();
  if (!problem_.polyhedral() && gap <= kOptimalGap * result_.value) {
    result_.status = solution_status::optimal;
  } else if (!ended_ || gap <= asked_gap()) {
    result_.status = solution_status::within_gap;
  }
}

exact_xy convex_search::absolute(const xy& at) const {
  return {mpq_class(table_.base.x) + at.x, mpq_class(table_.base.y) + at.y};
}

// What is exact needs the memory that evaluations have.
const exact_place& convex_search::place(const exact_xy& at) {
  evaluate_.release();
  return places_->at(at);
}

detail::break_lines convex_search::lines_near(const xy& at, double reach) {
  evaluate_.release();
  places_->release();
  return {problem_, table_, places_->edges(), at, reach};
}

bool convex_search::prove_snapped(const exact_xy& at, const cut_model& model) {
  const xy here = to_nearest(exact_xy{at.x - table_.base.x, at.y - table_.base.y});
  std::vector<xy> hints;
  for (const cut_model::support& s : model.supports()) {
    hints.push_back({s.place.x - here.x, s.place.y - here.y});
  }
  const optimality o = test_optimality(place(at), hints);
  if (!o.support.empty()) {
    accept(at, o);
    return true;
  }
  take(evaluate_(here));
  const xy u = to_nearest(o.descent);
  const double step = extent_ * 1e-6 / (std::fabs(u.x) + std::fabs(u.y));
  take(evaluate_({here.x + step * u.x, here.y + step * u.y}));
  return false;
}

double convex_search::value_at(const exact_place& place) const {
  if (!place.cancels()) return place.value();
  const mpq_class value = place.exact_value();
  return detail::round_quotient(value.get_num(), value.get_den());
}

void convex_search::accept(const exact_xy& at, const optimality& o) {
  result_.status = solution_status::optimal;
  result_.point = to_nearest(at);
  if (to_exact(result_.point) != at) result_.exact = to_text(at);
  result_.value = result_.lower_bound = value_at(place(at));
  if (problem_.runs().front().weight == 0 && problem_.runs().size() == 1) {
    result_.optima.whole_plane = true;
  } else if (options_.whole_set) {
    for (const exact_xy& corner :
         optimal_corners(problem_, table_, evaluate_, *places_, at, o, extent_)) {
      result_.optima.corners.push_back(to_nearest(corner));
    }
  }
  // Last, so that it is not there while the set of optima is walked around.
  const exact_place& optimum = place(at);
  convex_certificate c;
  for (const auto& s : o.support) {
    c.pieces.push_back(optimum.piece(optimum.choose(s.direction)));
    c.pieces.back().multiplier = s.multiplier;
  }
  result_.proof = std::move(c);
}

// At the vertex that the minimiser of a model stands for.
bool convex_search::prove_near(const cut_model& model, std::span<const double> reaches) {
  const detail::break_lines lines = lines_near(model.minimiser(), reaches.back() * extent_);
  for (const double reach : reaches) {
    auto snapped = lines.snap(reach * extent_);
    // A vertex, unless the minimiser lies on an edge or a polygon of optima.
    if (snapped.lines < 2 && reach != reaches.back()) continue;
    if (std::find(tried_.begin(), tried_.end(), snapped.at) != tried_.end()) continue;
    if (prove_snapped(snapped.at, model)) return true;
    tried_.push_back(std::move(snapped.at));
  }
  return false;
}

void convex_search::prove() {
  places_.emplace(problem_, table_);
  for (int round = 0; round < kMostSnaps; ++round) {
    const std::size_t tried = tried_.size();
    if (prove_near(model_, kSnapReaches)) return;
    const cut_model closer = closer_model();
    if (ended_ || prove_near(closer, kCloserReaches)) return;
    if (tried_.size() == tried) break;
    close_gap();
    if (ended_) return;
  }
  prove_by_exact_cuts();
}

// Many sites and vertices have break lines so close together that values of f cannot tell their
// crossings apart, but what they are above one of them can.
cut_model convex_search::closer_model() {
  places_->release();
  const xy from = best_.at;
  detail::excess f(table_, evaluate_, from);
  evaluation best = f(from);
  const double level = best_.value * (1 + kCloserLevel);
  cut_model model(best, from, std::max(model_.level_box(level).size(), kLeastSquare * extent_));
  xy last{NAN, NAN};
  for (int round = 0; round < kMostRounds; ++round) {
    model.solve();
    const xy at = model.minimiser();
    if (at == last || must_end(best_.value - model_.bound())) break;
    last = at;
    const evaluation e = f(at);
    model.add(e);
    if (e.value < best.value) {
      best = e;
      model.recentre(at);
    }
    if (model.near_border(best.at)) model.widen(8);
  }
  return model;
}

// Weights over many orders of magnitude leave doubles too far from the vertex to be snapped.
void convex_search::prove_by_exact_cuts() {
  const double radius = evaluate_.level_radius(best_);  // 0 where f is, or nearly
  detail::exact_cuts cuts(absolute(best_.at), mpq_class(radius > 0 ? 2 * radius : extent_));
  for (const cut_model::support& s : model_.supports()) {
    cuts.add_pieces_at(place(absolute(s.place)), {1, 0});
  }
  exact_xy at = absolute(best_.at);
  for (;;) {
    const optimality o = test_optimality(place(at), {});
    if (!o.support.empty()) return accept(at, o);
    const xy here = to_nearest(exact_xy{at.x - table_.base.x, at.y - table_.base.y});
    const evaluation e = evaluate_(here);
    if (e.value < best_.value) best_ = e;
    if (must_end(best_.value - model_.bound())) return;
    cuts.add_pieces_at(place(at), o.descent);
    std::optional<exact_xy> next = cuts.minimiser([this] { return ended_ = limit_reached(); });
    if (!next) return;
    at = std::move(*next);
  }
}

solution over_the_plane(const problem& p, const minimise_options& options) {
  if (std::optional<solution> s = detail::euclidean_centre(p, options)) return std::move(*s);
  if (std::optional<solution> s = detail::smooth_median(p, options)) return std::move(*s);
  if (const std::optional<detail::far_sites> far = detail::find_far_sites(p)) {
    solution s = convex_search(far->centre, options).run();
    if (far->hold(s)) return far->expand(p, std::move(s));
  }
  return convex_search(p, options).run();
}

}  // namespace

detail::likely_optimum detail::find_likely_optimum(const problem& p,
                                                   const minimise_options& options) {
  return convex_search(p, options).find_likely();
}

solution minimise_convex(const problem& p, const minimise_options& options) {
  if (!p.convex())
    throw bad_problem("the order weights do not rise from 0 or more: f is not convex");
  detail::check_options(options);
  if (p.where().whole_plane()) return over_the_plane(p, options);
  // A place is at its best in the whole plane only if the search ends there.
  minimise_options to_the_end = options;
  to_the_end.absolute_gap = to_the_end.relative_gap = 0;
  if (options.progress) {
    to_the_end.progress = [&options](search_progress now) {
      now.value = std::numeric_limits<double>::infinity();  // of places that may be forbidden
      options.progress(now);
    };
  }
  return detail::minimise_within(p, options, over_the_plane(p.without_regions(), to_the_end));
}

solution minimise(const problem& p, const minimise_options& options) {
  return p.convex() ? minimise_convex(p, options) : minimise_general(p, options);
}

}  // namespace planloc
