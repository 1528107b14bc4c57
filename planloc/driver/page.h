// The PostScript page of a run: one unit of the problem is 25 points, the lower left corner of the
// frame is the page's origin. Every line is flushed, so the file is complete up to the last step.
//
// The page goes to the process-wide `ps_out`; one that could not be created drops every line.
#ifndef PLANLOC_DRIVER_PAGE_H_
#define PLANLOC_DRIVER_PAGE_H_

#include "planloc/foundation/geometry/point.h"

namespace planloc {

// The head of the page, for a frame whose lower left corner is (xmin, ymin).
void ps_begin(double xmin, double ymin);
void ps_hairlines();

// A filled circle of radius 0.1 about p. It strokes what was drawn before it and leaves an empty
// path, so it may stand inside an open path.
void ps_point(const point& p);
// A line from a to b in the open path.
void ps_segment(const point& a, const point& b);
// The line from a that points to b, 100 times as long.
void ps_direction(const point& a, const point& b);

// A block with a colour of its own: the edge of a unit ball, a fundamental direction.
void ps_ball_edge(const point& a, const point& b);
void ps_fundamental_direction(const point& a, const point& b);

// The route shares one colour, from its first point to the end of the page.
void ps_begin_route();
void ps_end();

}  // namespace planloc

#endif  // PLANLOC_DRIVER_PAGE_H_
