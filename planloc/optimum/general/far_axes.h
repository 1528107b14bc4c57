// The least ordered sum of distances near an axis far away, under one lp norm with p below 2.
// Internal.
//
// The slopes of such a norm leap, or nearly so, at its axes. At base + (X, Y), with q = p - 1 and D
// not less than the sites' extent, the distance of a site at base + (a, b) exceeds that of the base
// by -a + D k G(v) for k = (D / X)^q, v = Y / D and G(v) = (|v - b / D|^p - |v|^p) / p, but for
// 2 q D (z + d), where d = D / X and z is the largest |Y| / X on the way to the site: the slopes on
// that way are 1 and (|Y| / X)^q, but for factors between 1 - q z and 1 + 2 q d. However small q
// is, infinity is at k = 0. Where |v| is above 2 the same is -a + D r H(w) for r = (|Y| / X)^q, w =
// 1 / |v| and H(w) = ((1 -+ w b / D)^p - 1) / (p w), so that v = infinity is at w = 0. G, its
// differences for two sites, and H are monotonic, since |v|^p is convex. A difference of H is an
// integral of (1 -+ s w)^q over s within -1 and 1; its second derivative in w <= 1/2 has one sign
// and is no more than 8 q / 3.
#ifndef PLANLOC_OPTIMUM_GENERAL_FAR_AXES_H_
#define PLANLOC_OPTIMUM_GENERAL_FAR_AXES_H_

#include <array>
#include <cstddef>
#include <functional>
#include <limits>
#include <vector>

#include "planloc/optimum/evaluate.h"
#include "planloc/optimum/exact/exact_place.h"
#include "planloc/optimum/general/far_view.h"

namespace planloc::detail {

class far_axes {
 public:
  far_axes(const problem& p, const distance_table& table, double reach);

  // A lower bound of f on the box, tried until it is `target` or what `target_of` returns for a
  // value of a place; minus infinity if there is none, as of boxes that are not near an axis.
  double least(const far_box& b, double target, const std::function<double(double)>& target_of);

  // The place far away with the least value that was seen, which f is no more than there; infinity
  // if there is none. Its coordinates may be beyond those of doubles.
  double value() const { return best_value_; }
  exact_xy place() const;

 private:
  struct cell {
    int sign;        // of v, where |v| is above 2; 0 elsewhere
    low_high scale;  // k or r
    low_high along;  // v or w
    double bound = 0;
  };
  struct spot {
    int side = 0;
    int exponent = 0;  // X = mantissa * 2^exponent
    double mantissa = 1;
    double y = 0;
  };

  void turn_to(int side);
  std::vector<cell> first_cells(const far_box& b) const;
  bool holds_places(const cell& c) const;
  double shape(double b, int sign, double along) const;
  void find_shapes(const cell& c);
  double sum_beside(std::size_t reference, const cell& c);
  double sum_on(const cell& c);
  double bound(const cell& c);
  bool along_matters(const cell& c);
  double weighed() const;
  double sum_at_place(double out, double along);
  double try_middle(const cell& c, int side);

  bool applies_ = false;
  double p_ = 1, q_ = 0;
  double unit_ = 1;  // D
  double reach_;
  double weight_ = 1;
  double steepness_ = 0;  // the sum of the order weights' magnitudes, times the weight
  std::vector<double> lambda_;
  std::vector<xy> from_base_;                  // in units of D
  std::vector<xy> turned_;                     // so that the side is the right one
  std::array<std::size_t, 2> outermost_{};     // of these along the side
  std::vector<std::array<double, 2>> shapes_;  // at the ends of a cell
  std::vector<double> low_, high_;             // of the sites on a cell
  low_high scales_{0, 1};                      // of k on the box at hand
  double best_value_ = std::numeric_limits<double>::infinity();
  spot best_;
};

}  // namespace planloc::detail

#endif  // PLANLOC_OPTIMUM_GENERAL_FAR_AXES_H_
