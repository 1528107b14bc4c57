// Affine functions below a convex f, with the choices that make them, and the least value of the
// largest of them on segments. Internal.
#ifndef PLANLOC_OPTIMUM_REGIONS_CUT_POOL_H_
#define PLANLOC_OPTIMUM_REGIONS_CUT_POOL_H_

#include <cstddef>
#include <span>
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
  double value(std::size_t k) const { return cuts_[k].value; }
  double value_at(std::size_t k, const xy& at) const {
    const cut& c = cuts_[k];
    return c.value + (c.slope.x * (at.x - c.at.x) + c.slope.y * (at.y - c.at.y));
  }

  struct minimum {
    double bound;  // the value, less its roundings
    double value;
    double share;                 // of the way from a to b, from 0 to 1
    std::size_t falling, rising;  // the functions that meet there
  };
  struct segment {
    xy a, b;

    xy at(double share) const { return {a.x + share * (b.x - a.x), a.y + share * (b.y - a.y)}; }
  };
  // Of the largest function on a segment; of the largest of those that are kept.
  minimum least(const segment& s) const { return least_of(all_, s); }
  minimum least_of_kept(const segment& s) const { return least_of(kept_, s); }

  // Keeps a function for `kept`.
  void keep(std::size_t k);
  std::vector<affine_piece> kept() const;

 private:
  struct cut {
    xy at;
    double value;
    xy slope;
    affine_piece piece;
    bool kept = false;
  };

  minimum least_of(std::span<const std::size_t> cuts, const segment& s) const;
  minimum rounded_down(const segment& s, minimum m) const;
  double doubt(const cut& c, const xy& at) const;

  const distance_table& table_;
  double size_ = 0;     // at least the sum of the magnitudes that a value at the base is made of
  xy steepness_{0, 0};  // the same of a slope
  std::vector<double> lambda_;  // by rank
  std::vector<cut> cuts_;
  std::vector<std::size_t> all_, kept_;  // numbers of functions
};

}  // namespace planloc::detail

#endif  // PLANLOC_OPTIMUM_REGIONS_CUT_POOL_H_
