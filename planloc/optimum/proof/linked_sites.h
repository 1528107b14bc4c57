// Sites that priced triples link. Internal to `verify`.
#ifndef PLANLOC_OPTIMUM_PROOF_LINKED_SITES_H_
#define PLANLOC_OPTIMUM_PROOF_LINKED_SITES_H_

#include <array>
#include <cstdint>
#include <vector>

#include "planloc/optimum/location_allocation.h"
#include "planloc/optimum/proof/interval.h"

namespace planloc::detail {

inline constexpr std::size_t kMostLinked = 8;

// What a facility that serves a set of linked sites pays for triples of which that has two or
// three. Sets are numbered by their sites' bits.
struct linked_sites {
  std::vector<std::uint32_t> sites;  // at most kMostLinked
  std::vector<interval> paid;        // of each set
  std::vector<std::uint64_t> hit;    // of each set: the triples that it pays for
};

// Refuses triples that are no triples of `count` sites, have no price from 0 up, or link too many.
std::vector<linked_sites> links_of(const std::vector<priced_triple>& triples, std::size_t count);

}  // namespace planloc::detail

#endif  // PLANLOC_OPTIMUM_PROOF_LINKED_SITES_H_
