#include "bench/contest.h"

namespace planloc::bench {

contests all_contests() {
  contests all;
  add_allocation(all);
  add_certified(all);
  add_efficient(all);
  add_euclidean(all);
  add_facilities(all);
  add_geometry(all);
  add_modelling(all);
  add_readers(all);
  add_regions(all);
  add_scenarios(all);
  add_tied(all);
  add_walk(all);
#ifdef PLANLOC_BENCH_CGAL
  add_cgal(all);
#endif
  return all;
}

}  // namespace planloc::bench
