#include "planloc/model/mixgauge.h"

#include <cstddef>

namespace planloc {
namespace {

constexpr char kBadCone[] = "mixgauge: Conenumber is not correct";
constexpr char kBadOrder[] = "mixgauge: must be in counterclockwise order";

constexpr detail::gauge_report kSizes = {"mixgauge: must be the same size for points and conetyps",
                                         1717};
constexpr detail::gauge_report kClosing = {kBadOrder, 1719};
constexpr detail::gauge_report kConeType = {kBadCone, 1723};

constexpr detail::gauge_reports kReports = {
    .order = {kBadOrder, 1718},
    .gap = {"mixgauge: alpha > PI", 1720},
    .hull = {"mixgauge: not convex", 1721},
    .scale = {"mixgauge:scale must be greater than 0", 1735},
    .vertex = {kBadCone, 1722},
    .cone_vertices = {kBadCone, 1724},
    .cone_vertices_at = {kBadCone, 1725},
    .cone_segments = {kBadCone, 1726},
    .cone_segments_at = {kBadCone, 1727},
    .in_cone = {kBadCone, 1728},
    .in_cone_at = {kBadCone, 1729},
    .points_in_cone = {kBadCone, 1730},
    .points_in_cone_at = {kBadCone, 1731},
    .max = {"mixgauge:max i must be 0 or 1", 1732},
    .mini = {"mixgauge:mini i must be 0 or 1", 1733},
    .max_diff = {"mixgauge:max_diff i must be 0 or 1", 1734},
};

}  // namespace

mixgauge::mixgauge() : cone_fan(kReports) {}

mixgauge::mixgauge(const list<point>& points, const list<bool>& types) : cone_fan(kReports) {
  if (points.size() != types.size()) kSizes.raise();
  list<point> kept;
  bool in_arc = false;
  list_item type = types.first();
  for (const point& v : points) {
    const bool euclidean = types[type];
    if (!in_arc || !euclidean) {
      kept.append(v);
      cone_types_.push_back(euclidean);
    }
    in_arc = euclidean;
    type = types.succ(type);
  }
  // An arc that runs over the end of the list began before the first point.
  if (in_arc && cone_types_.front()) {
    kept.pop();
    cone_types_.erase(cone_types_.begin());
  }
  take_directions(kept);
  const segment upward(point(0, 0), point(0, 1));
  // Angles are never negative; the check stands for the condition all the same.
  if (direction(size()).angle(upward) < 0.0) kClosing.raise();
  check_gaps(/*half_turn_passes=*/true);
  check_hull(kept);
}

bool mixgauge::cone_type(int& i) const {
  if (i > size() || i < 1) kConeType.raise();
  return cone_types_[static_cast<std::size_t>(i - 1)];
}

list<bool> mixgauge::types() const {
  list<bool> result;
  for (bool euclidean : cone_types_) result.append(euclidean);
  return result;
}

double mixgauge::distance(const point& a, const point& b) const {
  if (a == b) return 0.0;
  bool interior = false;
  int i = cone_of(a, b, interior);
  return cone_type(i) ? a.distance(b) : distance_in_cone(a, b, i);
}

double mixgauge::distance(const location& a, const location& b) const {
  return distance(a.to_point(), b.to_point());
}

list<double> mixgauge::edge_line(const point& p, int i) const {
  if (cone_type(i)) return {0.0, 0.0};
  return cone_fan::edge_line(p, i);
}

mixgauge mixgauge::rotated(double alpha) const {
  return mixgauge(rotated_vertices(alpha), types());
}
mixgauge mixgauge::dual() const { return mixgauge(polar_vertices(), types()); }
mixgauge mixgauge::normalized() const { return mixgauge(unit_vertices(), types()); }
mixgauge mixgauge::scale(double f) const { return mixgauge(scaled_vertices(f), types()); }

mixgauge mixgauge::merged(const mixgauge& other) const {
  list<point> result;
  list<bool> result_types;
  bool in_arc = false;
  merge_walk(*this, other, [&](bool from_this, int i, bool from_other, int j) {
    const bool euclidean = (from_this && cone_type(i)) || (from_other && other.cone_type(j));
    if (!in_arc) {
      result.append(detail::unit_point(from_this ? vertex(i) : other.vertex(j)));
      result_types.append(euclidean);
    }
    in_arc = euclidean;
  });
  // Whatever the first entry is: intended, kept as callers know it.
  if (result_types.tail()) {
    result.pop();
    result_types.pop();
  }
  return mixgauge(result, result_types);
}

std::ostream& operator<<(std::ostream& out, const mixgauge& g) {
  return out << g.vertices() << std::endl;
}

std::istream& operator>>(std::istream& in, mixgauge& g) {
  const list<point> points = detail::read_line<point>(in);
  g = mixgauge(points, detail::read_line<bool>(in));
  return in;
}

}  // namespace planloc
