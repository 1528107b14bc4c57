// A contestant of a row of the benchmarks: one call that is timed. The program `contest` makes one
// for one input and times its calls, as often as the driver (bench/measure.py) asks.
#ifndef PLANLOC_BENCH_CONTEST_H_
#define PLANLOC_BENCH_CONTEST_H_

#include <cstddef>
#include <functional>
#include <iosfwd>
#include <map>
#include <string>

namespace planloc::bench {

struct contestant {
  // What the contestants of a row have to agree on; NaN where there is nothing to compare.
  std::function<double()> call;
  // Before each call, outside the time; none as a rule.
  std::function<void()> prepare = {};
};

// The same size and seed mean the same input for all contestants of a row.
using maker = std::function<contestant(std::size_t size, unsigned seed)>;
// Writes the input for contestants that are other programs.
using exporter = std::function<void(std::size_t size, unsigned seed, std::ostream& out)>;

struct contest {
  std::map<std::string, maker> contestants;
  exporter write;
};

using contests = std::map<std::string, contest>;  // by the name of the row

contests all_contests();

// Its parts, one function a file of rows.
void add_allocation(contests& all);
void add_certified(contests& all);
void add_efficient(contests& all);
void add_euclidean(contests& all);
void add_facilities(contests& all);
void add_geometry(contests& all);
void add_modelling(contests& all);
void add_readers(contests& all);
void add_regions(contests& all);
void add_scenarios(contests& all);
void add_tied(contests& all);
void add_walk(contests& all);
// Where CGAL is there.
void add_cgal(contests& all);

}  // namespace planloc::bench

#endif  // PLANLOC_BENCH_CONTEST_H_
