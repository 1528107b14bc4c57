#include <cmath>

#include "planloc/optimum/proof/tied_parts.h"

namespace planloc {

namespace detail {

std::vector<fraction_pair> exact_places_of(const tied_problem& p, const tied_solution& s) {
  if (s.points.size() != p.facilities()) refuse("one point a facility is needed");
  if (!s.exact.empty() && s.exact.size() != p.facilities())
    refuse("one exact point a facility is needed");
  std::vector<fraction_pair> places;
  for (std::size_t j = 0; j < s.points.size(); ++j) {
    places.push_back(exact_place_of(s.points[j], s.exact.empty() ? exact_point{} : s.exact[j]));
  }
  return places;
}

namespace {

void check_edges(const tied_problem& p, const std::vector<std::uint32_t>& edge) {
  if (edge.size() != p.weights().size()) refuse("one edge a facility and site is needed");
  const std::size_t n = p.sites().size();
  for (std::size_t k = 0; k < edge.size(); ++k) {
    const gauge& g = p.gauges()[p.sites()[k % n].gauge];
    if (g.kind() != gauge::shape::polyhedral || edge[k] < g.vertices().size()) continue;
    refuse(term_name(k / n, k % n) + ": the gauge has no edge " + std::to_string(edge[k]));
  }
}

void check_slope(const tied_certificate::slope& s, const std::string& of) {
  if (!std::isfinite(s.rounded.x) || !std::isfinite(s.rounded.y)) refuse(of + ": no slope");
}

void check_certificate(const tied_problem& p, const tied_certificate& c) {
  check_edges(p, c.edge);
  std::vector<bool> bent(c.edge.size());
  for (const tied_certificate::bend& b : c.bends) {
    const std::string name = term_name(b.facility, b.site);
    if (b.facility >= p.facilities() || b.site >= p.sites().size()) refuse(name + " do not exist");
    check_slope(b.at, name);
    const std::size_t k = b.facility * p.sites().size() + b.site;
    if (bent[k]) refuse(name + ": more than one slope");
    bent[k] = true;
  }
  if (c.ties.size() != p.ties().size()) refuse("one slope a tie is needed");
  for (std::size_t t = 0; t < c.ties.size(); ++t)
    check_slope(c.ties[t], "tie " + std::to_string(t));
}

}  // namespace

}  // namespace detail

verification verify(const tied_problem& p, const tied_solution& s) {
  try {
    if (s.status == solution_status::infeasible || s.status == solution_status::unbounded)
      detail::refuse("tied facilities are neither infeasible nor unbounded");
    detail::check_finite(s.value, s.lower_bound);
    detail::check_certificate(p, s.proof);
    return p.polyhedral() && s.status == solution_status::optimal
               ? detail::verify_tied_fractions(p, s)
               : detail::verify_tied_intervals(p, s);
  } catch (detail::refusal& r) {
    verification v;
    v.reason = std::move(r.reason);
    return v;
  }
}

}  // namespace planloc
