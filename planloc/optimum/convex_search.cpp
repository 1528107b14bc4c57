#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <optional>

#include "planloc/optimum/cut_model.h"
#include "planloc/optimum/exact_place.h"
#include "planloc/optimum/minimise.h"
#include "planloc/optimum/snap.h"

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
constexpr int kMostRounds = 100;

double extent(std::span<const site> sites) {
  const auto [left, right] = std::minmax_element(
      sites.begin(), sites.end(), [](const site& a, const site& b) { return a.x < b.x; });
  const auto [low, high] = std::minmax_element(
      sites.begin(), sites.end(), [](const site& a, const site& b) { return a.y < b.y; });
  const double size = std::max(right->x - left->x, high->y - low->y);
  if (size > 0) return size;
  return std::max({std::fabs(left->x), std::fabs(left->y), 1.0});
}

xy mean_position(std::span<const site> sites) {
  // Around the first site, so that equal positions have themselves as mean.
  const xy base{sites[0].x, sites[0].y};
  double x = 0;
  double y = 0;
  for (const site& s : sites) {
    x += s.x - base.x;
    y += s.y - base.y;
  }
  const auto n = static_cast<double>(sites.size());
  return {base.x + x / n, base.y + y / n};
}

class convex_search {
 public:
  convex_search(const problem& p, const minimise_options& options)
      : problem_(p),
        options_(options),
        table_(p),
        evaluate_(p, table_),
        best_(evaluate_(mean_position(p.sites()))),
        extent_(extent(p.sites())),
        model_(best_, best_.at, extent_) {}

  solution run() {
    close_gap();
    if (result_.status != solution_status::stopped) return finish();
    if (problem_.polyhedral()) {
      prove();
    }
    return finish();
  }

 private:
  // ----- In doubles -----

  void close_gap();
  bool must_end();
  void take(const evaluation& e);

  // ----- Exactly -----

  void prove();
  bool prove_at(const exact_xy& at);
  affine_piece to_piece(const optimality::supporting_piece& s) const;

  solution finish();

  const problem& problem_;
  const minimise_options& options_;
  detail::distance_table table_;
  detail::evaluator evaluate_;
  evaluation best_;
  double extent_;
  cut_model model_;
  std::optional<detail::exact_edges> edges_;
  std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
  solution result_;
};

void convex_search::take(const evaluation& e) {
  model_.add(e);
  if (e.value < best_.value) best_ = e;
}

void convex_search::close_gap() {
  for (int round = 0; round < kMostRounds; ++round) {
    model_.solve();
    const double gap = best_.value - model_.bound();
    const double size = std::fabs(best_.value);
    if (gap <= kRoundingGap * size) {
      if (!model_.at_border()) return;
      model_.widen(8);
      continue;
    }
    xy at = model_.minimiser();
    if (gap > kHalfWayGap * size)
      at = {at.x + (best_.at.x - at.x) / 2, at.y + (best_.at.y - at.y) / 2};
    take(evaluate_(at));
  }
}

bool convex_search::prove_at(const exact_xy& at) {
  const exact_place place(problem_, table_, *edges_, at);
  const xy rounded = to_nearest(at);
  std::vector<xy> hints;
  for (const cut_model::support& s : model_.supports()) {
    hints.push_back({s.place.x - rounded.x, s.place.y - rounded.y});
  }
  const optimality o = test_optimality(place, hints);
  if (o.support.empty()) {
    take(evaluate_(rounded));
    const xy u = to_nearest(o.descent);
    const double step = extent_ * 1e-6 / (std::fabs(u.x) + std::fabs(u.y));
    take(evaluate_({rounded.x + step * u.x, rounded.y + step * u.y}));
    return false;
  }
  convex_certificate c;
  for (const auto& s : o.support) c.pieces.push_back(to_piece(s));
  result_.proof = std::move(c);
  result_.status = solution_status::optimal;
  result_.point = rounded;
  if (to_exact(rounded) != at) result_.exact = to_text(at);
  result_.value = result_.lower_bound = place.value();
  if (o.support.size() == 3) result_.optima.corners = {rounded};
  return true;
}

void convex_search::prove() {
  edges_.emplace(table_);
  for (int round = 0; round < 20; ++round) {
    for (const double reach : {1e-13, 1e-10, 1e-7}) {
      const double size =
          std::max({extent_, std::fabs(best_.at.x) * 1e-3, std::fabs(best_.at.y) * 1e-3});
      if (prove_at(detail::snap(problem_, table_, *edges_, model_.minimiser(), reach * size)))
        return;
    }
    close_gap();
  }
}

affine_piece convex_search::to_piece(const optimality::supporting_piece& s) const {
  affine_piece piece;
  piece.multiplier = s.multiplier;
  piece.edge.resize(table_.size());
  for (std::size_t slot = 0; slot < table_.size(); ++slot)
    piece.edge[table_.site[slot]] = s.choice.edge[slot];
  if (s.choice.rank.empty()) return piece;
  piece.rank.resize(table_.size());
  for (std::size_t slot = 0; slot < table_.size(); ++slot)
    piece.rank[table_.site[slot]] = s.choice.rank[slot];
  return piece;
}

solution convex_search::finish() {
  if (result_.status == solution_status::stopped) {
    result_.point = best_.at;
    result_.value = best_.value;
    result_.lower_bound = model_.bound();
  }
  result_.counters.evaluations = evaluate_.count();
  result_.counters.seconds =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - start_).count();
  return std::move(result_);
}

}  // namespace

solution minimise_convex(const problem& p, const minimise_options& options) {
  if (!p.convex())
    throw bad_problem("the order weights do not rise from 0 or more: f is not convex");
  return convex_search(p, options).run();
}

solution minimise(const problem& p, const minimise_options& options) {
  return minimise_convex(p, options);
}

}  // namespace planloc
