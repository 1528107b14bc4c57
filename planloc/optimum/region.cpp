#include "planloc/optimum/region.h"

#include "planloc/optimum/regions/boundary.h"

namespace planloc {

bool regions::permit(const detail::xy& at) const {
  return whole_plane() || detail::boundary(*this).permits(detail::to_exact(at));
}

}  // namespace planloc
