#include "planloc/foundation/geometry/point.h"

#include <cctype>
#include <numbers>

#include "planloc/foundation/containers/error_handler.h"

namespace planloc {
namespace {

double read_number(std::istream& in) {
  const auto begins_number = [](int c) {
    return std::isdigit(c) != 0 || c == '+' || c == '-' || c == '.';
  };
  while (in.good() && in.peek() != std::istream::traits_type::eof() && !begins_number(in.peek())) {
    in.get();
  }
  double number = 0.0;
  in >> number;
  return number;
}

}  // namespace

point::point(const vector& v) : point(v[0], v[1]) {}

point point::translate(const vector& v) const { return translate(v[0], v[1]); }

point point::rotate(double alpha) const {
  const double c = std::cos(alpha);
  const double s = std::sin(alpha);
  return point(x_ * c - y_ * s, x_ * s + y_ * c);
}

point point::rotate(const point& q, double alpha) const {
  const double c = std::cos(alpha);
  const double s = std::sin(alpha);
  const double dx = x_ - q.x_;
  const double dy = y_ - q.y_;
  return point(dx * c - dy * s + q.x_, dx * s + dy * c + q.y_);
}

double point::angle(const point& q, const point& r) const {
  if (q == *this || r == *this) {
    error_handler(1, "point::angle:  zero vector input.");
    return 0.0;
  }
  return detail::ccw_angle(q.x_ - x_, q.y_ - y_, r.x_ - x_, r.y_ - y_);
}

std::ostream& operator<<(std::ostream& out, const point& p) {
  return out << '(' << p.xcoord() << ',' << p.ycoord() << ')';
}

std::istream& operator>>(std::istream& in, point& p) {
  const double x = read_number(in);
  const double y = read_number(in);
  if (in) p = point(x, y);
  return in;
}

namespace detail {

double ccw_angle(double dx1, double dy1, double dx2, double dy2) {
  const double q = (dx1 * dx1 + dy1 * dy1) * (dx2 * dx2 + dy2 * dy2);
  if (q == 0.0) return 0.0;
  const double c = (dx1 * dx2 + dy1 * dy2) / std::sqrt(q);
  if (c >= 1.0) return 0.0;
  if (c <= -1.0) return std::numbers::pi;
  double a = std::acos(c);
  if (dy1 * dx2 > dx1 * dy2) a = -a;
  return a < 0.0 ? a + 2.0 * std::numbers::pi : a;
}

}  // namespace detail
}  // namespace planloc
