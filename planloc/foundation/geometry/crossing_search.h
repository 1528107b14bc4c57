// All crossings of chains, by boxes and strips. Internal to crossings.
#ifndef PLANLOC_FOUNDATION_GEOMETRY_CROSSING_SEARCH_H_
#define PLANLOC_FOUNDATION_GEOMETRY_CROSSING_SEARCH_H_

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "planloc/foundation/geometry/collinear_chains.h"
#include "planloc/foundation/geometry/xy.h"

namespace planloc::detail {

struct crossing {
  std::uint32_t first;  // numbers of the two chains
  std::uint32_t second;
  xy p;
};

class crossing_receiver {
 public:
  virtual ~crossing_receiver() = default;
  virtual void receive(std::span<const crossing> batch) = 0;
};

// Hands all crossings of the chains to `receiver`, in batches; one may come several times. Their
// coordinates are those of `segment::intersection`. The result is the number of pairs tested.
std::size_t search_crossings(const std::vector<chain>& chains, crossing_receiver& receiver);

}  // namespace planloc::detail

#endif  // PLANLOC_FOUNDATION_GEOMETRY_CROSSING_SEARCH_H_
