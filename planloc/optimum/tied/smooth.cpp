#include "planloc/optimum/tied/smooth.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>

#include "planloc/optimum/tied/smoothed_gauge.h"

namespace planloc::detail {

namespace {

constexpr double kFirstWidth = 0.1;
constexpr double kLastWidth = 1e-14;
// From width to width, where Newton's method does well; shorter ones up to the largest where not.
constexpr double kLeastRatio = 0.01;
constexpr double kUsualRatio = 0.1;
constexpr double kMostRatio = 0.5;
constexpr double kWidthOfFirstAnswer = 1e-4;
// An offset of so many widths is taken for 0: a slope there of more than 1 - 5e-4.
constexpr double kWidthsToSnap = 30;
// Slopes nearer to each other than this: the place's own one is taken. Where a coordinate of an
// offset is about 0, slopes of lp norms magnify its roundings.
constexpr double kSameSlope = 1e-7;
constexpr double kSameSlopeNearAxes = 1e-13;
// Offsets from here on tell the slope to some units in the last place.
constexpr double kNear = 0.1;
// Balls of large powers are nearly squares, which leave Newton's method nothing to go by until it
// is near, so powers grow to what they are.
constexpr double kFirstPower = 8;
constexpr double kMostPower = 1e9;  // beyond them balls are squares for all that doubles tell
constexpr double kPowerThatMagnifies = 100;  // roundings of an offset, in its slope
// A fall of the sum by a smaller share is lost in its roundings.
constexpr double kSumCanTell = 1e-13;
constexpr int kMendings = 3;
constexpr double kNothingLeft = 1e-16;
constexpr std::size_t kStepsPerWidth = 25;
constexpr double kCloseEnough = 1e-12;

double length(const xy& u) { return std::sqrt(u.x * u.x + u.y * u.y); }

double largest(std::span<const double> slopes) {
  double most = 0;
  for (const double s : slopes) most = std::max(most, std::fabs(s));
  return most;
}

class smooth_search {
 public:
  smooth_search(const tied_problem& p, const tied_part& part)
      : problem_(p),
        part_(part),
        terms_(p, part),
        radius_(ball_radii(p)),
        equations_(terms_.facilities),
        places_(terms_.means()) {
    find_euclidean_sites();
  }

  part_answer solve(const tied_limits& limits, tied_solution& s) {
    bool stopped = search(limits, s);
    // Far off, if at all, where squares do well.
    if (power_ > kPowerThatMagnifies && gap_ > kOptimalTiedGap * value_ && !stopped) {
      square_from_ = kPowerThatMagnifies;
      places_ = terms_.means();
      stopped = search(limits, s);
    }
    write_rounded(problem_, part_, terms_, best_, s);
    const solution_status status = gap_ <= kOptimalTiedGap * value_ ? solution_status::optimal
                                   : stopped                        ? solution_status::stopped
                                                                    : solution_status::within_gap;
    return {value_ * unit(), (value_ - gap_) * unit(), status};
  }

 private:
  double unit() const { return terms_.scale * terms_.weight_scale; }

  // Returns whether a limit ended it.
  bool search(const tied_limits& limits, tied_solution& s) {
    bool stopped = false;
    double most = 0;
    for (const part_term& t : others_)
      most = std::max(most, std::min(problem_.gauges()[t.gauge].p(), square_from_));
    for (power_ = kFirstPower; power_ < most && !stopped; power_ *= 2) {
      s.counters.rounds += descend(kFirstWidth, limits).steps;
      stopped = limits.stopped();
    }
    power_ = most;
    double width = kFirstWidth;
    double ratio = kLeastRatio;
    descent now = descend(width, limits);
    for (;;) {
      s.counters.rounds += now.steps;
      stopped = limits.stopped();
      if (width <= kWidthOfFirstAnswer || stopped) consider(width);
      if (found_ && (gap_ <= kCloseEnough * value_ || limits.enough(gap_, value_, unit()))) break;
      if (stopped || width < kLastWidth) break;
      ratio = std::max(ratio * ratio, now.steps <= 3 ? kLeastRatio : kUsualRatio);
      const std::vector<xy> before = places_;
      for (;; ratio = std::sqrt(ratio), places_ = before) {
        follow(width, ratio * width);
        now = descend(ratio * width, limits);
        if (now.arrived || ratio > kMostRatio || limits.stopped()) break;
        s.counters.rounds += now.steps;
      }
      width *= ratio;
    }
    return stopped;
  }

  smoothed_value smoothed(const part_term& t, const xy& u, double width) const {
    const gauge& g = problem_.gauges()[t.gauge];
    if (g.kind() == gauge::shape::euclidean) return smoothed_euclidean(u, width);
    if (g.kind() == gauge::shape::lp && g.p() > square_from_) return smoothed_linf(u, width);
    if (g.kind() == gauge::shape::lp) return smoothed_lp(u, std::min(g.p(), power_), width);
    return smoothed_polyhedral(u, terms_.normals_of(t.gauge), width);
  }

  // The smoothed sum; its slopes go to `slopes_`, its curvature to the equations.
  double evaluate(std::span<const xy> places, double width) {
    equations_.clear();
    slopes_.assign(2 * terms_.facilities, 0);
    double sum = 0;
    const auto add = [&](const part_term& t, const smoothed_value& v, double weight) {
      sum += weight * v.value;
      add_slope(t, {weight * v.slope.x, weight * v.slope.y}, slopes_);
      const symmetric_2x2& h = v.curvature;
      equations_.add(t, {weight * h.xx, weight * h.xy, weight * h.yy});
    };
    for (const auto& [facility, sites] : euclidean_) {
      const part_term any{facility, kNoFacility, 0, 0, 1, {0, 0}};
      add(any, smoothed_euclidean_sum(sites, places[facility], width), 1);
    }
    for (const part_term& t : others_)
      add(t, smoothed(t, terms_.offset(t, places), width), t.weight);
    return sum;
  }

  // Euclidean distances of sites are summed up together.
  void find_euclidean_sites() {
    for (const part_term& t : terms_.terms) {
      if (t.second != kNoFacility || problem_.gauges()[t.gauge].kind() != gauge::shape::euclidean) {
        others_.push_back(t);
        continue;
      }
      if (euclidean_.empty() || euclidean_.back().first != t.first)
        euclidean_.emplace_back(t.first, weighted_sites{});
      weighted_sites& sites = euclidean_.back().second;
      sites.x.push_back(t.at.x);
      sites.y.push_back(t.at.y);
      sites.weight.push_back(t.weight);
    }
  }

  struct descent {
    std::size_t steps;
    bool arrived;  // what is left to fall is less than what the width changes
  };
  // Newton's method.
  descent descend(double width, const tied_limits& limits) {
    double sum = evaluate(places_, width);
    for (std::size_t step = 0; step < kStepsPerWidth && !limits.stopped(); ++step) {
      equations_.factor();
      std::vector<double> move = equations_.solve(slopes_);
      for (double& m : move) m = -m;
      const double fall = -std::inner_product(move.begin(), move.end(), slopes_.begin(), 0.0);
      const bool moved =
          fall > kSumCanTell * sum ? step_down(move, fall, width, sum) : step_even(move, width);
      if (!moved) return {step, fall < width * sum};
      if (fall < 1e-2 * width * sum && width > kWidthOfFirstAnswer) return {step + 1, true};
    }
    return {kStepsPerWidth, false};
  }

  // Goes along the curve of the places that belong to the widths: offsets that vanish do so in
  // proportion to the width, which Newton's method would find hard to guess.
  void follow(double width, double next) {
    constexpr double kDifference = 1e-4;
    evaluate(places_, width);
    equations_.factor();
    std::vector<double> change = slopes_;
    evaluate(places_, width * (1 - kDifference));
    for (std::size_t r = 0; r < change.size(); ++r)
      change[r] = (change[r] - slopes_[r]) / (kDifference * width) * (width - next);
    std::vector<xy> ahead = moved(equations_.solve(change), 1);
    if (evaluate(ahead, next) < evaluate(places_, next)) places_ = std::move(ahead);
  }

  std::vector<xy> moved(std::span<const double> move, double share) const {
    std::vector<xy> next(places_);
    for (std::size_t j = 0; j < next.size(); ++j) {
      next[j].x += share * move[2 * j];
      next[j].y += share * move[2 * j + 1];
    }
    return next;
  }

  // A step that lowers the sum, shorter than Newton's where need be.
  bool step_down(std::span<const double> move, double fall, double width, double& sum) {
    for (double share = 1; share > 1e-9; share /= 2) {
      std::vector<xy> next = moved(move, share);
      const double next_sum = evaluate(next, width);
      if (!(next_sum <= sum - 0.1 * share * fall)) continue;
      places_ = std::move(next);
      sum = next_sum;
      return true;
    }
    return false;
  }

  // Near the end, where the sum's roundings hide its fall: a step that halves the slopes.
  bool step_even(std::span<const double> move, double width) {
    const double before = largest(slopes_);
    std::vector<xy> next = moved(move, 1);
    if (!std::isfinite(evaluate(next, width)) || !(largest(slopes_) < 0.5 * before)) return false;
    places_ = std::move(next);
    return true;
  }

  // ----- Answers -----

  // Keeps the answer at the present places, and the one with facilities put together, if its gap is
  // the least so far.
  void consider(double width) {
    try_places(places_, std::vector<std::uint32_t>(terms_.facilities, kNoFacility), width);
    auto [together, at_site] = put_together(width);
    if (together != places_) try_places(std::move(together), std::move(at_site), width);
  }

  // The answers change places, so that large ones are not made anew.
  void try_places(std::vector<xy> places, std::vector<std::uint32_t> at_site, double width) {
    tried_.places = std::move(places);
    tried_.at_site = std::move(at_site);
    set_slopes(tried_, width);
    mend(tried_, width);
    const double value = careful_value(problem_, terms_, tried_);
    const double gap = value - proved_bound(terms_, radius_, tried_, value);
    if (found_ && !(gap < gap_)) return;
    found_ = true;
    gap_ = gap;
    value_ = value;
    std::swap(best_, tried_);
  }

  // Slopes of the gauges themselves where the smoothed ones are those, else the smoothed ones of
  // the search's places.
  void set_slopes(rounded_answer& a, double width) {
    bent_.clear();
    a.slopes.clear();
    a.given.clear();
    a.edge.clear();
    a.slopes.reserve(terms_.terms.size());
    a.given.reserve(terms_.terms.size());
    a.edge.reserve(terms_.terms.size());
    for (const part_term& t : terms_.terms) {
      const xy here = terms_.offset(t, places_);
      const xy there = terms_.offset(t, a.places);
      const gauge& g = problem_.gauges()[t.gauge];
      const xy smooth = smoothed(t, here, width).slope;
      std::uint32_t edge = 0;
      xy exact{0, 0};
      if (g.kind() == gauge::shape::polyhedral) {
        edge = terms_.edge_in_force(t, a.places);
        exact = terms_.normals_of(t.gauge)[edge];
      } else {
        exact = slope_of_gauge(g, there);
      }
      const double same = g.kind() == gauge::shape::euclidean ? kSameSlope : kSameSlopeNearAxes;
      const bool bent = length(there) <= kWidthsToSnap * width ||
                        length({exact.x - smooth.x, exact.y - smooth.y}) > same;
      if (bent) bent_.push_back(a.slopes.size());
      xy slope = bent ? smooth : exact;
      if (g.kind() == gauge::shape::lp && g.p() > kPowerThatMagnifies) {
        const double norm = std::max(1.0, dual_norm(g, slope));
        slope = {slope.x / norm, slope.y / norm};
      }
      a.slopes.push_back(slope);
      a.given.push_back(bent || roundings_tell(g, there));
      a.edge.push_back(edge);
    }
  }

  // Whether the roundings of an offset show in the slope.
  static bool roundings_tell(const gauge& g, const xy& u) {
    if (g.kind() == gauge::shape::polyhedral) return false;
    if (g.kind() == gauge::shape::lp && g.p() > kPowerThatMagnifies) return true;
    return length(u) < kNear ||
           (g.kind() == gauge::shape::lp && std::min(std::fabs(u.x), std::fabs(u.y)) < kNear);
  }

  // Facilities within a few widths of each other at one place, of a site at that site.
  std::pair<std::vector<xy>, std::vector<std::uint32_t>> put_together(double width) const {
    std::vector<std::uint32_t> root(terms_.facilities);
    std::iota(root.begin(), root.end(), 0U);
    const auto find = [&](std::uint32_t j) {
      while (root[j] != j) j = root[j];
      return j;
    };
    std::vector<const part_term*> site(terms_.facilities, nullptr);
    for (const part_term& t : terms_.terms) {
      if (!(length(terms_.offset(t, places_)) <= kWidthsToSnap * width)) continue;
      if (t.second == kNoFacility) {
        site[t.first] = &t;
      } else {
        root[find(t.first)] = find(t.second);
      }
    }
    for (std::uint32_t j = 0; j < terms_.facilities; ++j)
      if (site[j] != nullptr) site[find(j)] = site[j];
    std::vector<xy> places;
    std::vector<std::uint32_t> at_site;
    for (std::uint32_t j = 0; j < terms_.facilities; ++j) {
      const part_term* at = site[find(j)];
      places.push_back(at == nullptr ? places_[find(j)] : at->at);
      at_site.push_back(at == nullptr ? kNoFacility : at->source);
    }
    return {std::move(places), std::move(at_site)};
  }

  // Newton's method for the slopes alone: the curvature is greatest where facilities were put
  // together or lie on rays, so those slopes take what the others leave over.
  void mend(rounded_answer& a, double width) {
    if (bent_.empty()) return;
    evaluate(places_, width);
    equations_.factor();
    std::vector<double> rest(2 * terms_.facilities, 0);
    for (std::size_t k = 0; k < terms_.terms.size(); ++k) {
      const part_term& t = terms_.terms[k];
      add_slope(t, {-t.weight * a.slopes[k].x, -t.weight * a.slopes[k].y}, rest);
    }
    for (int round = 0; round < kMendings && largest(rest) > kNothingLeft; ++round) {
      const std::vector<double> move = equations_.solve(rest);
      for (const std::size_t k : bent_) {
        const part_term& t = terms_.terms[k];
        const xy slope = bend(a.slopes[k], t, move, width);
        add_slope(t, {t.weight * (a.slopes[k].x - slope.x), t.weight * (a.slopes[k].y - slope.y)},
                  rest);
        a.slopes[k] = slope;
      }
    }
  }

  // A slope changed by what its curvature makes of a move, within the polar.
  xy bend(xy slope, const part_term& t, std::span<const double> move, double width) const {
    const symmetric_2x2 h = smoothed(t, terms_.offset(t, places_), width).curvature;
    const xy u = move_of(t, move);
    slope.x += h.xx * u.x + h.xy * u.y;
    slope.y += h.xy * u.x + h.yy * u.y;
    const double norm = dual_norm(problem_.gauges()[t.gauge], slope);
    return norm > 1 ? xy{slope.x / norm, slope.y / norm} : slope;
  }

  const tied_problem& problem_;
  const tied_part& part_;
  part_terms terms_;
  std::vector<double> radius_;
  std::vector<std::pair<std::uint32_t, weighted_sites>> euclidean_;  // by facility
  std::vector<part_term> others_;
  normal_equations equations_;
  std::vector<xy> places_;
  std::vector<double> slopes_;
  std::vector<std::size_t> bent_;  // the terms whose slopes differ from those at the places
  bool found_ = false;
  rounded_answer best_;
  rounded_answer tried_;
  double power_ = 0;                 // of all gauges at most, at present
  double square_from_ = kMostPower;  // balls of larger powers count as squares
  double gap_ = std::numeric_limits<double>::infinity();
  double value_ = 0;
};

}  // namespace

part_answer solve_smooth(const tied_problem& p, const tied_part& part, const tied_limits& limits,
                         tied_solution& s) {
  return smooth_search(p, part).solve(limits, s);
}

}  // namespace planloc::detail
