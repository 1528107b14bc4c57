// Exact decisions on pairs of doubles: the filter of geometry/filter.h first, fractions when it
// cannot tell. Internal.
#ifndef PLANLOC_OPTIMUM_EXACT_EXACT_SIGN_H_
#define PLANLOC_OPTIMUM_EXACT_EXACT_SIGN_H_

#include <gmpxx.h>

#include "planloc/foundation/geometry/filter.h"
#include "planloc/foundation/geometry/xy.h"

namespace planloc::detail {

// The sign of the exact cross product u x v.
inline int cross_sign(const xy& u, const xy& v) {
  if (const int s = certain_cross_sign(u, v)) return s;
  return sgn(mpq_class(mpq_class(u.x) * v.y - mpq_class(u.y) * v.x));
}

// The sign of the exact cross product (b - a) x (c - a).
inline int turn_sign(const xy& a, const xy& b, const xy& c) {
  if (const int s = certain_cross_sign(rounded_difference(a, b), rounded_difference(a, c)))
    return s;
  const mpq_class ax(a.x);
  const mpq_class ay(a.y);
  return sgn(mpq_class((b.x - ax) * (c.y - ay) - (b.y - ay) * (c.x - ax)));
}

}  // namespace planloc::detail

#endif  // PLANLOC_OPTIMUM_EXACT_EXACT_SIGN_H_
