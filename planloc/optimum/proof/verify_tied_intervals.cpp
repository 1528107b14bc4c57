#include <algorithm>
#include <cmath>

#include "planloc/optimum/proof/gauge_interval.h"
#include "planloc/optimum/proof/tied_parts.h"

namespace planloc::detail {

namespace {

interval_pair operator+(const interval_pair& a, const interval_pair& b) {
  return {a.x + b.x, a.y + b.y};
}
interval_pair operator-(const interval_pair& a, const interval_pair& b) {
  return {a.x - b.x, a.y - b.y};
}
interval_pair operator*(const interval& w, const interval_pair& a) { return {w * a.x, w * a.y}; }

double length(const interval_pair& a) { return sqrt(square(a.x) + square(a.y)).high; }

// A slope inside the polar: shortened where it may be outside.
interval_pair slope_in_polar(const gauge& g, const xy& slope) {
  if (g.kind() != gauge::shape::polyhedral) return in_polar(g, slope);
  interval most = 1;
  for (const xy& v : g.vertices())
    most = larger(most, dot(interval_pair{slope.x, slope.y}, interval_pair{v.x, v.y}));
  if (most.high <= 1) return {slope.x, slope.y};
  return {interval(slope.x) / most.high, interval(slope.y) / most.high};
}

// The bound is that of other slopes, which cancel exactly: what the given ones leave over at a
// facility is handed along ties to one with sites, and there spread over the terms of all its sites
// in proportion to their weights. That may lead out of the polars, by no more than a share `excess`
// of them; all slopes of the part divided by 1 + excess are inside and still cancel.
class tied_intervals {
 public:
  tied_intervals(const tied_problem& p, const tied_solution& s)
      : problem_(p), certificate_(s.proof), places_(exact_places_of(p, s)) {
    for (const gauge& g : p.gauges()) radius_.push_back(ball_radius(g));
    find_parts();
    hang_on_sites();
  }

  interval value() const {
    std::vector<interval> terms;
    for (std::size_t j = 0; j < problem_.facilities(); ++j) {
      for (std::size_t i = 0; i < problem_.sites().size(); ++i) {
        const double w = problem_.weight(j, i);
        if (w > 0) terms.push_back(interval(w) * gauge_value(gauge_of(i), offset(j, i)));
      }
    }
    for (const tie& b : problem_.ties()) {
      if (b.weight == 0) continue;
      terms.push_back(interval(b.weight) * gauge_value(problem_.gauges()[b.gauge], offset(b)));
    }
    return sum_of(terms);
  }

  double bound() {
    along_.resize(problem_.facilities());
    std::vector<interval_pair> rest = sum_sites();
    add_ties(rest);
    std::vector<double> excess(problem_.facilities(), 0);
    const auto exceed = [&](std::size_t j, const interval& share, double radius) {
      double& most = excess[part_[j]];
      most = std::max(most, above((share * interval(length(rest[j])) * interval(radius)).high));
    };
    for (auto j = order_.rbegin(); j != order_.rend(); ++j) {
      const std::size_t up = up_[*j];
      if (up == kNone) {
        const interval share = interval(1) / pull_[*j];
        exceed(*j, share, steepest_[*j]);
        add_along(*j, -dot(rest[*j], share * pull_along_[*j]));
        continue;
      }
      // A tie's slope counts forwards for its first facility, backwards for its second one.
      const tie& b = problem_.ties()[up];
      const bool first = b.first == *j;
      const std::size_t other = first ? b.second : b.first;
      exceed(*j, interval(1) / interval(b.weight), radius_[b.gauge]);
      add_along(*j, first ? -dot(rest[*j], offset(b)) : dot(rest[*j], offset(b)));
      rest[other] = rest[other] + rest[*j];
    }
    interval bound = 0;
    for (std::size_t j = 0; j < along_.size(); ++j) {
      const interval part = sum_of(along_[j]) / (interval(1) + interval(excess[j]));
      bound = bound + interval(std::max(0.0, part.low));
    }
    return bound.low;
  }

 private:
  static constexpr std::size_t kNone = static_cast<std::size_t>(-1);

  const gauge& gauge_of(std::size_t site) const {
    return problem_.gauges()[problem_.sites()[site].gauge];
  }
  interval_pair offset(std::size_t j, std::size_t i) const {
    const tied_site& s = problem_.sites()[i];
    return {enclosed(places_[j].x - s.x), enclosed(places_[j].y - s.y)};
  }
  interval_pair offset(const tie& b) const {
    return {enclosed(places_[b.first].x - places_[b.second].x),
            enclosed(places_[b.first].y - places_[b.second].y)};
  }

  void add_along(std::size_t j, const interval& term) { along_[part_[j]].push_back(term); }

  // Which facilities ties hold together: each has the least number of its part.
  void find_parts() {
    part_.resize(problem_.facilities());
    for (std::size_t j = 0; j < part_.size(); ++j) part_[j] = j;
    for (bool changed = true; changed;) {
      changed = false;
      for (const tie& b : problem_.ties()) {
        if (b.weight == 0 || part_[b.first] == part_[b.second]) continue;
        part_[b.first] = part_[b.second] = std::min(part_[b.first], part_[b.second]);
        changed = true;
      }
    }
  }

  // Facilities with sites first, then those that a tie joins to earlier ones.
  void hang_on_sites() {
    up_.assign(problem_.facilities(), kNone);
    std::vector<bool> reached(problem_.facilities());
    for (std::size_t j = 0; j < problem_.facilities(); ++j) {
      for (std::size_t i = 0; i < problem_.sites().size() && !reached[j]; ++i)
        reached[j] = problem_.weight(j, i) > 0;
      if (reached[j]) order_.push_back(j);
    }
    for (std::size_t k = 0; k < order_.size(); ++k) {
      for (std::size_t t = 0; t < problem_.ties().size(); ++t) {
        const tie& b = problem_.ties()[t];
        if (b.weight == 0 || (b.first != order_[k] && b.second != order_[k])) continue;
        const std::size_t other = b.first == order_[k] ? b.second : b.first;
        if (reached[other]) continue;
        reached[other] = true;
        up_[other] = t;
        order_.push_back(other);
      }
    }
    reached_ = std::move(reached);
  }

  // The slopes of each facility's sites, and what the spreading needs.
  std::vector<interval_pair> sum_sites() {
    const std::size_t n = problem_.sites().size();
    std::vector<const tied_certificate::bend*> bends(problem_.weights().size());
    for (const tied_certificate::bend& b : certificate_.bends) bends[b.facility * n + b.site] = &b;
    std::vector<interval_pair> rest;
    for (std::size_t j = 0; j < problem_.facilities(); ++j) {
      std::vector<interval> x, y, weight, ux, uy;
      double steepest = 0;
      for (std::size_t i = 0; i < n; ++i) {
        if (problem_.weight(j, i) == 0) continue;
        const interval w = problem_.weight(j, i);
        const interval_pair u = offset(j, i);
        const interval_pair slope = slope_of(j, i, u, bends[j * n + i]);
        x.push_back(w * slope.x);
        y.push_back(w * slope.y);
        add_along(j, w * dot(slope, u));
        weight.push_back(w);
        ux.push_back(w * u.x);
        uy.push_back(w * u.y);
        steepest = std::max(steepest, radius_[problem_.sites()[i].gauge]);
      }
      rest.push_back({sum_of(x), sum_of(y)});
      pull_.push_back(sum_of(weight));
      pull_along_.push_back({sum_of(ux), sum_of(uy)});
      steepest_.push_back(steepest);
    }
    return rest;
  }

  interval_pair slope_of(std::size_t j, std::size_t i, const interval_pair& u,
                         const tied_certificate::bend* bend) const {
    const gauge& g = gauge_of(i);
    if (bend != nullptr) return slope_in_polar(g, bend->at.rounded);
    if (g.kind() == gauge::shape::polyhedral)
      return edge_normal(g, certificate_.edge[j * problem_.sites().size() + i]);
    return tangent(g, u);
  }

  void add_ties(std::vector<interval_pair>& rest) {
    for (std::size_t t = 0; t < problem_.ties().size(); ++t) {
      const tie& b = problem_.ties()[t];
      // Ties among facilities that nothing holds get the slope 0.
      if (b.weight == 0 || !reached_[b.first]) continue;
      const interval_pair h = interval(b.weight) * slope_in_polar(problem_.gauges()[b.gauge],
                                                                  certificate_.ties[t].rounded);
      rest[b.first] = rest[b.first] + h;
      rest[b.second] = rest[b.second] - h;
      add_along(b.first, dot(h, offset(b)));
    }
  }

  const tied_problem& problem_;
  const tied_certificate& certificate_;
  std::vector<fraction_pair> places_;
  std::vector<double> radius_;      // of the gauges' balls
  std::vector<std::size_t> order_;  // facilities, each after the one that it hangs on
  std::vector<std::size_t> up_;     // the tie that a facility hangs on
  std::vector<bool> reached_;
  std::vector<std::size_t> part_;
  std::vector<std::vector<interval>> along_;  // of each part: the terms of the bound
  std::vector<interval> pull_;                // of each facility: the sum of its weights
  std::vector<interval_pair> pull_along_;
  std::vector<double> steepest_;
};

}  // namespace

verification verify_tied_intervals(const tied_problem& p, const tied_solution& s) {
  tied_intervals check(p, s);
  const interval value = check.value();
  verification v;
  v.value = value.high;
  v.lower_bound = check.bound();
  v.gap = v.value > v.lower_bound ? above(v.value - v.lower_bound) : 0;
  const double rounding = rounding_of(value.high);
  if (!(s.value >= value.low - rounding && s.value <= value.high + rounding)) {
    refuse("the value is not that of the points");
  }
  if (!(s.lower_bound <= v.lower_bound)) {
    refuse("the lower bound is above the one that the certificate proves");
  }
  if (s.status == solution_status::optimal)
    check_gap(s.value, s.lower_bound, kOptimalTiedGap * value.high + rounding);
  v.accepted = true;
  return v;
}

}  // namespace planloc::detail
