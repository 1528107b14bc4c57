// Distinct points in lexicographic order that know their places. Internal to crossings.
#ifndef PLANLOC_FOUNDATION_GEOMETRY_SORTED_POINTS_H_
#define PLANLOC_FOUNDATION_GEOMETRY_SORTED_POINTS_H_

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "planloc/foundation/geometry/xy.h"

namespace planloc::detail {

// Sorting and finding take constant time a point if their x spread evenly, and logarithmic
// time at worst.
class sorted_points {
 public:
  // REQUIRES: finite coordinates.
  explicit sorted_points(std::vector<xy> points);

  const std::vector<xy>& points() const { return points_; }
  std::vector<xy> take() { return std::move(points_); }

  // The place of p. REQUIRES: it is one of the points.
  std::uint32_t rank(const xy& p) const;

 private:
  std::size_t bucket_of(double x) const;

  std::vector<xy> points_;
  // Bucket b holds points_[start_[b]], ..., points_[start_[b + 1] - 1].
  std::vector<std::size_t> start_;
  double origin_ = 0.0;
  double scale_ = 0.0;
};

}  // namespace planloc::detail

#endif  // PLANLOC_FOUNDATION_GEOMETRY_SORTED_POINTS_H_
