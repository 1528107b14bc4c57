#include "planloc/driver/problem.h"

namespace planloc {

// One file, so that they are built in this order and go in the reverse one.
window W(650, 500);
std::ofstream ps_out;
facilities fac;
list<polygauge> gauges;
list<int> gauge_of;

}  // namespace planloc
