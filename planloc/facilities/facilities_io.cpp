#include <utility>

#include "planloc/facilities/facilities.h"
#include "planloc/facilities/location_files.h"
#include "planloc/model/location_reader.h"

namespace planloc {
namespace {

// A facilities object is its list of locations and some more, which this leaves alone.
void take_over(detail::location_file& file, facilities& F) {
  static_cast<list<location>&>(F) = std::move(file.locations);
  F.names = std::move(file.names);
}

}  // namespace

void facilities::read_locations(std::istream& in) {
  take_over(detail::read_location_file(in, detail::location_form::plain), *this);
}

void facilities::read_gauge_locations(std::istream& in, list<int>& gauge_of) {
  detail::location_file& file = detail::read_location_file(in, detail::location_form::with_gauges);
  gauge_of = file.gauge_numbers;
  take_over(file, *this);
}

GRAPH<list<double>, double> read_graph(std::istream& in, facilities& F, list<string>& node_names) {
  detail::location_file& file = detail::read_location_file(in, detail::location_form::graph);
  F = facilities();
  node_names = file.names;
  take_over(file, F);
  return file.graph;
}

}  // namespace planloc
