// The efficient places of two weightings, ready for every format.
#ifndef PLANLOC_TOOLS_PLANLOC_COMPARE_REPORT_H_
#define PLANLOC_TOOLS_PLANLOC_COMPARE_REPORT_H_

#include <optional>
#include <string>
#include <vector>

#include "planloc/certified.h"
#include "tools/planloc/site_plane.h"

namespace planloc::tool {

struct compare_corner {
  xy at{0, 0};  // in the plane
  double value1 = 0;
  double value2 = 0;
};

// Optimal for (1 - t) times the first sum plus t times the second.
struct compare_piece {
  std::vector<compare_corner> corners;  // one: a point; two: a segment; more: a polygon
  double t_low = 0;
  double t_high = 1;

  const char* kind() const;
};

struct compare_report {
  const site_plane& sites;
  std::vector<std::string> weights;  // the two columns
  std::string gauge;
  std::string status =
      {};  // optimal: the whole set, exactly; within_gap: a polyline near it; stopped
  std::vector<compare_piece> pieces = {};  // in walking order, from the best first sum
  std::vector<compare_corner> curve = {};  // the vertices of the trade-off curve
  // No place beats the polyline by more than this part of the range of both values.
  std::optional<double> distance = {};

  // Segments and polygons; of a chain that is one place, this place.
  void take(const efficient_chain& chain);
  void take(const efficient_polyline& line);
};

std::string compare_text(const compare_report& r);
std::string compare_json(const compare_report& r);
// A row for each corner of each piece; numbers survive.
std::string compare_csv(const compare_report& r);

}  // namespace planloc::tool

#endif  // PLANLOC_TOOLS_PLANLOC_COMPARE_REPORT_H_
