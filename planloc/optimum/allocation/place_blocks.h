// Places in blocks of some that lie near each other, so that a walk around a place need not look at
// the others. Internal.
#ifndef PLANLOC_OPTIMUM_ALLOCATION_PLACE_BLOCKS_H_
#define PLANLOC_OPTIMUM_ALLOCATION_PLACE_BLOCKS_H_

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "planloc/foundation/geometry/xy.h"

namespace planloc::detail {

class place_blocks {
 public:
  explicit place_blocks(std::vector<xy> places);

  std::span<const xy> places() const { return places_; }
  std::size_t size() const { return boxes_.size(); }
  // The numbers of the places in a block.
  std::span<const std::uint32_t> operator[](std::size_t block) const {
    return std::span(order_).subspan(begin_[block], begin_[block + 1] - begin_[block]);
  }
  // The block of a place.
  std::uint32_t of(std::size_t place) const { return block_of_[place]; }
  // How far a block is at least, in the maximum norm; infinite from an infinite place.
  double away(std::size_t block, const xy& at) const {
    const xy_box& b = boxes_[block];
    return std::max({b.low.x - at.x, at.x - b.high.x, b.low.y - at.y, at.y - b.high.y});
  }

 private:
  void halve(std::size_t begin, std::size_t end);

  std::vector<xy> places_;
  std::vector<std::uint32_t> order_, block_of_;
  std::vector<std::size_t> begin_;  // of each block in `order_`, and the end
  std::vector<xy_box> boxes_;
};

}  // namespace planloc::detail

#endif  // PLANLOC_OPTIMUM_ALLOCATION_PLACE_BLOCKS_H_
