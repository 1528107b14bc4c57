// The work behind `facilities::gauge_bicriteria` on flat sites. Call the members of `facilities`.
#ifndef PLANLOC_FACILITIES_EFFICIENT_WALK_H_
#define PLANLOC_FACILITIES_EFFICIENT_WALK_H_

#include <cstddef>

#include "planloc/facilities/flat_gauged_sites.h"
#include "planloc/facilities/planar_sites.h"
#include "planloc/foundation/containers/list.h"
#include "planloc/foundation/geometry/point.h"
#include "planloc/foundation/geometry/segment.h"
#include "planloc/foundation/graph/graph.h"
#include "planloc/model/location.h"

namespace planloc::detail {

// A place with its two objectives.
struct valued_place {
  plane_xy at;
  double f0;
  double f1;
};

// See efficient_set.h.
int classify(valued_place B, valued_place C, valued_place A, plane_xy n0, plane_xy n1);
void prepare(GRAPH<point, segment>& map);

// See facilities.h; k1, k2 and 0, 1 are positions among the weights of `sites`.
list<point> lexicographic_points(const flat_gauged_sites& sites, const point& x0, std::size_t k1,
                                 std::size_t k2, const GRAPH<point, segment>& map);
list<location> efficient_walk(const flat_gauged_sites& sites, const list<point>& start,
                              const list<point>& goal, const GRAPH<point, segment>& map);

}  // namespace planloc::detail

#endif  // PLANLOC_FACILITIES_EFFICIENT_WALK_H_
