// The model of the cutting-plane method in the plane (Kelley 1960): the largest of affine functions
// that lie below f, minimised over a square. Three variables, so a basis of three rows; a new cut
// is about one pivot of the dual simplex method. Internal.
#ifndef PLANLOC_OPTIMUM_CONVEX_CUT_MODEL_H_
#define PLANLOC_OPTIMUM_CONVEX_CUT_MODEL_H_

#include <array>
#include <cstddef>
#include <vector>

#include "planloc/optimum/convex/reduced_sum.h"

namespace planloc::detail {

class cut_model {
 public:
  // The square is |x - centre| <= half_width in both coordinates.
  cut_model(const evaluation& first, const xy& centre, double half_width);

  void add(const evaluation& e);
  void widen(double factor);
  // Counts from another place, the best one: cuts near it then keep all their digits.
  void recentre(const xy& centre);

  // Pivots until no row is violated.
  void solve();
  xy minimiser() const;
  // A bound of the model over the square that holds whatever the roundings of the basis.
  double bound() const;

  // Holds all places where no cut is above `value`.
  place_box level_box(double value) const;

  // Whether a place is so near to a side of the square that the side may hold back the search.
  bool near_border(const xy& at) const;

  // What of the bound holds over the square only, and not in the whole plane: at a side of it, too.
  double share_of_square() const { return parts_of(best_shares()).slope * 2 * half_width_; }

  // The places of the cuts that the minimiser rests on, with their multipliers.
  struct support {
    xy place;
    double multiplier;
  };
  std::vector<support> supports() const;

 private:
  // normal . (x, y, t) >= right side; the sides of the square have normal[2] == 0.
  struct row {
    std::array<double, 3> normal;
    double right;  // counted from centre_
    evaluation cut;
  };

  using triple = std::array<double, 3>;

  struct bound_parts {
    double value;  // of the mixture at the centre
    double slope;  // of the mixture, the sum of both coordinates' magnitudes
    double fall;   // the most by which it falls towards the sides
  };
  bound_parts parts_of(const triple& share) const;
  double bound_of(const triple& share) const;
  triple best_shares() const;
  void set_right(row& r) const;
  void set_sides();
  // Whether doubles do it well.
  bool invert();
  void locate();
  bool pivot(std::size_t entering);
  double slack(const row& r) const;

  xy middle_;  // of the square
  double half_width_;
  xy centre_;
  double scale_;           // the least value so far
  std::vector<row> rows_;  // the four sides first
  std::array<std::size_t, 3> basis_{};
  std::array<double, 3> multiplier_{};
  std::array<std::array<double, 3>, 3> inverse_{};  // columns belong to the basis
  xy offset_{0, 0};                                 // of the minimiser from centre_
  double bound_ = 0;
};

}  // namespace planloc::detail

#endif  // PLANLOC_OPTIMUM_CONVEX_CUT_MODEL_H_
