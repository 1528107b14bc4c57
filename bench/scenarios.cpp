// Many variants of one problem: the loop over weights as one writes it in C++.
#include <cmath>
#include <ostream>
#include <random>
#include <vector>

#include "bench/contest.h"
#include "planloc/optimum/minimise.h"

namespace planloc::bench {
namespace {

constexpr std::size_t kSites = 100;

struct variants {
  variants(std::size_t count, unsigned seed) {
    std::mt19937_64 random(seed);
    std::uniform_real_distribution<double> unit(0, 1);
    for (site& s : sites) {
      s.x = unit(random);
      s.y = unit(random);
    }
    weights.resize(count * kSites);
    for (double& w : weights) w = 0.8 + 0.4 * unit(random);
  }

  std::vector<site> sites = std::vector<site>(kSites);
  std::vector<double> weights;  // a row a scenario
};

gauge octagon() {
  const double d = std::sqrt(0.5);
  return gauge::polyhedral({{1, 0}, {d, d}, {0, 1}, {-d, d}, {-1, 0}, {-d, -d}, {0, -1}, {d, -d}});
}

contestant loop(std::size_t count, unsigned seed) {
  const variants v(count, seed);
  return {.call = [v] {
    minimise_options options;
    options.whole_set = false;
    const std::vector<gauge> gauges = {octagon()};
    std::vector<site> own = v.sites;
    double sum = 0;
    for (std::size_t i = 0; i < v.weights.size(); i += kSites) {
      for (std::size_t j = 0; j < kSites; ++j) own[j].weight = v.weights[i + j];
      sum += minimise(problem(own, gauges, order_weights::median()), options).value;
    }
    return sum;
  }};
}

}  // namespace

void add_scenarios(contests& all) {
  all["scenarios"].contestants["C++ loop"] = loop;
  // The sites, then a line of weights a scenario.
  all["scenarios"].write = [](std::size_t count, unsigned seed, std::ostream& out) {
    const variants v(count, seed);
    for (const site& s : v.sites) out << s.x << ' ' << s.y << '\n';
    for (std::size_t i = 0; i < v.weights.size(); ++i)
      out << v.weights[i] << (i % kSites == kSites - 1 ? '\n' : ' ');
  };
}

}  // namespace planloc::bench
