#include "planloc/optimum/region.h"

#include <cmath>

#include "planloc/optimum/regions/boundary.h"

namespace planloc {

bool regions::permit(const detail::xy& at) const {
  if (!std::isfinite(at.x) || !std::isfinite(at.y)) return false;
  return whole_plane() || detail::boundary(*this).permits(detail::to_exact(at));
}

}  // namespace planloc
