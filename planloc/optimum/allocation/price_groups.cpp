#include "planloc/optimum/allocation/price_groups.h"

#include <algorithm>
#include <limits>
#include <numeric>

namespace planloc::detail {

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

using slots = std::span<std::uint32_t>;

// Gives slots to `count` groups, the first of which is `first`.
void halve(const distance_table& table, slots s, std::size_t first, std::size_t count,
           std::vector<std::uint32_t>& of) {
  if (count == 1) {
    for (const std::uint32_t i : s) of[i] = static_cast<std::uint32_t>(first);
    return;
  }
  const auto spread = [&](const auto& at) {
    const auto [low, high] = std::minmax_element(
        s.begin(), s.end(), [&](std::uint32_t a, std::uint32_t b) { return at[a] < at[b]; });
    return at[*high] - at[*low];
  };
  const auto& at = spread(table.x) > spread(table.y) ? table.x : table.y;
  const std::size_t left = count / 2;
  const std::size_t middle = s.size() * left / count;
  std::nth_element(
      s.begin(), s.begin() + static_cast<std::ptrdiff_t>(middle), s.end(),
      [&](std::uint32_t a, std::uint32_t b) { return at[a] != at[b] ? at[a] < at[b] : a < b; });
  halve(table, s.first(middle), first, left, of);
  halve(table, s.subspan(middle), first + left, count - left, of);
}

// So that all of them make up `sum`.
std::vector<double> relative(std::vector<double> weight, std::size_t sum) {
  const double all = std::accumulate(weight.begin(), weight.end(), 0.0);
  for (double& w : weight) w *= static_cast<double>(sum) / all;
  return weight;
}

}  // namespace

price_groups price_groups::of_one(std::span<const double> weight, std::vector<double> most) {
  price_groups g;
  g.of.resize(most.size());
  std::iota(g.of.begin(), g.of.end(), 0U);
  g.share.assign(most.size(), 1);
  g.size = relative({weight.begin(), weight.end()}, most.size());
  g.base.assign(most.size(), 0);
  g.least.assign(most.size(), 0);
  g.most = std::move(most);
  return g;
}

price_groups price_groups::near_each_other(const distance_table& table, std::vector<double> base,
                                           std::span<const double> most, std::size_t count) {
  price_groups g;
  g.of.resize(base.size());
  std::vector<std::uint32_t> order(base.size());
  std::iota(order.begin(), order.end(), 0U);
  halve(table, order, 0, count, g.of);
  std::vector<double> weight(count, 0);
  for (std::size_t i = 0; i < base.size(); ++i) {
    weight[g.of[i]] += table.weight[i];
  }
  g.least.assign(count, -kInfinity);
  g.most.assign(count, kInfinity);
  g.base = std::move(base);
  for (std::size_t i = 0; i < g.base.size(); ++i) {
    g.share.push_back(table.weight[i] / weight[g.of[i]]);
    g.most[g.of[i]] = std::min(g.most[g.of[i]], (most[i] - g.base[i]) / g.share[i]);
  }
  g.size = relative(std::move(weight), g.base.size());
  return g;
}

std::vector<double> price_groups::prices_of_slots(std::span<const double> prices) const {
  std::vector<double> result;
  for (std::size_t i = 0; i < of.size(); ++i)
    result.push_back(std::max(0.0, base[i] + share[i] * prices[of[i]]));
  return result;
}

}  // namespace planloc::detail
