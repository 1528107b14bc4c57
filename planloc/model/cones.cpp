#include "planloc/model/cones.h"

#include <array>
#include <cmath>
#include <numbers>
#include <utility>

#include "planloc/foundation/geometry/hull.h"
#include "planloc/foundation/geometry/line.h"
#include "planloc/foundation/numeric/matrix.h"
#include "planloc/foundation/numeric/two_equations.h"
#include "planloc/model/reporter.h"
#include "planloc/model/unlimited.h"

namespace planloc::detail {
namespace {

constexpr double kPi = std::numbers::pi;

const point kOrigin(0, 0);

point sum(const point& p, const point& t) { return p.translate(t.xcoord(), t.ycoord()); }

// The solution of two equations by matrix::solve, which also makes the report on a lack of rank.
std::array<double, 2> solve_by_matrix(const equation& e, const equation& f) {
  matrix m(2, 2);
  m(0, 0) = e.x;
  m(0, 1) = e.y;
  m(1, 0) = f.x;
  m(1, 1) = f.y;
  const vector solution = m.solve(vector(e.right, f.right));
  return {solution[0], solution[1]};
}

std::array<double, 2> solve(const equation& e, const equation& f) {
  const two_equations prepared(e, f);
  return prepared.singular() ? solve_by_matrix(e, f) : prepared.solve(e.right, f.right);
}

}  // namespace

void gauge_report::raise() const { MaviError(message, code, 1, true); }

// ----- Directions -----

list<double> cone_fan::get_angles() const {
  list<double> result;
  for (double alpha : angles_) result.append(alpha);
  return result;
}

list<segment> cone_fan::directions_at(const point& p) const {
  list<segment> result;
  for (const segment& s : segments_) result.append(segment(p, sum(p, s.target())));
  return result;
}

list<point> cone_fan::vertices_at(const point& p) const {
  list<point> result;
  for (const segment& s : segments_) result.append(p.translate(s.dx(), s.dy()));
  return result;
}

list<point> cone_fan::vertices() const { return vertices_at(kOrigin); }

// ----- Cones -----

list<point> cone_fan::cone_vertices(const point& p, int i) const {
  check_cone(i, reports_->cone_vertices);
  list<point> result;
  result.append(sum(p, target(i)));
  result.append(sum(p, target(cyclic_succ(i))));
  return result;
}

list<point> cone_fan::cone_vertices(const location& p, int i) const {
  check_cone(i, reports_->cone_vertices_at);
  return cone_vertices(p.to_point(), i);
}

list<segment> cone_fan::cone_segments(const point& p, int i) const {
  check_cone(i, reports_->cone_segments);
  list<segment> result;
  result.append(segment(p, sum(p, target(i))));
  result.append(segment(p, sum(p, target(cyclic_succ(i)))));
  return result;
}

list<segment> cone_fan::cone_segments(const location& p, int i) const {
  check_cone(i, reports_->cone_segments_at);
  return cone_segments(p.to_point(), i);
}

// The angle of x as seen from o, counted from the first direction.
double cone_fan::angle_from_first(const point& o, const point& x) const {
  const point q = sum(o, target(1));
  return ccw_angle(q.xcoord() - o.xcoord(), q.ycoord() - o.ycoord(), x.xcoord() - o.xcoord(),
                   x.ycoord() - o.ycoord());
}

// Whether cone i holds the points at the angle alpha.
bool cone_fan::holds(int i, double alpha, bool& interior) const {
  interior = true;
  if (i == size() && angle(i) < alpha) return true;
  // The last cone ends at 0.0, not at a full turn: it does not hold its own directions.
  const double begin = angle(i);
  const double end = angle(cyclic_succ(i));
  if (begin == alpha || end == alpha) interior = false;
  return begin <= alpha && end >= alpha;
}

int cone_fan::cone_of(const point& o, const point& x, bool& interior) const {
  if (o == x) {
    interior = false;
    return 0;
  }
  int i = 1;
  check_cone(i, reports_->in_cone);
  const double alpha = angle_from_first(o, x);
  while (!holds(i, alpha, interior)) check_cone(++i, reports_->in_cone);
  return i;
}

int cone_fan::cone_of(const location& o, const location& x, bool& interior) const {
  return cone_of(o.to_point(), x.to_point(), interior);
}

int cone_fan::in_cone(const point& o, int i, const point& x, bool& interior) const {
  check_cone(i, reports_->in_cone);
  if (o == x) {
    interior = false;
    return 0;
  }
  return holds(i, angle_from_first(o, x), interior) ? 1 : 0;
}

int cone_fan::in_cone(const location& o, int i, const location& x, bool& interior) const {
  check_cone(i, reports_->in_cone_at);
  return in_cone(o.to_point(), i, x.to_point(), interior);
}

list<point> cone_fan::points_in_cone(const point& o, int i, const list<point>& L) const {
  check_cone(i, reports_->points_in_cone);
  list<point> result;
  bool interior = false;
  for (const point& x : L) {
    if (in_cone(o, i, x, interior)) result.append(x);
  }
  return result;
}

list<location> cone_fan::points_in_cone(const location& o, int i, const list<location>& L) const {
  check_cone(i, reports_->points_in_cone_at);
  const point centre = o.to_point();
  list<location> result;
  bool interior = false;
  for (const location& x : L) {
    if (in_cone(centre, i, x.to_point(), interior)) result.append(x);
  }
  return result;
}

// ----- Unit ball -----

template <class Better>
point cone_fan::extreme(const point& p, int i, Better better) const {
  const auto coordinate = [i](const segment* s) { return i == 0 ? s->xcoord2() : s->ycoord2(); };
  const segment* best = &direction(1);
  for (const segment& s : segments_) {
    if (better(coordinate(&s), coordinate(best))) best = &s;
  }
  return sum(p, best->target());
}

point cone_fan::max(const point& p, int i) const {
  if (i != 0 && i != 1) reports_->max.raise();
  return extreme(p, i, std::greater<>());
}

point cone_fan::mini(const point& p, int i) const {
  if (i != 0 && i != 1) reports_->mini.raise();
  return extreme(p, i, std::less<>());
}

double cone_fan::max_diff(int i) const {
  if (i != 0 && i != 1) reports_->max_diff.raise();
  const point most = max(kOrigin, i);
  const point least = mini(kOrigin, i);
  return i == 0 ? most.xcoord() - least.xcoord() : most.ycoord() - least.ycoord();
}

bool cone_fan::is_symmetric() const {
  if (size() % 2 != 0) return false;
  const int half = size() / 2;
  for (int k = 1; k <= half; ++k) {
    const segment& s = direction(k);
    const segment& partner = direction(k + half);
    if (s.dx() != partner.dx() * -1.0 || s.dy() != partner.dy() * -1.0) return false;
  }
  return true;
}

// ----- Construction -----

void cone_fan::take_directions(const list<point>& vertices) {
  const segment first(kOrigin, vertices.head());
  double before = -1.0;
  for (const point& v : vertices) {
    const segment s(kOrigin, v);
    const double alpha = first.angle(s);
    if (alpha <= before) reports_->order.raise();
    segments_.push_back(s);
    angles_.push_back(alpha);
    before = alpha;
  }
}

void cone_fan::check_gaps(bool half_turn_passes) const {
  for (int i = 2; i <= size(); ++i) {
    const double gap = std::fabs(angle(i - 1) - angle(i));
    if (half_turn_passes ? gap > kPi : !(gap < kPi)) reports_->gap.raise();
  }
}

void cone_fan::check_hull(const list<point>& vertices) const {
  if (CONVEX_HULL(vertices).size() != size()) reports_->hull.raise();
}

// ----- Distance and edges -----

double cone_fan::distance_in_cone(const point& a, const point& b, int i) const {
  // Coordinates are taken back from the points of the unit ball about a: their rounding is part of
  // the result.
  const point u = sum(a, target(i));
  const point v = sum(a, target(cyclic_succ(i)));
  const auto lambda =
      solve({u.xcoord() - a.xcoord(), v.xcoord() - a.xcoord(), b.xcoord() - a.xcoord()},
            {u.ycoord() - a.ycoord(), v.ycoord() - a.ycoord(), b.ycoord() - a.ycoord()});
  return std::fabs(lambda[0]) + std::fabs(lambda[1]);
}

list<double> cone_fan::edge_line(const point& p, int i) const {
  const list<point> ends = cone_vertices(p, i);
  const line edge(ends.head(), ends.tail());
  if (edge.is_vertical()) return {kUnlimited, edge.x_proj(1.0)};
  return {edge.slope(), edge.y_proj(0.0)};
}

// ----- Vertices of derived gauges -----

list<point> cone_fan::rotated_vertices(double alpha) const {
  list<point> result;
  for (const segment& s : segments_) result.append(s.rotate(alpha).target());
  return result;
}

list<point> cone_fan::polar_vertices() const {
  const list<point> ball = vertices();
  const auto meet = [&](const point& a, const point& b) {
    const auto lambda = solve({a.xcoord(), a.ycoord(), 1.0}, {b.xcoord(), b.ycoord(), 1.0});
    return point(lambda[0], lambda[1]);
  };
  list<point> result;
  // The vertex of the closing edge leads the list.
  result.append(meet(ball.tail(), ball.head()));
  for (list_item it = ball.succ(ball.first()); it; it = ball.succ(it)) {
    result.append(meet(ball[ball.pred(it)], ball[it]));
  }
  return result;
}

list<point> cone_fan::unit_vertices() const {
  list<point> result;
  for (const segment& s : segments_) result.append(segment(kOrigin, s.angle(), 1.0).target());
  return result;
}

list<point> cone_fan::scaled_vertices(double f) const {
  if (f <= 0.0) reports_->scale.raise();
  list<point> result;
  for (const point& v : vertices()) {
    const segment s(kOrigin, v);
    result.append(segment(kOrigin, s.angle(), s.length() * f).target());
  }
  return result;
}

void cone_fan::merge_walk(const cone_fan& a, const cone_fan& b, const merge_visit& visit) {
  // A fan while it is walked over: angles from the y axis and the number of the next direction.
  struct walker {
    std::vector<double> angles;
    std::size_t at = 0;
    int number = 1;

    explicit walker(const cone_fan& fan) : angles(fan.angles_) {
      const double phi = segment(kOrigin, point(0, 1)).angle(fan.direction(1));
      for (double& alpha : angles) alpha += phi;
    }
    double angle() const { return angles[at]; }
    void advance() {
      at = at + 1 == angles.size() ? 0 : at + 1;
      ++number;
    }
    // On every pass that ends on the last direction, so that the first can collect more than one
    // full turn: intended, as the pairs of `merged` follow from it.
    void wrap() {
      if (at + 1 == angles.size()) angles[0] += 2 * kPi;
    }
  };

  walker A(a);
  walker B(b);
  do {
    const bool from_a = A.angle() <= B.angle();
    const bool from_b = !from_a || A.angle() == B.angle();
    visit(from_a, A.number, from_b, B.number);
    if (from_a) A.advance();
    if (from_b) B.advance();
    A.wrap();
    B.wrap();
  } while (A.at != 0 || B.at != 0);
}

bool cone_fan::same_first_direction(const cone_fan& other) const {
  return size() == other.size() && (size() == 0 || direction(1) == other.direction(1));
}

void cone_fan::move_source(const point& p) {
  for (segment& s : segments_) s = segment(p, sum(p, s.target()));
}

point unit_point(const point& p) {
  return segment(kOrigin, segment(kOrigin, p).angle(), 1.0).target();
}

}  // namespace planloc::detail
