#include "planloc/facilities/efficient_walk.h"

#include "planloc/facilities/efficient_set.h"
#include "planloc/foundation/containers/error_handler.h"

namespace planloc::detail {
namespace {

using map_graph = GRAPH<point, segment>;

plane_xy xy_of(const point& p) { return {p.xcoord(), p.ycoord()}; }

// Whether a walk over pairs of nodes, whose next pair follows from the last one alone, has come
// back to one of them (R. P. Brent, 1980), in constant memory.
class recurrence {
 public:
  bool operator()(node a, node b) {
    if (a == a_ && b == b_) return true;
    if (++steps_ == limit_) {
      limit_ *= 2;
      a_ = a;
      b_ = b;
    }
    return false;
  }

 private:
  node a_ = nil;
  node b_ = nil;
  std::size_t steps_ = 0;
  std::size_t limit_ = 1;
};

// One walk. A step looks at the corners around `here`, in the order of their edges, for the first
// pair of neighbouring triangles between which the efficient set goes on.
class walk {
 public:
  walk(const flat_gauged_sites& sites, const map_graph& map) : sites_(sites), map_(map) {}

  list<location> from(const point& start, const list<point>& goal);

 private:
  // The triangle of `here`, the corner next to it along `leaving`, and the one along the edge
  // behind it.
  struct triangle {
    valued_place A;
    valued_place B;
    int type;
  };

  valued_place valued(node v) const {
    const plane_xy p = xy_of(map_[v]);
    return {p, sites_.value(p.x, p.y, 0), sites_.value(p.x, p.y, 1)};
  }
  edge first_edge(node v) const;
  edge edge_towards(node from, node to) const;
  edge edge_back(node from, node to) const;
  int class_of(const valued_place& A, const valued_place& B) const;
  triangle first_triangle(edge leaving) const;
  triangle next_triangle(const triangle& t, edge leaving) const;
  static bool goes_on(int before, int now);
  void step();
  void go_round_cell(edge leaving);
  // A walk without end must not fill the memory with a result that nobody gets.
  void append(const point& p) {
    if (!circles_) result_.append(labelled(xy_of(p), piece_));
  }

  const flat_gauged_sites& sites_;
  const map_graph& map_;
  node here_ = nil;
  node before_ = nil;  // where the walk came from
  valued_place corner_{};
  int piece_ = 0;
  bool circles_ = false;
  list<location> result_;
};

edge walk::first_edge(node v) const {
  const edge e = v ? map_.first_adj_edge(v) : edge(nil);
  if (!e) error_handler(1, "facilities::efficient_walk(): no edge leaves a corner of the map");
  return e;
}

// By direction: of overlapping edges only the shortest is in the map.
edge walk::edge_towards(node from, node to) const {
  const segment back(map_[from], map_[to]);
  edge e = first_edge(from);
  while (segment(map_[from], map_[map_.target(e)]).angle(back) != 0.0) e = map_.cyclic_adj_succ(e);
  return e;
}

edge walk::edge_back(node from, node to) const {
  edge e = first_edge(from);
  while (map_.target(e) != to) e = map_.cyclic_adj_pred(e);
  return e;
}

int walk::class_of(const valued_place& A, const valued_place& B) const {
  const double x = (B.at.x + corner_.at.x + A.at.x) / 3;
  const double y = (B.at.y + corner_.at.y + A.at.y) / 3;
  const plane_xy g0 = sites_.gradient(x, y, 0);
  const plane_xy g1 = sites_.gradient(x, y, 1);
  return classify(B, corner_, A, {-g0.y, g0.x}, {-g1.y, g1.x});
}

walk::triangle walk::first_triangle(edge leaving) const {
  const valued_place A = valued(map_.target(leaving));
  const valued_place B = valued(map_.target(map_.cyclic_adj_succ(leaving)));
  return {A, B, class_of(A, B)};
}

walk::triangle walk::next_triangle(const triangle& t, edge leaving) const {
  const valued_place B = valued(map_.target(map_.cyclic_adj_succ(leaving)));
  return {t.B, B, class_of(t.B, B)};
}

bool walk::goes_on(int before, int now) {
  if (before == 1 || now == 1) return true;
  return (before == 2 || before == 3) && (now == 2 || now == 4);
}

// Round the cell to the left of `leaving`; the walk goes on from its corner that is best for
// objective 1.
void walk::go_round_cell(edge leaving) {
  const node first = here_;
  double best = sites_.value(map_[first].xcoord(), map_[first].ycoord(), 1);
  node last = first;
  node corner = map_.target(leaving);
  recurrence is_back;
  do {
    if (is_back(last, corner)) circles_ = true;
    const edge e = edge_back(corner, last);
    const plane_xy p = xy_of(map_[corner]);
    const double value = sites_.value(p.x, p.y, 1);
    if (value < best) {
      best = value;
      here_ = corner;
      before_ = last;
    }
    append(map_[corner]);
    last = corner;
    corner = map_.target(map_.cyclic_adj_pred(e));
  } while (last != first);
}

void walk::step() {
  ++piece_;
  corner_ = valued(here_);
  edge leaving = edge_towards(here_, before_);
  triangle t = first_triangle(leaving);
  int before = t.type;
  do {
    leaving = map_.cyclic_adj_succ(leaving);
    before = t.type;
    t = next_triangle(t, leaving);
  } while (!goes_on(before, t.type));
  if (before == 1 || t.type == 1) {
    go_round_cell(before == 1 ? map_.cyclic_adj_pred(leaving) : leaving);
    return;
  }
  append(map_[here_]);
  append(map_[map_.target(leaving)]);
  before_ = here_;
  here_ = map_.target(leaving);
}

list<location> walk::from(const point& start, const list<point>& goal) {
  here_ = map_.first_node();
  while (here_ && !(map_[here_] == start)) here_ = map_.succ_node(here_);
  before_ = map_.target(first_edge(here_));
  recurrence is_back;
  while (point_list_contains(goal, map_[here_]) == 0) {
    if (is_back(before_, here_)) circles_ = true;
    step();
  }
  return result_;
}

}  // namespace

list<point> lexicographic_points(const flat_gauged_sites& sites, const point& x0, std::size_t k1,
                                 std::size_t k2, const map_graph& map) {
  const plane_xy start = xy_of(x0);
  double b1 = sites.value(start.x, start.y, k1);
  double b2 = sites.value(start.x, start.y, k2);
  const plane_xy g = sites.gradient(start.x, start.y, k1);
  list<point> best;
  for (node v = map.first_node(); v; v = map.succ_node(v)) {
    const plane_xy c = xy_of(map[v]);
    // As descent_side.
    if (g.y * (c.y - start.y) + g.x * (c.x - start.x) > 0.0) continue;
    const double f = sites.value(c.x, c.y, k1);
    if (!(f <= b1)) continue;
    const double h = sites.value(c.x, c.y, k2);
    if (f < b1 || h < b2) best.clear();
    if (f < b1 || h <= b2) {
      best.append(map[v]);
      b1 = f;
      b2 = h;
    }
  }
  return best;
}

list<location> efficient_walk(const flat_gauged_sites& sites, const list<point>& start,
                              const list<point>& goal, const map_graph& map) {
  return walk(sites, map).from(start.head(), goal);
}

}  // namespace planloc::detail
