#include "planloc/foundation/geometry/circle.h"

#include <cmath>

#include "planloc/foundation/containers/error_handler.h"

namespace planloc {

circle::circle(const point& a, const point& b, const point& c)
    : a_(a), b_(b), c_(c), collinear_(orientation(a, b, c) == 0), center_(a) {
  const int equal_pairs = (a == b) + (b == c) + (a == c);
  if (equal_pairs == 1) error_handler(1, "circle::circle: non-admissable triple");
  if (collinear_) return;
  const double bx = b.xcoord() - a.xcoord();
  const double by = b.ycoord() - a.ycoord();
  const double cx = c.xcoord() - a.xcoord();
  const double cy = c.ycoord() - a.ycoord();
  const double twice_cross = 2.0 * (bx * cy - by * cx);
  const double b2 = bx * bx + by * by;
  const double c2 = cx * cx + cy * cy;
  center_ = a.translate((cy * b2 - by * c2) / twice_cross, (bx * c2 - cx * b2) / twice_cross);
  radius_ = center_.distance(a);
}

circle::circle(const point& centre, double r)
    : a_(centre.translate(r, 0.0)),
      b_(centre.translate(0.0, r)),
      c_(centre.translate(-r, 0.0)),
      center_(centre),
      radius_(std::fabs(r)) {}

point circle::center() const {
  if (collinear_) error_handler(1, "circle::center(): points are collinear.");
  return center_;
}

double circle::radius() const {
  if (collinear_) error_handler(1, "circle::center(): points are collinear.");
  return radius_;
}

list<point> circle::intersection(const circle& c) const {
  list<point> common;
  const point from = center();
  const point to = c.center();
  const double dx = to.xcoord() - from.xcoord();
  const double dy = to.ycoord() - from.ycoord();
  const double d2 = dx * dx + dy * dy;
  if (d2 == 0.0) return common;
  // Twice the squared distance of the centres is the unit of `along`, towards the other centre, and
  // of `aside`, at a right angle to it: whole numbers stay whole, so that circles on a lattice that
  // touch are seen to touch.
  const double r1 = radius();
  const double r2 = c.radius();
  const double along = d2 + (r1 - r2) * (r1 + r2);
  const double aside2 = 4.0 * d2 * (r1 * r1) - along * along;
  if (!(aside2 >= 0.0)) return common;
  const double t = along / (2.0 * d2);
  const double u = std::sqrt(aside2) / (2.0 * d2);
  common.append(from.translate(t * dx - u * dy, t * dy + u * dx));
  if (aside2 > 0.0) common.append(from.translate(t * dx + u * dy, t * dy - u * dx));
  return common;
}

list<point> circle::intersection(const line& l) const {
  list<point> common;
  const point m = center();
  const double dx = l.seg().dx();
  const double dy = l.seg().dy();
  const double d2 = dx * dx + dy * dy;
  if (d2 == 0.0) return common;
  // In units of the squared length of the defining segment, for the reason above: `foot` is the
  // place of the point nearest to the centre, from the first defining point on.
  const double mx = m.xcoord() - l.point1().xcoord();
  const double my = m.ycoord() - l.point1().ycoord();
  const double foot = mx * dx + my * dy;
  const double offset = dx * my - dy * mx;
  const double half2 = radius() * radius() * d2 - offset * offset;
  if (!(half2 >= 0.0)) return common;
  const double half = std::sqrt(half2);
  const auto at = [&](double t) { return l.point1().translate(t * dx, t * dy); };
  common.append(at((foot - half) / d2));
  if (half2 > 0.0) common.append(at((foot + half) / d2));
  return common;
}

}  // namespace planloc
