// The best place for the sites of one facility, thousands of times over: in doubles, from a start
// that is near. What is claimed of a result is decided elsewhere. Internal.
#ifndef PLANLOC_OPTIMUM_ALLOCATION_PLACE_FINDER_H_
#define PLANLOC_OPTIMUM_ALLOCATION_PLACE_FINDER_H_

#include <cstdint>
#include <span>
#include <vector>

#include "planloc/optimum/evaluate.h"

namespace planloc::detail {

struct placed {
  xy at;
  double value;
};

// The sum of the distances of some slots, and a subgradient: one that shows an optimum at a site.
evaluation sum_of_distances(const distance_table& table, std::span<const std::uint32_t> slots,
                            const xy& at);

// Scratch for solves; one a thread.
class place_finder {
 public:
  explicit place_finder(const distance_table& table);

  // A place where the sum of the distances of these slots is least, to some 1e-8 of the value.
  placed operator()(std::span<const std::uint32_t> slots, const xy& start);

 private:
  struct weighted_site {
    double x, y, weight;
  };
  struct euclidean_step;

  placed newton(std::span<const std::uint32_t> slots, const xy& start);
  xy median_on_line();  // reorders sites_
  euclidean_step step_at(const xy& at) const;
  placed cutting_planes(std::span<const std::uint32_t> slots, const xy& start) const;

  const distance_table& table_;
  bool euclidean_ = true;  // all of them
  std::vector<weighted_site> sites_;
};

}  // namespace planloc::detail

#endif  // PLANLOC_OPTIMUM_ALLOCATION_PLACE_FINDER_H_
