// The working data of the gauge file scanner and the actions of its rules, which are in
// gauge_scanner.l. Not for callers: see gauge_reader.h.
#ifndef PLANLOC_MODEL_GAUGE_SCANNER_H_
#define PLANLOC_MODEL_GAUGE_SCANNER_H_

#include <istream>

#include "planloc/foundation/containers/list.h"
#include "planloc/foundation/geometry/point.h"
#include "planloc/model/mixgauge.h"
#include "planloc/model/polygauge.h"
#include "planloc/model/scanner_common.h"

namespace planloc::detail {

// What is read: the list that the caller asked for, or the one bare gauge that was found instead.
enum class gauge_kind { none, polygauge_list, mixgauge_list, one_polygauge, one_mixgauge };

struct gauge_scan : scan_memory {
  gauge_kind kind = gauge_kind::none;
  int point_count = 0;  // coordinates read of the current vertex: 0 or 1
  double x = 0.0;
  double y = 0.0;
  list<point> points;  // the vertices of the current gauge
  // Never emptied, neither between gauges nor between reads. That is intended: a file holds one
  // mixed gauge, and a second one fails because its types outnumber its points.
  list<bool> types;
  list<polygauge> polygauges;
  list<mixgauge> mixgauges;

  // Takes the next coordinate; true if it completes a vertex.
  bool add_number(double value);
  // Build a gauge of what was read, with all its checks.
  void end_polygauge();
  void end_mixgauge();
};

// Runs the scanner. 0: the list or the file has ended; 1: `scan.pending` is to be reported.
int scan_gauges(std::istream& in, gauge_scan& scan);

}  // namespace planloc::detail

#endif  // PLANLOC_MODEL_GAUGE_SCANNER_H_
