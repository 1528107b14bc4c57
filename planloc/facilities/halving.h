// The lists of candidates of gauge_max.h: how a median splits them, and the long ones of the triple
// phase. Internal.
#ifndef PLANLOC_FACILITIES_HALVING_H_
#define PLANLOC_FACILITIES_HALVING_H_

#include <cstddef>
#include <vector>

#include "planloc/facilities/level_sets.h"

namespace planloc::detail {

// A list in an array, the front first.
using candidates = std::vector<double>;

// More triples than this are not kept: counting them in bins takes less time and memory.
inline constexpr std::size_t kMostKeptTriples = std::size_t{1} << 18;

// In the order that list::sort makes, also where a NaN is among them.
void sort_candidates(candidates& C);
// The entry at (size - 1) / 2, of an even number the mean with the one behind it.
double middle(const candidates& C);
// Whether the level set at z - kLevelOffset has a point.
bool is_reached(level_sets& levels, double z);
void keep_below(candidates& C, double m);
void keep_above(candidates& C, double m);
// Exactly two become three: the front is doubled.
void double_front(candidates& C);

// Replaces C by the entries below the middle of the sorted list and the middle, if that is reached,
// else by those above it and the middle, in any order. Returns the middle. Linear time.
double halve(candidates& C, level_sets& levels);

// The list of the triple phase: the contacts of three sites in front of `lower`, halved until 1300
// are left. Beyond `most_kept` triples they are not all kept (sorted_contacts.h), with the same
// result.
candidates far_contacts(const ball_sites& sites, double lower, level_sets& levels,
                        std::size_t most_kept = kMostKeptTriples);

}  // namespace planloc::detail

#endif  // PLANLOC_FACILITIES_HALVING_H_
