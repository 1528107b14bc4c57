#include "planloc/model/gauge_reader.h"

#include <utility>

#include "planloc/model/gauge_scanner.h"
#include "planloc/model/reader_memory.h"
#include "planloc/model/reporter.h"

namespace planloc {
namespace detail {

bool gauge_scan::add_number(double value) {
  (point_count == 0 ? x : y) = value;
  if (++point_count < 2) return false;
  points.append(point(x, y));
  point_count = 0;
  return true;
}

void gauge_scan::end_polygauge() {
  polygauges.append(polygauge(points));
  points.clear();
}

void gauge_scan::end_mixgauge() {
  mixgauges.append(mixgauge(points, types));
  points.clear();
}

}  // namespace detail

namespace {

void read(std::istream& in, detail::gauge_scan& scan, detail::gauge_kind kind, int open_code,
          int syntax_code) {
  scan.kind = kind;
  if (in.fail()) MaviError("Can't open file!", open_code, 1, true);
  if (detail::scan_gauges(in, scan) == 1) MaviError(scan.pending.text(), syntax_code, 1, true);
}

}  // namespace

list<polygauge> read_polygauge_list(std::istream& in) {
  detail::gauge_scan& scan = detail::readers().gauges;
  scan.polygauges.clear();
  read(in, scan, detail::gauge_kind::polygauge_list, 1607, 1608);
  return std::exchange(scan.polygauges, {});
}

list<mixgauge> read_mixgauge_list(std::istream& in) {
  detail::gauge_scan& scan = detail::readers().gauges;
  scan.mixgauges.clear();
  read(in, scan, detail::gauge_kind::mixgauge_list, 1609, 1610);
  return std::exchange(scan.mixgauges, {});
}

}  // namespace planloc
