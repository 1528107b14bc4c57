#include "planloc/model/polygauge.h"

namespace planloc {
namespace {

constexpr char kBadCone[] = "polygauge: Conenumber is not correct";

constexpr detail::gauge_reports kReports = {
    .order = {"polygauge: must be in counterclockwise order", 1701},
    .gap = {"polygauge: alpha > PI", 1702},
    .hull = {"polygauge: is not convex", 1703},
    .scale = {"polygauge:scale must be greater than 0", 1704},
    .vertex = {kBadCone, 1705},
    .cone_vertices = {kBadCone, 1706},
    .cone_vertices_at = {kBadCone, 1707},
    .cone_segments = {kBadCone, 1708},
    .cone_segments_at = {kBadCone, 1709},
    .in_cone = {kBadCone, 1710},
    .in_cone_at = {kBadCone, 1711},
    .points_in_cone = {kBadCone, 1712},
    .points_in_cone_at = {kBadCone, 1713},
    .max = {"polygauge:max i must be 0 or 1", 1714},
    .mini = {"polygauge:mini i must be 0 or 1", 1715},
    .max_diff = {"polygauge:max_diff i must be 0 or 1", 1716},
};

}  // namespace

polygauge::polygauge() : cone_fan(kReports) {}

polygauge::polygauge(const list<point>& vertices) : cone_fan(kReports) {
  take_directions(vertices);
  check_gaps(/*half_turn_passes=*/false);
  check_hull(vertices);
}

polygauge polygauge::l1_gauge() {
  return polygauge({point(0, 1), point(-1, 0), point(0, -1), point(1, 0)});
}

polygauge polygauge::linf_gauge() {
  return polygauge({point(-1, 1), point(-1, -1), point(1, -1), point(1, 1)});
}

double polygauge::distance(const point& a, const point& b) const {
  if (a == b) return 0.0;
  bool interior = false;
  return distance_in_cone(a, b, cone_of(a, b, interior));
}

double polygauge::distance(const location& a, const location& b) const {
  return distance(a.to_point(), b.to_point());
}

double polygauge::radius() const {
  double largest = 0.0;
  for (const point& v : vertices()) {
    const double length = v.distance(point(0, 0));
    if (length > largest) largest = length;
  }
  return largest;
}

polygauge polygauge::rotated(double alpha) const { return polygauge(rotated_vertices(alpha)); }
polygauge polygauge::dual() const { return polygauge(polar_vertices()); }
polygauge polygauge::normalized() const { return polygauge(unit_vertices()); }
polygauge polygauge::scale(double f) const { return polygauge(scaled_vertices(f)); }

polygauge polygauge::merged(const polygauge& other) const {
  list<point> result;
  merge_walk(*this, other, [&](bool from_this, int i, bool, int j) {
    result.append(detail::unit_point(from_this ? vertex(i) : other.vertex(j)));
  });
  return polygauge(result);
}

polygauge polygauge::translated(const point& p) const {
  polygauge moved = *this;
  moved.move_source(p);
  return moved;
}

std::ostream& operator<<(std::ostream& out, const polygauge& g) {
  return out << g.vertices() << std::endl;
}

std::istream& operator>>(std::istream& in, polygauge& g) {
  g = polygauge(detail::read_line<point>(in));
  return in;
}

}  // namespace planloc
