// Sites whose prices move together. Internal.
//
// With few sites each is a group of its own. With many, sites near each other share one unknown:
// the price of slot i is base_i + share_i * price of its group, or 0 where that is negative.
#ifndef PLANLOC_OPTIMUM_ALLOCATION_PRICE_GROUPS_H_
#define PLANLOC_OPTIMUM_ALLOCATION_PRICE_GROUPS_H_

#include <cstdint>
#include <span>
#include <vector>

#include "planloc/optimum/evaluate.h"

namespace planloc::detail {

struct price_groups {
  std::vector<std::uint32_t> of;    // by slot
  std::vector<double> share, base;  // by slot; the shares of a group add up to 1
  // By group: of how many slots of average weight. Prices of heavier ones move further.
  std::vector<double> size;
  std::vector<double> least, most;  // by group: a price beyond these says nothing new

  // `most` is what no price of a slot exceeds.
  static price_groups of_one(std::span<const double> weight, std::vector<double> most);
  // At most `count` groups by halving the plane at medians; the price of 0 leaves all as in `base`.
  static price_groups near_each_other(const distance_table& table, std::vector<double> base,
                                      std::span<const double> most, std::size_t count);

  std::vector<double> prices_of_slots(std::span<const double> prices) const;
};

}  // namespace planloc::detail

#endif  // PLANLOC_OPTIMUM_ALLOCATION_PRICE_GROUPS_H_
