// Where a new facility may be built: regions made of polygons with holes.
//
//   regions where;
//   where.allowed = region{{{{0, 0}, {9, 0}, {9, 9}, {0, 9}}}};       // one polygon of one ring
//   where.forbidden = {{{{2, 2}, {4, 2}, {4, 4}, {2, 4}}, ...}, ...};  // lakes, each with islands
//   const problem p(sites, gauges, lambda, where);
//
// Polygons may touch and overlap, and so may the rings of one polygon. Everything is decided
// exactly: an optimum often lies on a border. Sides between corners are straight, whatever the
// gauges. Polygons, rings and corners are counted from 0.
#ifndef PLANLOC_OPTIMUM_REGION_H_
#define PLANLOC_OPTIMUM_REGION_H_

#include <optional>
#include <vector>

#include "planloc/foundation/geometry/xy.h"

namespace planloc {

// A closed line through these corners, in either sense of rotation. The last corner may repeat the
// first, and any corner its neighbour. A ring may touch itself at a corner, but neither cross
// itself nor run along itself.
using ring = std::vector<detail::xy>;

// At least one ring. Inside is what lies on no ring and within an odd number of them: an outer ring
// and its holes, an island in a hole, several parts.
using region_polygon = std::vector<ring>;

// The union of its polygons.
using region = std::vector<region_polygon>;

struct regions {
  // The polygons with their rings. Not given: the whole plane; without polygons: nothing.
  std::optional<region> allowed;
  // The insides of the polygons. Their rings are not forbidden, nor is the seam of two that touch.
  region forbidden;

  bool whole_plane() const { return !allowed && forbidden.empty(); }
  // Whether the place is finite, allowed and not forbidden. REQUIRES: finite corners.
  bool permit(const detail::xy& at) const;
};

}  // namespace planloc

#endif  // PLANLOC_OPTIMUM_REGION_H_
