#include "planloc/foundation/geometry/polygon.h"

#include <utility>

#include "planloc/foundation/containers/error_handler.h"
#include "planloc/foundation/geometry/exact_orientation.h"

namespace planloc {
namespace {

list<segment> edges_around(const list<point>& vertices) {
  list<segment> edges;
  for (list_item it = vertices.first(); it; it = vertices.succ(it)) {
    edges.append(segment(vertices[it], vertices[vertices.cyclic_succ(it)]));
  }
  return edges;
}

bool cross(const segment& s, const segment& t) {
  return detail::exact_orientation(s.source(), s.target(), t.source()) *
                 detail::exact_orientation(s.source(), s.target(), t.target()) <
             0 &&
         detail::exact_orientation(t.source(), t.target(), s.source()) *
                 detail::exact_orientation(t.source(), t.target(), s.target()) <
             0;
}

bool some_cross(const list<segment>& edges) {
  for (list_item it = edges.first(); it; it = edges.succ(it)) {
    for (list_item other = edges.succ(it); other; other = edges.succ(other)) {
      if (cross(edges[it], edges[other])) return true;
    }
  }
  return false;
}

// Taken from the first vertex and not from the origin: a polygon that is small against its distance
// from the origin keeps its sign, and one on an axis-parallel line has the area 0.0.
double signed_area(const list<segment>& edges) {
  if (edges.empty()) return 0.0;
  const point o = edges.head().source();
  double sum = 0.0;
  for (const segment& e : edges) {
    sum += (e.xcoord1() - o.xcoord()) * (e.ycoord2() - o.ycoord()) -
           (e.xcoord2() - o.xcoord()) * (e.ycoord1() - o.ycoord());
  }
  return sum / 2.0;
}

}  // namespace

polygon::polygon() {
  static const auto nothing = std::make_shared<const representation>();
  rep_ = nothing;
}

polygon::polygon(const list<point>& P, bool check_for_simplicity, bool check_for_weakly_simple) {
  auto rep = std::make_shared<representation>();
  rep->vertices = P;
  rep->segments = edges_around(P);
  if ((check_for_simplicity || check_for_weakly_simple) && some_cross(rep->segments)) {
    if (check_for_simplicity) error_handler(1, "POLYGON: POLYGON is not simple");
    if (check_for_weakly_simple) error_handler(1, "POLYGON: POLYGON is not weakly simple");
  }
  rep->area = signed_area(rep->segments);
  if (rep->area < 0.0) {
    rep->vertices.reverse_items();
    rep->segments = edges_around(rep->vertices);
    rep->area = signed_area(rep->segments);
  }
  rep_ = std::move(rep);
}

// The ray from p to the right meets an edge that goes up (lower end included, upper end not) with p
// on its left, or one that goes down with p on its right: the winding number counts both.
int polygon::side_of(const point& p) const {
  int winding = 0;
  for (const segment& e : segments()) {
    const int side = orientation(e.source(), e.target(), p);
    if (side == 0 && detail::in_box(e, p)) return 0;
    const bool starts_below = e.ycoord1() <= p.ycoord();
    const bool ends_below = e.ycoord2() <= p.ycoord();
    if (starts_below && !ends_below && side > 0) ++winding;
    if (!starts_below && ends_below && side < 0) --winding;
  }
  return winding != 0 ? 1 : -1;
}

}  // namespace planloc
