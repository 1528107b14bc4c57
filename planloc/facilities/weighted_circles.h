// The geometry of weighted Euclidean distances that `facilities::l2_max` walks on, each piece
// usable on its own: circles that cover two or three weighted sites, the loci of equal weighted
// distance and their common points. For circles without weights use
// planloc/foundation/geometry/circle.h.
//
// A location gives its coordinates 0 and 1 and its weight 0, wherever a weighted site is expected.
// Impossible input gives numbers that are infinite or not a number, without a report. Degenerate
// cases are decided by exact comparisons and the two tolerances below, neither of which is scaled
// to the data: coordinates that are large against the extent of the sites (metres on a map) cost
// the intersections of loci their digits. Move the sites to the origin first.
//
// Source of the method: J. Elzinga, D. W. Hearn, Geometrical solutions for some minimax location
// problems, Transportation Science 6 (1972); the loci are the circles of Apollonius.
#ifndef PLANLOC_FACILITIES_WEIGHTED_CIRCLES_H_
#define PLANLOC_FACILITIES_WEIGHTED_CIRCLES_H_

#include <utility>

#include "planloc/foundation/containers/list.h"
#include "planloc/model/location.h"
#include "planloc/model/unlimited.h"

namespace planloc {

// A location counts as covered up to this excess of its weighted distance over the radius.
inline constexpr double kCoveringTolerance = 0.001;
// A discriminant of at most this magnitude counts as 0: the loci touch.
inline constexpr double kDiscriminantTolerance = 1e-13;
// The slope of a vertical line, the abscissa of a point that does not exist, and the radius of a
// circle that is not there.
inline constexpr double kNowhere = detail::kUnlimited;

struct weighted_site {
  weighted_site() = default;
  weighted_site(double x_, double y_, double weight_) : x(x_), y(y_), weight(weight_) {}
  // Implicit, so that locations can be passed. 1208, 1210 "Index out of range." for a location
  // with fewer than two coordinates, without weights.
  weighted_site(const location& a) : x(a[0]), y(a[1]), weight(a.weight(0)) {}

  double distance(double px, double py) const;
  bool same_place(const weighted_site& other) const { return x == other.x && y == other.y; }

  double x = 0.0;
  double y = 0.0;
  double weight = 0.0;
};

// One of:
// 1. A covering circle: a centre and the weighted distance that it stands for (not a length, unless
//    the weights are 1).
// 2. A locus of equal weighted distance that is a circle: `radius` above 0.0, and a length.
// 3. A locus that is a line: `radius` 0.0 and y = x_ * X + y_ in the fields (x, y), that is the
//    slope in `x` and the intercept in `y`; with the slope kNowhere the vertical line X = y.
struct circle_record {
  double x = 0.0;
  double y = 0.0;
  double radius = 0.0;

  bool operator==(const circle_record&) const = default;
};

// ----- Covering circles -----

// The optimum of two sites. Not a number if both weights are 0.0.
circle_record two_point_circle(const weighted_site& a, const weighted_site& b);

// The point of equal weighted distance from three sites, of two such points the one nearer to a.
// It is the optimum of the three only if none of the pairs' circles covers the third site (see
// `pair_covers_third`). Of the common points of the three loci, which rounding makes six instead of
// two, the one nearest to a is taken; without any (collinear sites of equal weights) the centre
// is at x = 1e+50. Two sites at one place give an arbitrary point: with different weights their
// locus has the radius 0.0 and is taken for a line.
circle_record three_point_circle(const weighted_site& a, const weighted_site& b,
                                 const weighted_site& c);

// 1 if the weighted distance of a from the centre is at most radius + kCoveringTolerance, else 0.
int is_covered(const weighted_site& a, const circle_record& c);

// The location with the largest weighted distance from the centre, the first of equal ones, if that
// is more than kCoveringTolerance above the radius; else location(2, 1), whose weight 0.0 says that
// all are covered. A location of weight 0.0 is always covered.
location worst_location(const circle_record& c, const list<location>& locations);

// 1 if the circle of some two of the sites covers the third one, else 0.
int pair_covers_third(const weighted_site& a, const weighted_site& b, const weighted_site& c);

// ----- Loci of equal weighted distance -----

// The circle of Apollonius of two sites. REQUIRES: the weights differ, and so do the places.
circle_record apollonius_circle(const weighted_site& a, const weighted_site& b);

// The common points of two loci, in p and q. `weight` of the points is 1.0; if circles, or a circle
// and a line, have none, the abscissas are kNowhere, the weights 0.0, the ordinate of p is kNowhere
// and that of q stays. Two lines give their point twice and leave the weights; parallel ones give
// kNowhere and the ordinate that p had. Nothing is written if a radius is negative.
void locus_intersection(const circle_record& l1, const circle_record& l2, weighted_site& p,
                        weighted_site& q);
// The same on coordinates 0 and 1 and weight 0 of locations.
void locus_intersection(const circle_record& l1, const circle_record& l2, location& p, location& q);

// ----- Order of the active set -----

// Exchanges so that a is the partner that makes the larger two-point circle with the last argument.
// The others end in no order: a tie leaves a where it is, except that of three partners the second
// one comes to the front if it is larger than the first and equal to the third.
template <class Site>
void sort_pair(Site& a, Site& b, const Site& c);
template <class Site>
void sort_triple(Site& a, Site& b, Site& c, const Site& d);

namespace detail {

// The locus of two sites of equal weights: the line between them. Call it qualified, since
// planloc::bisector(a, b) of two locations is a `line`.
circle_record bisector(const weighted_site& a, const weighted_site& b);

}  // namespace detail

// ----- Implementation -----

template <class Site>
void sort_pair(Site& a, Site& b, const Site& c) {
  if (two_point_circle(a, c).radius < two_point_circle(b, c).radius) std::swap(a, b);
}

template <class Site>
void sort_triple(Site& a, Site& b, Site& c, const Site& d) {
  const double r1 = two_point_circle(a, d).radius;
  const double r2 = two_point_circle(b, d).radius;
  const double r3 = two_point_circle(c, d).radius;
  if (r1 < r2 && r3 <= r2) std::swap(a, b);
  if (r1 < r3 && r3 > r2) std::swap(a, c);
}

}  // namespace planloc

#endif  // PLANLOC_FACILITIES_WEIGHTED_CIRCLES_H_
