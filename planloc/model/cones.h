// What polygauge.h and mixgauge.h share: the fundamental directions of a unit ball, the cones
// between them, and their checks. Users see the two gauges only; each of them names what it takes
// over from here and says what it yields.
//
// A failure is raised by the operation that finds it, with the code and text of the gauge.
#ifndef PLANLOC_MODEL_CONES_H_
#define PLANLOC_MODEL_CONES_H_

#include <cstddef>
#include <functional>
#include <istream>
#include <sstream>
#include <string>
#include <vector>

#include "planloc/foundation/containers/list.h"
#include "planloc/foundation/geometry/point.h"
#include "planloc/foundation/geometry/segment.h"
#include "planloc/model/location.h"

namespace planloc::detail {

struct gauge_report {
  const char* message;
  int code;
  [[noreturn]] void raise() const;
};

// The reports of one gauge class, named after the check or the operation that raises them; `..._at`
// are those of the forms on locations.
struct gauge_reports {
  gauge_report order, gap, hull, scale;
  gauge_report vertex;
  gauge_report cone_vertices, cone_vertices_at;
  gauge_report cone_segments, cone_segments_at;
  gauge_report in_cone, in_cone_at;
  gauge_report points_in_cone, points_in_cone_at;
  gauge_report max, mini, max_diff;
};

class cone_fan {
 protected:
  explicit cone_fan(const gauge_reports& reports) : reports_(&reports) {}

  // ----- What both gauges offer: documented in polygauge.h -----

  int size() const { return static_cast<int>(segments_.size()); }
  point vertex(int i) const {
    check_cone(i, reports_->vertex);
    return target(i);
  }
  list<double> get_angles() const;
  list<point> vertices() const;
  list<point> vertices_at(const point& p) const;
  list<point> vertices_at(const location& p) const { return vertices_at(p.to_point()); }
  list<segment> directions_at(const point& p) const;
  list<segment> directions_at(const location& p) const { return directions_at(p.to_point()); }

  list<point> cone_vertices(const point& p, int i) const;
  list<point> cone_vertices(const location& p, int i) const;
  list<segment> cone_segments(const point& p, int i) const;
  list<segment> cone_segments(const location& p, int i) const;
  int cone_of(const point& o, const point& x, bool& interior) const;
  int cone_of(const location& o, const location& x, bool& interior) const;
  int in_cone(const point& o, int i, const point& x, bool& interior) const;
  int in_cone(const location& o, int i, const location& x, bool& interior) const;
  list<point> points_in_cone(const point& o, int i, const list<point>& L) const;
  list<location> points_in_cone(const location& o, int i, const list<location>& L) const;

  point max(const point& p, int i) const;
  point max(const location& p, int i) const { return max(p.to_point(), i); }
  point mini(const point& p, int i) const;
  point mini(const location& p, int i) const { return mini(p.to_point(), i); }
  double max_diff(int i) const;
  bool is_symmetric() const;

  // ----- Construction, step by step -----

  // Takes over the vertices; reports `order` unless their directions turn strictly
  // counterclockwise within one turn, and fails in list::head on an empty list.
  void take_directions(const list<point>& vertices);
  // Reports `gap` for neighbouring directions that are more than a half-turn apart, or exactly a
  // half-turn unless it `passes`. The gap between the last and the first direction is not looked
  // at: intended, kept as callers know it.
  void check_gaps(bool half_turn_passes) const;
  // Reports `hull` unless every vertex is a vertex of their convex hull.
  void check_hull(const list<point>& vertices) const;

  // ----- What the gauges put into their own results -----

  // The distance from a to b, different points: the sum of the absolute coefficients of b - a in
  // the two directions of cone i.
  double distance_in_cone(const point& a, const point& b, int i) const;

  // Slope and value at x = 0 of the line through the edge of cone i about p; 1e+50 and the place
  // on the x axis if it is vertical.
  list<double> edge_line(const point& p, int i) const;

  list<point> rotated_vertices(double alpha) const;
  list<point> polar_vertices() const;
  list<point> unit_vertices() const;
  list<point> scaled_vertices(double f) const;  // reports `scale` unless f > 0

  // Walks over the directions of both fans by their angle and calls visit(from_a, i, from_b, j) at
  // each: direction i of a, direction j of b, or both where they meet.
  using merge_visit = std::function<void(bool from_a, int i, bool from_b, int j)>;
  static void merge_walk(const cone_fan& a, const cone_fan& b, const merge_visit& visit);

  // Whether both fans are empty, or of one size with equal first directions. Further directions
  // are not compared: intended, kept as callers know it.
  bool same_first_direction(const cone_fan& other) const;

  // Moves the source of every direction to p and leaves the angles.
  void move_source(const point& p);

  const segment& direction(int i) const { return segments_[static_cast<std::size_t>(i - 1)]; }
  point target(int i) const { return direction(i).target(); }

 private:
  void check_cone(int i, const gauge_report& failure) const {
    if (i > size() || i < 1) failure.raise();
  }
  int cyclic_succ(int i) const { return i == size() ? 1 : i + 1; }
  double angle(int i) const { return angles_[static_cast<std::size_t>(i - 1)]; }
  double angle_from_first(const point& o, const point& x) const;
  bool holds(int i, double alpha, bool& interior) const;
  template <class Better>
  point extreme(const point& p, int i, Better better) const;

  const gauge_reports* reports_;
  std::vector<segment> segments_;
  std::vector<double> angles_;
};

// The point at distance 1 from the origin in the direction of p.
point unit_point(const point& p);

// The entries up to the end of the line.
template <class T>
list<T> read_line(std::istream& in) {
  std::string text;
  std::getline(in, text);
  std::istringstream line(text);
  list<T> entries;
  for (T x{}; line >> x;) entries.append(x);
  return entries;
}

}  // namespace planloc::detail

#endif  // PLANLOC_MODEL_CONES_H_
