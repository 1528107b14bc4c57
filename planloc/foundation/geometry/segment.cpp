#include "planloc/foundation/geometry/segment.h"

#include <algorithm>
#include <cmath>

#include "planloc/foundation/geometry/exact_orientation.h"

namespace planloc {
namespace {

// REQUIRES: all four ends are collinear.
bool collinear_intersection(const segment& a, const segment& b, point& p) {
  const auto ordered = [](const segment& s) {
    return compare(s.source(), s.target()) <= 0 ? s : segment(s.target(), s.source());
  };
  const segment s = ordered(a);
  const segment t = ordered(b);
  const point low = compare(s.source(), t.source()) < 0 ? t.source() : s.source();
  const point high = compare(s.target(), t.target()) < 0 ? s.target() : t.target();
  if (low != high) return false;
  p = low;
  return true;
}

}  // namespace

double segment::angle() const {
  if (dx_ == 0.0 && dy_ == 0.0) return 0.0;
  return std::atan2(dy_, dx_);
}

double segment::x_proj(double y) const {
  if (is_vertical()) return xcoord1();
  return xcoord1() - (ycoord1() - y) / slope_;
}

bool detail::in_box(const segment& s, const point& p) {
  return std::min(s.xcoord1(), s.xcoord2()) <= p.xcoord() &&
         p.xcoord() <= std::max(s.xcoord1(), s.xcoord2()) &&
         std::min(s.ycoord1(), s.ycoord2()) <= p.ycoord() &&
         p.ycoord() <= std::max(s.ycoord1(), s.ycoord2());
}

bool segment::intersection(const segment& s, point& p) const {
  for (const point* end : {&source_, &target_, &s.source_, &s.target_}) {
    if (!detail::finite(*end)) return false;
  }
  const int s1 = detail::exact_orientation(source_, target_, s.source_);
  const int s2 = detail::exact_orientation(source_, target_, s.target_);
  const int t1 = detail::exact_orientation(s.source_, s.target_, source_);
  const int t2 = detail::exact_orientation(s.source_, s.target_, target_);
  if (s1 == 0 && s2 == 0 && t1 == 0 && t2 == 0) return collinear_intersection(*this, s, p);
  const auto take = [&p](const point& end) {
    p = end;
    return true;
  };
  if (s1 == 0 && detail::in_box(*this, s.source_)) return take(s.source_);
  if (s2 == 0 && detail::in_box(*this, s.target_)) return take(s.target_);
  if (t1 == 0 && detail::in_box(s, source_)) return take(source_);
  if (t2 == 0 && detail::in_box(s, target_)) return take(target_);
  if (s1 * s2 >= 0 || t1 * t2 >= 0) return false;
  return take(detail::exact_crossing(source_, target_, s.source_, s.target_));
}

bool segment::intersection_of_lines(const segment& s, point& p) const {
  const double cross = dx_ * s.dy_ - dy_ * s.dx_;
  if (cross == 0.0) return false;
  const double t = ((s.xcoord1() - xcoord1()) * s.dy_ - (s.ycoord1() - ycoord1()) * s.dx_) / cross;
  // An axis-parallel line of the two keeps its coordinate without rounding.
  const double x = s.dx_ == 0.0 ? s.xcoord1() : xcoord1() + t * dx_;
  const double y = s.dy_ == 0.0 ? s.ycoord1() : ycoord1() + t * dy_;
  p = point(x, y);
  return true;
}

std::ostream& operator<<(std::ostream& out, const segment& s) {
  return out << '[' << s.source() << "===" << s.target() << ']';
}

std::istream& operator>>(std::istream& in, segment& s) {
  point p;
  point q;
  if (in >> p >> q) s = segment(p, q);
  return in;
}

}  // namespace planloc
