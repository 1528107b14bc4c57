// Who serves whom, kept up to date move by move, against all distances.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>
#include <vector>

#include "instances.h"
#include "planloc/optimum/allocation/candidate_places.h"
#include "planloc/optimum/allocation/local_search.h"
#include "planloc/optimum/minimise.h"

namespace planloc::detail {
namespace {

using distance_and_slot = std::pair<double, std::uint32_t>;

void expect_links(const service& s, const near_sites& sites) {
  std::vector<std::vector<std::uint32_t>> served(s.places().size());
  double value = 0;
  for (std::uint32_t i = 0; i < sites.size(); ++i) {
    std::vector<double> d;
    for (const xy& at : s.places())
      d.push_back(std::isinf(at.x) ? at.x : sites.table.piece(i, at).distance);
    std::sort(d.begin(), d.end());
    EXPECT_NEAR(s.links()[i].to_first, d[0], 1e-12 * d[0]);
    EXPECT_NEAR(s.links()[i].to_second, d[1], 1e-12 * d[1]);
    served[s.links()[i].first].push_back(i);
    value += d[0];
  }
  EXPECT_NEAR(s.value(), value, 1e-12 * value);
  service copy = s;
  for (std::uint32_t k = 0; k < served.size(); ++k) {
    const auto own = copy.served_by(k);
    EXPECT_TRUE(std::is_permutation(own.begin(), own.end(), served[k].begin(), served[k].end()));
  }
}

void expect_near(const candidate_places& candidates, const service& s, const near_sites& sites) {
  for (std::size_t k = 0; k < candidates.size(); k += 7) {
    std::vector<distance_and_slot> near, all;
    candidates.each_near(k, s, [&](std::uint32_t i, double d) { near.emplace_back(d, i); });
    for (std::uint32_t i = 0; i < sites.size(); ++i) {
      const double d = sites.distance(i, candidates[k]);
      if (d < s.links()[i].to_second * (1 - 1e-12)) all.emplace_back(d, i);
    }
    for (const auto& expected : all)
      EXPECT_TRUE(std::any_of(near.begin(), near.end(),
                              [&](const auto& n) { return n.second == expected.second; }));
    for (const auto& [d, i] : near) EXPECT_NEAR(d, sites.distance(i, candidates[k]), 1e-12 * d);
    EXPECT_LE(near.size(), all.size() + 2);
  }
}

TEST(AllocationService, MovesAgainstAllDistances) {
  instance_source source(8);
  const layout layouts[] = {layout::scattered, layout::lattice, layout::line, layout::far_away};
  for (int k = 0; k < 12; ++k) {
    const layout l = layouts[k % 4];
    std::vector<gauge> gauges = source.gauges(l, 2, 5);
    gauges.push_back(k % 2 == 0 ? gauge::euclidean() : gauge::lp(1.5));
    const std::vector<site> all = source.sites(l, 200, 3);
    const problem p(all, gauges, order_weights::median());
    const distance_table table(p);
    const std::size_t count = k < 6 ? 40 : 4;
    const near_sites sites(table, count);
    const auto drawn = [&] { return sites.blocks.places()[source.below(200)]; };
    std::vector<xy> places(count);
    for (xy& at : places) at = drawn();
    service s(sites, places);
    const auto of_sites = sites.blocks.places();
    const candidate_places candidates(sites, {of_sites.begin(), of_sites.end()});
    for (int move = 0; move < 40; ++move) {
      const xy a = drawn();
      const xy b = drawn();
      s.move(static_cast<std::uint32_t>(source.below(static_cast<int>(count))),
             {(a.x + b.x) / 2, (a.y + b.y) / 2});
    }
    expect_links(s, sites);
    expect_near(candidates, s, sites);
    s.drop(1);
    expect_links(s, sites);
  }
}

// One of them is so near the optimum that Newton's steps go too far and Weiszfeld's crawl.
TEST(AllocationService, PlacesBesideASite) {
  const std::vector<site> sites = {{291.5492367237843, 938.518151965472},
                                   {242.25516531744807, 894.4395896576083},
                                   {286.0995053053753, 916.4326274611971},
                                   {258.25396346139496, 908.9143737437059}};
  const allocation_problem p(sites, {gauge::euclidean()}, 2);
  const allocation_ground ground(p);
  place_finder find_place(ground.table);
  const double least = minimise(p.single()).value;
  for (std::uint32_t k = 0; k < sites.size(); ++k) {
    const placed found = find_place(std::vector<std::uint32_t>{0, 1, 2, 3}, ground.place_of(k));
    EXPECT_NEAR(found.value, least, 1e-8 * least);
  }
}

// No place to go to: facilities stay, whatever is shaken.
TEST(AllocationService, NoCandidates) {
  const allocation_problem p({{0, 0}, {0, 1}, {5, 0}, {5, 3}, {9, 9}}, {gauge::euclidean()}, 2);
  const allocation_ground ground(p);
  const candidate_places none(ground.sites, {});
  local_search search(ground, none, 1, [] { return false; });
  search.start_from({{0, 0}, {5, 0}});
  const double before = search.best_value();
  search.shake();
  EXPECT_EQ(search.best_value(), before);
}

}  // namespace
}  // namespace planloc::detail
