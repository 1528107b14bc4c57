#include "planloc/foundation/geometry/hull.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "planloc/foundation/containers/random_source.h"
#include "planloc/foundation/geometry/exact_orientation.h"
#include "planloc/foundation/geometry/filter.h"

namespace planloc {
namespace {

using detail::xy;

// A point of the input that may be a vertex.
struct candidate {
  xy at;
  std::uint32_t number;  // its place in the input
};

bool same_place(const xy& a, const xy& b) { return a.x == b.x && a.y == b.y; }

bool by_place(const candidate& a, const candidate& b) {
  return a.at.x != b.at.x ? a.at.x < b.at.x : a.at.y < b.at.y;
}

// Below this many points, looking for the inner ones costs more than it saves.
constexpr std::size_t kFewPoints = 64;

// Certain inner points by corners of the input (S. G. Akl, G. T. Toussaint, 1978): the farthest
// ones in eight directions, counterclockwise. What lies strictly left of each edge of a closed
// chain is wound around by it, and so lies inside the hull, whatever the corners are: rounded sums
// may pick any.
class inner_part {
 public:
  explicit inner_part(const std::vector<point>& points) {
    std::array<double, 8> most;
    most.fill(-HUGE_VAL);
    for (const point& p : points) {
      const xy at{p.xcoord(), p.ycoord()};
      const double rising = at.x + at.y;
      const double falling = at.x - at.y;
      const double height[8] = {at.x, rising, at.y, -falling, -at.x, -rising, -at.y, falling};
      for (std::size_t k = 0; k < 8; ++k) {
        if (height[k] > most[k]) {
          most[k] = height[k];
          corners_[k] = at;
        }
      }
    }
    // Infinite coordinates are left to the orientation of the hull itself.
    for (const std::size_t k : {0U, 2U, 4U, 6U}) usable_ = usable_ && std::isfinite(most[k]);
    const xy& north_east = corners_[1];
    const xy& north_west = corners_[3];
    const xy& south_west = corners_[5];
    const xy& south_east = corners_[7];
    low_ = {std::max(south_west.x, north_west.x), std::max(south_west.y, south_east.y)};
    high_ = {std::min(south_east.x, north_east.x), std::min(north_west.y, north_east.y)};
  }

  // 1. true implies that the point lies strictly inside the hull; false says nothing.
  //
  // Inside the box it lies above the edge from south_west to south_east, since its x is between
  // theirs and its y above both, and so on around the four: no rounding is involved.
  bool certainly_holds(const xy& p) const {
    if (p.x > low_.x && p.x < high_.x && p.y > low_.y && p.y < high_.y) return usable_;
    bool left = usable_;
    for (std::size_t k = 0; k < 8 && left; ++k) {
      const xy& a = corners_[k];
      const xy& b = corners_[(k + 1) % 8];
      left = same_place(a, b) || detail::certain_cross_sign(detail::rounded_difference(a, b),
                                                            detail::rounded_difference(a, p)) > 0;
    }
    return left && !same_place(corners_[0], corners_[4]);
  }

 private:
  std::array<xy, 8> corners_{};
  xy low_, high_;
  bool usable_ = true;
};

// Sorted by place, every place as often as it occurs.
std::vector<candidate> outer_candidates(const std::vector<point>& points) {
  std::vector<candidate> outer;
  const auto keep = [&](std::size_t i) {
    outer.push_back({{points[i].xcoord(), points[i].ycoord()}, static_cast<std::uint32_t>(i)});
  };
  if (points.size() < kFewPoints) {
    for (std::size_t i = 0; i < points.size(); ++i) keep(i);
  } else {
    const inner_part inner(points);
    for (std::size_t i = 0; i < points.size(); ++i) {
      if (!inner.certainly_holds({points[i].xcoord(), points[i].ycoord()})) keep(i);
    }
  }
  std::sort(outer.begin(), outer.end(), by_place);
  return outer;
}

// Appends to `hull` the vertices of the chain along first..last, without the last one.
template <class Iterator>
void append_chain(Iterator first, Iterator last, const std::vector<point>& points,
                  std::vector<candidate>& hull) {
  const std::size_t base = hull.size();
  for (; first != last; ++first) {
    while (hull.size() >= base + 2 &&
           detail::exact_orientation(points[hull[hull.size() - 2].number],
                                     points[hull.back().number], points[first->number]) <= 0) {
      hull.pop_back();
    }
    hull.push_back(*first);
  }
  hull.pop_back();
}

// Counterclockwise; any one of the points at a vertex stands for it.
std::vector<candidate> monotone_chains(const std::vector<point>& points,
                                       const std::vector<candidate>& outer) {
  std::vector<candidate> places = outer;
  places.erase(
      std::unique(places.begin(), places.end(),
                  [](const candidate& a, const candidate& b) { return same_place(a.at, b.at); }),
      places.end());
  if (places.size() < 2) return places;
  std::vector<candidate> hull;
  append_chain(places.begin(), places.end(), points, hull);
  append_chain(places.rbegin(), places.rend(), points, hull);
  return hull;
}

// Of the points at a vertex the one that comes first in `order` stands for it, and the vertex that
// comes first of all is made the first one. Few steps, unless vertices occur more than once.
void follow_order(const std::vector<std::uint32_t>& order, const std::vector<candidate>& outer,
                  std::vector<candidate>& hull) {
  std::vector<std::uint32_t> vertex_at(order.size(), 0);  // counted from 1
  std::vector<bool> several(hull.size());
  std::size_t undecided = hull.empty() ? 0 : 1;  // which one is the first
  for (std::size_t v = 0; v < hull.size(); ++v) {
    const auto [begin, end] = std::equal_range(outer.begin(), outer.end(), hull[v], by_place);
    for (auto c = begin; c != end; ++c) vertex_at[c->number] = static_cast<std::uint32_t>(v) + 1;
    several[v] = end - begin > 1;
    undecided += several[v];
  }
  std::vector<bool> met(hull.size());
  std::size_t first = hull.size();
  for (std::size_t place = 0; undecided > 0; ++place) {
    const std::size_t v = vertex_at[order[place]];
    if (v == 0 || met[v - 1]) continue;
    met[v - 1] = true;
    hull[v - 1].number = order[place];
    undecided -= several[v - 1];
    if (first < hull.size()) continue;
    first = v - 1;
    --undecided;
  }
  std::rotate(hull.begin(), hull.begin() + static_cast<std::ptrdiff_t>(first), hull.end());
}

}  // namespace

list<point> CONVEX_HULL(const list<point>& L) {
  std::vector<point> points;
  points.reserve(static_cast<std::size_t>(L.size()));
  for (const point& p : L) {
    if (!std::isnan(p.xcoord()) && !std::isnan(p.ycoord())) points.push_back(p);
  }
  const std::vector<std::uint32_t> order = random_order(points.size());
  const std::vector<candidate> outer = outer_candidates(points);
  std::vector<candidate> hull = monotone_chains(points, outer);
  follow_order(order, outer, hull);
  list<point> vertices;
  for (const candidate& c : hull) vertices.append(points[c.number]);
  return vertices;
}

}  // namespace planloc
