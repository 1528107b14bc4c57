// Forbidden polygons around the free optimum, beside the same problem as a mixed-integer program. 8
// vertices, 20 hexagons; 10 gauges under the median, 3 under order weights that do not rise.
#include <algorithm>
#include <cmath>
#include <numbers>
#include <random>
#include <string>
#include <vector>

#include "bench/contest.h"
#include "bench/optimum_programs.h"
#include "bench/solve_programs.h"
#include "planloc/optimum/minimise.h"

namespace planloc::bench {
namespace {

constexpr int kSides = 6;

// Convex polygons, the first around a place, the others anywhere amid the sites.
region random_lakes(int count, unsigned seed, xy around) {
  std::mt19937 random(seed + 1000);
  const auto uniform = [&](double low, double high) {
    return low + (high - low) * (static_cast<double>(random()) / 4294967296.0);
  };
  const double size = kExtent / std::sqrt(count);
  region lakes;
  for (int k = 0; k < count; ++k) {
    const xy middle = k == 0 ? around : xy{uniform(0, kExtent), uniform(0, kExtent)};
    const double radius = uniform(0.3, 0.7) * size;
    const double turn = uniform(0, 6);
    ring shore;
    for (int j = 0; j < kSides; ++j) {
      const double angle = turn + 2 * std::numbers::pi * j / kSides;
      shore.push_back({middle.x + radius * std::cos(angle), middle.y + radius * std::sin(angle)});
    }
    lakes.push_back({shore});
  }
  return lakes;
}

// Of every polygon at least one side has the place on its outer side.
void add_lakes(linear_program& lp, const region& lakes) {
  for (const region_polygon& lake : lakes) {
    const ring& r = lake.front();
    const int first = static_cast<int>(lp.columns.size());
    for (std::size_t j = 0; j < r.size(); ++j) {
      const xy& a = r[j];
      const xy& b = r[(j + 1) % r.size()];
      const xy outwards{b.y - a.y, a.x - b.x};
      const double right = outwards.x * a.x + outwards.y * a.y;
      const double least = std::min(-kReach * outwards.x, (kExtent + kReach) * outwards.x) +
                           std::min(-kReach * outwards.y, (kExtent + kReach) * outwards.y);
      const int chosen = lp.add_choice();
      // outwards . x >= right where the side is chosen, and >= least in any case.
      lp.add(least, {{0, outwards.x}, {1, outwards.y}, {chosen, least - right}});
    }
    lp.add(1, {{first, 1},
               {first + 1, 1},
               {first + 2, 1},
               {first + 3, 1},
               {first + 4, 1},
               {first + 5, 1}});
  }
}

constexpr int kPolygons = 20;

problem with_lakes(const problem& plane, const order_weights& lambda, unsigned seed) {
  regions where;
  where.forbidden = random_lakes(kPolygons, seed, minimise(plane).point);
  return {{plane.sites().begin(), plane.sites().end()},
          {plane.gauges().begin(), plane.gauges().end()},
          lambda,
          where};
}

problem instance(const std::string& kind, std::size_t n, unsigned seed) {
  const bool median = kind == "median";
  const order_weights lambda = median ? order_weights::median() : general_order(kind, n, seed);
  return with_lakes(random_problem(n, 8, median ? 10 : 3, seed, lambda), lambda, seed);
}

linear_program program(const std::string& kind, std::size_t n, unsigned seed) {
  const problem p = instance(kind, n, seed);
  linear_program lp = kind == "median" ? convex_program(p, kind) : general_program(p, kind);
  add_lakes(lp, p.where().forbidden);
  return lp;
}

void add_row(contests& all, const std::string& name, const std::string& kind) {
  contest& row = all[name];
  row.contestants["minimise"] = [kind](std::size_t n, unsigned seed) -> contestant {
    const problem p = instance(kind, n, seed);
    return {.call = [p] { return minimise(p).value; }};
  };
  row.contestants["CBC"] = [kind](std::size_t n, unsigned seed) {
    return by_cbc(program(kind, n, seed));
  };
  row.write = [kind](std::size_t n, unsigned seed, std::ostream& out) {
    write(program(kind, n, seed), out);
  };
}

}  // namespace

void add_regions(contests& all) {
  add_row(all, "regions", "median");
  for (const std::string kind : kGeneralKinds) add_row(all, "regions-" + kind, kind);
}

}  // namespace planloc::bench
