#include "planloc/optimum/allocation/assignment.h"

#include <algorithm>
#include <cmath>

#include "planloc/optimum/minimise.h"

namespace planloc::detail {

namespace {

constexpr double kInwards = 1 - 1e-12;  // far more than the roundings of a distance

// gauge((x, y)) is at least this times |x| and |y|.
double at_least_of(const gauge& g) {
  if (g.kind() != gauge::shape::polyhedral) return kInwards;
  double reach = 0;
  for (const xy& v : g.vertices()) reach = std::max({reach, std::fabs(v.x), std::fabs(v.y)});
  return kInwards / reach;
}

}  // namespace

void assign(const allocation_problem& p, allocation& a) {
  const problem& single = p.single();
  std::vector<double> at_least;
  for (const gauge& g : single.gauges()) at_least.push_back(at_least_of(g));
  a.assignment.assign(p.sites().size(), 0);
  long double sum = 0;
  for (std::size_t i = 0; i < a.assignment.size(); ++i) {
    const site& s = p.sites()[i];
    const double slope = s.weight * at_least[s.gauge];
    double least = std::numeric_limits<double>::infinity();
    std::uint32_t number = 0;
    const auto serve = [&](const xy& at) {
      const std::uint32_t own = number++;
      if (slope * std::max(std::fabs(at.x - s.x), std::fabs(at.y - s.y)) >= least) return;
      const double d = single.distance(i, at);
      if (!(d < least)) return;
      least = d;
      a.assignment[i] = own;
    };
    for (const xy& at : a.points) serve(at);
    for (const xy& at : p.existing()) serve(at);
    sum += least;
  }
  a.value = static_cast<double>(sum);
}

namespace {

// Sites so close that they make no problem of their own (problem.h).
bool too_close(std::span<const site> sites) {
  return std::all_of(sites.begin(), sites.end(), [&](const site& s) {
    return std::fabs(s.x - sites[0].x) < kLeastNumber && std::fabs(s.y - sites[0].y) < kLeastNumber;
  });
}

// The optimum of what a facility serves; its own place if it serves nothing or is no worse.
xy best_place(const allocation_problem& p, const allocation& a, std::uint32_t facility) {
  std::vector<site> served;
  for (std::size_t i = 0; i < a.assignment.size(); ++i) {
    if (a.assignment[i] == facility) served.push_back(p.sites()[i]);
  }
  if (served.empty()) return a.points[facility];
  const xy first{served[0].x, served[0].y};
  const std::span<const gauge> gauges = p.single().gauges();
  const auto value_at = [&](const xy& at) {
    double sum = 0;
    for (const site& s : served) sum += s.weight * gauges[s.gauge]({at.x - s.x, at.y - s.y});
    return sum;
  };
  const auto optimum = [&] {
    if (too_close(served)) return first;
    minimise_options options;
    options.whole_set = false;
    const problem own(served, {gauges.begin(), gauges.end()}, order_weights::median());
    return minimise(own, options).point;
  }();
  return value_at(optimum) < value_at(a.points[facility]) ? optimum : a.points[facility];
}

}  // namespace

void alternate_to_optima(const allocation_problem& p, allocation& a,
                         const std::function<bool()>& expired) {
  std::sort(a.points.begin(), a.points.end(), lexicographic);
  assign(p, a);
  // The facilities whose sites changed.
  std::vector<char> open(a.points.size(), 1);
  while (std::find(open.begin(), open.end(), 1) != open.end() && !expired()) {
    allocation next = a;
    for (std::uint32_t k = 0; k < a.points.size(); ++k) {
      if (open[k] == 0) continue;
      next.points[k] = best_place(p, a, k);
      ++a.counters.solves;
    }
    assign(p, next);
    if (!(next.value < a.value)) break;
    std::fill(open.begin(), open.end(), 0);
    for (std::size_t i = 0; i < a.assignment.size(); ++i) {
      if (a.assignment[i] == next.assignment[i]) continue;
      for (const std::uint32_t k : {a.assignment[i], next.assignment[i]}) {
        if (k < open.size()) open[k] = 1;
      }
    }
    a.points = std::move(next.points);
    a.assignment = std::move(next.assignment);
    a.value = next.value;
  }
  if (std::is_sorted(a.points.begin(), a.points.end(), lexicographic)) return;
  std::sort(a.points.begin(), a.points.end(), lexicographic);
  assign(p, a);
}

}  // namespace planloc::detail
