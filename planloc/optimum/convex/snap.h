// From a minimiser in doubles to the exact vertex that it stands for. Internal.
#ifndef PLANLOC_OPTIMUM_CONVEX_SNAP_H_
#define PLANLOC_OPTIMUM_CONVEX_SNAP_H_

#include <vector>

#include "planloc/optimum/evaluate.h"
#include "planloc/optimum/exact/exact_place.h"

namespace planloc::detail {

// A line on which f can break: the ray that starts an edge of a slot, or where the distances of two
// slots are equal as their edges tell them. Edges count in the table.
struct break_line {
  std::uint32_t slot, edge;
  std::uint32_t other, other_edge;  // of the second slot; of a ray the same as the first
  xy unit;                          // its normal, of length 1
  double distance;                  // of the place

  bool is_ray() const { return slot == other; }
};

// The break lines around a place: rays of gauges, and lines on which two distances at a jump of the
// order weights are equal. Places that are passed are relative to the table's base, what is found
// is not. REQUIRES: polyhedral gauges.
class break_lines {
 public:
  // Those that pass within `reach` of `near`.
  break_lines(const problem& p, const distance_table& table, exact_edges& edges, const xy& near,
              double reach);

  struct snapped {
    exact_xy at;
    int lines;  // that it lies on: 2, 1 or 0
  };
  // Of the lines within `reach`: a crossing with the nearest one; with fewer than two the point of
  // the one line that is nearest, or the place itself.
  snapped snap(double reach) const;
  // Their crossings with the line through `from`, the nearest first.
  std::vector<exact_xy> crossings(const exact_xy& from, const exact_xy& direction,
                                  double reach) const;

 private:
  // normal . x == right
  struct exact_line {
    dyadic_xy normal;
    dyadic right;
  };
  exact_line exact(const break_line& l) const;

  const problem& problem_;
  const distance_table& table_;
  exact_edges& edges_;
  dyadic_xy near_;
  std::vector<break_line> lines_;  // the nearest first
};

}  // namespace planloc::detail

#endif  // PLANLOC_OPTIMUM_CONVEX_SNAP_H_
