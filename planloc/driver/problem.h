// The objects that live as long as the process: the problem of a run and what it draws on.
#ifndef PLANLOC_DRIVER_PROBLEM_H_
#define PLANLOC_DRIVER_PROBLEM_H_

#include <fstream>

#include "planloc/facilities/gauged_sites.h"
#include "planloc/foundation/window/window.h"

namespace planloc {

extern window W;              // 650 by 500 pixels
extern std::ofstream ps_out;  // the PostScript page
extern gauged_sites run_problem;

// The parts of `run_problem`.
extern facilities& fac;
extern list<polygauge>& gauges;
extern list<int>& gauge_of;

// Calls visit(facility, gauge) for each facility in file order; see `gauged_sites::for_each`.
template <class Visitor>
void for_each_facility(Visitor&& visit) {
  run_problem.for_each(visit);
}

}  // namespace planloc

#endif  // PLANLOC_DRIVER_PROBLEM_H_
