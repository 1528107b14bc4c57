// f around a place, as what it is above its value there: nearly all terms of the difference are 0,
// so it has digits that f itself, a sum of many distances, does not have. Internal.
#ifndef PLANLOC_OPTIMUM_CONVEX_EXCESS_H_
#define PLANLOC_OPTIMUM_CONVEX_EXCESS_H_

#include <vector>

#include "planloc/optimum/evaluate.h"

namespace planloc::detail {

// REQUIRES: polyhedral gauges.
class excess {
 public:
  excess(const distance_table& table, evaluator& evaluate, const xy& from);

  // f less its value at `from`, and a subgradient.
  evaluation operator()(const xy& at);

 private:
  const distance_table& table_;
  evaluator& evaluate_;
  xy from_;
  std::vector<double> term_;  // of each slot at `from`
};

}  // namespace planloc::detail

#endif  // PLANLOC_OPTIMUM_CONVEX_EXCESS_H_
