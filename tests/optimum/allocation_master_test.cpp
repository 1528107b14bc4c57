// The linear program over clusters, from which prices come.
#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <map>
#include <random>
#include <utility>
#include <vector>

#include "planloc/optimum/allocation/dual_master.h"
#include "planloc/optimum/allocation/triple_cuts.h"

namespace planloc::detail {
namespace {

constexpr std::size_t kSlots = 30;
constexpr std::size_t kFacilities = 8;
constexpr double kWideBox = 1000;

using slots = std::vector<std::uint32_t>;

bool never() { return false; }

dual_master empty_master(std::vector<priced_triple> triples) {
  const std::vector<double> weights(kSlots, 1);
  const std::vector<double> most(kSlots, std::numeric_limits<double>::infinity());
  const std::size_t rows = kSlots + triples.size();
  dual_master m({kFacilities}, price_groups::of_one(weights, most), std::move(triples));
  m.set_box(std::vector<double>(rows, 0), kWideBox);
  return m;
}

// Random ones of two to five slots, and all of one.
dual_master random_master(std::mt19937_64& random) {
  dual_master m = empty_master({});
  for (std::uint32_t i = 0; i < kSlots; ++i) m.add_cluster({i}, {0, 0}, 0, 1.0);
  for (int k = 0; k < 400; ++k) {
    slots s;
    for (std::size_t left = 2 + random() % 4; left > 0; --left)
      s.push_back(static_cast<std::uint32_t>(random() % kSlots));
    std::sort(s.begin(), s.end());
    s.erase(std::unique(s.begin(), s.end()), s.end());
    m.add_cluster(std::move(s), {0, 0}, 0, 10 + static_cast<double>(random() % 1000) / 1000);
  }
  return m;
}

std::map<slots, double> levels(const dual_master& m) {
  std::map<slots, double> result;
  for (const dual_master::taken_cluster& c : m.taken())
    result[{c.slots.begin(), c.slots.end()}] = c.level;
  return result;
}

TEST(AllocationMaster, NewTriplesKeepTheSolution) {
  int tried = 0;
  for (unsigned seed = 1; seed <= 30; ++seed) {
    std::mt19937_64 random(seed);
    dual_master m = random_master(random);
    ASSERT_TRUE(m.solve(never));
    std::vector<priced_triple> triples = with_violated_triples(m.taken(), {});
    if (triples.empty()) continue;
    ++tried;
    dual_master next = empty_master(std::move(triples));
    for (const dual_master::cluster& c : m.known_clusters())
      next.add_cluster(c.slots, c.at, c.cell, c.cost);
    next.continue_from(m);
    const std::map<slots, double> before = levels(m);
    const std::map<slots, double> after = levels(next);
    ASSERT_EQ(after.size(), before.size());
    for (const auto& [s, level] : before) EXPECT_NEAR(after.at(s), level, 1e-6);
  }
  EXPECT_GE(tried, 10);
}

TEST(AllocationMaster, ClustersKeepTheirLowestCost) {
  std::mt19937_64 random(1);
  dual_master m = random_master(random);
  ASSERT_TRUE(m.solve(never));
  const slots s = m.foremost(1)[0];
  const double before = m.prices().sum() - kFacilities * m.facility_price(0);
  const std::size_t finds = m.finds();
  m.add_cluster(s, {1, 1}, 0, 100);
  EXPECT_EQ(m.finds(), finds);
  m.add_cluster(s, {2, 3}, 0, 0.5);
  EXPECT_EQ(m.finds(), finds + 1);
  ASSERT_TRUE(m.solve(never));
  EXPECT_LT(m.prices().sum() - kFacilities * m.facility_price(0), before - 0.1);
  const auto known = m.known_clusters();
  const auto same =
      std::find_if(known.begin(), known.end(), [&](const auto& c) { return c.slots == s; });
  ASSERT_NE(same, known.end());
  EXPECT_EQ(same->cost, 0.5);
  EXPECT_EQ(same->at.y, 3);
}

}  // namespace
}  // namespace planloc::detail
