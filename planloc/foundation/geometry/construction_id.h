// The running numbers of points. Internal: see `point::id`.
#ifndef PLANLOC_FOUNDATION_GEOMETRY_CONSTRUCTION_ID_H_
#define PLANLOC_FOUNDATION_GEOMETRY_CONSTRUCTION_ID_H_

#include <atomic>

namespace planloc::detail {

// The next number of a kind of objects. The thread that asks first counts from 0, every other one
// from a multiple of 2^40 of its own, so that numbers differ in the whole process and counting
// needs no other thread.
template <class Kind>
long next_construction_id() {
  constexpr long kRange = 1L << 40;
  static constinit std::atomic<long> ranges{0};
  static constinit thread_local long next = 0;
  if (next % kRange == 0) [[unlikely]]
    next = kRange * ranges.fetch_add(1, std::memory_order_relaxed);
  return next++;
}

}  // namespace planloc::detail

#endif  // PLANLOC_FOUNDATION_GEOMETRY_CONSTRUCTION_ID_H_
