#include "planloc/foundation/geometry/crossings.h"

#include <vector>

#include "planloc/foundation/geometry/flat_crossings.h"

namespace planloc {

std::vector<detail::xy_segment> detail::flat_segments(const list<segment>& S) {
  std::vector<xy_segment> flat;
  flat.reserve(static_cast<std::size_t>(S.size()));
  for (const segment& s : S) {
    flat.push_back({{s.xcoord1(), s.ycoord1()}, {s.xcoord2(), s.ycoord2()}});
  }
  return flat;
}

void SEGMENT_INTERSECTION(const list<segment>& S, list<point>& I) {
  I.clear();
  for (const detail::xy& p : detail::find_crossings(detail::flat_segments(S))) {
    I.append(detail::to_point(p));
  }
}

}  // namespace planloc
