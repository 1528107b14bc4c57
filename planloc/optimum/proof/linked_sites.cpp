#include "planloc/optimum/proof/linked_sites.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <string>
#include <utility>

#include "planloc/optimum/proof/verify_leaves.h"

namespace planloc::detail {

namespace {

struct group {
  std::vector<std::uint32_t> sites;
  std::vector<const priced_triple*> triples;
};

void check(const priced_triple& t, std::size_t count) {
  const auto& [a, b, c] = t.sites;
  if (a >= count || b >= count || c >= count || a == b || b == c || a == c)
    refuse("a triple is not of three sites");
  if (!(t.price >= 0) || !std::isfinite(t.price)) refuse("the price of a triple is not from 0 up");
}

// Joins a triple to all groups with which it shares a site.
void join(std::vector<group>& groups, const priced_triple& t) {
  group joined{{t.sites.begin(), t.sites.end()}, {&t}};
  std::vector<group> others;
  for (group& g : groups) {
    const bool apart = std::none_of(g.sites.begin(), g.sites.end(), [&](std::uint32_t s) {
      return std::find(t.sites.begin(), t.sites.end(), s) != t.sites.end();
    });
    if (apart) {
      others.push_back(std::move(g));
      continue;
    }
    for (const std::uint32_t s : g.sites)
      if (std::find(t.sites.begin(), t.sites.end(), s) == t.sites.end()) joined.sites.push_back(s);
    joined.triples.insert(joined.triples.end(), g.triples.begin(), g.triples.end());
  }
  others.push_back(std::move(joined));
  groups = std::move(others);
}

linked_sites tabled(const group& g) {
  if (g.sites.size() > kMostLinked || g.triples.size() > 64)
    refuse("triples link more than eight sites");
  const std::size_t sets = std::size_t{1} << g.sites.size();
  linked_sites l{g.sites, std::vector<interval>(sets, interval(0)),
                 std::vector<std::uint64_t>(sets, 0)};
  for (std::size_t t = 0; t < g.triples.size(); ++t) {
    std::size_t own = 0;
    for (std::size_t k = 0; k < g.sites.size(); ++k) {
      const auto& sites = g.triples[t]->sites;
      if (std::find(sites.begin(), sites.end(), g.sites[k]) != sites.end())
        own |= std::size_t{1} << k;
    }
    for (std::size_t set = 0; set < sets; ++set) {
      if (std::popcount(set & own) < 2) continue;
      l.paid[set] = l.paid[set] + interval(g.triples[t]->price);
      l.hit[set] |= std::uint64_t{1} << t;
    }
  }
  return l;
}

}  // namespace

std::vector<linked_sites> links_of(const std::vector<priced_triple>& triples, std::size_t count) {
  std::vector<group> groups;
  for (const priced_triple& t : triples) {
    check(t, count);
    join(groups, t);
  }
  std::vector<linked_sites> links;
  for (const group& g : groups) links.push_back(tabled(g));
  return links;
}

}  // namespace planloc::detail
