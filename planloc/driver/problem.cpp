#include "planloc/driver/problem.h"

namespace planloc {

// One file, so that they are built in this order and go in the reverse one.
window W(650, 500);
std::ofstream ps_out;
gauged_sites run_problem;
facilities& fac = run_problem.sites;
list<polygauge>& gauges = run_problem.gauges;
list<int>& gauge_of = run_problem.gauge_of;

}  // namespace planloc
