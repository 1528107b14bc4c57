// The working data of the location file scanner and the actions of its rules, which are in
// location_scanner.l. Not for callers: see location_reader.h.
#ifndef PLANLOC_MODEL_LOCATION_SCANNER_H_
#define PLANLOC_MODEL_LOCATION_SCANNER_H_

#include <istream>
#include <string>
#include <unordered_map>
#include <vector>

#include "planloc/foundation/containers/list.h"
#include "planloc/model/location_reader.h"
#include "planloc/model/scanner_common.h"

namespace planloc::detail {

enum class location_file_kind {
  locations,
  gauge_locations,
  graph,
  graph_without_coordinates,
  by_name
};

// A record without coordinates (`nc`) still makes a location of the full dimension. A header alone
// must not be able to ask for any amount of memory, so larger ones have to write their coordinates.
inline constexpr int kLargestUnsetDimension = 1000;

struct location_scan : scan_memory {
  location_file_kind kind = location_file_kind::locations;
  int dimension = 0;
  int weight_dimension = 0;
  int index = 0;  // the running count inside a record
  std::vector<double> coordinates;
  std::vector<double> weights;
  bool name_seen = false;
  list<int> from;
  list<int> to;
  list<double> edge_weights;
  location_file file;

  bool is_graph() const {
    return kind == location_file_kind::graph ||
           kind == location_file_kind::graph_without_coordinates;
  }

  // Take the next number; true if it is the last of its kind in the record. The test for the
  // weights follows the reading of one, so that there is no record without weights.
  bool add_coordinate(double value);
  bool add_weight(double value);
  // REQUIRES: the token is in its brackets or braces.
  void add_gauge_number(const char* token, int length);
  void add_name(const char* token, int length);
  void end_record();

  // Makes a node of each record; drops all records if one has no coordinates.
  void end_locations();
  void begin_adjacency();
  // The position of a name among the records, from 1, or 0.
  int position(const char* name) const;
  // Takes the next end of an edge; true if it is the second one.
  bool add_end(int position);
  // Makes the edges. An end that is no node ends with the report of the graph, a source without a
  // target or a weight with the report of the list.
  void end_adjacency();

 private:
  std::unordered_map<std::string, int> position_of_;
};

// Runs the scanner. 0: the records or the file have ended; 1: `scan.pending` is to be reported.
int scan_locations(std::istream& in, location_scan& scan);

}  // namespace planloc::detail

#endif  // PLANLOC_MODEL_LOCATION_SCANNER_H_
