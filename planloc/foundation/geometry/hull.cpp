#include "planloc/foundation/geometry/hull.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <utility>
#include <vector>

#include "planloc/foundation/containers/random_source.h"
#include "planloc/foundation/geometry/exact_orientation.h"

namespace planloc {
namespace {

// A point with its place in the shuffled input.
struct candidate {
  point p;
  std::size_t place;
};

std::vector<candidate> shuffled(const list<point>& L) {
  std::vector<candidate> points;
  for (const point& p : L) {
    if (!std::isnan(p.xcoord()) && !std::isnan(p.ycoord())) points.push_back({p, 0});
  }
  for (std::size_t i = points.size(); i > 1; --i) {
    std::swap(points[i - 1], points[static_cast<std::size_t>(random_below(static_cast<int>(i)))]);
  }
  for (std::size_t i = 0; i < points.size(); ++i) points[i].place = i;
  return points;
}

// Appends to `hull` the vertices of the chain along first..last, without the last one.
template <class Iterator>
void append_chain(Iterator first, Iterator last, std::vector<candidate>& hull) {
  const std::size_t base = hull.size();
  for (; first != last; ++first) {
    while (hull.size() >= base + 2 &&
           detail::exact_orientation(hull[hull.size() - 2].p, hull.back().p, first->p) <= 0) {
      hull.pop_back();
    }
    hull.push_back(*first);
  }
  hull.pop_back();
}

}  // namespace

list<point> CONVEX_HULL(const list<point>& L) {
  std::vector<candidate> points = shuffled(L);
  std::sort(points.begin(), points.end(), [](const candidate& a, const candidate& b) {
    const int order = compare(a.p, b.p);
    return order != 0 ? order < 0 : a.place < b.place;
  });
  points.erase(std::unique(points.begin(), points.end(),
                           [](const candidate& a, const candidate& b) { return a.p == b.p; }),
               points.end());

  std::vector<candidate> hull;
  if (points.size() < 2) {
    hull = points;
  } else {
    append_chain(points.begin(), points.end(), hull);
    append_chain(points.rbegin(), points.rend(), hull);
  }
  std::rotate(
      hull.begin(),
      std::min_element(hull.begin(), hull.end(),
                       [](const candidate& a, const candidate& b) { return a.place < b.place; }),
      hull.end());
  list<point> vertices;
  for (const candidate& c : hull) vertices.append(c.p);
  return vertices;
}

}  // namespace planloc
