// The best places of several facilities by looking at all partitions of the sites.
#ifndef PLANLOC_TESTS_OPTIMUM_PARTITIONS_H_
#define PLANLOC_TESTS_OPTIMUM_PARTITIONS_H_

#include <algorithm>
#include <cstddef>
#include <limits>
#include <span>
#include <vector>

#include "planloc/optimum/location_allocation.h"
#include "planloc/optimum/minimise.h"

namespace planloc {

// The least value over all ways to give each site to one of `count` new facilities or to its
// nearest existing one.
inline double least_over_partitions(const allocation_problem& p) {
  const std::size_t n = p.sites().size();
  std::vector<double> own(std::size_t{1} << n, 0);
  std::vector<double> best(own.size(), 0);
  for (std::size_t set = 1; set < own.size(); ++set) {
    std::vector<site> sites;
    for (std::size_t i = 0; i < n; ++i) {
      if ((set >> i & 1) == 0) continue;
      sites.push_back(p.sites()[i]);
      double nearest = std::numeric_limits<double>::infinity();
      for (const xy& e : p.existing()) nearest = std::min(nearest, p.single().distance(i, e));
      best[set] += nearest;
    }
    const std::span<const gauge> gauges = p.single().gauges();
    own[set] = minimise({sites, {gauges.begin(), gauges.end()}, order_weights::median()}).value;
  }
  for (std::size_t k = 0; k < p.count(); ++k) {
    std::vector<double> next = best;
    for (std::size_t set = 1; set < own.size(); ++set) {
      for (std::size_t part = set; part != 0; part = (part - 1) & set) {
        next[set] = std::min(next[set], own[part] + best[set & ~part]);
      }
    }
    best = next;
  }
  return best.back();
}

}  // namespace planloc

#endif  // PLANLOC_TESTS_OPTIMUM_PARTITIONS_H_
