// Whether a place is an optimum of a convex polyhedral problem. Internal.
#ifndef PLANLOC_OPTIMUM_EXACT_OPTIMALITY_H_
#define PLANLOC_OPTIMUM_EXACT_OPTIMALITY_H_

#include <vector>

#include "planloc/optimum/exact/exact_place.h"

namespace planloc::detail {

// If it is one, pieces whose slopes have the origin in their convex hull, else a direction along
// which f falls. Decided exactly, in doubles where they can tell.
struct optimality {
  struct supporting_piece {
    double multiplier;
    exact_xy direction;  // that it is chosen for
  };
  std::vector<supporting_piece> support;  // 1 to 3 with positive multipliers, affinely independent
  exact_xy descent;                       // if `support` is empty
};

// `first` are directions to look into first, a hint.
optimality test_optimality(const exact_place& place, const std::vector<xy>& first);

}  // namespace planloc::detail

#endif  // PLANLOC_OPTIMUM_EXACT_OPTIMALITY_H_
