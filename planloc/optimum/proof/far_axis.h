// The least ordered sum of distances near an axis far from the sites, under one lp norm with p
// below 2, in intervals. Internal to `verify`.
//
// At base + (X, Y) the distance of a site at base + (a, b) exceeds that of the base by
// -(a A + b B), where A and B are averages of the norm's slopes on the way to the site. With
// q = p - 1, A and B are those of 1 and of sign(y) (|y| / X)^q but for factors between
// (1 - q z)(1 - 2 q d) and 1 + 2 q d, where d = D / X <= 1/4, D is no less than all |a| and |b|,
// and z <= 1 is the largest |y| / x on the way: (1 + z^p)^(-q/p) >= 1 - q z, and a factor (1 -
// d)^-q <= 1 + 2 q d. So all is off by at most 2 q D (z + d), and the average of sign(y) (|y| /
// X)^q is that of a power:
//   - G = k (|v - b / D|^p - |v|^p) / p in units of -b / D, with k = (D / X)^q and v = Y / D,
//   - or, with r = (|Y| / X)^q and w = D / |Y|, r ((1 -+ w b / D)^p - 1) / (p w).
// Both are monotonic in v and in w, and so are differences of G for two sites. That of H for the
// sites b and c is r times the integral of (1 -+ s w / D)^q over s from b to c, in units of D,
// which need not be monotonic in w; but for w <= 1/2 its second derivative has one sign and is no
// more than q (1 - q) times the integral of 4 s^2 over all |s| <= 1, so 8 q / 3. Between two w it
// is off what it is there by at most an eighth of this times the square of how far they are apart.
// Order weights that add up to 0 may count from any site's. Places at infinity have k = 0, or w = 0
// and any r.
#ifndef PLANLOC_OPTIMUM_PROOF_FAR_AXIS_H_
#define PLANLOC_OPTIMUM_PROOF_FAR_AXIS_H_

#include <array>
#include <cstddef>
#include <vector>

#include "planloc/optimum/proof/verify_leaves.h"

namespace planloc::detail {

class far_axis {
 public:
  // Sites' places count from the base, and none is farther than `most` in either coordinate.
  far_axis(const problem& p, const std::vector<interval_pair>& from_base, double most);

  // Whether f is known to be no less than `least` where `out` <= X, up to `farthest`, towards a
  // side, and Y / X is in `s`. Sides: right, top, left, bottom.
  bool nowhere_below(double least, int side, const interval& s, const interval& out);
  // Holds f at one place; the whole line if that is not known to be so near an axis and so far away
  // that hardly more than roundings is in doubt. X and Y are fractions: X may be beyond doubles.
  interval value(int side, const mpq_class& out, const mpq_class& along);

 private:
  struct part {
    int sign;  // of Y, where |Y| >= 2 D; 0 elsewhere
    interval scale, along;
  };

  void turn_to(int side);
  std::vector<part> first_parts(const interval& s, const interval& out) const;
  bool is_empty(const part& c) const;
  interval shape(const interval& b, int sign, double along) const;
  using shapes = std::vector<std::array<interval, 2>>;  // of sites, at the ends of a part
  shapes shapes_on(const part& c) const;
  interval bulge(const part& c) const;
  interval sum_beside(std::size_t reference, const shapes& all, const part& c) const;
  interval value_beside(const mpq_class& out, const mpq_class& along) const;
  interval ordered(std::vector<interval> excess) const;
  double bound(const shapes& all, const part& c) const;
  bool above(double least, const part& c);

  bool known_ = false;
  interval p_, q_;
  double unit_ = 1;  // D, a power of 2
  double weight_ = 1;
  std::vector<double> lambda_;
  std::vector<interval_pair> from_base_;  // in units of D
  std::vector<interval_pair> turned_;
  std::array<std::size_t, 2> outermost_{};  // of these along the side
  interval doubt_;                          // of what the parts say, in units of D
  interval scales_;                         // of k
  std::size_t parts_ = 0;                   // of the question at hand
  std::size_t all_parts_ = 0;
};

}  // namespace planloc::detail

#endif  // PLANLOC_OPTIMUM_PROOF_FAR_AXIS_H_
