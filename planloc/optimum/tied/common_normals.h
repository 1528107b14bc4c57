// Normals of edges over one denominator: sums of them need no common factors to be looked for.
// Internal.
#ifndef PLANLOC_OPTIMUM_TIED_COMMON_NORMALS_H_
#define PLANLOC_OPTIMUM_TIED_COMMON_NORMALS_H_

#include <span>
#include <vector>

#include "planloc/optimum/exact/exact_place.h"

namespace planloc::detail {

struct common_normals {
  common_normals() = default;
  // Of the edges that count, gauge after gauge.
  common_normals(std::span<const gauge> gauges, const std::vector<bool>& counts);

  std::vector<dyadic_xy> normals;  // times the denominator; 0 for the other edges
  dyadic denominator = 1;
};

}  // namespace planloc::detail

#endif  // PLANLOC_OPTIMUM_TIED_COMMON_NORMALS_H_
