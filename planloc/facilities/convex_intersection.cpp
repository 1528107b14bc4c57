#include "planloc/facilities/convex_intersection.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "planloc/foundation/containers/error_handler.h"
#include "planloc/foundation/geometry/exact_orientation.h"
#include "planloc/foundation/geometry/filter.h"
#include "planloc/foundation/geometry/flat_crossings.h"

namespace planloc {
namespace {

using detail::closed_chain;
using detail::xy;

bool has(closed_chain chain, const xy& p) {
  return std::find(chain.begin(), chain.end(), p) != chain.end();
}

// Whether the angle at c from p to q is above pi, by the steps of `point::angle` but without its
// arc cosine. With the cosine k in (-1, 1) the arc cosine a is in (1e-8, pi - 1e-8), and the angle
// is a, or 2 pi - a if q lies to the right; all other k give 0 or pi.
bool more_than_half_turn(const xy& c, const xy& p, const xy& q) {
  if (p == c || q == c) {
    error_handler(1, "point::angle:  zero vector input.");
    return false;
  }
  const xy u = detail::rounded_difference(c, p);
  const xy v = detail::rounded_difference(c, q);
  if (!(u.y * v.x > u.x * v.y)) return false;
  const double squares = (u.x * u.x + u.y * u.y) * (v.x * v.x + v.y * v.y);
  if (squares == 0.0) return false;
  const double cosine = (u.x * v.x + u.y * v.y) / std::sqrt(squares);
  return cosine < 1.0 && cosine > -1.0;
}

// Puts points in lexicographic order into that of a clockwise walk from the first one: those on or
// above the line to the last one, and back along those below. Its chain does not cross itself,
// which is what `sort_points` leaves where the points are too close to a line for their angles.
void walk_around(std::vector<xy>& points) {
  if (points.size() < 3) return;
  const xy first = points.front();
  const xy last = points.back();
  const auto below = std::stable_partition(points.begin(), points.end(), [&](const xy& p) {
    return detail::exact_orientation(first, last, p) >= 0;
  });
  std::reverse(below, points.end());
}

const xy& coordinates(const xy& p) { return p; }
xy coordinates(const point& p) { return detail::to_xy(p); }

template <class Point>
void sort_points(std::vector<Point>& points) {
  if (points.size() < 2) return;
  xy c{0.0, 0.0};
  for (const Point& p : points) {
    c.x += coordinates(p).x;
    c.y += coordinates(p).y;
  }
  c.x /= static_cast<double>(points.size());
  c.y /= static_cast<double>(points.size());
  for (auto next = points.begin() + 1; next != points.end(); ++next) {
    const Point p = *next;
    const auto place = std::find_if(points.begin(), next, [&](const Point& q) {
      return more_than_half_turn(c, coordinates(p), coordinates(q));
    });
    std::move_backward(place, next, next + 1);
    *place = p;
  }
}

}  // namespace

void sort_around_centre(list<point>& L) {
  std::vector<point> points(L.begin(), L.end());
  sort_points(points);
  L.clear();
  for (const point& p : points) L.append(p);
}

namespace detail {

void convex_clipper::sides::compute(closed_chain corners, closed_chain other) {
  side.resize(corners.size());
  certain.resize(corners.size() * other.size());
  all_in = true;
  int* sign = certain.data();
  for (std::size_t i = 0; i < corners.size(); ++i) {
    side_counter counter(corners[i]);
    for (std::size_t j = 0; j < other.size(); ++j) {
      const xy& a = other[j];
      const xy& b = other[behind(other, j)];
      counter.pass(a, b, plain_cross(a, b, corners[i]));
      *sign++ = certain_cross_sign(rounded_difference(a, b), rounded_difference(a, corners[i]));
    }
    side[i] = counter.side();
    all_in = all_in && side[i] >= 0;
  }
}

int convex_clipper::sides::orientation(closed_chain corners, closed_chain other, std::size_t corner,
                                       std::size_t edge) const {
  const int sign = certain[corner * other.size() + edge];
  if (sign != 0) return sign;
  return exact_orientation(other[edge], other[behind(other, edge)], corners[corner]);
}

// Points in which edges only touch are corners of one of the chains, and so are the ends of an
// overlap. A crossing that rounds to a corner stands and falls with that.
void convex_clipper::collect(closed_chain a, closed_chain b, std::vector<xy>& points) const {
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (a_.side[i] >= 0) points.push_back(a[i]);
  }
  for (std::size_t j = 0; j < b.size(); ++j) {
    if (b_.side[j] >= 0) points.push_back(b[j]);
  }
  const auto is_corner = [&](const xy& p) { return has(a, p) || has(b, p); };
  for (std::size_t i = 0; i < a.size(); ++i) {
    const std::size_t i2 = behind(a, i);
    for (std::size_t j = 0; j < b.size(); ++j) {
      if (a_.orientation(a, b, i, j) * a_.orientation(a, b, i2, j) >= 0) continue;
      const std::size_t j2 = behind(b, j);
      if (b_.orientation(b, a, j, i) * b_.orientation(b, a, j2, i) >= 0) continue;
      const xy cut = exact_crossing(a[i], a[i2], b[j], b[j2]);
      if (!is_corner(cut)) points.push_back(cut);
    }
  }
}

// Edges of one chain may cross, or have no place.
void convex_clipper::collect_from_any(closed_chain a, closed_chain b, std::vector<xy>& points) {
  std::vector<xy_segment> edges;
  for (const closed_chain chain : {a, b}) {
    for (std::size_t i = 0; i < chain.size(); ++i)
      edges.push_back({chain[i], chain[behind(chain, i)]});
  }
  for (const xy& p : find_crossings(edges)) {
    const bool is_corner = has(a, p) || has(b, p);
    if (!is_corner || (side_of(a, p) >= 0 && side_of(b, p) >= 0)) points.push_back(p);
  }
}

convex_clipper::result convex_clipper::clip(closed_chain a, closed_chain b, bool are_simple,
                                            std::vector<xy>& corners) {
  a_.compute(a, b);
  if (a_.all_in) return result::kFirst;
  b_.compute(b, a);
  if (b_.all_in) return result::kSecond;
  corners.clear();
  if (are_simple && all_finite(a) && all_finite(b)) {
    collect(a, b, corners);
  } else {
    collect_from_any(a, b, corners);
  }
  // Without negative zeros, as find_crossings.
  for (xy& p : corners) p = {p.x + 0.0, p.y + 0.0};
  std::sort(corners.begin(), corners.end(), lexicographic);
  corners.erase(std::unique(corners.begin(), corners.end()), corners.end());
  walk_around(corners);
  sort_points(corners);
  return result::kCorners;
}

}  // namespace detail

polygon convex_intersection(const polygon& A, const polygon& B) {
  const bool are_simple =
      !detail::crosses_itself(A.corners()) && !detail::crosses_itself(B.corners());
  std::vector<xy> corners;
  switch (detail::convex_clipper().clip(A.corners(), B.corners(), are_simple, corners)) {
    case detail::convex_clipper::result::kFirst:
      return A;
    case detail::convex_clipper::result::kSecond:
      return B;
    default:
      break;
  }
  if (corners.empty()) return polygon();
  list<point> vertices;
  for (const xy& p : corners) vertices.append(detail::to_point(p));
  return polygon(vertices, true, true);
}

}  // namespace planloc
