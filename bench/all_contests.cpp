#include <algorithm>
#include <cstddef>
#include <memory>
#include <vector>

#include "bench/contest.h"

namespace planloc::bench {
namespace {

// Small inputs come in several instances that calls take in turns: of one input the processor would
// learn how every branch goes, which no user's call finds. The first is that of the seed.
maker in_turns(const maker& one) {
  return [one](std::size_t n, unsigned seed) -> contestant {
    constexpr std::size_t kSites = 8000;  // of all instances
    const auto each = std::make_shared<std::vector<contestant>>();
    const std::size_t instances = std::clamp<std::size_t>(kSites / n, 1, 300);
    for (unsigned i = 0; i < instances; ++i) each->push_back(one(n, seed + 1000 * i));
    return {.call = [each, next = std::size_t{0}]() mutable {
      const double value = (*each)[next].call();
      next = (next + 1) % each->size();
      return value;
    }};
  };
}

}  // namespace

contests all_contests() {
  contests all;
  add_allocation(all);
  add_certified(all);
  add_efficient(all);
  add_euclidean(all);
  add_facilities(all);
  add_geometry(all);
  add_modelling(all);
  add_readers(all);
  add_regions(all);
  add_scenarios(all);
  add_tied(all);
  add_walk(all);
#ifdef PLANLOC_BENCH_CGAL
  add_cgal(all);
#endif
  for (const char* const row :
       {"euclidean-centre", "euclidean-centre-ring", "hull", "l1-sum", "l2-max"}) {
    for (auto& [name, make] : all.at(row).contestants) make = in_turns(make);
  }
  return all;
}

}  // namespace planloc::bench
