// Gauge files: lists of polyhedral gauges, and of mixed ones behind an "m" in front of the file.
#include <cmath>
#include <sstream>

#include "fuzz/endings.h"
#include "planloc/model/gauge_reader.h"

namespace planloc::fuzz {
namespace {

template <class Gauge>
void check_gauge(const Gauge& g) {
  check(g.size() >= 1, "a gauge has a vertex");
  check(g.vertices().size() == g.size(), "as many vertices as told");
  double before = -1.0;
  for (double alpha : g.get_angles()) {
    // Coordinates whose squares overflow have directions that are not numbers.
    check(!(alpha <= before), "directions turn counterclockwise");
    before = alpha;
  }
  bool interior = false;
  for (const point& v : g.vertices()) {
    const int i = g.cone_of(point(0, 0), v, interior);
    check(0 <= i && i <= g.size(), "a vertex lies in a cone");
  }
}

}  // namespace

void read(const std::string& file) {
  const bool mixed = file.starts_with('m');
  std::istringstream in(mixed ? file.substr(1) : file);
  if (mixed) {
    for (const mixgauge& g : read_mixgauge_list(in)) check_gauge(g);
  } else {
    for (const polygauge& g : read_polygauge_list(in)) check_gauge(g);
  }
}

}  // namespace planloc::fuzz
