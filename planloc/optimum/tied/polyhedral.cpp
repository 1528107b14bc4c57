#include "planloc/optimum/tied/polyhedral.h"

#include <algorithm>
#include <cmath>
#include <optional>

#include "planloc/optimum/tied/boxed_search.h"
#include "planloc/optimum/tied/crossing.h"

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
  polyhedral_search(const tied_problem& p, const tied_part& part, std::size_t bends)
      : problem_(p), part_(part), terms_(p, part), bends_of_others_(bends) {}

  part_answer solve(const tied_limits& limits, tied_solution& s) {
    search_.emplace(search_from_samples(terms_, s.counters.rounds));
    const part_answer a = finish(limits, s);
    if (a.status != solution_status::within_gap || enough(limits, a)) return a;
    s.proof.bends.resize(bends_of_others_);
    search_.emplace(terms_, false);
    return finish(limits, s);
  }

 private:
  const interior_point& method() const { return search_->method(); }
  double unit() const { return terms_.scale * terms_.weight_scale; }

  static bool enough(const tied_limits& limits, const part_answer& a) {
    return limits.enough(a.value - a.lower_bound, a.value, 1);
  }

  // Goes on until the crossing is the optimum.
  part_answer finish(const tied_limits& limits, tied_solution& s) {
    double next_crossing = kGapOfFirstCrossing;
    const double least = 1e-16 * static_cast<double>(terms_.terms.size());
    for (std::size_t k = 0; k < kMostSteps; ++k) {
      if (limits.stopped()) return rounded(solution_status::stopped, s);
      const bool moved = search_->step();
      ++s.counters.rounds;
      const double gap = method().gap();
      const double value = method().value();
      if (limits.enough(gap, value, unit())) {
        const part_answer a = rounded(solution_status::within_gap, s);
        if (enough(limits, a)) return a;
        s.proof.bends.resize(bends_of_others_);
      }
      if (!(gap <= std::max(next_crossing * value, least)) && moved) continue;
      next_crossing = gap / value * kGapRatioOfNextCrossing;
      const auto v = solve_crossing(problem_, part_, terms_, method().places(), bent_terms(), s);
      if (v) return {*v * unit(), *v * unit(), solution_status::optimal};
      if (!moved || !std::isfinite(gap) || gap < least * 1e-3) break;
    }
    return rounded(solution_status::within_gap, s);
  }

  // The terms with more than one edge whose multiplier is large beside its slack.
  std::vector<bent_term> bent_terms() const {
    std::vector<bent_term> bent;
    std::vector<std::uint32_t> active;
    const near_terms& near = method().terms();
    for (std::uint32_t n = 0; n < near.terms.size(); ++n) {
      const part_term& t = near.terms[n].term;
      const std::span<const near_edge> edges = near.edges_of(near.terms[n]);
      active.clear();
      for (std::uint32_t e = 0; e < edges.size(); ++e) {
        const double steepness = std::fabs(edges[e].normal.x) + std::fabs(edges[e].normal.y);
        if (method().multiplier(n, e) * steepness > method().slack(n, e) * t.weight)
          active.push_back(e);
      }
      if (active.size() < 2) continue;
      const std::uint32_t first = edges[active[0]].number;
      const std::uint32_t second = edges[active[1]].number;
      const bool next = second == first + 1;
      const bool around = first == 0 && second + 1 == terms_.normals_of(t.gauge).size();
      if (active.size() == 2 && (next || around)) {
        const double at_first = method().multiplier(n, active[0]);
        const double at_second = method().multiplier(n, active[1]);
        const double share = (next ? at_second : at_first) / (at_first + at_second);
        bent.push_back({near.terms[n].index,
                        false,
                        next ? first : second,
                        share,
                        {0, 0},
                        std::min(share, 1 - share)});
      } else {
        const xy slope = slope_of(n);
        bent.push_back({near.terms[n].index, true, 0, 0, slope,
                        room_of(slope, problem_.gauges()[t.gauge].vertices())});
      }
    }
    return bent;
  }

  // Of a near term.
  xy slope_of(std::uint32_t n) const {
    const std::span<const near_edge> edges = method().terms().edges_of(method().terms().terms[n]);
    xy slope{0, 0};
    double total = 0;
    for (std::size_t e = 0; e < edges.size(); ++e) {
      const double m = method().multiplier(n, e);
      slope = {slope.x + m * edges[e].normal.x, slope.y + m * edges[e].normal.y};
      total += m;
    }
    return {slope.x / total, slope.y / total};
  }

  part_answer rounded(solution_status status, tied_solution& s) const {
    s.proof.bends.resize(bends_of_others_);
    rounded_answer a;
    a.places = method().places();
    a.at_site.assign(terms_.facilities, kNoFacility);
    for (const part_term& t : terms_.terms) {
      const std::uint32_t edge = terms_.edge_in_force(t, a.places);
      a.edge.push_back(edge);
      a.given.push_back(false);
      a.slopes.push_back(terms_.normals_of(t.gauge)[edge]);
    }
    const near_terms& near = method().terms();
    for (std::uint32_t n = 0; n < near.terms.size(); ++n) give_slope(n, a);
    const double value = careful_value(problem_, terms_, a);
    const double bound = proved_bound(terms_, ball_radii(problem_), a, value);
    write_rounded(problem_, part_, terms_, a, s);
    return {value * unit(), bound * unit(), status};
  }

  // The slope of a near term: an edge's normal, but for roundings, or one between.
  void give_slope(std::uint32_t n, rounded_answer& a) const {
    const near_term& t = method().terms().terms[n];
    const std::span<const near_edge> edges = method().terms().edges_of(t);
    std::uint32_t edge = 0;
    for (std::uint32_t e = 1; e < edges.size(); ++e)
      if (method().multiplier(n, e) > method().multiplier(n, edge)) edge = e;
    a.edge[t.index] = edges[edge].number;
    a.given[t.index] = method().multiplier(n, edge) < t.term.weight * (1 - 1e-13);
    a.slopes[t.index] = a.given[t.index] ? slope_of(n) : edges[edge].normal;
  }

  const tied_problem& problem_;
  const tied_part& part_;
  part_terms terms_;
  std::size_t bends_of_others_;  // in the certificate
  std::optional<boxed_search> search_;
};

}  // namespace

part_answer solve_polyhedral(const tied_problem& p, const tied_part& part,
                             const tied_limits& limits, tied_solution& s) {
  return polyhedral_search(p, part, s.proof.bends.size()).solve(limits, s);
}

}  // namespace planloc::detail
