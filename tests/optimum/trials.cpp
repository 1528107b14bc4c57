// Random and degenerate problems with 1 to 12 sites: the answer of `minimise` against all crossings
// of the arrangement, and its proof. Each instance depends on the seed and its number alone.
//
//   $ optimum_trials 1000000        instances 0 to 999999 of seed 1
//   $ optimum_trials 1 7 2369       instance 2369 of seed 7
//
// One line a fault, then a table; status 1 if there was a fault. Beside the faults the table counts
// what was left open: f that levels off far away under smooth gauges, of which no least value is
// known, or that is least nowhere.
#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <iomanip>
#include <iostream>
#include <limits>
#include <map>
#include <numbers>
#include <string>
#include <utility>
#include <vector>

#include "arrangement.h"
#include "instances.h"
#include "planloc/optimum/minimise.h"
#include "planloc/optimum/verify.h"

namespace planloc {
namespace {

// After so many a search counts as not solved.
constexpr std::size_t kCells = 200000;
constexpr std::size_t kSmoothCells = 20000;
// Of the terms of f: roundings of values of crossings.
constexpr double kRounding = 1e-12;
// Of the value, or of the terms of f amid the sites: what `optimal` leaves open.
constexpr double kSmoothGap = 1e-10;

struct trial {
  problem p;
  std::string family;
};

int number_of_sites(instance_source& source, bool general) {
  const int kind = source.below(100);
  if (kind < (general ? 85 : 60)) return 1 + source.below(5);
  if (kind < (general ? 97 : 80)) return 6 + source.below(2);
  return 8 + source.below(5);
}

std::vector<gauge> smooth_gauges(instance_source& source) {
  switch (source.below(5)) {
    case 0:
      return {gauge::euclidean()};
    case 1:
      return {gauge::lp(1.0001), gauge::lp(300)};
    case 2:
      return {gauge::lp(1.1 + source.below(50) / 10.0)};
    case 3:
      return {gauge::euclidean(), gauge::linf()};
    default:
      return {gauge::l1(), gauge::euclidean(), source.ball(5), gauge::lp(1.5)};
  }
}

order_weights level_order(instance_source& source, int n) {
  if (n == 1 || source.below(2) == 0) return order_weights::range();
  std::vector<double> lambda(static_cast<std::size_t>(n));
  for (int steps = 1 + source.below(3); steps > 0; --steps) {
    const int low = source.below(n - 1);
    lambda[static_cast<std::size_t>(low)] -= 1;
    lambda[static_cast<std::size_t>(low + 1 + source.below(n - 1 - low))] += 1;
  }
  return order_weights(lambda);
}

trial draw(instance_source& source) {
  const layout l = kLayouts[source.below(std::size(kLayouts))];
  const int kind = source.below(200);
  const bool general = kind < 100;
  const bool level = kind == 1 || kind == 2;  // one kind of sites, order weights that add up to 0
  const bool smooth = kind <= 4 || kind >= 180;
  const int n = kind == 0 ? 1 + source.below(4) : number_of_sites(source, general);
  const auto gauges = level ? std::vector{source.below(2) == 0 ? gauge::euclidean() : gauge::lp(3)}
                      : smooth ? smooth_gauges(source)
                               : source.gauges(l, 1 + source.below(3), 3 + source.below(6));
  auto sites = source.sites(l, n, static_cast<int>(gauges.size()));
  if (source.below(3) == 0 || level) {
    for (site& s : sites) s.weight = 1;
  }
  for (std::size_t i = 1; source.below(6) == 0 && i < sites.size(); i += 2) {
    sites[i].x = sites[i - 1].x;
    sites[i].y = sites[i - 1].y;
  }
  return {problem(std::move(sites), gauges,
                  level     ? level_order(source, n)
                  : general ? source.any_order(n)
                            : source.convex_order(n)),
          std::string(smooth ? "smooth" : "polyhedral") + (general ? " general" : " convex")};
}

// Of the set of optima of a convex problem with this least value.
std::string fault_of_set(const problem& p, const solution& s, const mpq_class& least,
                         arrangement& all) {
  if (s.optima.whole_plane) return all.value({0, 0}).second == 0 ? "" : "not the whole plane";
  if (s.optima.corners.empty()) return "no set of optima";
  const arrangement::optima best = all.find(1e-13);
  std::vector<xy> corners;
  double spacing = 0;
  for (const xy& c : s.optima.corners) {
    corners.push_back({c.x - all.base().x, c.y - all.base().y});
    const double size = std::max(std::fabs(c.x), std::fabs(c.y));
    spacing = std::max(spacing, size);
    // A corner is rounded to the spacing of doubles where it lies.
    if (exact_value(p, c.x, c.y) - least > all.steepest() * 0x1p-53 * size)
      return "a corner is no optimum";
  }
  // Places whose values differ by less than roundings may be far apart: only clear ties count.
  for (const xy& at : best.places) {
    if (outside(corners, at) > 1e-5 * (all.extent() + 1e-300) + 1e-14 * spacing &&
        all.value(at).first <= best.value)
      return "an optimum outside of the set";
  }
  return "";
}

std::string fault_of_value(const problem& p, const solution& s, bool optima_proved) {
  arrangement all(p);
  const auto [growth, size_of_growth] = all.recession();
  if (s.status == solution_status::unbounded)
    return growth < kRounding * size_of_growth ? "" : "called unbounded";
  if (growth < -1e-9 * size_of_growth) return "unbounded, but not found so";
  const arrangement::optima best = all.find();
  if (s.value > best.value + kRounding * best.size) return "worse than a crossing";
  const mpq_class exact = exact_value(p, s);
  if (abs(mpq_class(s.value - exact)) > 0x1p-50 * abs(exact)) return "not the value of the place";
  if (!p.convex()) return "";
  return optima_proved ? fault_of_set(p, s, exact, all) : "the set of optima is not proved";
}

struct frame {
  xy middle;
  double extent = 0;
  double size = 0;      // the sum of the terms' magnitudes amid the sites
  double rounding = 0;  // of f in the frame, well above what it is
};

frame frame_of(const problem& p) {
  xy low{p.sites()[0].x, p.sites()[0].y};
  xy high = low;
  for (const site& s : p.sites()) {
    low = {std::min(low.x, s.x), std::min(low.y, s.y)};
    high = {std::max(high.x, s.x), std::max(high.y, s.y)};
  }
  frame f{{low.x + (high.x - low.x) / 2, low.y + (high.y - low.y) / 2}, 0, 0, 0};
  f.extent = std::max({high.x - low.x, high.y - low.y, 1e-3});
  double steepest = 0;
  for (const order_run& r : p.runs()) steepest = std::max(steepest, std::fabs(r.weight));
  const xy aside{f.middle.x + f.extent, f.middle.y + f.extent};
  for (std::size_t i = 0; i < p.sites().size(); ++i) {
    f.size += steepest * p.distance(i, f.middle);
    f.rounding += 1e-13 * steepest * p.distance(i, aside);
  }
  return f;
}

// The least value found by shrinking steps from the best places of a grid over the sites' frame and
// some way around it.
double descent(const problem& p, const frame& f) {
  constexpr int kGrid = 24;
  std::vector<std::pair<double, xy>> places;
  for (const site& s : p.sites()) places.emplace_back(p.value({s.x, s.y}), xy{s.x, s.y});
  for (int j = 0; j <= kGrid; ++j) {
    for (int k = 0; k <= kGrid; ++k) {
      const xy at{f.middle.x + f.extent * (3.0 * j / kGrid - 1.5),
                  f.middle.y + f.extent * (3.0 * k / kGrid - 1.5)};
      places.emplace_back(p.value(at), at);
    }
  }
  std::sort(places.begin(), places.end(),
            [](const auto& a, const auto& b) { return a.first < b.first; });
  places.resize(4);
  for (auto& [value, at] : places) {
    for (double step = f.extent / kGrid; step > 1e-12 * f.extent; step /= 2) {
      const xy from = at;
      for (int k = 0; k < 12; ++k) {
        const double angle = k * std::numbers::pi / 6;
        const xy to{from.x + step * std::cos(angle), from.y + step * std::sin(angle)};
        if (const double there = p.value(to); there < value) {
          value = there;
          at = to;
        }
      }
    }
  }
  double best = places[0].first;
  for (const auto& [value, at] : places) best = std::min(best, value);
  return best;
}

// Of the proved gap, and against places around the answer and some descent.
std::string fault_of_smooth_value(instance_source& source, const problem& p, const solution& s,
                                  const verification& v) {
  const frame f = frame_of(p);
  const double rounding = std::max(kSmoothGap * std::max(std::fabs(s.value), f.size), f.rounding);
  if (s.status != solution_status::stopped && s.status != solution_status::within_gap &&
      v.gap > rounding)
    return "proved gap not closed";
  for (int k = 0; k < 20; ++k) {
    const double size = std::pow(10, source.uniform(-7, 2));
    const xy at{s.point.x + size * source.uniform(-1, 1), s.point.y + size * source.uniform(-1, 1)};
    double terms = 0;
    for (std::size_t i = 0; i < p.sites().size(); ++i) terms += p.distance(i, at);
    if (p.value(at) < s.lower_bound - 1e-11 * std::fabs(s.lower_bound) - 1e-13 * (f.size + terms))
      return "below the bound";
  }
  const double found = descent(p, f);
  if (found < v.lower_bound - rounding) return "a descent ends below the bound";
  return s.status == solution_status::optimal && found < s.value - 2 * rounding
             ? "worse than where a descent ends"
             : "";
}

class stopwatch {
 public:
  double lap() {
    const auto last = std::exchange(start_, clock::now());
    return std::chrono::duration<double>(start_ - last).count();
  }

 private:
  using clock = std::chrono::steady_clock;
  clock::time_point start_ = clock::now();
};

struct seconds_spent {
  double search = 0, verify = 0, enumeration = 0;
  bool open = false;  // the search ended early: f levels off far away
  bool wide = false;  // with a wide gap or no bound
};

// Whether f does not grow in some direction, as far as can be told by trying directions.
bool levels_off(const problem& p) {
  std::vector<site> sites(p.sites().begin(), p.sites().end());
  for (site& s : sites) s.x = s.y = 0;
  std::vector<double> lambda;
  double size = 0;
  for (std::size_t k = 0; k < sites.size(); ++k) {
    lambda.push_back(p.lambda(k));
    size += std::fabs(p.lambda(k)) * sites[k].weight;
  }
  const problem far(sites, {p.gauges().begin(), p.gauges().end()}, order_weights(lambda));
  double best = 0;
  const auto growth = [&](double angle) { return far.value({std::cos(angle), std::sin(angle)}); };
  for (double step = 1e-3, around = 0, width = 4; step > 1e-9; width = step, step /= 1000) {
    around = best;
    for (double angle = around - width; angle <= around + width; angle += step)
      best = growth(angle) < growth(best) ? angle : best;
  }
  return growth(best) < 1e-7 * size;
}

// A search that ends early proves what it says.
std::string fault_of_early_end(instance_source& source, const problem& p, double value) {
  minimise_options options;
  if (source.below(2) == 0) {
    options.cells = static_cast<std::size_t>(1 + source.below(60));
  } else {
    options.relative_gap = 0.05;
  }
  const solution s = minimise(p, options);
  const verification v = verify(p, s);
  if (!v.accepted) return "no proof of an early end: " + v.reason;
  const double rounding = 1e-9 * (std::fabs(value) + std::fabs(s.value));
  return v.lower_bound > value + rounding ? "bound of an early end is above the optimum" : "";
}

std::string fault_of(instance_source& source, const problem& p, seconds_spent& spent) {
  minimise_options options;
  options.cells = p.polyhedral() ? kCells : kSmoothCells;
  stopwatch watch;
  const solution s = minimise(p, options);
  spent.search = watch.lap();
  const verification v = verify(p, s);
  spent.verify = watch.lap();
  if (!v.accepted) return "no proof: " + v.reason;
  if (s.status != solution_status::optimal && s.status != solution_status::unbounded &&
      s.status != solution_status::far_away) {
    if (p.polyhedral() || !levels_off(p)) return "not solved to the end";
    spent.open = true;
    spent.wide = !(v.gap <= 1e-6 * frame_of(p).size);
    return fault_of_smooth_value(source, p, s, v);
  }
  if (!p.polyhedral()) {
    return s.status == solution_status::unbounded ? "" : fault_of_smooth_value(source, p, s, v);
  }
  if (s.status == solution_status::optimal && v.gap != 0) return "proved gap above 0";
  if (s.status == solution_status::optimal && source.below(8) == 0) {
    const std::string fault = fault_of_early_end(source, p, s.value);
    if (!fault.empty()) return fault;
  }
  return fault_of_value(p, s, v.optima_proved);
}

struct tally {
  struct total {
    double seconds = 0, most = 0;
    std::size_t slowest = 0;

    void add(double s, std::size_t instance) {
      seconds += s;
      if (s <= most) return;
      most = s;
      slowest = instance;
    }
  };
  std::size_t instances = 0, faults = 0, open = 0, wide = 0;
  total search, verify, enumeration;
};

void tell(const std::map<std::string, tally>& families) {
  std::cout << std::setprecision(3);
  for (const auto& [name, f] : families) {
    std::cout << name << ": " << f.instances << " instances, " << f.faults << " faults, " << f.open
              << " left open, of them " << f.wide << " with a gap above 1e-6 of the terms\n";
    for (const auto& [what, t] :
         {std::pair{"search", f.search}, {"verify", f.verify}, {"enumeration", f.enumeration}}) {
      std::cout << "  " << what << ' ' << t.seconds << " s, at most " << t.most << " (instance "
                << t.slowest << ")\n";
    }
  }
}

int run(std::size_t count, unsigned seed, std::size_t first) {
  std::map<std::string, tally> families;
  std::size_t faults = 0;
  for (std::size_t k = first; k < first + count; ++k) {
    instance_source source(static_cast<unsigned>(k) * 2654435761U + seed);
    const trial t = draw(source);
    std::string fault;
    seconds_spent spent;
    stopwatch watch;
    try {
      fault = fault_of(source, t.p, spent);
    } catch (const std::exception& e) {
      fault = std::string("threw ") + e.what();
    }
    spent.enumeration = watch.lap() - spent.search - spent.verify;
    tally& family = families[t.family];
    ++family.instances;
    family.open += spent.open ? 1 : 0;
    family.wide += spent.wide ? 1 : 0;
    family.search.add(spent.search, k);
    family.verify.add(spent.verify, k);
    family.enumeration.add(spent.enumeration, k);
    if (fault.empty()) continue;
    ++family.faults;
    ++faults;
    std::cout << "seed " << seed << " instance " << k << ", " << t.family << ", "
              << t.p.sites().size() << " sites: " << fault << std::endl;
  }
  tell(families);
  return faults == 0 ? 0 : 1;
}

}  // namespace
}  // namespace planloc

int main(int argc, char** argv) {
  const auto argument = [&](int k, unsigned long otherwise) {
    return k < argc ? std::strtoul(argv[k], nullptr, 10) : otherwise;
  };
  return planloc::run(argument(1, 1000), static_cast<unsigned>(argument(2, 1)), argument(3, 0));
}
