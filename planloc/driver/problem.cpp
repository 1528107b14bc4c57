#include "planloc/driver/problem.h"

namespace planloc {

// One file, so that they are built in this order and go in the reverse one.
window W(650, 500);
std::ofstream ps_out;
gauged_sites problem;
facilities& fac = problem.sites;
list<polygauge>& gauges = problem.gauges;
list<int>& gauge_of = problem.gauge_of;

}  // namespace planloc
