// The picture of a run: each facility with its unit ball and its fundamental directions, and the
// route. Drawing goes to the window `W`; `draw_facility` writes the page (page.h) as well.
#ifndef PLANLOC_DRIVER_DRAWING_H_
#define PLANLOC_DRIVER_DRAWING_H_

#include "planloc/foundation/geometry/point.h"
#include "planloc/model/location.h"
#include "planloc/model/polygauge.h"

namespace planloc {

// Facility a with the ball of g, centred at a and scaled by one over a's weight 0. REQUIRES: a has
// two coordinates and a weight; otherwise "Index out of range." ends the run.
void draw_facility(const location& a, const polygauge& g);

void draw_facility_point(const point& p);                 // black disc of radius 0.05
void draw_point(const point& p);                          // blue disc of radius 0.08
void draw_gauge_edge(const point& a, const point& b);     // orange, 2 pixels wide
void draw_direction(const point& a, const point& b);      // black ray from a through b
void draw_route_segment(const point& a, const point& b);  // blue, dotted

}  // namespace planloc

#endif  // PLANLOC_DRIVER_DRAWING_H_
