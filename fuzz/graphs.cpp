// Graph files, one after the other into the same reader.
#include <sstream>

#include "fuzz/endings.h"
#include "planloc/facilities/facilities.h"
#include "planloc/facilities/location_files.h"

namespace planloc::fuzz {

void read(const std::string& file) {
  std::istringstream in(file);
  facilities F;
  list<string> names;
  const GRAPH<list<double>, double> G = read_graph(in, F, names);
  int nodes = 0;
  for (node v = G.first_node(); v; v = G.succ_node(v)) {
    check(G.index(v) == nodes++, "nodes are numbered");
    check(G.out_edges(v).size() == G.outdeg(v), "as many edges leave as told");
  }
  check(nodes == G.number_of_nodes(), "as many nodes as told");
  int edges = 0;
  for (edge e = G.first_edge(); e; e = G.succ_edge(e)) {
    ++edges;
    check(G.index(G.source(e)) < nodes && G.index(G.target(e)) < nodes, "ends are nodes");
  }
  check(edges == G.number_of_edges(), "as many edges as told");
}

}  // namespace planloc::fuzz
