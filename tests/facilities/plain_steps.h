// The sums step by step on the lists themselves, as slow as that is. The library's own loops must
// give the same bits.
#ifndef PLANLOC_TESTS_FACILITIES_PLAIN_STEPS_H_
#define PLANLOC_TESTS_FACILITIES_PLAIN_STEPS_H_

#include <cmath>
#include <vector>

#include "planloc/facilities/facilities.h"

namespace planloc::plain {

inline double objective(const facilities& F, int p, const location& x, int k) {
  double sum = 0.0;
  for (const location& a : F) sum += a.weight(k) * (a.coords() - x.coords()).norm(p);
  return sum;
}

inline location result(double x, double y, int k) {
  return location(2.0, 1.0, x, y, static_cast<double>(k));
}

inline std::vector<location> l1_sum(const facilities& F, int k) {
  facilities X = F;
  facilities Y = F;
  sort_coordinate = 0;
  X.sort(compare_coordinate);
  sort_coordinate = 1;
  Y.sort(compare_coordinate);
  X = X.merged(0, k);
  Y = Y.merged(1, k);
  double half = 0.0;
  for (const location& a : X) half += a.weight(k);
  half *= 0.5;
  const auto walk = [&](const facilities& L, double& sum) {
    list_item it = L.first();
    for (sum = L[it].weight(k); !(half <= sum); sum += L[it].weight(k)) it = L.succ(it);
    return it;
  };
  double sx = 0.0;
  double sy = 0.0;
  list_item ix = walk(X, sx);
  list_item iy = walk(Y, sy);
  std::vector<location> results;
  const auto append = [&] { results.push_back(result(X[ix][0], Y[iy][1], k)); };
  const auto forward = [](const facilities& L, list_item& it) {
    do it = L.succ(it);
    while (L[it].weight(0) == 0.0);
  };
  append();
  if (half < sx && half < sy) return results;
  if (half < sx) {
    forward(Y, iy);
    append();
  } else if (half < sy) {
    forward(X, ix);
    append();
  } else {
    forward(X, ix);
    append();
    forward(Y, iy);
    append();
    do ix = X.pred(ix);
    while (X[ix].weight(0) == 0.0);
    append();
  }
  return results;
}

inline double distance(const location& a, const location& b) {
  const double dx = a[0] - b[0];
  const double dy = a[1] - b[1];
  return std::sqrt(dx * dx + dy * dy);
}

inline bool l2_optimal(const facilities& F, const location& a, int k) {
  double rx = 0.0;
  double ry = 0.0;
  for (const location& b : F) {
    const double d = distance(a, b);
    if (!(d > 0.001)) continue;
    rx += (a[0] - b[0]) * b.weight(0) / d;
    ry += (a[1] - b[1]) * b.weight(0) / d;
  }
  return !(a.weight(k) * a.weight(k) < rx * rx + ry * ry);
}

inline location l2_sum(const facilities& F, int k, double eps) {
  std::vector<bool> seen(static_cast<std::size_t>(F.size()));
  double sx = 0.0;
  double sy = 0.0;
  double s = 0.0;
  for (const location& a : F) {
    sx += a.weight(k) * a[0];
    sy += a.weight(k) * a[1];
    s += a.weight(k);
  }
  location next = result(sx / s, sy / s, k);
  for (;;) {
    const location old = next;
    sx = sy = s = 0.0;
    std::size_t i = 0;
    for (const location& a : F) {
      const double d = distance(old, a);
      if (d < 0.1 && !seen[i]) {
        seen[i] = true;
        if (l2_optimal(F, a, k)) return result(a[0], a[1], k);
      }
      sx += a.weight(k) * a[0] / d;
      sy += a.weight(k) * a[1] / d;
      s += a.weight(k) / d;
      ++i;
    }
    next = result(sx / s, sy / s, k);
    const double step = distance(next, old);
    if (step < eps || std::isnan(step)) return next;
  }
}

}  // namespace planloc::plain

#endif  // PLANLOC_TESTS_FACILITIES_PLAIN_STEPS_H_
