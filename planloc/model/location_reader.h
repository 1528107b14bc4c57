// Reads the text form of locations, of locations with gauge numbers, and of graphs, into plain
// data. Use the readers of facilities/facilities.h, which hand the data over to their caller and
// describe the form of the files.
#ifndef PLANLOC_MODEL_LOCATION_READER_H_
#define PLANLOC_MODEL_LOCATION_READER_H_

#include <istream>

#include "planloc/foundation/containers/list.h"
#include "planloc/foundation/containers/string.h"
#include "planloc/foundation/graph/graph.h"
#include "planloc/model/location.h"

namespace planloc::detail {

struct location_file {
  list<location> locations;
  list<string> names;  // one for each record, "" if it has none
  list<int> gauge_numbers;
  GRAPH<list<double>, double> graph;  // a node's value: the weights of its record
};

enum class location_form { plain, with_gauges, graph };

// What was read, in the reader's own place (reader_memory.h): the caller may take it away.
//
// Ends the process through MaviError with status 1: "Can't open file!" (1503, for a graph 2111) for
// a failed stream, and the text of a failure in the file (1504, for a graph 2112).
location_file& read_location_file(std::istream& in, location_form form);

}  // namespace planloc::detail

#endif  // PLANLOC_MODEL_LOCATION_READER_H_
