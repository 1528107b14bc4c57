// Affine functions below a convex f, with the choices that make them, and the least value of the
// largest of them on segments. Internal.
#ifndef PLANLOC_OPTIMUM_REGIONS_CUT_POOL_H_
#define PLANLOC_OPTIMUM_REGIONS_CUT_POOL_H_

#include <cstddef>
#include <vector>

#include "planloc/optimum/evaluate.h"
#include "planloc/optimum/exact/exact_place.h"

namespace planloc::detail {

// Places are relative to the table's base.
class cut_pool {
 public:
  cut_pool(const problem& p, const distance_table& table);

  // Value and slope are worked out from the piece, with `at` as the place that they count from.
  // The result is the number of the function.
  std::size_t add(affine_piece piece, const xy& at);
  std::size_t add(const piece_choice& choice, const xy& at);
  double value(std::size_t k) const { return cuts_[k].value; }

  struct minimum {
    double bound;  // the value, less its roundings
    double value;
    double share;                 // of the way from a to b, from 0 to 1
    std::size_t falling, rising;  // the functions that meet there
  };
  // Of the largest function on the segment.
  minimum least(const xy& a, const xy& b) const;

  // Keeps a function for `kept`.
  void keep(std::size_t k) { cuts_[k].kept = true; }
  std::vector<affine_piece> kept() const;

 private:
  struct cut {
    xy at;
    double value;
    xy slope;
    double size;   // the sum of the magnitudes that the value is made of
    xy steepness;  // the same of the slope
    affine_piece piece;
    bool kept = false;
  };

  static double value_at(const cut& c, const xy& at) {
    return c.value + (c.slope.x * (at.x - c.at.x) + c.slope.y * (at.y - c.at.y));
  }
  double doubt(const xy& a, const xy& b) const;

  const distance_table& table_;
  std::vector<double> lambda_;  // by rank
  std::vector<cut> cuts_;
};

}  // namespace planloc::detail

#endif  // PLANLOC_OPTIMUM_REGIONS_CUT_POOL_H_
