// Places where an interchange may put a facility, with the sites around each. Internal.
#ifndef PLANLOC_OPTIMUM_ALLOCATION_CANDIDATE_PLACES_H_
#define PLANLOC_OPTIMUM_ALLOCATION_CANDIDATE_PLACES_H_

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "planloc/optimum/allocation/near_sites.h"
#include "planloc/optimum/allocation/service.h"

namespace planloc::detail {

class candidate_places {
 public:
  candidate_places(const near_sites& sites, std::vector<xy> places);

  std::size_t size() const { return blocks_.places().size(); }
  const xy& operator[](std::size_t k) const { return blocks_.places()[k]; }
  const place_blocks& blocks() const { return blocks_; }

  // Calls use(slot, distance) for the slots that would have a facility there as their first or
  // second.
  template <class Use>
  void each_near(std::size_t k, const service& now, Use use) const {
    const std::span<const near_site> around = std::span(kept_).subspan(k * length_, length_);
    // Beyond the last of these nobody has a second.
    if (around.empty() ||
        (length_ < sites_.size() && !(beyond(around.back(), now.farthest_second()))))
      return now.each_near((*this)[k], use);
    for (const near_site& s : around) {
      if (beyond(s, now.farthest_second())) break;
      if (s.distance < now.links()[s.slot].to_second) use(s.slot, s.distance);
    }
  }

 private:
  struct near_site {
    std::uint32_t slot;
    double distance;
  };
  bool beyond(const near_site& s, double farthest) const {
    return s.distance > farthest * sites_.scale[s.slot];
  }
  struct scratch {
    std::vector<double> distance, share;
    std::vector<std::uint32_t> order;
  };
  void keep(std::size_t k, scratch& s);

  const near_sites& sites_;
  place_blocks blocks_;
  // So many sites of each candidate, by distance over scale; none where there are too many.
  std::size_t length_ = 0;
  std::vector<near_site> kept_;
};

}  // namespace planloc::detail

#endif  // PLANLOC_OPTIMUM_ALLOCATION_CANDIDATE_PLACES_H_
