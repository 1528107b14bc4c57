// In which cell a point lies: the order of the facilities by their `gauge_distance` from it.
//
// A cell is a permutation of the facility numbers 1..n: the set of points from which the
// facilities, taken in that order, have non-decreasing distance. Nothing else is stored of it.
#ifndef PLANLOC_DRIVER_CELL_GEOMETRY_H_
#define PLANLOC_DRIVER_CELL_GEOMETRY_H_

#include <iosfwd>

#include "planloc/engine/engine.h"
#include "planloc/foundation/containers/list.h"
#include "planloc/foundation/geometry/point.h"
#include "planloc/model/gauge_distance.h"

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

// By distance, 0 within `kTieTolerance`. Not transitive, so that the order of tied facilities is
// made by the exchanges of `list::sort`.
int compare_distance(const location_distance& e1, const location_distance& e2);

// The distances of all facilities from x, in facility order, then sorted with `compare_distance`.
list<location_distance> sorted_distances(const point& x);

// Sets `sigma` to a new array: the permutation of x.
void cell_of_point(IlcManager& m, const point& x, IlcIntArray& sigma);

}  // namespace planloc

#endif  // PLANLOC_DRIVER_CELL_GEOMETRY_H_
