#include "planloc/optimum/allocation/site_prices.h"

#include <algorithm>
#include <bit>
#include <numeric>
#include <utility>

#include "planloc/optimum/allocation/near_sites.h"

namespace planloc::detail {

std::size_t shared(const priced_triple& t, std::span<const std::uint32_t> slots) {
  return static_cast<std::size_t>(std::count_if(t.sites.begin(), t.sites.end(), [&](auto s) {
    return std::binary_search(slots.begin(), slots.end(), s);
  }));
}

std::vector<std::vector<std::uint32_t>> linked_slots(std::span<const priced_triple> triples) {
  std::vector<std::vector<std::uint32_t>> sets;
  for (const priced_triple& t : triples) {
    std::vector<std::uint32_t> joined(t.sites.begin(), t.sites.end());
    std::erase_if(sets, [&](const std::vector<std::uint32_t>& set) {
      if (shared(t, set) == 0) return false;
      joined.insert(joined.end(), set.begin(), set.end());
      return true;
    });
    std::sort(joined.begin(), joined.end());
    joined.erase(std::unique(joined.begin(), joined.end()), joined.end());
    sets.push_back(std::move(joined));
  }
  return sets;
}

site_prices::site_prices(std::vector<double> of_slot, std::vector<priced_triple> triples)
    : of_slot_(std::move(of_slot)), triples_(std::move(triples)), knotted_(of_slot_.size(), 0) {
  std::erase_if(triples_, [](const priced_triple& t) { return !(t.price > 0); });
  sum_ = sum_of_slots_ = std::accumulate(of_slot_.begin(), of_slot_.end(), 0.0);
  for (const priced_triple& t : triples_) sum_ -= t.price;
  for (std::vector<std::uint32_t>& slots : linked_slots(triples_)) {
    std::vector<double> penalty(std::size_t{1} << slots.size(), 0);
    for (const priced_triple& t : triples_) {
      std::size_t own = 0;
      for (std::size_t k = 0; k < slots.size(); ++k)
        if (std::find(t.sites.begin(), t.sites.end(), slots[k]) != t.sites.end())
          own |= std::size_t{1} << k;
      for (std::size_t set = 0; set < penalty.size(); ++set)
        if (std::popcount(set & own) >= 2) penalty[set] += t.price;
    }
    for (const std::uint32_t slot : slots) knotted_[slot] = 1;
    knots_.push_back({std::move(slots), std::move(penalty)});
  }
}

std::vector<std::uint32_t> site_prices::gaining(const distance_table& table, const xy& at) const {
  std::vector<std::uint32_t> result;
  for (std::uint32_t i = 0; i < size(); ++i) {
    if (of_slot_[i] > 0 && knotted_[i] == 0 && piece_of(table, i, at).distance < of_slot_[i])
      result.push_back(i);
  }
  for (const knot& k : knots_) {
    std::vector<double> value(k.penalty.size(), 0);
    std::size_t best = 0;
    for (std::size_t set = 1; set < value.size(); ++set) {
      const std::uint32_t slot = k.slots[static_cast<std::size_t>(std::countr_zero(set))];
      value[set] = value[set & (set - 1)] + piece_of(table, slot, at).distance - of_slot_[slot];
      if (value[set] + k.penalty[set] < value[best] + k.penalty[best]) best = set;
    }
    for (std::size_t j = 0; j < k.slots.size(); ++j)
      if ((best >> j & 1) != 0) result.push_back(k.slots[j]);
  }
  std::sort(result.begin(), result.end());
  return result;
}

}  // namespace planloc::detail
