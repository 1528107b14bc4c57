// Several facilities, each site served by its nearest: Eilon's 50 sites (the size of the row is the
// number of facilities), and random sites with a facility for twenty of them.
#include <algorithm>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "bench/contest.h"
#include "bench/inputs.h"
#include "planloc/optimum/location_allocation.h"

namespace planloc::bench {
namespace {

struct instance {
  std::vector<site> sites;
  std::size_t count;
};

instance fifty_sites(std::size_t count, unsigned) {
  instance made{{}, count};
  std::ifstream in(PLANLOC_BENCH_DATA "/eilon50.xy");
  for (std::string line; std::getline(in, line);) {
    std::istringstream numbers(line);
    site s;
    if (numbers >> s.x >> s.y) made.sites.push_back(s);
  }
  return made;
}

instance random_sites(std::size_t n, unsigned seed) {
  instance made{{}, std::max<std::size_t>(1, n / 20)};
  for (const weighted_place& p : random_places(n, seed)) made.sites.push_back({p.x, p.y});
  return made;
}

// gap 0: without a lower bound
maker by_allocate(instance (*make)(std::size_t, unsigned), double gap) {
  return [=](std::size_t n, unsigned seed) -> contestant {
    const instance i = make(n, seed);
    const allocation_problem p(i.sites, {gauge::euclidean()}, i.count);
    allocate_options options;
    options.starts = 8;
    options.threads = 1;
    options.relative_gap = gap;
    options.lower_bound = gap > 0;
    return {.call = [=] { return allocate(p, options).value; }};
  };
}

void enter(contest& row, instance (*make)(std::size_t, unsigned), double gap) {
  row.contestants["allocate"] = by_allocate(make, 0);
  row.contestants["allocate with a bound"] = by_allocate(make, gap);
  row.write = [make](std::size_t n, unsigned seed, std::ostream& out) {
    const instance i = make(n, seed);
    out << i.count << " 0\n";
    for (const site& s : i.sites) out << s.x << ' ' << s.y << '\n';
  };
}

}  // namespace

void add_allocation(contests& all) {
  enter(all["allocation-published"], fifty_sites, 2e-5);
  enter(all["allocation"], random_sites, 1e-3);
}

}  // namespace planloc::bench
