// Affine functions below distances, at the corners of rectangles. Internal to `verify`.
#ifndef PLANLOC_OPTIMUM_PROOF_CORNER_TANGENTS_H_
#define PLANLOC_OPTIMUM_PROOF_CORNER_TANGENTS_H_

#include <array>
#include <cstdint>
#include <span>
#include <vector>

#include "planloc/optimum/proof/verify_leaves.h"

namespace planloc::detail {

// Left and low, right and low, left and high, right and high.
using rectangle_values = std::array<double, 4>;

double least_of(const rectangle_values& v);

// Of two affine functions: the mixture whose least value on the rectangle is largest.
rectangle_values best_mixture(const rectangle_values& a, const rectangle_values& b);

// The least value on the rectangle of the mixture of them all for which that is largest.
double largest_least(std::span<const rectangle_values> planes);

struct rectangle {
  double left, right, low, high;

  xy middle() const { return {left + (right - left) / 2, low + (high - low) / 2}; }

  friend bool operator==(const rectangle&, const rectangle&) = default;
};

// A number c with |x| <= c * gauge(u) and |y| <= c * gauge(u) for u = (x, y).
double half_width(const gauge& g);

// Counts places from `base`.
class corner_tangents {
 public:
  corner_tangents(const problem& p, const xy& base);

  const verified_sites& sites() const { return sites_; }

  struct position {
    xy at;  // of a site, less by at most `width` in each coordinate
    double width;
  };
  const position& position_of(std::uint32_t site) const { return position_[site]; }

  // In doubles, for what is no part of a proof.
  double near_distance(std::uint32_t site, const xy& at) const;

  // The values of a linear function of x - position that is nowhere above the distance and nearly
  // touches it at a place, rounded down, and less a part of `size`. What the values are made up of
  // adds up to no more than `magnitude`, up to roundings.
  struct tangent {
    rectangle_values value;
    double magnitude;
  };
  tangent at_corners(std::uint32_t site, const rectangle& r, const xy& touches,
                     double size = 0) const;

 private:
  verified_sites sites_;
  std::vector<position> position_;
};

}  // namespace planloc::detail

#endif  // PLANLOC_OPTIMUM_PROOF_CORNER_TANGENTS_H_
