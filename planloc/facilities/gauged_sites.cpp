#include "planloc/facilities/gauged_sites.h"

#include "planloc/model/gauge_reader.h"

namespace planloc {

void gauged_sites::read(std::istream& location_file, std::istream& gauge_file) {
  sites.read_gauge_locations(location_file, gauge_of);
  gauges = read_polygauge_list(gauge_file);
}

}  // namespace planloc
