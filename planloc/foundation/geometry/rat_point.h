// Points of the plane with exact rational coordinates. Use point.h where double arithmetic will do.
//
// A rat_point is an immutable value in homogeneous integers X, Y, W, standing for (X / W, Y / W).
// One that was made from doubles, or computed by `rat_ray::intersection`, forms these integers
// only when an operation needs them; no operation shows the difference.
#ifndef PLANLOC_FOUNDATION_GEOMETRY_RAT_POINT_H_
#define PLANLOC_FOUNDATION_GEOMETRY_RAT_POINT_H_

#include <cmath>
#include <limits>

#include "planloc/foundation/geometry/construction_id.h"
#include "planloc/foundation/geometry/filter.h"
#include "planloc/foundation/geometry/point.h"
#include "planloc/foundation/numeric/integer.h"
#include "planloc/foundation/numeric/lazy_shared.h"
#include "planloc/foundation/numeric/rational.h"

namespace planloc {

namespace detail {
struct fixed_point;
struct homogeneous;
struct rat_point_rep;
}  // namespace detail

class rat_point {
 public:
  rat_point() : rat_point(detail::xy{0.0, 0.0}) {}  // the origin, (0, 0, 1)
  // The exact values of both coordinates. "integer(double): argument infinite" for infinities and
  // NaN, with code 1; when the handler returns, that coordinate is 0.
  explicit rat_point(const point& p) : rat_point(rational(p.xcoord()), rational(p.ycoord())) {}
  // For x = a / b and y = c / d in lowest terms X = a d, Y = c b, W = b d.
  rat_point(const rational& x, const rational& y)
      : rat_point(detail::xy{x.holds_double() ? x.to_double() : not_double(),
                             y.holds_double() ? y.to_double() : not_double()}) {
    if (!holds_doubles()) set_exact(x, y);
  }
  // (x / w, y / w), w of any sign. "division by zero", with code 1, for w = 0; when the handler
  // returns, the point is the origin.
  rat_point(const integer& x, const integer& y, const integer& w);

  // The homogeneous coordinates, W above 0. For a computed point it is not promised which of the
  // equal triples they are.
  const integer& X() const;
  const integer& Y() const;
  const integer& W() const;

  rational xcoord() const;
  rational ycoord() const;

  // Each coordinate rounded once to the nearest double, ties to even: the result depends on the
  // point alone and not on the size of its homogeneous coordinates.
  point to_point() const;

  // The running number of the construction, as for `point`; a copy has that of its original.
  long id() const { return id_; }

  friend bool operator==(const rat_point& p, const rat_point& q);

  // ----- For the predicates of this folder -----

  // Whether the coordinates are known to be doubles, which `doubles` then yields.
  bool holds_doubles() const { return !std::isnan(doubles_.x) && !std::isnan(doubles_.y); }
  const detail::xy& doubles() const { return doubles_; }

 private:
  friend class rat_ray;
  explicit rat_point(const detail::xy& p)
      : doubles_(p), id_(detail::next_construction_id<rat_point>()) {}
  explicit rat_point(const detail::fixed_point& p);

  using representation = detail::lazy_shared<detail::rat_point_rep>;

  static double not_double() { return std::numeric_limits<double>::quiet_NaN(); }
  void set_exact(const rational& x, const rational& y);
  const detail::homogeneous& exact() const;

  detail::xy doubles_;  // a NaN among them: the value is in rep_ alone
  representation rep_;
  long id_;
};

// Lexicographic, x before y: -1, 0 or 1.
int compare(const rat_point& p, const rat_point& q);

// +1 if c lies left of the direction from a to b, -1 if it lies right, 0 if the three are
// collinear.
// 1. The result is that of the exact values in all cases.
// 2. It is antisymmetric: every exchange of two points turns the sign.
int orientation(const rat_point& a, const rat_point& b, const rat_point& c);

namespace detail {

// The same without the filter and the integers of fixed width.
int orientation_exact(const rat_point& a, const rat_point& b, const rat_point& c);

}  // namespace detail
}  // namespace planloc

#endif  // PLANLOC_FOUNDATION_GEOMETRY_RAT_POINT_H_
