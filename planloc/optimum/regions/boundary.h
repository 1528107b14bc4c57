// The sides of all polygons of regions, found by their place, and exact decisions about places and
// pieces of sides. Internal.
#ifndef PLANLOC_OPTIMUM_REGIONS_BOUNDARY_H_
#define PLANLOC_OPTIMUM_REGIONS_BOUNDARY_H_

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "planloc/optimum/exact/exact_place.h"
#include "planloc/optimum/region.h"

namespace planloc::detail {

class enclosed_place;

class boundary {
 public:
  struct side {
    xy a, b;
    std::uint32_t polygon;  // the allowed ones first
  };
  // A part of a side that is permitted: a segment, or a point where both ends are equal.
  struct piece {
    exact_xy from, to;
  };

  explicit boundary(const regions& r);

  std::span<const side> sides() const { return sides_; }
  bool permits(const exact_xy& at) const;
  // The permitted parts of one of `sides`, from its first corner to its second.
  std::vector<piece> permitted(const side& s) const;

  // The sides whose boxes meet a box, each once.
  template <class Visit>
  void near(const xy& low, const xy& high, Visit visit) const {
    if (sides_.empty() || high.y < bottom_ || low.y > top_) return;
    const std::size_t first = row(low.y);
    const std::size_t last = row(high.y);
    for (std::size_t r = first; r <= last; ++r) {
      for (std::uint32_t k = begin_[r]; k < begin_[r + 1]; ++k) {
        const side& s = sides_[in_row_[k]];
        const double least = std::min(s.a.y, s.b.y);
        if (least > high.y || std::max(s.a.y, s.b.y) < low.y || std::min(s.a.x, s.b.x) > high.x ||
            std::max(s.a.x, s.b.x) < low.x) {
          continue;
        }
        if (r == first || row(least) == r) visit(s);
      }
    }
  }

 private:
  bool permits(const enclosed_place& at, const side* on) const;
  std::size_t row(double y) const;
  void sort_into_rows();
  std::vector<exact_xy> splits(const side& s) const;

  std::vector<side> sides_;
  std::uint32_t allowed_ = 0;  // polygons
  bool whole_plane_ = false;   // all of it is allowed
  // Rows of equal height; a side stands in each one that it reaches.
  double bottom_ = 0;
  double top_ = 0;
  double rows_per_y_ = 0;
  std::vector<std::uint32_t> begin_;  // of each row in in_row_, and the end
  std::vector<std::uint32_t> in_row_;
};

}  // namespace planloc::detail

#endif  // PLANLOC_OPTIMUM_REGIONS_BOUNDARY_H_
