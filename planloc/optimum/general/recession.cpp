#include "planloc/optimum/general/recession.h"

#include <gmpxx.h>

#include <algorithm>
#include <array>
#include <cmath>

#include "planloc/optimum/general/exact_close.h"
#include "planloc/optimum/general/search_tree.h"
#include "planloc/optimum/general/thin_axes.h"

namespace planloc::detail {

namespace {

// The search on the sides ends when the bound is this part of the least value that was seen.
constexpr double kBoundShare = 0.5;
constexpr int kMostDepth = 50;
constexpr std::size_t kMostCells = 20000;
// For what is computed in doubles and checked in intervals.
constexpr double kCaution = 1 + 0x1p-20;
constexpr double kRounding = 0x1p-30;

// The sum of |lambda| times the most by which d_i(x) and its gauge at x - base can differ, and f at
// the base, or the level: so much must the recession function be on the border of the square.
double needed_growth(const problem& p, const distance_table& table, double level) {
  evaluator evaluate(p, table);
  std::vector<double> difference(table.size());
  for (std::size_t k = 0; k < difference.size(); ++k) {
    const std::uint32_t i = table.site[k];
    const gauge& g = p.gauge_of(i);
    difference[k] =
        table.weight[k] * std::max(g({table.x[k], table.y[k]}), g({-table.x[k], -table.y[k]}));
  }
  std::sort(difference.begin(), difference.end());
  std::vector<double> lambda;
  for (const order_run& r : p.runs()) lambda.insert(lambda.end(), r.count, std::fabs(r.weight));
  std::sort(lambda.begin(), lambda.end());
  double sum = 0;
  for (std::size_t k = 0; k < lambda.size(); ++k) sum += lambda[k] * difference[k];
  return std::max({evaluate({0, 0}).value, 0.0, level}) + sum;
}

}  // namespace

mpq_class sum_of_weights(const problem& p) {
  mpq_class sum;
  for (const order_run& r : p.runs())
    sum += mpq_class(r.weight) * static_cast<unsigned long>(r.count);
  return sum;
}

bool has_one_kind(const problem& p) {
  const site& first = p.sites()[0];
  return std::all_of(p.sites().begin(), p.sites().end(), [&](const site& s) {
    return s.gauge == first.gauge && s.weight == first.weight;
  });
}

bool has_one_place(const problem& p) {
  const site& first = p.sites()[0];
  return std::all_of(p.sites().begin(), p.sites().end(),
                     [&](const site& s) { return s.x == first.x && s.y == first.y; });
}

bool is_level_everywhere(const problem& p) {
  std::vector<double> weights;
  for (const site& s : p.sites()) {
    if (s.gauge != p.sites()[0].gauge) return false;
    weights.push_back(s.weight);
  }
  std::sort(weights.begin(), weights.end());
  mpq_class sum;
  for (std::size_t k = 0; k < weights.size(); ++k)
    sum += mpq_class(p.lambda(k)) * mpq_class(weights[k]);
  return sgn(sum) == 0 && has_one_place(p);
}

bool surely_falls(const problem& origin, const distance_table& table, const xy& u) {
  if (!origin.polyhedral()) {
    double size = 0;
    for (std::size_t k = 0; k < table.size(); ++k) size += origin.distance(k, u);
    double steepest = 0;
    for (const order_run& r : origin.runs()) steepest = std::max(steepest, std::fabs(r.weight));
    return origin.value(u) < -kRounding * size * steepest;
  }
  return sgn(exact_closer(origin, table).value(to_exact(u))) < 0;
}

bool never_negative(const problem& p) {
  mpq_class tail;
  const std::span<const order_run> runs = p.runs();
  for (std::size_t r = runs.size(); r-- > 0;) {
    // Within a run the tail sums lie between those at its ends.
    tail += mpq_class(runs[r].weight) * static_cast<unsigned long>(runs[r].count);
    if (sgn(tail) < 0) return false;
  }
  return true;
}

problem recession_problem(const problem& p) {
  std::vector<site> sites(p.sites().begin(), p.sites().end());
  for (site& s : sites) s.x = s.y = 0;
  std::vector<double> lambda;
  for (const order_run& r : p.runs()) lambda.insert(lambda.end(), r.count, r.weight);
  return {std::move(sites), {p.gauges().begin(), p.gauges().end()}, order_weights(lambda)};
}

std::array<triangle, 4> unit_sides(const skewed_axes& axes) {
  const xy a = place_in(axes, {1, -1}), b = place_in(axes, {1, 1});
  const xy c = place_in(axes, {-1, 1}), d = place_in(axes, {-1, -1});
  return {triangle{a, b, b}, triangle{b, c, c}, triangle{c, d, d}, triangle{d, a, a}};
}

recession test_recession(const problem& p, const distance_table& table, const skewed_axes& axes,
                         const std::function<bool()>& done, double level) {
  recession result;
  if (has_one_kind(p)) {
    const int s = sgn(sum_of_weights(p));
    if (s < 0) {
      result.kind = growth::falls;
      result.direction = {1, 0};
      return result;
    }
    if (s == 0) return test_sectors(p, table, axes);
  }
  const problem origin = recession_problem(p);
  const distance_table gauges(origin);
  cell_bounder bounder(gauges);
  search_tree tree;
  double value = std::numeric_limits<double>::infinity();
  double size = 0;
  bool falls = false;
  const auto take = [&](std::unique_ptr<cell> c) {
    bounder.process(*c);
    const evaluation& e = bounder.best_seen();
    value = std::min(value, e.value);
    size = std::max(size, c->size);
    if (e.value < 0 && surely_falls(origin, gauges, e.at)) {
      falls = true;
      result.direction = e.at;
    }
    const double bound = c->bound;
    tree.push(std::move(c), bound);
  };
  for (const triangle& side : unit_sides(axes)) {
    std::unique_ptr<cell> root = bounder.whole(origin, side);
    tree.add_root(*root);
    take(std::move(root));
  }
  for (std::size_t cells = 0; !falls && tree.least_bound() < kBoundShare * value; cells += 2) {
    if (done()) return result;
    std::unique_ptr<cell> c = tree.pop();
    if (c->depth >= kMostDepth || cells > kMostCells) return test_sectors(p, table, axes);
    auto [one, other] = bounder.split(*c);
    tree.add_halves(*c, *one, *other);
    take(std::move(one));
    take(std::move(other));
  }
  if (falls) {
    result.kind = growth::falls;
    return result;
  }
  if (!(tree.least_bound() > kRounding * size)) return test_sectors(p, table, axes);
  result.kind = growth::grows;
  const double half = kCaution * needed_growth(p, table, level) / tree.least_bound();
  result.half = half > 0 ? half : 1;
  result.outside = tree.reasons();
  return result;
}

}  // namespace planloc::detail
