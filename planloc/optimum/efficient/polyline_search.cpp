#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <map>
#include <string>

#include "planloc/optimum/convex/cut_model.h"
#include "planloc/optimum/efficient_polyline.h"
#include "planloc/optimum/evaluate.h"
#include "planloc/optimum/input_check.h"

namespace planloc {

namespace {

using detail::cut_model;
using detail::evaluation;

constexpr int kMostRounds = 200;
constexpr int kMostIdle = 3;
constexpr double kHalfWayGap = 1e-3;
// Where doubles cannot narrow a gap further.
constexpr double kRoundingGap = 4e-15;
// Of a value: how far what intervals prove may stay behind a bound in doubles, without and with
// powers.
constexpr double kProofMargin = 1e-11;
constexpr double kProofMarginOfPowers = 5e-10;
constexpr double kMostProofMargin = 1e-2;
// A place becomes a point of the polyline when its value is known to this share of what it gains.
constexpr double kShareToSplit = 0.1;
// Of the tolerance: up to this a second point that is nearly as good as an end is the end, so that
// the other criterion is not worse there than it need be.
constexpr double kShareOfEnd = 0.25;
constexpr double kMostOfRange = 0.25;  // whatever the tolerance, lest nothing but one end be left
constexpr double kLeastRange = 1e-4;
constexpr double kLeastRise = 1e-13;  // of a value, from point to point; twice that in the search

using pair = std::array<double, 2>;

double cross(const pair& o, const pair& a, const pair& b) {
  return (a[0] - o[0]) * (b[1] - o[1]) - (a[1] - o[1]) * (b[0] - o[0]);
}

bool falls(double from, double to, double least) { return to < from - least * from; }

// Weightings count by s from 0 to 1: factor (1 - s) / scale_1 for f_1 and s / scale_2 for f_2.
class polyline_search {
 public:
  polyline_search(const bicriteria_problem& p, double tolerance, const polyline_options& options)
      : problem_(p),
        tolerance_(tolerance),
        share_of_end_(std::min(kShareOfEnd * tolerance, kMostOfRange)),
        options_(options),
        criterion_{p.criterion(0), p.criterion(1)},
        table_{detail::distance_table(criterion_[0]), detail::distance_table(criterion_[1])},
        evaluate_{detail::evaluator(criterion_[0], table_[0]),
                  detail::evaluator(criterion_[1], table_[1])} {
    const xy base = usual_base();
    for (std::size_t k = 0; k < 2; ++k) table_[k].count_from(criterion_[k], base);
    margin_ = usual_margin();
  }

  efficient_polyline run();

 private:
  struct evaluated {
    xy at;
    std::array<evaluation, 2> f;

    pair values() const { return {f[0].value, f[1].value}; }
  };
  struct support {
    double bound;
    std::vector<cut_model::support> shares;
    bool exhausted = false;
  };
  struct weighted_bound {
    double s, bound;
  };
  struct demand {
    double s;
    double value;   // of the polyline under this weighting
    double excess;  // over what is proved, in ranges
  };

  // ----- One weighting -----

  void take(const xy& at);
  evaluation weighted(const evaluated& e, double s) const;
  void solve(double s, double value, double gap);
  bool must_stop();

  // ----- The polyline -----

  void shape();
  void prune_ends();
  pair ranges(const pair& first, const pair& last) const;
  std::vector<weighted_bound> bound_hull() const;
  double excess(const std::vector<weighted_bound>& hull, double s, double value,
                const pair& range) const;
  std::vector<demand> demands(const std::vector<pair>& line) const;
  xy usual_base() const;
  double usual_margin() const;
  efficient_polyline claim();
  efficient_polyline assemble();
  void publish_points(efficient_polyline& result) const;
  void publish_bounds(efficient_polyline& result);

  const bicriteria_problem& problem_;
  double tolerance_;
  double margin_;  // of a value: how far what is claimed stays behind doubles
  double share_of_end_;
  const polyline_options& options_;
  std::array<problem, 2> criterion_;
  std::array<detail::distance_table, 2> table_;
  std::array<detail::evaluator, 2> evaluate_;
  std::vector<evaluated> pool_;
  double radius_ = 1;  // of a square around the first place that holds all optima
  pair scale_{1, 1};
  std::map<double, support> supports_;  // by s
  std::vector<pair> line_;              // values
  std::vector<std::size_t> line_places_;
  bool stopped_ = false;
  std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

// ----- One weighting -----

// Places are such that base + at is exact, so that they can be told in doubles.
void polyline_search::take(const xy& at) {
  const xy& base = table_[0].base;
  const xy exact{(base.x + at.x) - base.x, (base.y + at.y) - base.y};
  pool_.push_back({exact, {evaluate_[0](exact), evaluate_[1](exact)}});
}

evaluation polyline_search::weighted(const evaluated& e, double s) const {
  const pair factor{(1 - s) / scale_[0], s / scale_[1]};
  return {e.at,
          factor[0] * e.f[0].value + factor[1] * e.f[1].value,
          {factor[0] * e.f[0].slope.x + factor[1] * e.f[1].slope.x,
           factor[0] * e.f[0].slope.y + factor[1] * e.f[1].slope.y}};
}

bool polyline_search::must_stop() {
  stopped_ = stopped_ || options_.stop.stop_requested() || pool_.size() >= options_.evaluations ||
             std::chrono::duration<double>(std::chrono::steady_clock::now() - start_).count() >
                 options_.seconds;
  return stopped_;
}

// Until nothing is left of `value` beyond the gap, or a place is found that gains most of it. An
// infinite value asks for the least one.
void polyline_search::solve(double s, double value, double gap) {
  std::vector<evaluation> cuts;
  for (const evaluated& e : pool_) cuts.push_back(weighted(e, s));
  evaluation best =
      *std::min_element(cuts.begin(), cuts.end(),
                        [](const evaluation& a, const evaluation& b) { return a.value < b.value; });
  cut_model model(best, {0, 0}, radius_);
  model.recentre(best.at);
  for (const evaluation& e : cuts) {
    if (e.at != best.at) model.add(e);
  }
  support& found = supports_.try_emplace(s, support{-INFINITY, {}, false}).first->second;
  xy last{NAN, NAN};
  double last_value = best.value;
  int idle = 0;
  for (int round = 0; round < kMostRounds && idle < kMostIdle; ++round) {
    model.solve();
    const double bound = model.bound();
    if (bound > found.bound) {
      found.bound = bound;
      found.shares = model.supports();
    }
    const double missing = std::min(value, std::isfinite(value) ? value : best.value) - bound;
    if (missing <= gap || must_stop()) return;
    const double own_gap = best.value - bound;
    if (best.value < value && std::isfinite(value) && own_gap <= kShareToSplit * missing) return;
    if (own_gap <= kRoundingGap * best.value) break;
    xy at = model.minimiser();
    idle = at == last && best.value == last_value ? idle + 1 : 0;
    last = at;
    last_value = best.value;
    if (own_gap > kHalfWayGap * best.value)
      at = {at.x + (best.at.x - at.x) / 2, at.y + (best.at.y - at.y) / 2};
    take(at);
    const evaluation e = weighted(pool_.back(), s);
    model.add(e);
    if (e.value >= best.value) continue;
    best = e;
    model.recentre(e.at);
  }
  found.exhausted = true;
}

// ----- The polyline -----

// The lower left hull of all values so far; of two that are equal in one criterion but for
// roundings, the one that is better in the other.
void polyline_search::shape() {
  std::vector<std::size_t> order(pool_.size());
  for (std::size_t k = 0; k < order.size(); ++k) order[k] = k;
  std::sort(order.begin(), order.end(),
            [this](std::size_t a, std::size_t b) { return pool_[a].values() < pool_[b].values(); });
  line_.clear();
  line_places_.clear();
  for (const std::size_t k : order) {
    const pair v = pool_[k].values();
    if (!line_.empty() && !falls(line_.back()[1], v[1], 2 * kLeastRise)) continue;
    while (!line_.empty() &&
           (!falls(v[0], line_.back()[0], 2 * kLeastRise) ||
            (line_.size() >= 2 && cross(line_[line_.size() - 2], line_.back(), v) <= 0))) {
      line_.pop_back();
      line_places_.pop_back();
    }
    line_.push_back(v);
    line_places_.push_back(k);
  }
  prune_ends();
}

// The ranges are those of the points that are left, or less.
void polyline_search::prune_ends() {
  pair least{-INFINITY, -INFINITY};
  for (std::size_t k = 0; k < 2; ++k) {
    const auto s = supports_.find(static_cast<double>(k));
    if (s != supports_.end()) least[k] = s->second.bound * scale_[k];
  }
  pair range = ranges(line_.front(), line_.back());
  for (;;) {
    const auto is_end = [&](std::size_t criterion, std::size_t next) {
      return line_[next][criterion] - least[criterion] <= share_of_end_ * range[criterion];
    };
    std::size_t begin = 0;
    std::size_t last = line_.size() - 1;
    while (begin < last && is_end(0, begin + 1)) ++begin;
    while (begin < last && is_end(1, last - 1)) --last;
    const pair left = ranges(line_[begin], line_[last]);
    if (left[0] >= range[0] && left[1] >= range[1]) {
      line_ = {line_.begin() + begin, line_.begin() + last + 1};
      line_places_ = {line_places_.begin() + begin, line_places_.begin() + last + 1};
      return;
    }
    range = {std::min(range[0], left[0]), std::min(range[1], left[1])};
  }
}

pair polyline_search::ranges(const pair& first, const pair& last) const {
  pair range{};
  for (std::size_t k = 0; k < 2; ++k) {
    range[k] = std::max(std::fabs(last[k] - first[k]), kLeastRange * std::min(first[k], last[k]));
    if (range[k] == 0) range[k] = 1;
  }
  return range;
}

// What the bounds say of the weightings between them: those of (s, bound) that no mixture of two
// others is above.
std::vector<polyline_search::weighted_bound> polyline_search::bound_hull() const {
  std::vector<weighted_bound> hull;
  for (const auto& [s, found] : supports_) {
    const pair next{s, found.bound};
    while (hull.size() >= 2 && cross({hull[hull.size() - 2].s, hull[hull.size() - 2].bound},
                                     {hull.back().s, hull.back().bound}, next) >= 0) {
      hull.pop_back();
    }
    hull.push_back({s, found.bound});
  }
  return hull;
}

// A criterion whose sites lie at one place is 0 there, which has to be met without a rounding.
xy polyline_search::usual_base() const {
  for (const problem& p : criterion_) {
    const site& first = p.sites()[0];
    const auto is_there = [&](const site& s) { return s.x == first.x && s.y == first.y; };
    if (std::all_of(p.sites().begin(), p.sites().end(), is_there)) return {first.x, first.y};
  }
  return table_[0].base;
}

double polyline_search::usual_margin() const {
  for (const auto& table : table_) {
    for (const detail::gauge_block& b : table.blocks) {
      if (b.kind == gauge::shape::lp && b.end > b.begin) return kProofMarginOfPowers;
    }
  }
  return kProofMargin;
}

double polyline_search::excess(const std::vector<weighted_bound>& hull, double s, double value,
                               const pair& range) const {
  const auto above = std::lower_bound(hull.begin(), hull.end(), s,
                                      [](const weighted_bound& b, double at) { return b.s < at; });
  double bound = above->bound;
  if (above->s != s) {
    const auto below = std::prev(above);
    const double share = (s - below->s) / (above->s - below->s);
    bound = (1 - share) * below->bound + share * above->bound;
  }
  const double unit = (1 - s) * range[0] / scale_[0] + s * range[1] / scale_[1];
  return std::max(0.0, value + margin_ * value - bound) / unit;
}

std::vector<polyline_search::demand> polyline_search::demands(const std::vector<pair>& line) const {
  const auto hull = bound_hull();
  const pair range = ranges(line.front(), line.back());
  std::vector<demand> result;
  const auto ask = [&](double s, double value) {
    result.push_back({s, value, excess(hull, s, value, range)});
  };
  ask(0, line.front()[0] / scale_[0]);
  ask(1, line.back()[1] / scale_[1]);
  for (std::size_t k = 0; k + 1 < line.size(); ++k) {
    const double rise = (line[k + 1][0] - line[k][0]) / scale_[0];
    const double fall = (line[k][1] - line[k + 1][1]) / scale_[1];
    const double s = rise / (rise + fall);
    ask(s, (1 - s) * line[k][0] / scale_[0] + s * line[k][1] / scale_[1]);
  }
  return result;
}

void polyline_search::publish_points(efficient_polyline& result) const {
  const xy& base = table_[0].base;
  for (const std::size_t k : line_places_) {
    const xy at{base.x + pool_[k].at.x, base.y + pool_[k].at.y};
    const pair v{criterion_[0].value(at), criterion_[1].value(at)};
    std::vector<polyline_point>& points = result.points;
    if (!points.empty() && !falls(points.back().value2, v[1], kLeastRise)) continue;
    while (!points.empty() && !falls(v[0], points.back().value1, kLeastRise)) points.pop_back();
    points.push_back({at, v[0], v[1]});
  }
}

void polyline_search::publish_bounds(efficient_polyline& result) {
  std::map<std::pair<double, double>, std::uint32_t> cuts;
  for (const auto& [s, bound] : bound_hull()) {
    double least = INFINITY;
    for (const evaluated& e : pool_) least = std::min(least, weighted(e, s).value);
    polyline_bound& b = result.bounds.emplace_back();
    b.factor1 = (1 - s) / scale_[0];
    b.factor2 = s / scale_[1];
    b.bound = std::max(0.0, std::min(bound, least) - margin_ / 2 * least);
    for (const cut_model::support& share : supports_.at(s).shares) {
      if (!(share.multiplier > 0)) continue;
      const auto [cut, is_new] =
          cuts.try_emplace({share.place.x, share.place.y}, static_cast<std::uint32_t>(cuts.size()));
      if (is_new)
        result.cuts.push_back(
            {evaluate_[0].piece_at(share.place), evaluate_[1].piece_at(share.place)});
      b.shares.emplace_back(cut->second, share.multiplier);
    }
  }
}

efficient_polyline polyline_search::assemble() {
  const auto thin = [](const detail::distance_table& t) { return t.has_thin_ball(); };
  efficient_polyline result = claim();
  while (std::any_of(table_.begin(), table_.end(), thin) && margin_ < kMostProofMargin &&
         !verify(problem_, result).accepted) {
    margin_ *= 8;
    result = claim();
  }
  return result;
}

efficient_polyline polyline_search::claim() {
  efficient_polyline result;
  result.base = table_[0].base;
  publish_points(result);
  publish_bounds(result);
  std::vector<pair> line;
  for (const polyline_point& p : result.points) line.push_back({p.value1, p.value2});
  result.distance = 0;
  for (const demand& d : demands(line)) result.distance = std::max(result.distance, d.excess);
  result.status = result.distance <= tolerance_ ? polyline_status::within_tolerance
                  : stopped_                    ? polyline_status::stopped
                                                : polyline_status::above_tolerance;
  result.counters.evaluations = pool_.size();
  result.counters.seconds =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - start_).count();
  return result;
}

efficient_polyline polyline_search::run() {
  take({0, 0});
  for (std::size_t k = 0; k < 2; ++k)
    radius_ = std::max(radius_, 2 * evaluate_[k].level_radius(pool_[0].f[k]));
  const pair first = pool_[0].values();
  solve(0, INFINITY, share_of_end_ * first[0]);
  solve(1, INFINITY, share_of_end_ * first[1]);
  shape();
  scale_ = ranges(line_.front(), line_.back());
  supports_.at(0).bound /= scale_[0];
  supports_.at(1).bound /= scale_[1];
  while (!must_stop()) {
    shape();
    const demand* worst = nullptr;
    const std::vector<demand> all = demands(line_);
    for (const demand& d : all) {
      const auto known = supports_.find(d.s);
      if (known != supports_.end() && known->second.exhausted) continue;
      if (d.excess > tolerance_ && (worst == nullptr || d.excess > worst->excess)) worst = &d;
    }
    if (worst == nullptr) break;
    const pair range = ranges(line_.front(), line_.back());
    const double unit = (1 - worst->s) * range[0] / scale_[0] + worst->s * range[1] / scale_[1];
    const double gap = 0.9 * tolerance_ * unit - margin_ * worst->value;
    const double s = worst->s;
    const std::size_t places = pool_.size();
    const double known = supports_.contains(s) ? supports_.at(s).bound : -INFINITY;
    solve(s, s == 0 || s == 1 ? INFINITY : worst->value, gap);
    if (pool_.size() == places && supports_.at(s).bound <= known) supports_.at(s).exhausted = true;
  }
  shape();
  return assemble();
}

}  // namespace

efficient_polyline approximate_efficient_set(const bicriteria_problem& p, double tolerance,
                                             const polyline_options& options) {
  if (!(tolerance > 0))
    throw bad_problem("tolerance is " + detail::number_text(tolerance) + ": must be positive");
  detail::check_options({{"seconds", options.seconds}});
  return polyline_search(p, tolerance, options).run();
}

}  // namespace planloc
