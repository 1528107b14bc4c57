// The objects that live as long as the process: the problem of a run and what it draws on.
#ifndef PLANLOC_DRIVER_PROBLEM_H_
#define PLANLOC_DRIVER_PROBLEM_H_

#include <fstream>
#include <vector>

#include "planloc/facilities/facilities.h"
#include "planloc/foundation/containers/list.h"
#include "planloc/foundation/window/window.h"
#include "planloc/model/location.h"
#include "planloc/model/polygauge.h"

namespace planloc {

extern window W;                // 650 by 500 pixels
extern std::ofstream ps_out;    // the PostScript page
extern facilities fac;          // the existing facilities
extern list<polygauge> gauges;  // in file order
extern list<int> gauge_of;      // for each facility the position of its gauge in `gauges`, from 0

// Calls visit(facility, gauge) for each facility in file order, as a `location` and a `polygauge`
// by reference. A facility without a gauge number, or with one that no gauge has, ends the run with
// the report of `list::get_item`, when its turn comes.
template <class Visitor>
void for_each_facility(Visitor&& visit) {
  std::vector<list_item> gauge_items;
  for (list_item it = gauges.first(); it; it = gauges.succ(it)) gauge_items.push_back(it);
  list_item number = gauge_of.first();
  for (const location& facility : fac) {
    if (!number) number = gauge_of.get_item(gauge_of.size());
    const int i = gauge_of[number];
    const bool exists = 0 <= i && i < static_cast<int>(gauge_items.size());
    const list_item gauge = exists ? gauge_items[static_cast<std::size_t>(i)] : gauges.get_item(i);
    visit(facility, gauges[gauge]);
    number = gauge_of.succ(number);
  }
}

}  // namespace planloc

#endif  // PLANLOC_DRIVER_PROBLEM_H_
