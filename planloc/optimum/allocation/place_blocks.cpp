#include "planloc/optimum/allocation/place_blocks.h"

#include <algorithm>
#include <numeric>
#include <utility>

namespace planloc::detail {

namespace {

constexpr std::size_t kMostInBlock = 16;

}  // namespace

place_blocks::place_blocks(std::vector<xy> places)
    : places_(std::move(places)), order_(places_.size()), block_of_(places_.size()) {
  std::iota(order_.begin(), order_.end(), 0U);
  if (!order_.empty()) halve(0, order_.size());
  begin_.push_back(order_.size());
}

void place_blocks::halve(std::size_t begin, std::size_t end) {
  const auto first = order_.begin() + static_cast<std::ptrdiff_t>(begin);
  const auto last = order_.begin() + static_cast<std::ptrdiff_t>(end);
  xy_box box(places_[*first]);
  for (auto k = first; k != last; ++k) box.extend(places_[*k]);
  if (end - begin <= kMostInBlock) {
    for (auto k = first; k != last; ++k) block_of_[*k] = static_cast<std::uint32_t>(boxes_.size());
    begin_.push_back(begin);
    boxes_.push_back(box);
    return;
  }
  const bool by_x = box.high.x - box.low.x > box.high.y - box.low.y;
  const auto key = [&](std::uint32_t k) {
    return std::pair(by_x ? places_[k].x : places_[k].y, k);
  };
  const std::size_t middle = begin + (end - begin) / 2;
  std::nth_element(first, order_.begin() + static_cast<std::ptrdiff_t>(middle), last,
                   [&](std::uint32_t a, std::uint32_t b) { return key(a) < key(b); });
  halve(begin, middle);
  halve(middle, end);
}

}  // namespace planloc::detail
