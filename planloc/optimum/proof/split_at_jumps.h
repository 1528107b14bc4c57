// Which order weight each of some distances gets, without sorting them. Internal to `verify`.
#ifndef PLANLOC_OPTIMUM_PROOF_SPLIT_AT_JUMPS_H_
#define PLANLOC_OPTIMUM_PROOF_SPLIT_AT_JUMPS_H_

#include <algorithm>
#include <cstddef>
#include <functional>
#include <span>
#include <vector>

#include "planloc/optimum/problem.h"

namespace planloc::detail {

// Puts as many values as the runs count in such an order that none of a run is above one of the
// next run. Where there are few runs those of one run are in no order of their own.
template <class T, class Less = std::less<T>>
void split_at_jumps(std::vector<T>& values, std::span<const order_run> runs, Less less = {}) {
  constexpr std::size_t kFewRuns = 12;
  if (runs.size() > kFewRuns) {
    std::sort(values.begin(), values.end(), less);
    return;
  }
  auto end = values.end();
  for (std::size_t r = runs.size(); r-- > 1;) {
    const auto jump = end - static_cast<std::ptrdiff_t>(runs[r].count);
    std::nth_element(values.begin(), jump, end, less);
    end = jump;
  }
}

}  // namespace planloc::detail

#endif  // PLANLOC_OPTIMUM_PROOF_SPLIT_AT_JUMPS_H_
