// The random source, one for each thread. The seed is fixed and the same for all of them, so that
// what a thread computes is repeatable and does not depend on the others.
#ifndef PLANLOC_FOUNDATION_CONTAINERS_RANDOM_SOURCE_H_
#define PLANLOC_FOUNDATION_CONTAINERS_RANDOM_SOURCE_H_

#include <cstddef>
#include <cstdint>
#include <vector>

namespace planloc {

// The next number of the source in 0..n-1, the same sequence on every platform. REQUIRES: n > 0.
int random_below(int n);

// 0..n-1 in a random order: position i - 1 changes places with position random_below(i), i from n
// down to 2. REQUIRES: n <= INT_MAX.
std::vector<std::uint32_t> random_order(std::size_t n);

}  // namespace planloc

#endif  // PLANLOC_FOUNDATION_CONTAINERS_RANDOM_SOURCE_H_
