// The work behind `facilities::gauge_bicriteria`, on flat arrays. Users call the members of
// `facilities` and the functions of efficient_set.h, which are these on a GRAPH.
#ifndef PLANLOC_FACILITIES_EFFICIENT_WALK_H_
#define PLANLOC_FACILITIES_EFFICIENT_WALK_H_

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "planloc/facilities/flat_gauged_sites.h"
#include "planloc/facilities/planar_sites.h"
#include "planloc/foundation/containers/list.h"
#include "planloc/foundation/geometry/flat_crossings.h"
#include "planloc/foundation/geometry/point.h"
#include "planloc/foundation/geometry/segment.h"
#include "planloc/foundation/geometry/xy.h"
#include "planloc/foundation/graph/graph.h"
#include "planloc/model/location.h"

namespace planloc::detail {

// ----- The map -----

// Edges are numbers; those that leave node v are first[v], ..., first[v + 1] - 1, in order.
struct flat_map {
  std::vector<xy> nodes;
  std::vector<std::size_t> first;
  std::vector<std::uint32_t> target;

  bool is_dead_end(std::uint32_t v) const { return first[v] == first[v + 1]; }
};

// `prepare_map` of the map that the pieces form: `segment_map` without the graph.
flat_map prepared_map(const flat_arrangement& pieces);
// The map as it stands.
flat_map flat_map_of(const GRAPH<point, segment>& map);

// The direction of an edge as `prepare_map` orders them, and its length.
struct heading {
  double angle;
  double length;
};

heading heading_of(const segment& s);

// The steps of `prepare_map` at one node, on anything with a heading. Exchanges go through
// exchange(a, b), also for a and b the same, and what is dropped through drop(a) before it goes.
template <class Edge, class Exchange>
void sort_by_angle(std::vector<Edge>& edges, Exchange exchange) {
  for (std::size_t i = 0; i + 1 < edges.size(); ++i) {
    const auto first = std::min_element(
        edges.begin() + static_cast<std::ptrdiff_t>(i), edges.end(),
        [](const Edge& a, const Edge& b) { return a.towards.angle < b.towards.angle; });
    exchange(edges[i], *first);
  }
}

// Of neighbours in one direction the shorter stays, of equal ones the later. A single edge is its
// own neighbour, and goes: intended, so that no walk comes back from an outer end.
template <class Edge, class Drop>
void drop_overlaps(std::vector<Edge>& edges, Drop drop) {
  for (std::size_t i = 0; i < edges.size();) {
    const std::size_t j = (i + 1) % edges.size();
    if (edges[i].towards.angle != edges[j].towards.angle) {
      ++i;
      continue;
    }
    const std::size_t longer = edges[j].towards.length <= edges[i].towards.length ? i : j;
    drop(edges[longer]);
    edges.erase(edges.begin() + static_cast<std::ptrdiff_t>(longer));
  }
}

// ----- Corners -----

// A place with its two objectives.
struct valued_place {
  plane_xy at;
  double f0;
  double f1;
};

// See efficient_set.h.
int classify(valued_place B, valued_place C, valued_place A, plane_xy n0, plane_xy n1);

// ----- The solver's two steps: see facilities.h -----

// k1, k2 and, for the walk, 0 and 1 are positions among the weights of `sites`. Where the segments
// of the map are given, nodes that they show to be above the least value are passed over; the
// result is the same. REQUIRES then: weights of at least 0.0.
list<point> lexicographic_points(const flat_gauged_sites& sites, const point& x0, std::size_t k1,
                                 std::size_t k2, const flat_map& map,
                                 std::span<const xy_segment> segments = {});
list<location> efficient_walk(const flat_gauged_sites& sites, const list<point>& start,
                              const list<point>& goal, const flat_map& map);

}  // namespace planloc::detail

#endif  // PLANLOC_FACILITIES_EFFICIENT_WALK_H_
