// Where a point lies: its gauge distance from each facility, and its cell.
//
// A cell is a permutation of the facility numbers 1..n: the set of points from which the
// facilities, taken in that order, have non-decreasing distance. Nothing else is stored of it.
#ifndef PLANLOC_DRIVER_CELL_GEOMETRY_H_
#define PLANLOC_DRIVER_CELL_GEOMETRY_H_

#include <iosfwd>

#include "planloc/engine/engine.h"
#include "planloc/foundation/containers/list.h"
#include "planloc/foundation/geometry/point.h"
#include "planloc/foundation/geometry/rat_point.h"
#include "planloc/model/location.h"
#include "planloc/model/polygauge.h"

namespace planloc {

// Two distances that differ by no more than this tie.
inline constexpr double kTieTolerance = 0.001;

struct location_distance {
  int location;     // facility number, from 1
  double distance;  // weighted gauge distance
};

// "location: 3, distance: 1.5" and a line end; reading takes the two numbers.
std::ostream& operator<<(std::ostream& out, const location_distance& e);
std::istream& operator>>(std::istream& in, location_distance& e);

// The point with exactly the coordinates of p. Infinite coordinates report "integer(double):
// argument infinite".
rat_point to_rat_point(const point& p);

// Where the ray from facility a through x leaves the unit ball of g, centred at a and scaled by one
// over a's weight 0. All intersections are exact; the vertices are doubles.
// 1. The first edge that the ray meets counts, in the order of the cones of g.
// 2. If x is a itself, the result is the first vertex of the ball.
// 3. If no edge is met, the result is the origin.
rat_point ball_hit(const rat_point& x, const location& a, const polygauge& g);

// The distance of x from facility a: weight 0 of a times the gauge of x - a, if a lies inside its
// ball. Without a met edge the hit counts as the origin, and the quotient may be NaN.
double gauge_distance(const point& x, const location& a, const polygauge& g);

// By distance, 0 within `kTieTolerance`. Not transitive, so that the order of tied facilities is
// made by the exchanges of `list::sort`.
int compare_distance(const location_distance& e1, const location_distance& e2);

// The distances of all facilities from x, in facility order, then sorted with `compare_distance`.
list<location_distance> sorted_distances(const point& x);

// Sets `sigma` to a new array: the permutation of x.
void cell_of_point(IlcManager& m, const point& x, IlcIntArray& sigma);

}  // namespace planloc

#endif  // PLANLOC_DRIVER_CELL_GEOMETRY_H_
