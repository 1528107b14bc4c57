#include "planloc/optimum/tied/polyhedral.h"

#include <algorithm>
#include <cmath>

#include "planloc/optimum/tied/crossing.h"
#include "planloc/optimum/tied/interior_point.h"

namespace planloc::detail {

namespace {

constexpr std::size_t kMostSteps = 80;
constexpr double kGapOfFirstCrossing = 1e-9;
constexpr double kGapRatioOfNextCrossing = 1e-2;

// The room of a slope at the origin to the border of the polar.
double room_of(const xy& slope, std::span<const xy> vertices) {
  double most = 0;
  for (const xy& v : vertices) most = std::max(most, slope.x * v.x + slope.y * v.y);
  return 1 - most;
}

class polyhedral_search {
 public:
  polyhedral_search(const tied_problem& p, const tied_part& part)
      : problem_(p), part_(part), terms_(p, part), method_(terms_) {}

  part_answer solve(const tied_limits& limits, tied_solution& s) {
    double next_crossing = kGapOfFirstCrossing;
    const double least = 1e-16 * static_cast<double>(terms_.terms.size());
    for (std::size_t k = 0; k < kMostSteps; ++k) {
      if (limits.stopped()) return rounded(solution_status::stopped, s);
      const bool moved = method_.step();
      ++s.counters.rounds;
      const double gap = method_.gap();
      const double value = method_.value();
      if (limits.enough(gap, value)) {
        const part_answer a = rounded(solution_status::within_gap, s);
        if (limits.enough(a.value - a.lower_bound, a.value)) return a;
      }
      if (!(gap <= std::max(next_crossing * value, least)) && moved) continue;
      next_crossing = gap / value * kGapRatioOfNextCrossing;
      if (const auto v = solve_crossing(problem_, part_, terms_, method_.places(), bent_terms(), s))
        return {*v * unit(), *v * unit(), solution_status::optimal};
      if (!moved || !std::isfinite(gap) || gap < least * 1e-3) break;
    }
    return rounded(solution_status::within_gap, s);
  }

 private:
  double unit() const { return terms_.scale * terms_.weight_scale; }

  // The terms with more than one edge whose multiplier is large beside its slack.
  std::vector<bent_term> bent_terms() const {
    std::vector<bent_term> bent;
    std::vector<std::uint32_t> active;
    for (std::uint32_t k = 0; k < terms_.terms.size(); ++k) {
      const part_term& t = terms_.terms[k];
      const auto normals = terms_.normals_of(t.gauge);
      const auto m = method_.multipliers(k);
      const auto s = method_.slacks(k);
      active.clear();
      for (std::uint32_t e = 0; e < m.size(); ++e) {
        const double steepness = std::fabs(normals[e].x) + std::fabs(normals[e].y);
        if (m[e] * steepness > s[e] * t.weight) active.push_back(e);
      }
      if (active.size() < 2) continue;
      const std::uint32_t first = active[0];
      const std::uint32_t second = active[1];
      const auto edges = static_cast<std::uint32_t>(m.size());
      const bool next = second == first + 1;
      if (active.size() == 2 && (next || (first == 0 && second + 1 == edges))) {
        const std::uint32_t from = next ? first : second;
        const double share = m[next ? second : first] / (m[first] + m[second]);
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
    const auto m = method_.multipliers(term);
    xy slope{0, 0};
    double total = 0;
    for (std::size_t e = 0; e < m.size(); ++e) {
      slope = {slope.x + m[e] * normals[e].x, slope.y + m[e] * normals[e].y};
      total += m[e];
    }
    return {slope.x / total, slope.y / total};
  }

  part_answer rounded(solution_status status, tied_solution& s) const {
    rounded_answer a;
    a.places = method_.places();
    a.at_site.assign(terms_.facilities, kNoFacility);
    for (std::uint32_t k = 0; k < terms_.terms.size(); ++k) {
      const auto m = method_.multipliers(k);
      const auto most = std::max_element(m.begin(), m.end());
      a.edge.push_back(static_cast<std::uint32_t>(most - m.begin()));
      a.given.push_back(*most < terms_.terms[k].weight * (1 - 1e-13));
      a.slopes.push_back(a.given[k] ? slope_of(k)
                                    : terms_.normals_of(terms_.terms[k].gauge)[a.edge[k]]);
    }
    const double value = terms_.value(problem_, a.places);
    const double bound = proved_bound(terms_, ball_radii(problem_), a, value);
    write_rounded(problem_, part_, terms_, a, s);
    return {value * unit(), bound * unit(), status};
  }

  const tied_problem& problem_;
  const tied_part& part_;
  part_terms terms_;
  interior_point method_;
};

}  // namespace

part_answer solve_polyhedral(const tied_problem& p, const tied_part& part,
                             const tied_limits& limits, tied_solution& s) {
  return polyhedral_search(p, part).solve(limits, s);
}

}  // namespace planloc::detail
