// Where a convex problem probably has its optimum, for those who find out themselves whether it is
// one. Internal.
#ifndef PLANLOC_OPTIMUM_CONVEX_LIKELY_OPTIMUM_H_
#define PLANLOC_OPTIMUM_CONVEX_LIKELY_OPTIMUM_H_

#include <cstddef>
#include <optional>

#include "planloc/optimum/exact/exact_place.h"
#include "planloc/optimum/minimise.h"

namespace planloc::detail {

struct likely_optimum {
  std::optional<exact_xy> vertex;  // none if a limit ended the search or none is near
  std::size_t evaluations = 0;
};

// The crossing of break lines next to the place with which the search in doubles ends. REQUIRES: a
// convex problem in the plane under polyhedral gauges.
likely_optimum find_likely_optimum(const problem& p, const minimise_options& options);

}  // namespace planloc::detail

#endif  // PLANLOC_OPTIMUM_CONVEX_LIKELY_OPTIMUM_H_
