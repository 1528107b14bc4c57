#include "planloc/optimum/convex/smooth_median.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <limits>
#include <utility>

#include "planloc/optimum/convex/smooth_sum.h"
#include "planloc/optimum/evaluate.h"
#include "planloc/optimum/exact/exact_place.h"

namespace planloc::detail {

namespace {

constexpr std::size_t kFewSites = 3;
constexpr std::size_t kSitesToSample = 1000;
constexpr std::size_t kSampled = 16;  // one site in so many
// Of a sample's slope, beside one over the root of its sites: what chance leaves.
constexpr double kNoise = 2;
constexpr int kMostSteps = 30;
constexpr int kMostHalvings = 30;
constexpr int kMostRounds = 6;  // between the two coordinates of a step
constexpr int kMostRootSteps = 30;
constexpr double kClosed = 4e-12;       // of the value, a gap that the slope may leave
constexpr double kProofMargin = 3e-12;  // of the value: what intervals prove stays behind doubles
constexpr double kUlp = 0x1p-52;
// The slope loses p roundings, which the margin must hold.
constexpr double kLargestPower = 1000;

xy newton_step(const expansion& e) {
  const double determinant = e.xx * e.yy - e.xy_ * e.xy_;
  return {(e.xy_ * e.slope.y - e.yy * e.slope.x) / determinant,
          (e.xy_ * e.slope.x - e.xx * e.slope.y) / determinant};
}

// The v with bend * v + pull * sign(v) |v|^power == right, by Newton's method in |v|^power, which
// comes from above.
double root_across(double bend, const smooth_sum::near_axis& a, double right) {
  if (a.pull == 0) return right / bend;
  const double most = std::fabs(right);
  double z = std::min(most / a.pull, std::pow(most / bend, a.power));
  for (int k = 0; k < kMostRootSteps; ++k) {
    const double v = std::pow(z, 1 / a.power);
    const double next = z - (bend * v + a.pull * z - most) / (bend * v / (a.power * z) + a.pull);
    if (!(next < z)) break;
    z = next;
  }
  return std::copysign(std::pow(z, 1 / a.power), right);
}

// Newton's step, except that the sites on whose axes the place nearly lies change their slopes as
// they do, not evenly.
xy step_across(const expansion& e, const std::array<smooth_sum::near_axis, 2>& axes) {
  const std::array<double, 2> slope{e.slope.x, e.slope.y};
  std::array<double, 2> bend{e.xx, e.yy};
  std::array<double, 2> right{};
  for (std::size_t j = 0; j < 2; ++j) {
    const smooth_sum::near_axis& a = axes[j];
    const double pull = a.pull * std::pow(std::fabs(a.offset), a.power);
    if (a.pull != 0) bend[j] -= a.power * pull / std::fabs(a.offset);
    if (!(bend[j] > 0)) return newton_step(e);
    right[j] = bend[j] * a.offset + std::copysign(pull, a.offset) - slope[j];
  }
  std::array<double, 2> step{};
  for (int round = 0; round < kMostRounds; ++round) {
    for (std::size_t j = 0; j < 2; ++j)
      step[j] = root_across(bend[j], axes[j], right[j] - e.xy_ * step[1 - j]) - axes[j].offset;
  }
  return {step[0], step[1]};
}

// The sum after a step, unseen, with a bound of its slope: after a step of length h the second
// derivatives of |u| have changed by at most 2 / sqrt(3) h / (|u| - h)^2, in the norm of matrices,
// so the slope is what they predicted but for half of that times h. With h <= |u| / 4 that is
// below 1.03 h^2 / |u|^2. No weight / |u|^2 is above the sum of all.
expansion after(const smooth_sum& f, const expansion& e, const xy& step) {
  expansion next = e;
  next.at = {e.at.x + step.x, e.at.y + step.y};
  next.value = e.value + (e.slope.x * step.x + e.slope.y * step.y) / 2;
  const double square = step.x * step.x + step.y * step.y;
  const double rounded = kUlp * (std::fabs(next.at.x) + std::fabs(next.at.y));
  const double left = std::fabs(e.slope.x + e.xx * step.x + e.xy_ * step.y) +
                      std::fabs(e.slope.y + e.xy_ * step.x + e.yy * step.y);
  next.steepness = 16 * square * e.bend <= f.lightest()
                       ? 1.03 * e.bend * square + left + 2 * (e.xx + e.yy) * rounded
                       : std::numeric_limits<double>::infinity();
  return next;
}

// The place where the slope is flat, or where the steps end.
expansion newton(const smooth_sum& f, std::size_t sampled, const xy& start, double flat,
                 std::size_t& evaluations) {
  const auto expanded_at = [&](const xy& at) {
    ++evaluations;
    return f.expand(at, sampled);
  };
  expansion best = expanded_at(start);
  for (int steps = 0; steps < kMostSteps && !(best.steepness <= flat); ++steps) {
    const auto axes = f.near_axes(best.at, sampled);
    xy u = axes[0].pull == 0 ? newton_step(best) : step_across(best, axes);
    if (!std::isfinite(u.x + u.y) || !(best.xx * best.yy > best.xy_ * best.xy_)) return best;
    if (const expansion next = after(f, best, u); next.steepness <= flat) return next;
    // A value that roundings raise is no worse where the slope is flatter.
    expansion next;
    for (int halving = 0; halving < kMostHalvings; ++halving) {
      next = expanded_at({best.at.x + u.x, best.at.y + u.y});
      if (next.value < best.value || next.steepness < best.steepness) break;
      u = {u.x / 2, u.y / 2};
      if (best.at.x + u.x == best.at.x && best.at.y + u.y == best.at.y) return best;
    }
    if (!(next.value < best.value) && !(next.steepness < best.steepness)) return best;
    best = next;
  }
  return best;
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

bool is_smooth_median(const problem& p) {
  return p.runs().size() == 1 && p.runs()[0].weight > 0 && p.sites().size() >= kFewSites &&
         std::all_of(p.gauges().begin(), p.gauges().end(), [](const gauge& g) {
           return g.kind() == gauge::shape::euclidean ||
                  (g.kind() == gauge::shape::lp && g.p() <= kLargestPower);
         });
}

std::optional<solution> at_slope_of_0(const problem& p, const smooth_sum& f, const expansion& e) {
  // Places that are no worse lie within 2 f / weights in the norm of the largest p, by less than
  // half more in that of Euclid, and the slope falls by no more than itself on the way.
  const double gap = 3 * e.steepness / f.weights();
  if (!(gap <= kClosed) || !std::isfinite(e.value)) return {};
  const double value = p.runs()[0].weight * e.value;
  affine_piece tangent;
  tangent.taken_at = e.at;
  return as_solution(f.base(), std::move(tangent), value, value * (1 - gap));
}

// At the site that is nearest to a place, where it outweighs the slope of the others.
std::optional<solution> at_nearest_site(const problem& p, const xy& place) {
  distance_table sites(p);
  const site& origin = p.sites()[sites.site[sites.nearest(place)]];
  sites.count_from(p, {origin.x, origin.y});
  evaluator evaluate(p, sites);
  const evaluation e = evaluate({0, 0});
  if (e.slope != xy{0, 0}) return {};
  return as_solution(sites.base, evaluate.piece_at(e.at), e.value, e.value);
}

// The mean of the sites, or if a sample says that the optimum is elsewhere, that of the sample.
xy start_of(const smooth_sum& f, std::size_t sites) {
  if (sites < kSitesToSample) return f.mean();
  const double sampled = static_cast<double>(sites) / kSampled;
  const double noise = kNoise / std::sqrt(sampled) * (f.weights() / kSampled);
  std::size_t of_sample = 0;
  const xy at = newton(f, kSampled, f.mean(), noise, of_sample).at;
  return std::isfinite(at.x + at.y) ? at : f.mean();
}

}  // namespace

std::optional<solution> smooth_median(const problem& p, const minimise_options& options) {
  if (!is_smooth_median(p) || options.stop.stop_requested() || !(options.seconds > 0)) return {};
  const auto begin = std::chrono::steady_clock::now();
  std::optional<smooth_sum> f(p);
  const xy start = start_of(*f, p.sites().size());
  std::size_t evaluations = 0;
  const expansion e = newton(*f, 1, start, kClosed / 6 * f->weights(), evaluations);
  std::optional<solution> s = at_slope_of_0(p, *f, e);
  f.reset();  // which may hold all sites once more
  if (!s) {
    s = at_nearest_site(p, e.at);
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
