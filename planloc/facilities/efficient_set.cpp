#include "planloc/facilities/efficient_set.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "planloc/facilities/efficient_walk.h"
#include "planloc/foundation/graph/arrangement.h"

namespace planloc {
namespace {

using map_graph = GRAPH<point, segment>;

// Not 2 pi in full: part of the order of edges that almost close a turn.
constexpr double kFullTurn = 6.2831853072;

struct graph_edge {
  edge e;
  detail::heading towards;
};

// Puts a new edge to w, with the segment s, in the place of `out`.
void replace(map_graph& map, graph_edge& out, node w, const segment& s,
             const detail::heading& towards) {
  const edge fresh = map.new_edge(out.e, w, s);
  map.del_edge(out.e);
  out = {fresh, towards};
}

void exchange(map_graph& map, graph_edge& a, graph_edge& b) {
  const node target = map.target(a.e);
  const segment s = map[a.e];
  const detail::heading towards = a.towards;
  replace(map, a, map.target(b.e), map[b.e], b.towards);
  if (&a != &b) replace(map, b, target, s, towards);
}

using detail::to_xy;
detail::plane_xy to_xy(const vector& v) { return {v[0], v[1]}; }

detail::plane_xy rotated(detail::plane_xy v) { return {-v.y, v.x}; }

int side(detail::plane_xy p, detail::plane_xy q, detail::plane_xy g) {
  const double s = dot(g, {p.y - q.y, q.x - p.x});
  return s > 0.0 ? 1 : s == 0.0 ? 0 : -1;
}

}  // namespace

// ----- The map -----

GRAPH<point, segment> segment_map(const list<segment>& S) {
  map_graph map;
  SWEEP_SEGMENTS(S, map, false);
  std::vector<edge> pieces;
  for (edge e = map.first_edge(); e; e = map.succ_edge(e)) pieces.push_back(e);
  for (edge e : pieces) {
    const segment s(map[map.source(e)], map[map.target(e)]);
    map[e] = s;
    map.new_edge(map.target(e), map.source(e), segment(s.target(), s.source()));
  }
  return map;
}

GRAPH<point, segment> prepare_map(GRAPH<point, segment> map) {
  for (node v = map.first_node(); v; v = map.succ_node(v)) {
    std::vector<graph_edge> edges;
    for (edge e = map.first_adj_edge(v); e; e = map.adj_succ(e)) {
      edges.push_back({e, detail::heading_of(map[e])});
    }
    detail::sort_by_angle(edges, [&](graph_edge& a, graph_edge& b) { exchange(map, a, b); });
    detail::drop_overlaps(edges, [&](const graph_edge& out) { map.del_edge(out.e); });
  }
  return map;
}

detail::heading detail::heading_of(const segment& s) {
  const double angle = s.angle();
  return {angle < 0.0 ? angle + kFullTurn : angle, s.length()};
}

detail::flat_map detail::prepared_map(const flat_arrangement& pieces) {
  flat_map map{pieces.nodes, std::vector<std::size_t>(pieces.nodes.size() + 1, 0), {}};
  for_each_piece(pieces, [&](std::uint32_t v, std::uint32_t w) {
    ++map.first[v + 1];
    ++map.first[w + 1];
  });
  for (std::size_t v = 0; v < map.nodes.size(); ++v) map.first[v + 1] += map.first[v];
  map.target.resize(map.first.back());
  std::vector<std::size_t> next(map.first.begin(), map.first.end() - 1);
  // As in a graph: a node's own pieces before the opposites of others.
  for_each_piece(pieces, [&](std::uint32_t v, std::uint32_t w) { map.target[next[v]++] = w; });
  for_each_piece(pieces, [&](std::uint32_t v, std::uint32_t w) { map.target[next[w]++] = v; });

  struct flat_edge {
    std::uint32_t target;
    heading towards;
  };
  std::vector<flat_edge> edges;
  std::size_t kept = 0;
  for (std::size_t v = 0; v < map.nodes.size(); ++v) {
    edges.clear();
    for (std::size_t e = std::exchange(map.first[v], kept); e < map.first[v + 1]; ++e) {
      const std::uint32_t w = map.target[e];
      edges.push_back({w, heading_of(segment(to_point(map.nodes[v]), to_point(map.nodes[w])))});
    }
    sort_by_angle(edges, [](flat_edge& a, flat_edge& b) { std::swap(a, b); });
    drop_overlaps(edges, [](const flat_edge&) {});
    for (const flat_edge& e : edges) map.target[kept++] = e.target;
  }
  map.first.back() = kept;
  map.target.resize(kept);
  return map;
}

detail::flat_map detail::flat_map_of(const map_graph& map) {
  flat_map flat;
  for (node v = map.first_node(); v; v = map.succ_node(v)) {
    flat.nodes.push_back(to_xy(map[v]));
    flat.first.push_back(flat.target.size());
    for (edge e = map.first_adj_edge(v); e; e = map.adj_succ(e)) {
      flat.target.push_back(static_cast<std::uint32_t>(map.index(map.target(e))));
    }
  }
  flat.first.push_back(flat.target.size());
  return flat;
}

// ----- Corners and cells -----

int point_list_contains(const list<point>& L, const point& p) {
  return std::find(L.begin(), L.end(), p) != L.end() ? 1 : 0;
}

vector rotate_vector(const vector& v) { return vector(-v[1], v[0]); }

int normal_side(const point& p, const point& q, const vector& g) {
  return side(to_xy(p), to_xy(q), to_xy(g));
}

int detail::classify(valued_place B, valued_place C, valued_place A, plane_xy n0, plane_xy n1) {
  const auto improves = [&](double valued_place::*f) { return C.*f > B.*f || C.*f > A.*f; };
  const auto is_best = [&](double valued_place::*f) { return C.*f <= B.*f && C.*f <= A.*f; };
  if (is_best(&valued_place::f0) && is_best(&valued_place::f1)) {
    if (C.f0 == A.f0 && C.f1 < B.f1 && C.f1 == A.f1) return 4;
    if (C.f0 == B.f0 && C.f1 == B.f1 && C.f1 < A.f1) return 3;
    return 5;
  }
  for (plane_xy* n : {&n0, &n1}) {
    if (side(C.at, A.at, *n) == -1) *n = {-n->x, -n->y};
  }
  if (improves(&valued_place::f0) && improves(&valued_place::f1)) {
    return dot(rotated(n0), n1) == 0.0 ? 1 : 2;
  }
  if (improves(&valued_place::f0)) {
    for (valued_place* p : {&B, &C, &A}) std::swap(p->f0, p->f1);
    std::swap(n0, n1);
  }
  // C is the best of the three in objective 0 from here on.
  const double turn = dot(rotated(n0), n1);
  if (turn == 0.0) return 1;
  if (turn > 0.0) return 3;
  const double towards_B = dot(rotated(n1), {B.at.x - C.at.x, B.at.y - C.at.y});
  if (!(towards_B > 0.0)) return 4;
  return B.f1 <= A.f1 ? 3 : 4;
}

int classify(const point& B, const point& C, const point& A, double fB0, double fC0, double fA0,
             double fB1, double fC1, double fA1, const vector& n0, const vector& n1) {
  return detail::classify({to_xy(B), fB0, fB1}, {to_xy(C), fC0, fC1}, {to_xy(A), fA0, fA1},
                          to_xy(n0), to_xy(n1));
}

}  // namespace planloc
