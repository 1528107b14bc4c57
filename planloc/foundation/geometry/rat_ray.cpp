#include "planloc/foundation/geometry/rat_ray.h"

#include "planloc/foundation/containers/error_handler.h"
#include "planloc/foundation/geometry/filter.h"
#include "planloc/foundation/geometry/fixed_crossing.h"

namespace planloc {
namespace {

// The difference q - p, times the W of both: a positive factor that no sign depends on.
struct scaled_difference {
  scaled_difference(const rat_point& p, const rat_point& q)
      : x(q.X() * p.W() - p.X() * q.W()), y(q.Y() * p.W() - p.Y() * q.W()) {}
  integer x;
  integer y;
};

integer cross(const scaled_difference& u, const scaled_difference& v) {
  return u.x * v.y - u.y * v.x;
}

integer dot(const scaled_difference& u, const scaled_difference& v) {
  return u.x * v.x + u.y * v.y;
}

}  // namespace

rat_ray::rat_ray(const rat_segment& s) : seg_(s) {
  if (s.is_trivial()) {
    error_handler(1, "rat_ray::rat_ray: cannot construct ray from trivial segment");
  }
}

bool rat_ray::contains(const rat_point& p) const {
  const scaled_difference direction(source(), point2());
  const scaled_difference to_p(source(), p);
  return cross(direction, to_p).iszero() && dot(direction, to_p).sign() >= 0;
}

bool rat_ray::intersection(const rat_segment& s, rat_point& r) const {
  const rat_point& c = s.source();
  const rat_point& d = s.target();
  if (!point1().holds_doubles() || !point2().holds_doubles() || !c.holds_doubles() ||
      !d.holds_doubles()) {
    return detail::intersection_exact(*this, s, r);
  }
  const detail::xy& from = point1().doubles();
  const detail::xy& through = point2().doubles();
  if (detail::certainly_misses(from, through, c.doubles(), d.doubles())) return false;
  detail::fixed_point cut;
  switch (detail::meet_fixed(from, through, c.doubles(), d.doubles(), cut)) {
    case detail::meeting::kNone:
      return false;
    case detail::meeting::kSource:
      r = c;
      return true;
    case detail::meeting::kTarget:
      r = d;
      return true;
    case detail::meeting::kCut:
      r = rat_point(cut);
      return true;
    case detail::meeting::kUnknown:
      break;
  }
  return detail::intersection_exact(*this, s, r);
}

bool detail::intersection_exact(const rat_ray& ray, const rat_segment& s, rat_point& r) {
  const rat_point& a = ray.source();
  const rat_point& c = s.source();
  if (s.is_trivial()) {
    if (!ray.contains(c)) return false;
    r = c;
    return true;
  }
  const scaled_difference direction(a, ray.point2());
  const scaled_difference edge(c, s.target());
  integer w = cross(direction, edge);
  if (w.iszero()) {
    const bool at_source = ray.contains(c);
    if (!at_source && !ray.contains(s.target())) return false;
    r = at_source ? c : s.target();
    return true;
  }

  // Without the factors of the differences, the lines cut at
  //   a + (b - a) (to_source x edge) / w = c + (d - c) t / w.
  const scaled_difference to_source(a, c);
  if (cross(to_source, edge).sign() * w.sign() < 0) return false;
  // t / w carries the factor W(a) / W(d) from its differences; the cut is
  //   c + edge t / (w W(a) W(c)), and it lies on the segment if 0 <= t W(d) / (w W(a)) <= 1.
  integer t = cross(to_source, direction);
  if (w.sign() < 0) {
    w = -w;
    t = -t;
  }
  const integer scaled_w = w * a.W();
  if (t.sign() < 0 || t * s.target().W() > scaled_w) return false;
  r = rat_point(c.X() * scaled_w + edge.x * t, c.Y() * scaled_w + edge.y * t, scaled_w * c.W());
  return true;
}

}  // namespace planloc
