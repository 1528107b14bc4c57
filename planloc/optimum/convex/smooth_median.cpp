#include "planloc/optimum/convex/smooth_median.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <functional>
#include <limits>
#include <utility>
#include <vector>

#include "planloc/optimum/evaluate.h"
#include "planloc/optimum/exact/exact_place.h"

namespace planloc::detail {

namespace {

constexpr std::size_t kChunk = lp_norm::kChunk;
constexpr std::size_t kFewSites = 3;
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
// The slope loses p roundings, which the margin must hold.
constexpr double kLargestPower = 1000;
// Within this many roundings of the line through a site along a coordinate the slope under p < 2
// may be any.
constexpr double kNearAxis = 64;

using chunk = lp_norm::chunk;

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

// The sum of the distances with its first and second derivatives.
struct expansion {
  xy at;
  double value = 0;
  xy slope{0, 0};
  double xx = 0, xy_ = 0, yy = 0;

  double steepness() const { return std::sqrt(slope.x * slope.x + slope.y * slope.y); }
};

// The terms of a chunk of sites.
struct chunk_terms {
  chunk norm, x, y, xx, cross, yy;
};

void expand_euclidean(const chunk& x, const chunk& y, const double* weight, std::size_t size,
                      chunk_terms& t) {
  for (std::size_t k = 0; k < size; ++k) {
    const double square = x[k] * x[k] + y[k] * y[k];
    const double norm = std::sqrt(square);
    const double by = 1 / norm;
    const double pull = weight[k] * by;
    const double turn = pull * (by * by);
    t.norm[k] = weight[k] * norm;
    t.x[k] = pull * x[k];
    t.y[k] = pull * y[k];
    t.xx[k] = turn * (y[k] * y[k]);
    t.cross[k] = -turn * (x[k] * y[k]);
    t.yy[k] = turn * (x[k] * x[k]);
  }
}

expansion expand(const distance_table& s, const xy& at) {
  expansion e{at};
  long double value = 0;
  long double slope_x = 0;
  long double slope_y = 0;
  chunk ux, uy;
  chunk_terms t;
  for (const gauge_block& b : s.blocks) {
    for (std::size_t begin = b.begin; begin < b.end; begin += kChunk) {
      const std::size_t size = std::min(kChunk, b.end - begin);
      for (std::size_t k = 0; k < size; ++k) {
        ux[k] = at.x - s.x[begin + k];
        uy[k] = at.y - s.y[begin + k];
      }
      if (b.kind == gauge::shape::euclidean) {
        expand_euclidean(ux, uy, &s.weight[begin], size, t);
      } else {
        b.norm.expand({ux.data(), uy.data(), size}, t.norm.data(), {t.x.data(), t.y.data()},
                      {t.xx.data(), t.cross.data(), t.yy.data()});
        for (chunk* c : {&t.norm, &t.x, &t.y, &t.xx, &t.cross, &t.yy}) {
          for (std::size_t k = 0; k < size; ++k) (*c)[k] *= s.weight[begin + k];
        }
      }
      if (size < kChunk) {
        for (chunk* c : {&t.norm, &t.x, &t.y, &t.xx, &t.cross, &t.yy})
          std::fill(c->begin() + size, c->end(), 0.0);
      }
      value += sum_of(t.norm);
      slope_x += sum_of(t.x);
      slope_y += sum_of(t.y);
      e.xx += sum_of(t.xx);
      e.xy_ += sum_of(t.cross);
      e.yy += sum_of(t.yy);
    }
  }
  e.value = static_cast<double>(value);
  e.slope = {static_cast<double>(slope_x), static_cast<double>(slope_y)};
  return e;
}

// The place where the steps end, at a slope of 0 or not.
expansion newton(const distance_table& s, const xy& start, double flat, std::size_t& evaluations) {
  const auto expanded_at = [&](const xy& at) {
    ++evaluations;
    return expand(s, at);
  };
  expansion best = expanded_at(start);
  for (int step = 0; step < kMostSteps; ++step) {
    if (best.steepness() <= flat) return best;
    const double determinant = best.xx * best.yy - best.xy_ * best.xy_;
    if (!(determinant > 0) || !std::isfinite(determinant)) return best;
    xy u{(best.xy_ * best.slope.y - best.yy * best.slope.x) / determinant,
         (best.xy_ * best.slope.x - best.xx * best.slope.y) / determinant};
    // A value that roundings raise is no worse where the slope is flatter.
    expansion next;
    for (int halving = 0; halving < kMostHalvings; ++halving) {
      next = expanded_at({best.at.x + u.x, best.at.y + u.y});
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

distance_table every(const distance_table& s, std::size_t step) {
  std::vector<std::uint32_t> slots;
  for (std::size_t k = 0; k < s.size(); k += step) slots.push_back(static_cast<std::uint32_t>(k));
  return s.only(slots);
}

// Folds the terms in eight lanes, which do not wait for each other.
template <class Term, class Fold>
double folded(std::size_t size, const Term& term, const Fold& fold) {
  constexpr std::size_t kLanes = 8;
  std::array<double, kLanes> lanes{};
  std::size_t k = 0;
  for (; k + kLanes <= size; k += kLanes) {
    for (std::size_t j = 0; j < kLanes; ++j) lanes[j] = fold(lanes[j], term(k + j));
  }
  for (; k < size; ++k) lanes[0] = fold(lanes[0], term(k));
  for (std::size_t j = 1; j < kLanes; ++j) lanes[0] = fold(lanes[0], lanes[j]);
  return lanes[0];
}

xy weighted_mean(const distance_table& s, double weights) {
  const auto moment = [&](const std::vector<double>& of) {
    return folded(
        s.size(), [&](std::size_t k) { return s.weight[k] * of[k]; }, std::plus<>());
  };
  return {moment(s.x) / weights, moment(s.y) / weights};
}

double total(const std::vector<double>& weights) {
  return folded(
      weights.size(), [&](std::size_t k) { return weights[k]; }, std::plus<>());
}

double largest(const std::vector<double>& coordinates) {
  return folded(
      coordinates.size(), [&](std::size_t k) { return std::fabs(coordinates[k]); },
      [](double a, double b) { return std::max(a, b); });
}

solution as_solution(const xy& base, affine_piece tangent, double value, double bound) {
  solution s;
  s.status = solution_status::optimal;
  const exact_xy at{mpq_class(base.x) + tangent.taken_at.x, mpq_class(base.y) + tangent.taken_at.y};
  convex_certificate c;
  c.base = base;
  c.pieces.push_back(std::move(tangent));
  c.pieces[0].multiplier = 1;
  s.proof = std::move(c);
  s.value = value;
  s.lower_bound = bound - kProofMargin * value;
  s.point = to_nearest(at);
  if (to_exact(s.point) != at) s.exact = to_text(at);
  return s;
}

// By how much the slope may change by the rounding of the sites' positions: the second derivatives
// tell, unless they change themselves.
double slope_in_doubt(const distance_table& s, const expansion& e) {
  const double rounding = kUlp * (largest(s.x) + largest(s.y));
  for (const gauge_block& b : s.blocks) {
    if (b.kind != gauge::shape::lp || b.p > 2) continue;
    double nearest = std::numeric_limits<double>::infinity();
    for (std::size_t k = b.begin; k < b.end; ++k)
      nearest = std::min({nearest, std::fabs(e.at.x - s.x[k]), std::fabs(e.at.y - s.y[k])});
    if (!(nearest > kNearAxis * rounding)) return std::numeric_limits<double>::infinity();
  }
  return (e.xx + e.yy) * rounding;
}

bool is_smooth_median(const problem& p) {
  return p.runs().size() == 1 && p.runs()[0].weight > 0 && p.sites().size() >= kFewSites &&
         std::all_of(p.gauges().begin(), p.gauges().end(), [](const gauge& g) {
           return g.kind() == gauge::shape::euclidean ||
                  (g.kind() == gauge::shape::lp && g.p() <= kLargestPower);
         });
}

std::optional<solution> at_slope_of_0(const problem& p, const distance_table& sites,
                                      const expansion& e, double weights) {
  // Places that are no worse lie within 2 f / weights in the norm of the largest p, by less than
  // half more in that of Euclid, and the slope falls by no more than itself on the way.
  const double gap = 3 * (e.steepness() + slope_in_doubt(sites, e)) / weights;
  if (!(gap <= kClosed) || !std::isfinite(e.value)) return {};
  const double value = p.runs()[0].weight * e.value;
  affine_piece tangent;
  tangent.taken_at = e.at;
  return as_solution(sites.base, std::move(tangent), value, value * (1 - gap));
}

// At the site that is nearest to a place, where it outweighs the slope of the others.
std::optional<solution> at_nearest_site(const problem& p, distance_table& sites, const xy& place) {
  const site& origin = p.sites()[sites.site[sites.nearest(place)]];
  sites.count_from(p, {origin.x, origin.y});
  evaluator evaluate(p, sites);
  const evaluation e = evaluate({0, 0});
  if (e.slope != xy{0, 0}) return {};
  return as_solution(sites.base, evaluate.piece_at(e.at), e.value, e.value);
}

}  // namespace

std::optional<solution> smooth_median(const problem& p, const minimise_options& options) {
  if (!is_smooth_median(p) || options.stop.stop_requested() || !(options.seconds > 0)) return {};
  const auto begin = std::chrono::steady_clock::now();
  distance_table sites(p);
  const double weights = total(sites.weight);
  xy start = weighted_mean(sites, weights);
  if (sites.size() >= kSitesToSample) {
    std::size_t of_sample = 0;
    const xy sampled =
        newton(every(sites, kSampled), start, 1e-6 * weights / kSampled, of_sample).at;
    if (std::isfinite(sampled.x + sampled.y)) start = sampled;
  }
  std::size_t evaluations = 0;
  const expansion e = newton(sites, start, kFlat * weights, evaluations);
  std::optional<solution> s = at_slope_of_0(p, sites, e, weights);
  if (!s) {
    s = at_nearest_site(p, sites, e.at);
    ++evaluations;
  }
  if (!s) return {};
  if (options.progress) options.progress({s->value, s->lower_bound, 0});
  s->counters.evaluations = evaluations;
  s->counters.seconds =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
  return s;
}

}  // namespace planloc::detail
