// The walk of `l2_max` step by step on locations, with a bound on its passes: which instances end,
// and with which result to the bit.
#ifndef PLANLOC_TESTS_FACILITIES_PLAIN_L2_MAX_H_
#define PLANLOC_TESTS_FACILITIES_PLAIN_L2_MAX_H_

#include <optional>

#include "planloc/facilities/facilities.h"
#include "planloc/facilities/weighted_circles.h"

namespace planloc {

// Nothing if more than `bound` passes are needed. REQUIRES: F is not empty.
inline std::optional<circle_record> plain_l2_max(const facilities& F, int bound,
                                                 int* ending_state = nullptr) {
  location P = F.head();
  location Q = F.tail();
  location R(2, 1);
  location X(2, 1);
  circle_record C;
  circle_record Ca{0, 0, 1e+50};
  circle_record Cb = Ca;
  circle_record Cc = Ca;
  int s = 2;
  const auto end = [&] {
    if (ending_state) *ending_state = s;
    return C;
  };
  for (int pass = 0; pass < bound; ++pass) {
    if (s == 2) {
      C = two_point_circle(P, Q);
      R = worst_location(C, F);
      if (R.weight(0) == 0.0) return end();
      if (R.coords() == P.coords() || R.coords() == Q.coords()) {
        if (R.coords() == P.coords()) P.weight(0) = R.weight(0);
        if (R.coords() == Q.coords()) Q.weight(0) = R.weight(0);
      } else {
        s = 3;
        sort_pair(P, Q, R);
      }
    } else if (s == 3) {
      sort_pair(P, Q, R);
      C = two_point_circle(P, R);
      if (is_covered(Q, C)) {
        Q = R;
        s = 2;
        continue;
      }
      C = three_point_circle(P, Q, R);
      X = worst_location(C, F);
      if (X.weight(0) == 0.0) return end();
      bool active = false;
      for (location* l : {&P, &Q, &R}) {
        if (l->coords() != X.coords()) continue;
        active = true;
      }
      if (!active) {
        s = 4;
        sort_triple(P, Q, R, X);
        continue;
      }
      for (location* l : {&P, &Q, &R}) {
        if (!(l->coords() == X.coords())) continue;
        l->weight(0) = X.weight(0);
        sort_pair(P, Q, R);
      }
    } else {
      sort_triple(P, Q, R, X);
      C = two_point_circle(P, X);
      const int c1 = is_covered(Q, C);
      const int c2 = is_covered(R, C);
      if (c1 == 1 && c2 == 1) {
        Q = X;
        s = 2;
        continue;
      }
      Ca = {Ca.x, Ca.y, 1e+50};
      Ca = {Cb.x, Cb.y, 1e+50};
      Ca = {Cc.x, Cc.y, 1e+50};
      if (c2 == 0 && pair_covers_third(P, R, X) == 0) {
        C = three_point_circle(P, R, X);
        if (is_covered(Q, C)) Ca = C;
      }
      if (c1 == 0 && pair_covers_third(P, Q, X) == 0) {
        C = three_point_circle(P, Q, X);
        if (is_covered(R, C)) Cb = C;
      }
      if (pair_covers_third(Q, R, X) == 0) {
        C = three_point_circle(Q, R, X);
        if (is_covered(P, C)) Cc = C;
      }
      if (Cb.radius > Ca.radius && Cc.radius > Ca.radius) {
        Q = X;
        C = Ca;
      }
      if (Ca.radius > Cb.radius && Cc.radius > Cb.radius) {
        R = X;
        C = Cb;
      }
      if (Cb.radius > Cc.radius && Ca.radius > Cc.radius) {
        P = X;
        C = Cc;
      }
      s = 3;
    }
  }
  return std::nullopt;
}

}  // namespace planloc

#endif  // PLANLOC_TESTS_FACILITIES_PLAIN_L2_MAX_H_
