#include "tools/planloc/report.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace planloc::tool {

namespace {

// What counts as proved: the gap is closed as far as the tool promises.
constexpr double kProved = 1e-9;

std::string status_of(const solution& s) {
  switch (s.status) {
    case solution_status::optimal:
      return "optimal";
    case solution_status::unbounded:
      return "unbounded";
    case solution_status::infeasible:
      return "infeasible";
    case solution_status::far_away:
      return "far_away";
    default:
      break;
  }
  if (s.gap() <= kProved * std::fabs(s.value)) return "optimal";
  return s.status == solution_status::stopped ? "stopped" : "within_gap";
}

}  // namespace

const char* optimum_piece::kind() const {
  return corners.size() == 1 ? "point" : corners.size() == 2 ? "segment" : "polygon";
}

std::vector<site_figures> figures_at(const problem& question, const xy& at) {
  const std::size_t n = question.sites().size();
  std::vector<site_figures> figures(n);
  for (std::size_t i = 0; i < n; ++i) {
    const site& s = question.sites()[i];
    figures[i].distance = question.gauge_of(i)({at.x - s.x, at.y - s.y});
    figures[i].weighted_distance = question.distance(i, at);
  }
  std::vector<std::size_t> order(n);
  std::iota(order.begin(), order.end(), std::size_t{0});
  std::stable_sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) {
    return figures[a].weighted_distance < figures[b].weighted_distance;
  });
  const double value = question.value(at);
  std::size_t rank = 0;
  for (const order_run& run : question.runs()) {
    for (std::size_t k = 0; k < run.count; ++k) {
      site_figures& f = figures[order[rank]];
      f.rank = ++rank;
      f.share = value != 0 ? run.weight * f.weighted_distance / value : 0;
    }
  }
  return figures;
}

solve_report make_report(const site_plane& sites, const problem& question, const solution& s,
                         const std::string& objective, const gauge_choice& gauge) {
  solve_report r{.sites = sites, .question = question, .objective = objective, .gauge = gauge};
  r.status = status_of(s);
  if (r.status == "unbounded") {
    if (const auto* d = std::get_if<direction_certificate>(&s.proof)) r.direction = d->direction;
  }
  if (r.status == "unbounded" || r.status == "infeasible" || !std::isfinite(s.value)) return r;
  r.point = s.point;
  r.value = s.value;
  r.exact = (question.polyhedral() && s.status == solution_status::optimal) ||
            (s.value == 0 && s.lower_bound == 0);
  if (std::isfinite(s.lower_bound)) r.lower_bound = r.exact ? s.value : s.lower_bound;
  if (r.lower_bound && *r.lower_bound == s.value) {
    r.gap = 0;
  } else if (r.lower_bound && s.value != 0) {
    r.gap = (s.value - *r.lower_bound) / std::fabs(s.value);
  }
  r.whole_plane = s.optima.whole_plane;
  r.optima_complete = r.whole_plane || !s.optima.corners.empty();
  if (!r.whole_plane) {
    r.optima.push_back({s.optima.corners.empty() ? std::vector<xy>{s.point} : s.optima.corners});
  }
  r.figures = figures_at(question, s.point);
  return r;
}

}  // namespace planloc::tool
