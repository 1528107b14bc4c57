#include "planloc/foundation/geometry/sorted_points.h"

#include <algorithm>
#include <cmath>

namespace planloc::detail {
namespace {

constexpr std::size_t kPointsPerBucket = 4;

}  // namespace

// Monotone in x, since subtraction, multiplication and cutting off are.
std::size_t sorted_points::bucket_of(double x) const {
  return static_cast<std::size_t>((x - origin_) * scale_);
}

sorted_points::sorted_points(std::vector<xy> points) : points_(std::move(points)) {
  const std::size_t buckets = points_.size() / kPointsPerBucket + 1;
  if (!points_.empty()) {
    const auto [low, high] = std::minmax_element(
        points_.begin(), points_.end(), [](const xy& p, const xy& q) { return p.x < q.x; });
    origin_ = low->x;
    // Below the number of buckets after three roundings; 0 if the range overflows or vanishes.
    const double scale = (1.0 - 0x1p-50) * static_cast<double>(buckets) / (high->x - origin_);
    if (std::isfinite(scale)) scale_ = scale;
  }
  std::vector<std::size_t> next(buckets + 1, 0);
  for (const xy& p : points_) ++next[bucket_of(p.x) + 1];
  for (std::size_t b = 0; b < buckets; ++b) next[b + 1] += next[b];
  start_ = next;
  std::vector<xy> spread(points_.size());
  for (const xy& p : points_) spread[next[bucket_of(p.x)]++] = p;

  points_.clear();
  for (std::size_t b = 0; b < buckets; ++b) {
    const auto first = spread.begin() + static_cast<std::ptrdiff_t>(start_[b]);
    const auto last = spread.begin() + static_cast<std::ptrdiff_t>(start_[b + 1]);
    std::sort(first, last, lexicographic);
    start_[b] = points_.size();
    points_.insert(points_.end(), first, std::unique(first, last));
  }
  start_[buckets] = points_.size();
}

std::uint32_t sorted_points::rank(const xy& p) const {
  const std::size_t b = bucket_of(p.x);
  const auto first = points_.begin() + static_cast<std::ptrdiff_t>(start_[b]);
  const auto last = points_.begin() + static_cast<std::ptrdiff_t>(start_[b + 1]);
  return static_cast<std::uint32_t>(std::lower_bound(first, last, p, lexicographic) -
                                    points_.begin());
}

}  // namespace planloc::detail
