#include "planloc/foundation/graph/arrangement.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "planloc/foundation/geometry/crossings.h"
#include "planloc/foundation/geometry/exact_orientation.h"
#include "planloc/foundation/geometry/flat_crossings.h"

namespace planloc {
namespace {

using detail::for_each_piece;
using detail::xy;

// Whether the direction from o to p comes before that from o to q, counted from the x axis.
bool counterclockwise(const xy& o, const xy& p, const xy& q) {
  const auto is_lower = [&o](const xy& r) { return r.y < o.y || (r.y == o.y && r.x < o.x); };
  if (is_lower(p) != is_lower(q)) return is_lower(q);
  return detail::exact_orientation(o, p, q) > 0;
}

// Ends of the edges that leave each node, node by node: ends[start[v]], ..., ends[start[v + 1] -
// 1].
struct fans {
  std::vector<std::size_t> start;
  std::vector<std::uint32_t> ends;
};

fans sorted_fans(const detail::flat_arrangement& flat) {
  fans result;
  result.start.assign(flat.nodes.size() + 1, 0);
  for_each_piece(flat, [&](std::uint32_t v, std::uint32_t w) {
    ++result.start[v + 1];
    ++result.start[w + 1];
  });
  for (std::size_t v = 0; v < flat.nodes.size(); ++v) result.start[v + 1] += result.start[v];
  result.ends.resize(result.start.back());
  std::vector<std::size_t> next(result.start.begin(), result.start.end() - 1);
  for_each_piece(flat, [&](std::uint32_t v, std::uint32_t w) {
    result.ends[next[v]++] = w;
    result.ends[next[w]++] = v;
  });
  for (std::size_t v = 0; v < flat.nodes.size(); ++v) {
    std::stable_sort(result.ends.begin() + result.start[v],
                     result.ends.begin() + result.start[v + 1],
                     [&](std::uint32_t p, std::uint32_t q) {
                       return counterclockwise(flat.nodes[v], flat.nodes[p], flat.nodes[q]);
                     });
  }
  return result;
}

}  // namespace

void SWEEP_SEGMENTS(const list<segment>& S, GRAPH<point, segment>& G, bool embed) {
  const detail::flat_arrangement flat = detail::cut_segments(detail::flat_segments(S));
  G.clear();
  std::vector<node> nodes;
  nodes.reserve(flat.nodes.size());
  for (const xy& p : flat.nodes) nodes.push_back(G.new_node(detail::to_point(p)));
  const auto join = [&](std::uint32_t v, std::uint32_t w) {
    G.new_edge(nodes[v], nodes[w], segment(G[nodes[v]], G[nodes[w]]));
  };
  if (!embed) {
    for_each_piece(flat, join);
    return;
  }
  const fans around = sorted_fans(flat);
  for (std::uint32_t v = 0; v < nodes.size(); ++v) {
    for (std::size_t k = around.start[v]; k < around.start[v + 1]; ++k) join(v, around.ends[k]);
  }
}

}  // namespace planloc
