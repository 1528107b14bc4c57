// The solvers with stated steps by their names in the library, and the certified problem that each
// of them is about.
#ifndef PLANLOC_TOOLS_PLANLOC_CLASSIC_METHODS_H_
#define PLANLOC_TOOLS_PLANLOC_CLASSIC_METHODS_H_

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "planloc/certified.h"
#include "tools/planloc/site_plane.h"

namespace planloc::tool {

struct labelled_place {
  xy at{0, 0};
  double label = 0;
};

struct classic_result {
  double value = 0;
  std::vector<labelled_place> places = {};
};

struct classic_question {
  const site_plane& sites;
  std::vector<gauge> gauges;  // polyhedral; of the methods that take some
  std::vector<tie> ties;      // of the methods for several facilities
  int p = 2;                  // of the lp norm
  double eps = 0.1;           // of N_lp_sum: new to existing cost
};

struct classic_method {
  const char* name;
  const char* minimises;
  const char* labels;  // what the label of a place means
  enum class weights { one, two, any } takes;
  bool takes_gauges;
  classic_result (*run)(const classic_question&);
  // The least value there is, proved; nothing where the certified layer has no such problem.
  std::optional<double> (*certified)(const classic_question&);
};

const std::vector<classic_method>& classic_methods();

}  // namespace planloc::tool

#endif  // PLANLOC_TOOLS_PLANLOC_CLASSIC_METHODS_H_
