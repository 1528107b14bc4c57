// A directed graph with a value on each node and each edge. The order of its nodes, of its edges
// and of the edges around a node is part of its behaviour. Use list.h for a plain sequence.
//
// 1. Handles stay valid until their node or edge is deleted; `nil` stands for none.
// 2. Every operation but copying, `clear` and `out_edges` takes constant time.
// 3. Reports go through `error_handler` with code 1.
// REQUIRES, of every handle passed in: it is not nil and belongs to this graph, beyond what is
// reported.
//
//   GRAPH<point, segment> G;
//   for (node v = G.first_node(); v; v = G.succ_node(v)) ...
//   for (edge e = G.first_adj_edge(v); e; e = G.adj_succ(e)) ...
#ifndef PLANLOC_FOUNDATION_GRAPH_GRAPH_H_
#define PLANLOC_FOUNDATION_GRAPH_GRAPH_H_

#include <cstddef>
#include <unordered_map>
#include <vector>

#include "planloc/foundation/containers/dlist.h"
#include "planloc/foundation/containers/error_handler.h"
#include "planloc/foundation/containers/list.h"
#include "planloc/foundation/containers/node_memory.h"

namespace planloc {

namespace detail {

struct graph_edge;

struct graph_node {
  const void* owner;
  int index;
  graph_node* succ = nullptr;
  graph_edge* first_out = nullptr;
  graph_edge* last_out = nullptr;
  int outdeg = 0;
};

struct graph_edge {
  graph_node* source;
  graph_node* target;
  graph_edge* adj_succ = nullptr;
  graph_edge* adj_pred = nullptr;
  graph_edge* succ = nullptr;
  graph_edge* pred = nullptr;
};

}  // namespace detail

// Handles, shared by all graphs.
using node = detail::graph_node*;
using edge = detail::graph_edge*;
inline constexpr std::nullptr_t nil = nullptr;

template <class vtype, class etype>
class GRAPH {
 public:
  GRAPH() = default;
  // Copies nodes, edges, their orders and values; the copy has handles of its own.
  GRAPH(const GRAPH& other) { copy(other); }
  GRAPH& operator=(const GRAPH& other) {
    if (this == &other) return *this;
    clear();
    copy(other);
    return *this;
  }
  ~GRAPH() { clear(); }

  // ----- Construction and removal -----

  // At the end of the node list.
  node new_node(const vtype& x);
  // At the end of the edge list and of v's adjacency list.
  // "new_edge(v,w): v not in graph", "new_edge(v,w): w not in graph"
  edge new_edge(node v, node w, const etype& x);
  // From the source of e to w, directly after (or before) e in that adjacency list.
  edge new_edge(edge e, node w, const etype& x, int dir = after);
  // "del_edge(e): e is not in G"
  void del_edge(edge e);
  void clear();

  // ----- Order -----

  node first_node() const { return first_node_; }
  node succ_node(node v) const { return v->succ; }
  edge first_edge() const { return first_edge_; }
  edge succ_edge(edge e) const { return e->succ; }
  int number_of_nodes() const { return nodes_; }
  int number_of_edges() const { return edges_; }
  // The running number of the node in this graph, from 0.
  int index(node v) const { return v->index; }

  // ----- Around a node -----

  node source(edge e) const { return e->source; }
  node target(edge e) const { return e->target; }
  int outdeg(node v) const { return v->outdeg; }
  edge first_adj_edge(node v) const { return v->first_out; }
  edge last_adj_edge(node v) const { return v->last_out; }
  edge adj_succ(edge e) const { return e->adj_succ; }
  edge adj_pred(edge e) const { return e->adj_pred; }
  edge cyclic_adj_succ(edge e) const { return e->adj_succ ? e->adj_succ : e->source->first_out; }
  edge cyclic_adj_pred(edge e) const { return e->adj_pred ? e->adj_pred : e->source->last_out; }
  // v's adjacency list in its order, new on every call.
  list<edge> out_edges(node v) const {
    list<edge> out;
    for (edge e = v->first_out; e; e = e->adj_succ) out.append(e);
    return out;
  }

  // ----- Values -----

  vtype& inf(node v) { return static_cast<node_record*>(v)->value; }
  const vtype& inf(node v) const { return static_cast<const node_record*>(v)->value; }
  etype& inf(edge e) { return static_cast<edge_record*>(e)->value; }
  const etype& inf(edge e) const { return static_cast<const edge_record*>(e)->value; }
  vtype& operator[](node v) { return inf(v); }
  const vtype& operator[](node v) const { return inf(v); }
  etype& operator[](edge e) { return inf(e); }
  const etype& operator[](edge e) const { return inf(e); }

 private:
  struct node_record : detail::graph_node {
    node_record(const void* graph, int number, const vtype& x)
        : detail::graph_node{graph, number}, value(x) {}
    vtype value;
  };
  struct edge_record : detail::graph_edge {
    edge_record(node v, node w, const etype& x) : detail::graph_edge{v, w}, value(x) {}
    etype value;
  };

  bool owns(node v) const { return v && v->owner == this; }
  // A new edge behind the edge `where` of v's adjacency list, or in front of all for nil.
  edge linked(node v, edge where, node w, const etype& x);
  void copy(const GRAPH& other);

  node first_node_ = nil;
  node last_node_ = nil;
  edge first_edge_ = nil;
  edge last_edge_ = nil;
  int nodes_ = 0;
  int edges_ = 0;
};

// ----- Implementation -----

template <class vtype, class etype>
node GRAPH<vtype, etype>::new_node(const vtype& x) {
  node v = detail::make_node<node_record>(this, nodes_, x);
  (last_node_ ? last_node_->succ : first_node_) = v;
  last_node_ = v;
  ++nodes_;
  return v;
}

template <class vtype, class etype>
edge GRAPH<vtype, etype>::linked(node v, edge where, node w, const etype& x) {
  edge e = detail::make_node<edge_record>(v, w, x);
  e->adj_pred = where;
  e->adj_succ = where ? where->adj_succ : v->first_out;
  (e->adj_succ ? e->adj_succ->adj_pred : v->last_out) = e;
  (where ? where->adj_succ : v->first_out) = e;
  ++v->outdeg;
  e->pred = last_edge_;
  (last_edge_ ? last_edge_->succ : first_edge_) = e;
  last_edge_ = e;
  ++edges_;
  return e;
}

template <class vtype, class etype>
edge GRAPH<vtype, etype>::new_edge(node v, node w, const etype& x) {
  if (!owns(v)) error_handler(1, "new_edge(v,w): v not in graph");
  if (!owns(w)) error_handler(1, "new_edge(v,w): w not in graph");
  return linked(v, v->last_out, w, x);
}

template <class vtype, class etype>
edge GRAPH<vtype, etype>::new_edge(edge e, node w, const etype& x, int dir) {
  if (!owns(e->source)) error_handler(1, "new_edge(v,w): v not in graph");
  if (!owns(w)) error_handler(1, "new_edge(v,w): w not in graph");
  return linked(e->source, dir == before ? e->adj_pred : e, w, x);
}

template <class vtype, class etype>
void GRAPH<vtype, etype>::del_edge(edge e) {
  if (!e || !owns(e->source)) {
    error_handler(1, "del_edge(e): e is not in G");
    return;
  }
  (e->adj_pred ? e->adj_pred->adj_succ : e->source->first_out) = e->adj_succ;
  (e->adj_succ ? e->adj_succ->adj_pred : e->source->last_out) = e->adj_pred;
  --e->source->outdeg;
  (e->pred ? e->pred->succ : first_edge_) = e->succ;
  (e->succ ? e->succ->pred : last_edge_) = e->pred;
  --edges_;
  detail::destroy_node(static_cast<edge_record*>(e));
}

template <class vtype, class etype>
void GRAPH<vtype, etype>::clear() {
  for (edge e = first_edge_; e;) {
    edge_record* doomed = static_cast<edge_record*>(e);
    e = e->succ;
    detail::destroy_node(doomed);
  }
  for (node v = first_node_; v;) {
    node_record* doomed = static_cast<node_record*>(v);
    v = v->succ;
    detail::destroy_node(doomed);
  }
  first_node_ = last_node_ = nil;
  first_edge_ = last_edge_ = nil;
  nodes_ = edges_ = 0;
}

// Edges made in the order of the edge list keep that order; the adjacency lists, whose order is
// independent of it, are linked once more.
template <class vtype, class etype>
void GRAPH<vtype, etype>::copy(const GRAPH& other) {
  std::vector<node> node_of;
  for (node v = other.first_node(); v; v = v->succ) node_of.push_back(new_node(other[v]));
  const auto copied = [&](node v) { return node_of[static_cast<std::size_t>(v->index)]; };
  std::unordered_map<edge, edge> edge_of;
  for (edge e = other.first_edge(); e; e = e->succ) {
    edge_of[e] = new_edge(copied(e->source), copied(e->target), other[e]);
  }
  const auto counterpart = [&](edge e) { return e ? edge_of.at(e) : edge(nil); };
  for (const auto& [original, e] : edge_of) {
    e->adj_succ = counterpart(original->adj_succ);
    e->adj_pred = counterpart(original->adj_pred);
  }
  for (node v = other.first_node(); v; v = v->succ) {
    copied(v)->first_out = counterpart(v->first_out);
    copied(v)->last_out = counterpart(v->last_out);
  }
}

}  // namespace planloc

#endif  // PLANLOC_FOUNDATION_GRAPH_GRAPH_H_
