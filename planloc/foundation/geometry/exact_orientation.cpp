#include "planloc/foundation/geometry/exact_orientation.h"

#include <gmpxx.h>

#include <optional>

#include "planloc/foundation/geometry/certain_crossing.h"
#include "planloc/foundation/geometry/filter.h"
#include "planloc/foundation/geometry/fixed_crossing.h"
#include "planloc/foundation/geometry/rat_ray.h"

namespace planloc::detail {
namespace {

xy bare(const point& p) { return {p.xcoord(), p.ycoord()}; }

point full(const xy& p) { return {p.x, p.y}; }

}  // namespace

int exact_orientation(const point& a, const point& b, const point& c) {
  const int certain = certain_cross_sign(rounded_difference(bare(a), bare(b)),
                                         rounded_difference(bare(a), bare(c)));
  if (certain != 0) return certain;
  if (!finite(a) || !finite(b) || !finite(c)) return orientation(a, b, c);
  return exact_turn(bare(a), bare(b), bare(a), bare(c));
}

int exact_orientation(const xy& a, const xy& b, const xy& c) { return exact_turn(a, b, a, c); }

int exact_turn(const xy& a, const xy& b, const xy& c, const xy& d) {
  const int certain = certain_cross_sign(rounded_difference(a, b), rounded_difference(c, d));
  if (certain != 0) return certain;
  if (const std::optional<int> sign = certain_turn(a, b, c, d)) return *sign;
  if (const std::optional<int> sign = turn_fixed(a, b, c, d)) return *sign;
  const auto difference = [](double p, double q) -> mpq_class {
    return mpq_class(q) - mpq_class(p);
  };
  return cmp(difference(a.x, b.x) * difference(c.y, d.y),
             difference(a.y, b.y) * difference(c.x, d.x));
}

point exact_crossing(const point& a, const point& b, const point& c, const point& d) {
  return full(exact_crossing(bare(a), bare(b), bare(c), bare(d)));
}

xy exact_crossing(const xy& a, const xy& b, const xy& c, const xy& d) {
  if (const std::optional<xy> cut = certain_crossing(a, b, c, d)) return *cut;
  rat_point cut;
  const rat_ray ray{rat_point(full(a)), rat_point(full(b))};
  ray.intersection(rat_segment(rat_point(full(c)), rat_point(full(d))), cut);
  return bare(cut.to_point());
}

}  // namespace planloc::detail
