#include "planloc/facilities/efficient_set.h"

#include <algorithm>
#include <cstddef>
#include <utility>
#include <vector>

#include "planloc/facilities/efficient_walk.h"
#include "planloc/foundation/graph/arrangement.h"

namespace planloc {
namespace {

using map_graph = GRAPH<point, segment>;

// Not 2 pi in full: part of the order of edges that almost close a turn.
constexpr double kFullTurn = 6.2831853072;

struct outgoing {
  edge e;
  double angle;
};

std::vector<outgoing> outgoing_edges(const map_graph& map, node v) {
  std::vector<outgoing> edges;
  for (edge e = map.first_adj_edge(v); e; e = map.adj_succ(e)) {
    const double angle = map[e].angle();
    edges.push_back({e, angle < 0.0 ? angle + kFullTurn : angle});
  }
  return edges;
}

// Puts a new edge to w, with the segment s, in the place of e.
void replace(map_graph& map, outgoing& out, node w, const segment& s, double angle) {
  const edge fresh = map.new_edge(out.e, w, s);
  map.del_edge(out.e);
  out = {fresh, angle};
}

void exchange(map_graph& map, outgoing& a, outgoing& b) {
  const node target = map.target(a.e);
  const segment s = map[a.e];
  const double angle = a.angle;
  replace(map, a, map.target(b.e), map[b.e], b.angle);
  if (&a != &b) replace(map, b, target, s, angle);
}

void sort_by_angle(map_graph& map, std::vector<outgoing>& edges) {
  for (std::size_t i = 0; i + 1 < edges.size(); ++i) {
    const auto first =
        std::min_element(edges.begin() + static_cast<std::ptrdiff_t>(i), edges.end(),
                         [](const outgoing& a, const outgoing& b) { return a.angle < b.angle; });
    exchange(map, edges[i], *first);
  }
}

// Of neighbours in one direction the shorter stays, of equal ones the later. A single edge is its
// own neighbour, and goes: intended.
void drop_overlaps(map_graph& map, std::vector<outgoing>& edges) {
  for (std::size_t i = 0; i < edges.size();) {
    const std::size_t j = (i + 1) % edges.size();
    if (edges[i].angle != edges[j].angle) {
      ++i;
      continue;
    }
    const std::size_t longer = map[edges[j].e].length() <= map[edges[i].e].length() ? i : j;
    map.del_edge(edges[longer].e);
    edges.erase(edges.begin() + static_cast<std::ptrdiff_t>(longer));
  }
}

detail::plane_xy xy_of(const point& p) { return {p.xcoord(), p.ycoord()}; }
detail::plane_xy xy_of(const vector& v) { return {v[0], v[1]}; }

// As the product of two vectors: from the last coordinate on.
double dot(detail::plane_xy a, detail::plane_xy b) { return a.y * b.y + a.x * b.x; }

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

void detail::prepare(map_graph& map) {
  for (node v = map.first_node(); v; v = map.succ_node(v)) {
    std::vector<outgoing> edges = outgoing_edges(map, v);
    sort_by_angle(map, edges);
    drop_overlaps(map, edges);
  }
}

GRAPH<point, segment> prepare_map(GRAPH<point, segment> map) {
  detail::prepare(map);
  return map;
}

// ----- Corners and cells -----

int point_list_contains(const list<point>& L, const point& p) {
  return std::find(L.begin(), L.end(), p) != L.end() ? 1 : 0;
}

vector rotate_vector(const vector& v) { return vector(-v[1], v[0]); }

int normal_side(const point& p, const point& q, const vector& g) {
  return side(xy_of(p), xy_of(q), xy_of(g));
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
  return detail::classify({xy_of(B), fB0, fB1}, {xy_of(C), fC0, fC1}, {xy_of(A), fA0, fA1},
                          xy_of(n0), xy_of(n1));
}

}  // namespace planloc
