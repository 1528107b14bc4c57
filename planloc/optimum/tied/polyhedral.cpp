#include "planloc/optimum/tied/polyhedral.h"

#include <algorithm>
#include <cmath>
#include <optional>

#include "planloc/optimum/tied/crossing.h"
#include "planloc/optimum/tied/interior_point.h"

namespace planloc::detail {

namespace {

constexpr std::size_t kMostSteps = 80;
constexpr double kGapOfFirstCrossing = 1e-9;
constexpr double kGapRatioOfNextCrossing = 1e-2;

// With many sites, the search starts from places that are good for some of them.
constexpr std::size_t kSampledSites = 50;
constexpr std::size_t kLeastStep = 4;
constexpr double kGapOfSample = 1e-3;
constexpr double kGapFromSample = 0.3;

// The room of a slope at the origin to the border of the polar.
double room_of(const xy& slope, std::span<const xy> vertices) {
  double most = 0;
  for (const xy& v : vertices) most = std::max(most, slope.x * v.x + slope.y * v.y);
  return 1 - most;
}

class polyhedral_search {
 public:
  polyhedral_search(const tied_problem& p, const tied_part& part, std::size_t bends)
      : problem_(p), part_(part), terms_(p, part), bends_of_others_(bends) {}

  part_answer solve(const tied_limits& limits, tied_solution& s) {
    const std::size_t step = terms_.terms.size() / terms_.facilities / kSampledSites;
    if (step >= kLeastStep) {
      method_.emplace(terms_, sampled_places(step, s), kGapFromSample);
      const part_answer a = finish(limits, s);
      if (a.status != solution_status::within_gap || enough(limits, a)) return a;
      s.proof.bends.resize(bends_of_others_);
    }
    method_.emplace(terms_);
    return finish(limits, s);
  }

 private:
  double unit() const { return terms_.scale * terms_.weight_scale; }

  static bool enough(const tied_limits& limits, const part_answer& a) {
    return limits.enough(a.value - a.lower_bound, a.value);
  }

  // Places that are good for a sample of the sites.
  std::vector<xy> sampled_places(std::size_t step, tied_solution& s) const {
    const part_terms sample = terms_.sample(step);
    interior_point method(sample);
    for (std::size_t k = 0; k < kMostSteps && method.step(); ++k) {
      ++s.counters.rounds;
      if (method.gap() <= kGapOfSample * method.value()) break;
    }
    return method.places();
  }

  // Goes on until the crossing is the optimum.
  part_answer finish(const tied_limits& limits, tied_solution& s) {
    double next_crossing = kGapOfFirstCrossing;
    const double least = 1e-16 * static_cast<double>(terms_.terms.size());
    for (std::size_t k = 0; k < kMostSteps; ++k) {
      if (limits.stopped()) return rounded(solution_status::stopped, s);
      const bool moved = method_->step();
      ++s.counters.rounds;
      const double gap = method_->gap();
      const double value = method_->value();
      if (limits.enough(gap, value)) {
        const part_answer a = rounded(solution_status::within_gap, s);
        if (enough(limits, a)) return a;
      }
      if (!(gap <= std::max(next_crossing * value, least)) && moved) continue;
      next_crossing = gap / value * kGapRatioOfNextCrossing;
      const auto v = solve_crossing(problem_, part_, terms_, method_->places(), bent_terms(), s);
      if (v) return {*v * unit(), *v * unit(), solution_status::optimal};
      if (!moved || !std::isfinite(gap) || gap < least * 1e-3) break;
    }
    return rounded(solution_status::within_gap, s);
  }

  // The terms with more than one edge whose multiplier is large beside its slack.
  std::vector<bent_term> bent_terms() const {
    std::vector<bent_term> bent;
    std::vector<std::uint32_t> active;
    for (std::uint32_t k = 0; k < terms_.terms.size(); ++k) {
      const part_term& t = terms_.terms[k];
      const auto normals = terms_.normals_of(t.gauge);
      active.clear();
      for (std::uint32_t e = 0; e < normals.size(); ++e) {
        const double steepness = std::fabs(normals[e].x) + std::fabs(normals[e].y);
        if (method_->multiplier(k, e) * steepness > method_->slack(k, e) * t.weight)
          active.push_back(e);
      }
      if (active.size() < 2) continue;
      const std::uint32_t first = active[0];
      const std::uint32_t second = active[1];
      const auto edges = static_cast<std::uint32_t>(normals.size());
      const bool next = second == first + 1;
      if (active.size() == 2 && (next || (first == 0 && second + 1 == edges))) {
        const std::uint32_t from = next ? first : second;
        const double at_first = method_->multiplier(k, first);
        const double at_second = method_->multiplier(k, second);
        const double share = (next ? at_second : at_first) / (at_first + at_second);
        bent.push_back({k, false, from, share, {0, 0}, std::min(share, 1 - share)});
      } else {
        const xy slope = slope_of(k);
        bent.push_back(
            {k, true, 0, 0, slope, room_of(slope, problem_.gauges()[t.gauge].vertices())});
      }
    }
    return bent;
  }

  xy slope_of(std::uint32_t term) const {
    const auto normals = terms_.normals_of(terms_.terms[term].gauge);
    xy slope{0, 0};
    double total = 0;
    for (std::size_t e = 0; e < normals.size(); ++e) {
      const double m = method_->multiplier(term, e);
      slope = {slope.x + m * normals[e].x, slope.y + m * normals[e].y};
      total += m;
    }
    return {slope.x / total, slope.y / total};
  }

  part_answer rounded(solution_status status, tied_solution& s) const {
    s.proof.bends.resize(bends_of_others_);
    rounded_answer a;
    a.places = method_->places();
    a.at_site.assign(terms_.facilities, kNoFacility);
    for (std::uint32_t k = 0; k < terms_.terms.size(); ++k) {
      const auto normals = terms_.normals_of(terms_.terms[k].gauge);
      std::uint32_t edge = 0;
      for (std::uint32_t e = 1; e < normals.size(); ++e)
        if (method_->multiplier(k, e) > method_->multiplier(k, edge)) edge = e;
      a.edge.push_back(edge);
      a.given.push_back(method_->multiplier(k, edge) < terms_.terms[k].weight * (1 - 1e-13));
      a.slopes.push_back(a.given[k] ? slope_of(k) : normals[edge]);
    }
    const double value = careful_value(problem_, terms_, a);
    const double bound = proved_bound(terms_, ball_radii(problem_), a, value);
    write_rounded(problem_, part_, terms_, a, s);
    return {value * unit(), bound * unit(), status};
  }

  const tied_problem& problem_;
  const tied_part& part_;
  part_terms terms_;
  std::size_t bends_of_others_;  // in the certificate
  std::optional<interior_point> method_;
};

}  // namespace

part_answer solve_polyhedral(const tied_problem& p, const tied_part& part,
                             const tied_limits& limits, tied_solution& s) {
  return polyhedral_search(p, part, s.proof.bends.size()).solve(limits, s);
}

}  // namespace planloc::detail
