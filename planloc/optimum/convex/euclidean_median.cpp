#include "planloc/optimum/convex/euclidean_median.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>

#include "planloc/optimum/evaluate.h"
#include "planloc/optimum/exact/exact_place.h"

namespace planloc::detail {

namespace {

constexpr std::size_t kChunk = 64;
constexpr std::size_t kFewSites = 16;
constexpr std::size_t kSitesToSample = 1000;
constexpr std::size_t kSampled = 16;  // one site in so many
constexpr int kMostSteps = 30;
constexpr int kMostHalvings = 30;
// Of the weights: a slope that is roundings only, and one that leaves too large a gap.
constexpr double kFlat = 1e-15;
constexpr double kRoundings = 50;  // times that: where a step may fail by roundings
constexpr double kClosed = 2e-13;
constexpr double kProofMargin = 3e-12;  // of the value: what intervals prove stays behind doubles
constexpr double kUlp = 0x1p-52;

using chunk = std::array<double, kChunk>;

template <std::size_t Size>
double sum_of(const double* terms) {
  if constexpr (Size == 1) {
    return *terms;
  } else {
    std::array<double, Size / 2> sums;
    for (std::size_t k = 0; k < Size / 2; ++k) sums[k] = terms[k] + terms[k + Size / 2];
    return sum_of<Size / 2>(sums.data());
  }
}

double sum_of(const chunk& terms) { return sum_of<kChunk>(terms.data()); }

struct weighted_sites {
  std::vector<double> x, y, weight;
};

// The sum of the distances with its first and second derivatives; `pull` is the sum of weight /
// distance.
struct expansion {
  xy at;
  double value = 0;
  xy slope{0, 0};
  double xx = 0, xy_ = 0, yy = 0;
  double pull = 0;

  double steepness() const { return std::sqrt(slope.x * slope.x + slope.y * slope.y); }
};

expansion expand(const weighted_sites& s, const xy& at) {
  expansion e{at};
  long double value = 0;
  long double slope_x = 0;
  long double slope_y = 0;
  chunk d, sx, sy, xx, cross, yy;
  for (std::size_t begin = 0; begin < s.x.size(); begin += kChunk) {
    const std::size_t size = std::min(kChunk, s.x.size() - begin);
    if (size < kChunk) {
      for (chunk* c : {&d, &sx, &sy, &xx, &cross, &yy}) c->fill(0);
    }
    for (std::size_t k = 0; k < size; ++k) {
      const double ux = at.x - s.x[begin + k];
      const double uy = at.y - s.y[begin + k];
      const double square = ux * ux + uy * uy;
      const double norm = std::sqrt(square);
      const double pull = s.weight[begin + k] / norm;
      const double turn = pull / square;
      d[k] = s.weight[begin + k] * norm;
      sx[k] = pull * ux;
      sy[k] = pull * uy;
      xx[k] = turn * (uy * uy);
      cross[k] = turn * (ux * uy);
      yy[k] = turn * (ux * ux);
    }
    value += sum_of(d);
    slope_x += sum_of(sx);
    slope_y += sum_of(sy);
    e.xx += sum_of(xx);
    e.xy_ -= sum_of(cross);
    e.yy += sum_of(yy);
  }
  e.value = static_cast<double>(value);
  e.slope = {static_cast<double>(slope_x), static_cast<double>(slope_y)};
  e.pull = e.xx + e.yy;
  return e;
}

// Empty where the steps end elsewhere than at a slope of 0.
std::optional<expansion> newton(const weighted_sites& s, const xy& start, double flat) {
  expansion best = expand(s, start);
  for (int step = 0; step < kMostSteps; ++step) {
    if (best.steepness() <= flat) return best;
    const double determinant = best.xx * best.yy - best.xy_ * best.xy_;
    if (!(determinant > 0) || !std::isfinite(determinant)) return {};
    xy u{(best.xy_ * best.slope.y - best.yy * best.slope.x) / determinant,
         (best.xy_ * best.slope.x - best.xx * best.slope.y) / determinant};
    // A value that roundings raise is no worse where the slope is flatter.
    expansion next;
    for (int halving = 0; halving < kMostHalvings; ++halving) {
      next = expand(s, {best.at.x + u.x, best.at.y + u.y});
      if (next.value < best.value || next.steepness() < best.steepness()) break;
      if (best.steepness() <= kRoundings * flat) return best;
      u = {u.x / 2, u.y / 2};
      if (best.at.x + u.x == best.at.x && best.at.y + u.y == best.at.y) return best;
    }
    if (!(next.value < best.value) && !(next.steepness() < best.steepness())) return best;
    best = next;
  }
  return best;
}

weighted_sites every(const weighted_sites& s, std::size_t step) {
  weighted_sites result;
  for (std::size_t k = 0; k < s.x.size(); k += step) {
    result.x.push_back(s.x[k]);
    result.y.push_back(s.y[k]);
    result.weight.push_back(s.weight[k]);
  }
  return result;
}

xy weighted_mean(const weighted_sites& s, double weights) {
  double x = 0;
  double y = 0;
  for (std::size_t k = 0; k < s.x.size(); ++k) {
    x += s.weight[k] * s.x[k];
    y += s.weight[k] * s.y[k];
  }
  return {x / weights, y / weights};
}

double total(const std::vector<double>& weights) {
  long double sum = 0;
  for (const double w : weights) sum += w;
  return static_cast<double>(sum);
}

double largest(const std::vector<double>& coordinates) {
  double most = 0;
  for (const double c : coordinates) most = std::max(most, std::fabs(c));
  return most;
}

solution as_solution(const problem& p, const xy& base, const expansion& e, double bound) {
  const double lambda = p.runs()[0].weight;
  solution s;
  s.status = solution_status::optimal;
  convex_certificate c;
  c.base = base;
  c.pieces.emplace_back();
  c.pieces[0].multiplier = 1;
  c.pieces[0].taken_at = e.at;
  s.proof = std::move(c);
  s.value = lambda * e.value;
  s.lower_bound = lambda * (bound - kProofMargin * e.value);
  const exact_xy at{mpq_class(base.x) + e.at.x, mpq_class(base.y) + e.at.y};
  s.point = to_nearest(at);
  if (to_exact(s.point) != at) s.exact = to_text(at);
  return s;
}

bool is_euclidean_median(const problem& p) {
  return p.runs().size() == 1 && p.runs()[0].weight > 0 && p.sites().size() >= kFewSites &&
         std::all_of(p.gauges().begin(), p.gauges().end(),
                     [](const gauge& g) { return g.kind() == gauge::shape::euclidean; });
}

}  // namespace

std::optional<solution> euclidean_median(const problem& p, const minimise_options& options) {
  if (!is_euclidean_median(p) || options.stop.stop_requested() || !(options.seconds > 0)) return {};
  const auto begin = std::chrono::steady_clock::now();
  distance_table table(p);
  const weighted_sites all{std::move(table.x), std::move(table.y), std::move(table.weight)};
  const double weights = total(all.weight);
  xy start = weighted_mean(all, weights);
  if (all.x.size() >= kSitesToSample) {
    const auto sample = newton(every(all, kSampled), start, 1e-6 * weights / kSampled);
    if (sample) start = sample->at;
  }
  const std::optional<expansion> e = newton(all, start, kFlat * weights);
  if (!e || !std::isfinite(e->value)) return {};
  // Places that are no worse lie within 2 f / weights, and the slope falls by no more than itself
  // on the way. The slope hangs on the positions' roundings where the place is close to a site.
  const double rounding = e->pull * kUlp * (largest(all.x) + largest(all.y));
  const double gap = 2 * (e->steepness() + rounding) / weights;
  if (!(gap <= kClosed)) return {};
  solution s = as_solution(p, table.base, *e, e->value * (1 - gap));
  if (options.progress) options.progress({s.value, s.lower_bound, 0});
  s.counters.evaluations = 1;
  s.counters.seconds =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
  return s;
}

}  // namespace planloc::detail
