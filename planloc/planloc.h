// planloc: location of new facilities in the plane under polyhedral gauges.
//
// Include this header, or only what you use:
//   facilities/facilities.h   the existing facilities and the solvers; files: location_files.h
//   facilities/gauged_sites.h the same with polyhedral gauges; gauge_sum.h, gauge_max.h and
//                             efficient_set.h say what their solvers do
//   model/                    locations, gauges, their files, failures
//   engine/engine.h           linear programs from expressions
//   foundation/               containers, numbers, geometry, the drawing window
// The best place with a proof has a header of its own: certified.h.
#ifndef PLANLOC_PLANLOC_H_
#define PLANLOC_PLANLOC_H_

#include "planloc/engine/engine.h"
#include "planloc/facilities/convex_intersection.h"
#include "planloc/facilities/efficient_set.h"
#include "planloc/facilities/facilities.h"
#include "planloc/facilities/gauge_max.h"
#include "planloc/facilities/gauge_sum.h"
#include "planloc/facilities/gauged_sites.h"
#include "planloc/facilities/location_files.h"
#include "planloc/facilities/lpsolver.h"
#include "planloc/facilities/turned_frame.h"
#include "planloc/facilities/weighted_circles.h"
#include "planloc/facilities/weighted_median.h"
#include "planloc/foundation/containers/array.h"
#include "planloc/foundation/containers/error_handler.h"
#include "planloc/foundation/containers/list.h"
#include "planloc/foundation/containers/string.h"
#include "planloc/foundation/geometry/circle.h"
#include "planloc/foundation/geometry/crossings.h"
#include "planloc/foundation/geometry/hull.h"
#include "planloc/foundation/geometry/line.h"
#include "planloc/foundation/geometry/point.h"
#include "planloc/foundation/geometry/polygon.h"
#include "planloc/foundation/geometry/rat_point.h"
#include "planloc/foundation/geometry/rat_ray.h"
#include "planloc/foundation/geometry/rat_segment.h"
#include "planloc/foundation/geometry/ray.h"
#include "planloc/foundation/geometry/segment.h"
#include "planloc/foundation/graph/arrangement.h"
#include "planloc/foundation/graph/graph.h"
#include "planloc/foundation/numeric/matrix.h"
#include "planloc/foundation/numeric/vector.h"
#include "planloc/foundation/window/show_picture.h"
#include "planloc/foundation/window/window.h"
#include "planloc/model/gauge_distance.h"
#include "planloc/model/gauge_reader.h"
#include "planloc/model/location.h"
#include "planloc/model/mixgauge.h"
#include "planloc/model/polygauge.h"
#include "planloc/model/reporter.h"

#endif  // PLANLOC_PLANLOC_H_
