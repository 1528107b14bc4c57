// The weighted gauge distance of a point from one location, without loss on the way: a ray is cut
// with the unit ball in exact arithmetic. `polygauge::distance` is the faster one in doubles, which
// the solvers use; facilities/gauged_sites.h keeps many locations with their gauges.
#ifndef PLANLOC_MODEL_GAUGE_DISTANCE_H_
#define PLANLOC_MODEL_GAUGE_DISTANCE_H_

#include <vector>

#include "planloc/foundation/containers/list.h"
#include "planloc/foundation/geometry/point.h"
#include "planloc/foundation/geometry/rat_point.h"
#include "planloc/model/location.h"
#include "planloc/model/polygauge.h"

namespace planloc {

// The point with exactly the coordinates of p. Infinite coordinates report "integer(double):
// argument infinite".
rat_point to_rat_point(const point& p);

// Vertex i, from 1, of the unit ball of g about p, scaled by one over the weight w.
point ball_vertex(const point& p, double w, const polygauge& g, int i);

// Where the ray from facility a through x leaves the unit ball of g, centred at a and scaled by one
// over a's weight 0. All intersections are exact; the vertices are doubles.
// 1. The first edge that the ray meets counts, in the order of the cones of g.
// 2. If x is a itself, the result is the first vertex of the ball.
// 3. If no edge is met, the result is the origin.
rat_point ball_hit(const rat_point& x, const location& a, const polygauge& g);

// The distance of x from facility a: weight 0 of a times the gauge of x - a, if a lies inside its
// ball. Without a met edge the hit counts as the origin, and the quotient may be NaN.
double gauge_distance(const point& x, const location& a, const polygauge& g);

// The distance as rows of a linear program: weight 0 of l times the gauge of x - l is the largest
// a * (x - l).x + b * (x - l).y over all rows.
struct gauge_row {
  double a;
  double b;
};

// One row for each edge of the unit ball, in the order of the vertices of `polygauge::dual`, which
// makes the reports.
std::vector<gauge_row> gauge_rows(const location& l, const polygauge& g);

// Calls visit(l, g) for each location in order with its gauge, number gauge_of[i] of `gauges`, from
// 0. A location without a gauge number, or with one that no gauge has, ends with the report of
// `list::get_item`, when its turn comes.
template <class Visitor>
void for_each_with_gauge(const list<location>& locations, const list<polygauge>& gauges,
                         const list<int>& gauge_of, Visitor&& visit) {
  std::vector<list_item> gauge_items;
  for (list_item it = gauges.first(); it; it = gauges.succ(it)) gauge_items.push_back(it);
  list_item number = gauge_of.first();
  for (const location& l : locations) {
    if (!number) number = gauge_of.get_item(gauge_of.size());
    const int i = gauge_of[number];
    const bool exists = 0 <= i && i < static_cast<int>(gauge_items.size());
    const list_item gauge = exists ? gauge_items[static_cast<std::size_t>(i)] : gauges.get_item(i);
    visit(l, gauges[gauge]);
    number = gauge_of.succ(number);
  }
}

}  // namespace planloc

#endif  // PLANLOC_MODEL_GAUGE_DISTANCE_H_
