// The efficient set of two sums. 8 vertices, 10 gauges.
#include <algorithm>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "bench/contest.h"
#include "bench/optimum_programs.h"
#include "planloc/optimum/efficient_set.h"

namespace planloc::bench {
namespace {

bicriteria_problem instance(const std::string& kind, std::size_t n, int vertices, int gauges,
                            unsigned seed) {
  std::mt19937_64 random(seed);
  std::uniform_real_distribution<double> unit(0, 1);
  std::vector<gauge> balls = random_balls(random, gauges, vertices);
  std::vector<bicriteria_site> sites;
  for (std::size_t i = 0; i < n; ++i) {
    bicriteria_site s;
    s.x = 100 * unit(random);
    s.y = 100 * unit(random);
    s.weight1 = 1 + 9 * unit(random);
    s.weight2 = 1 + 9 * unit(random);
    if (kind == "apart") {
      s.weight1 *= s.x / 10;
      s.weight2 *= 10 - s.x / 10;
    }
    s.gauge = static_cast<std::uint32_t>(random() % balls.size());
    sites.push_back(s);
  }
  return {std::move(sites), std::move(balls)};
}

// Per site x, y and both weights, then its edges as slopes.
void write(const bicriteria_problem& p, std::ostream& out) {
  for (std::size_t i = 0; i < p.sites().size(); ++i) {
    const bicriteria_site& s = p.sites()[i];
    out << s.x << ' ' << s.y << ' ' << s.weight1 << ' ' << s.weight2;
    for (const xy& slope : slopes_of(p.gauge_of(i), 1)) out << ' ' << slope.x << ' ' << slope.y;
    out << '\n';
  }
}

}  // namespace

void add_efficient(contests& all) {
  // Both weights at random, or the first growing to the right and the second to the left.
  for (const std::string kind : {"independent", "apart"}) {
    const auto make = [kind](std::size_t n, unsigned seed) {
      return instance(kind, n, 8, 10, seed);
    };
    contest& row = all["efficient-" + kind];
    row.contestants["efficient_set"] = [make](std::size_t n, unsigned seed) -> contestant {
      const bicriteria_problem p = make(n, seed);
      return {.call = [p] {
        double least = std::numeric_limits<double>::infinity();
        for (const trade_off& t : efficient_set(p).curve)
          least = std::min(least, t.value1 + t.value2);
        return least;
      }};
    };
    row.write = [make](std::size_t n, unsigned seed, std::ostream& out) {
      write(make(n, seed), out);
    };
  }
}

}  // namespace planloc::bench
