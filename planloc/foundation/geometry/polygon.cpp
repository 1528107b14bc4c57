#include "planloc/foundation/geometry/polygon.h"

#include <algorithm>
#include <utility>

#include "planloc/foundation/geometry/closed_chain.h"
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

}  // namespace

polygon::polygon() {
  static const auto nothing = std::make_shared<const representation>();
  rep_ = nothing;
}

polygon::polygon(const list<point>& P, bool check_for_simplicity, bool check_for_weakly_simple) {
  auto rep = std::make_shared<representation>();
  rep->vertices = P;
  for (const point& p : P) rep->corners.push_back(detail::to_xy(p));
  detail::check_chain(rep->corners, check_for_simplicity, check_for_weakly_simple);
  rep->area = detail::signed_area(rep->corners);
  if (rep->area < 0.0) {
    rep->vertices.reverse_items();
    std::reverse(rep->corners.begin(), rep->corners.end());
    rep->area = detail::signed_area(rep->corners);
  }
  rep->segments = edges_around(rep->vertices);
  rep_ = std::move(rep);
}

int polygon::side_of(const point& p) const {
  return detail::side_of(rep_->corners, detail::to_xy(p));
}

}  // namespace planloc
