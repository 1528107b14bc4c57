#include "planloc/model/location_reader.h"

#include <cstddef>
#include <cstring>

#include "planloc/model/location_scanner.h"
#include "planloc/model/reader_memory.h"
#include "planloc/model/reporter.h"

namespace planloc::detail {

// ----- Records -----

bool location_scan::add_coordinate(double value) {
  coordinates.push_back(value);
  if (++index < dimension) return false;
  index = 0;
  return true;
}

bool location_scan::add_weight(double value) {
  weights.push_back(value);
  return ++index >= weight_dimension;
}

void location_scan::add_gauge_number(const char* token, int length) {
  const int gap = static_cast<int>(std::strspn(token, "{ \t"));
  file.gauge_numbers.append(integer_value(token + gap, length - gap));
}

void location_scan::add_name(const char* token, int length) {
  file.names.append(string(std::string(token + 1, static_cast<std::size_t>(length) - 2)));
  name_seen = true;
}

// More numbers than the location has room for, left over from a record in which an earlier file
// ended, are reported by the location itself.
void location_scan::end_record() {
  location l(dimension, weight_dimension);
  for (int i = 0; double c : coordinates) l[i++] = c;
  for (int i = 0; double w : weights) l.weight(i++) = w;
  file.locations.append(l);
  coordinates.clear();
  weights.clear();
  if (!name_seen) file.names.append(string());
  name_seen = false;
  index = 0;
}

// ----- Graphs -----

void location_scan::end_locations() {
  for (const location& l : file.locations) {
    list<double> node_weights;
    for (int i = 0; i < weight_dimension; ++i) node_weights.append(l.weight(i));
    file.graph.new_node(node_weights);
  }
  if (kind == location_file_kind::graph_without_coordinates) file.locations.clear();
}

void location_scan::begin_adjacency() {
  index = 0;
  from.clear();
  to.clear();
  position_of_.clear();
  int position = 0;
  for (const string& name : file.names) position_of_.emplace(name.cstring(), ++position);
}

int location_scan::position(const char* name) const {
  const auto found = position_of_.find(name);
  return found == position_of_.end() ? 0 : found->second;
}

bool location_scan::add_end(int position) {
  if (++index == 1) {
    from.append(position);
    return false;
  }
  to.append(position);
  return true;
}

void location_scan::end_adjacency() {
  std::vector<node> nodes;
  for (node v = file.graph.first_node(); v; v = file.graph.succ_node(v)) nodes.push_back(v);
  const auto node_at = [&](int position) {
    const bool exists = position >= 1 && static_cast<std::size_t>(position) <= nodes.size();
    return exists ? nodes[static_cast<std::size_t>(position) - 1] : node(nil);
  };
  for (int a : from) {
    const int b = to.pop();
    file.graph.new_edge(node_at(a), node_at(b), edge_weights.pop());
  }
}

// ----- Reading -----

location_file& read_location_file(std::istream& in, location_form form) {
  location_scan& scan = readers().locations;
  scan.file.locations.clear();
  scan.file.names.clear();
  if (form == location_form::graph) {
    scan.file.graph.clear();
  } else {
    scan.index = 0;
  }
  if (form == location_form::with_gauges) {
    scan.file.gauge_numbers.clear();
    scan.kind = location_file_kind::gauge_locations;
  }
  const bool graph = form == location_form::graph;
  if (in.fail()) MaviError("Can't open file!", graph ? 2111 : 1503, 1, true);
  if (scan_locations(in, scan) == 1) {
    MaviError(scan.pending.text(), graph ? 2112 : 1504, 1, true);
  }
  return scan.file;
}

}  // namespace planloc::detail
