#include <algorithm>
#include <limits>
#include <optional>
#include <utility>

#include "planloc/optimum/input_check.h"
#include "planloc/optimum/proved_claim.h"
#include "planloc/optimum/tied/heavy_terms.h"
#include "planloc/optimum/tied/part_answer.h"
#include "planloc/optimum/tied/polyhedral.h"
#include "planloc/optimum/tied/separable.h"
#include "planloc/optimum/tied/smooth.h"

namespace planloc {

namespace {

using namespace detail;

constexpr double kEvenWeights = 1e4;

// The place of all sites that hold a part, if it is one.
std::optional<xy> only_place(const tied_problem& p, const tied_part& part) {
  std::optional<xy> place;
  for (const std::uint32_t j : part.facilities) {
    for (std::size_t i = 0; i < p.sites().size(); ++i) {
      if (p.weight(j, i) == 0) continue;
      const xy at{p.sites()[i].x, p.sites()[i].y};
      if (place && *place != at) return {};
      place = at;
    }
  }
  return place;
}

// Of the value 0, which slopes of 0 prove.
part_answer put_at_site(const tied_problem& p, const tied_part& part, const xy& place,
                        tied_solution& s) {
  for (const std::uint32_t j : part.facilities) {
    s.points[j] = place;
    for (std::uint32_t i = 0; i < p.sites().size(); ++i)
      if (p.weight(j, i) > 0) s.proof.bends.push_back({j, i, {}});
  }
  return {};
}

// As far as doubles reach, and where they do not tell light terms beside heavy ones, without these.
part_answer solve_polyhedral_part(const tied_problem& p, const tied_part& part,
                                  const tied_options& options, const tied_limits& limits,
                                  tied_solution& s) {
  const std::size_t bends = s.proof.bends.size();
  const part_answer a = solve_polyhedral(p, part, limits, s);
  if (a.status != solution_status::within_gap || limits.enough(a.value - a.lower_bound, a.value, 1))
    return a;
  tied_solution light = s;
  light.proof.bends.resize(bends);
  tied_options rest = options;
  rest.seconds = std::max(0.0, options.seconds - limits.seconds());
  const std::optional<double> value = solve_light_terms(p, part, rest, light);
  if (!value) return a;
  s = std::move(light);
  return {*value, *value, solution_status::optimal};
}

part_answer solve_part(const tied_problem& p, const std::optional<frame>& f, const tied_part& part,
                       const tied_options& options, const tied_limits& limits, tied_solution& s) {
  if (const std::optional<xy> place = only_place(p, part)) return put_at_site(p, part, *place, s);
  if (f) {
    const double value = solve_separable(p, *f, part, s);
    return {value, value, solution_status::optimal};
  }
  return p.polyhedral() ? solve_polyhedral_part(p, part, options, limits, s)
                        : solve_smooth(p, part, limits, s);
}

// The largest weight over the least one.
double spread_of_weights(const tied_problem& p) {
  double least = std::numeric_limits<double>::infinity();
  double most = 0;
  const auto use = [&](double weight) {
    if (weight == 0) return;
    least = std::min(least, weight);
    most = std::max(most, weight);
  };
  for (const double w : p.weights()) use(w);
  for (const tie& t : p.ties()) use(t.weight);
  return most / least;
}

// Roundings of heavy ties, which light ones have to carry on to the sites, may take more than the
// margins of the bound.
void claim_what_spread_weights_leave(const tied_problem& p, tied_solution& s) {
  const bool exact = p.polyhedral() && s.status == solution_status::optimal;
  if (exact || spread_of_weights(p) <= kEvenWeights) return;
  const solution_status ended = std::exchange(s.status, solution_status::stopped);
  detail::claim_what_is_proved(p, s);
  const bool closed = s.gap() <= kOptimalTiedGap * s.value;
  s.status = ended == solution_status::optimal && !closed ? solution_status::within_gap : ended;
}

// Of a whole whose parts ended so.
solution_status worse(solution_status a, solution_status b) {
  for (const solution_status s : {solution_status::stopped, solution_status::within_gap})
    if (a == s || b == s) return s;
  return solution_status::optimal;
}

}  // namespace

tied_solution minimise(const tied_problem& p, const tied_options& options) {
  check_options({{"relative_gap", options.relative_gap},
                 {"absolute_gap", options.absolute_gap},
                 {"seconds", options.seconds}});
  const std::vector<tied_part> parts = held_parts(p);
  const tied_limits limits(options, parts.size());
  tied_solution s;
  s.points.assign(p.facilities(), {p.sites()[0].x, p.sites()[0].y});
  s.proof.edge.assign(p.weights().size(), 0);
  s.proof.ties.resize(p.ties().size());
  s.status = solution_status::optimal;
  const std::optional<frame> f = separable_frame(p);
  for (const tied_part& part : parts) {
    const part_answer a = solve_part(p, f, part, options, limits, s);
    s.value += a.value;
    s.lower_bound += a.lower_bound;
    s.status = worse(s.status, a.status);
  }
  const auto is_point = [](const exact_point& e) { return e.empty(); };
  if (std::all_of(s.exact.begin(), s.exact.end(), is_point)) s.exact.clear();
  claim_what_spread_weights_leave(p, s);
  s.counters.seconds = limits.seconds();
  return s;
}

}  // namespace planloc
