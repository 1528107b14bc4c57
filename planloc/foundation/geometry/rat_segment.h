// Segments between exact points. See segment.h for the family on doubles.
#ifndef PLANLOC_FOUNDATION_GEOMETRY_RAT_SEGMENT_H_
#define PLANLOC_FOUNDATION_GEOMETRY_RAT_SEGMENT_H_

#include <utility>

#include "planloc/foundation/geometry/rat_point.h"

namespace planloc {

class rat_segment {
 public:
  rat_segment() = default;  // both ends at the origin
  rat_segment(rat_point source, rat_point target)
      : source_(std::move(source)), target_(std::move(target)) {}

  const rat_point& source() const { return source_; }
  const rat_point& target() const { return target_; }
  bool is_trivial() const { return source_ == target_; }

  bool operator==(const rat_segment&) const = default;

 private:
  rat_point source_;
  rat_point target_;
};

}  // namespace planloc

#endif  // PLANLOC_FOUNDATION_GEOMETRY_RAT_SEGMENT_H_
