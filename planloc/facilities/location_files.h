// The files of facilities: their form, for `facilities::read_locations` and
// `facilities::read_gauge_locations` too, and graphs of facilities. Gauges are read by
// model/gauge_reader.h.
//
//   begin {location}[2,1]     // dimension, number of weights; plain "begin {location}" means this
//   0 0 1 {0} [A]             // coordinates, weights, {gauge number}, [name]
//   4 0 l_inf {1} [B]
//   end {location}
//
// 1. Keywords are matched in any case, with spaces but no tabs inside. `//` and `/* */` are
//    comments; a block comment does not nest. There may be no empty line among the records, while
//    one that holds a line comment is allowed. Text before the header is copied to standard output.
// 2. A coordinate has a blank or a tab behind it. The weight `l_inf` is 1e+50. Names are optional.
//    Gauge numbers belong to `read_gauge_locations`, where a record has one, or only a name.
// 3. The end of the file ends the records wherever it comes; one without its line end is dropped.
//
// A graph has "begin {mavigraph}" above the header, and behind "end {location}"
//
//   begin {adjlist}           // or: begin {adjlist_byname}
//   1 2 2.5                   // edge from node 1 to node 2 with weight 2.5; by name: A B 2.5
//   end {adjlist}
//
// with one edge on a line and nothing behind its weight. A record may have `nc` in place of its
// coordinates (dimension up to 1000); one such record drops all locations, and leaves the nodes. An
// edge to a node that does not exist ends with the report of the graph.
//
// What a file leaves behind: its kind stays in force, so that `read_locations` behind
// `read_gauge_locations` expects gauge numbers, and behind a graph expects a graph or not. Numbers
// of a record in which a file ended count for the first record of the next one.
//
// A real beyond the range of a double is an infinity, an integer beyond the range of an int the
// largest or smallest one; no memory is taken for a dimension before its numbers are read. A file
// that cannot be read (a directory, a broken disk), or a token of 512 MB, ends the process with
// status 2 and one line on the error stream ("input in flex scanner failed", ...).
#ifndef PLANLOC_FACILITIES_LOCATION_FILES_H_
#define PLANLOC_FACILITIES_LOCATION_FILES_H_

#include <istream>

#include "planloc/facilities/facilities.h"
#include "planloc/foundation/containers/list.h"
#include "planloc/foundation/containers/string.h"
#include "planloc/foundation/graph/graph.h"

namespace planloc {

// Reads a graph whose nodes are facilities. A node's value is the list of its weights, and its
// number, from 1, the position of its record. F is emptied and receives the facilities, F.names and
// `node_names` the names.
// 2111 "Can't open file!" for a failed stream, 2112 with the text of a failure in the file.
GRAPH<list<double>, double> read_graph(std::istream& in, facilities& F, list<string>& node_names);

}  // namespace planloc

#endif  // PLANLOC_FACILITIES_LOCATION_FILES_H_
