#include "planloc/foundation/geometry/meet.h"

#include <algorithm>

#include "planloc/foundation/geometry/exact_orientation.h"
#include "planloc/foundation/geometry/filter.h"

namespace planloc::detail {
namespace {

// REQUIRES: p is collinear with s.
bool within(const xy_segment& s, const xy& p) {
  return !lexicographic(p, s.a) && !lexicographic(s.b, p);
}

int side(const xy_segment& s, const xy& p) {
  if (p == s.a || p == s.b) return 0;
  return exact_orientation(s.a, s.b, p);
}

// Of segments that no filter could part.
std::optional<xy> meet_exactly(const xy_segment& s, const xy_segment& t) {
  if (s.a == t.a || s.a == t.b) return s.a;
  if (s.b == t.a || s.b == t.b) return s.b;
  const int s_of_t[] = {side(t, s.a), side(t, s.b)};
  if (s_of_t[0] * s_of_t[1] > 0) return std::nullopt;
  const int t_of_s[] = {side(s, t.a), side(s, t.b)};
  if (t_of_s[0] * t_of_s[1] > 0) return std::nullopt;
  if (t_of_s[0] == 0 && within(s, t.a)) return t.a;
  if (t_of_s[1] == 0 && within(s, t.b)) return t.b;
  if (s_of_t[0] == 0 && within(t, s.a)) return s.a;
  if (s_of_t[1] == 0 && within(t, s.b)) return s.b;
  if (s_of_t[0] * s_of_t[1] == 0 || t_of_s[0] * t_of_s[1] == 0) return std::nullopt;
  return exact_crossing(s.a, s.b, t.a, t.b);
}

}  // namespace

std::optional<xy> meet(const xy_segment& s, const xy_segment& t) {
  if (s.b.x < t.a.x || t.b.x < s.a.x) return std::nullopt;
  if (std::max(s.a.y, s.b.y) < std::min(t.a.y, t.b.y)) return std::nullopt;
  if (std::max(t.a.y, t.b.y) < std::min(s.a.y, s.b.y)) return std::nullopt;
  const xy u = rounded_difference(s.a, s.b);
  const int t1 = certain_cross_sign(u, rounded_difference(s.a, t.a));
  const int t2 = certain_cross_sign(u, rounded_difference(s.a, t.b));
  if (t1 * t2 > 0) return std::nullopt;
  const xy v = rounded_difference(t.a, t.b);
  const int s1 = certain_cross_sign(v, rounded_difference(t.a, s.a));
  const int s2 = certain_cross_sign(v, rounded_difference(t.a, s.b));
  if (s1 * s2 > 0) return std::nullopt;
  if (t1 * t2 * s1 * s2 == 0) return meet_exactly(s, t);
  return exact_crossing(s.a, s.b, t.a, t.b);
}

}  // namespace planloc::detail
