// The data of a location problem with polyhedral gauges: the existing facilities, the gauges, and
// which facility has which. A run, the solvers and the parameter file start from it.
//
//   gauged_sites problem;
//   problem.read(location_file, gauge_file);
//   problem.sites.gauge_sum(problem.gauges, problem.gauge_of, true);
#ifndef PLANLOC_FACILITIES_GAUGED_SITES_H_
#define PLANLOC_FACILITIES_GAUGED_SITES_H_

#include <istream>

#include "planloc/facilities/facilities.h"
#include "planloc/foundation/containers/list.h"
#include "planloc/model/gauge_distance.h"
#include "planloc/model/polygauge.h"

namespace planloc {

struct gauged_sites {
  facilities sites;
  list<polygauge> gauges;
  list<int> gauge_of;  // for each site the position of its gauge in `gauges`, from 0

  // Replaces all three by those of the files: `facilities::read_gauge_locations`, then
  // `read_polygauge_list`, with their reports.
  void read(std::istream& location_file, std::istream& gauge_file);

  // Calls visit(site, gauge) for each site in order: `for_each_with_gauge`.
  template <class Visitor>
  void for_each(Visitor&& visit) const {
    for_each_with_gauge(sites, gauges, gauge_of, visit);
  }
};

}  // namespace planloc

#endif  // PLANLOC_FACILITIES_GAUGED_SITES_H_
