#include "planloc/facilities/efficient_walk.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>

#include "planloc/facilities/efficient_set.h"
#include "planloc/facilities/level_cuts.h"
#include "planloc/foundation/containers/error_handler.h"

namespace planloc::detail {
namespace {

constexpr std::uint32_t kNone = std::numeric_limits<std::uint32_t>::max();

// Whether a walk over pairs of nodes, whose next pair follows from the last one alone, has come
// back to one of them (R. P. Brent, 1980), in constant memory.
class recurrence {
 public:
  bool operator()(std::uint32_t a, std::uint32_t b) {
    if (a == a_ && b == b_) return true;
    if (++steps_ == limit_) {
      limit_ *= 2;
      a_ = a;
      b_ = b;
    }
    return false;
  }

 private:
  std::uint32_t a_ = kNone;
  std::uint32_t b_ = kNone;
  std::size_t steps_ = 0;
  std::size_t limit_ = 1;
};

// One walk. A step looks at the corners around `here`, in the order of their edges, for the first
// pair of neighbouring triangles between which the efficient set goes on.
class walk {
 public:
  walk(const flat_gauged_sites& sites, const flat_map& map) : sites_(sites), map_(map) {}

  list<location> from(const point& start, const list<point>& goal);

 private:
  // An edge with the node that it leaves.
  struct leaving {
    std::uint32_t from;
    std::size_t e;
  };
  // The triangle of `here`, the corner next to it along an edge, and the one along the edge behind
  // that.
  struct triangle {
    valued_place A;
    valued_place B;
    int type;
  };

  point point_at(std::uint32_t v) const { return to_point(map_.nodes[v]); }
  std::uint32_t target(const leaving& l) const { return map_.target[l.e]; }
  leaving next(const leaving& l) const {
    return {l.from, l.e + 1 == map_.first[l.from + 1] ? map_.first[l.from] : l.e + 1};
  }
  leaving previous(const leaving& l) const {
    return {l.from, (l.e == map_.first[l.from] ? map_.first[l.from + 1] : l.e) - 1};
  }
  leaving first_edge(std::uint32_t v) const;
  leaving edge_towards(std::uint32_t from, std::uint32_t to) const;
  leaving edge_back(std::uint32_t from, std::uint32_t to) const;

  double value(std::uint32_t v, std::size_t k) const {
    return sites_.value(map_.nodes[v].x, map_.nodes[v].y, k);
  }
  valued_place valued(std::uint32_t v) const { return {map_.nodes[v], value(v, 0), value(v, 1)}; }
  int class_of(const valued_place& A, const valued_place& B) const;
  triangle first_triangle(const leaving& l) const;
  triangle next_triangle(const triangle& t, const leaving& l) const;
  static bool goes_on(int before, int now);
  void step();
  void go_round_cell(const leaving& l);
  // A walk without end must not fill the memory with a result that nobody gets.
  void append(std::uint32_t v) {
    if (!circles_) result_.append(labelled(map_.nodes[v], piece_));
  }

  const flat_gauged_sites& sites_;
  const flat_map& map_;
  std::uint32_t here_ = kNone;
  std::uint32_t before_ = kNone;  // where the walk came from
  valued_place corner_{};
  int piece_ = 0;
  bool circles_ = false;
  list<location> result_;
};

walk::leaving walk::first_edge(std::uint32_t v) const {
  if (v == kNone || map_.is_dead_end(v)) {
    error_handler(1, "facilities::efficient_walk(): no edge leaves a corner of the map");
  }
  return {v, map_.first[v]};
}

// By direction: of overlapping edges only the shortest is in the map.
walk::leaving walk::edge_towards(std::uint32_t from, std::uint32_t to) const {
  const point p = point_at(from);
  const segment back(p, point_at(to));
  leaving l = first_edge(from);
  while (segment(p, point_at(target(l))).angle(back) != 0.0) l = next(l);
  return l;
}

walk::leaving walk::edge_back(std::uint32_t from, std::uint32_t to) const {
  leaving l = first_edge(from);
  while (target(l) != to) l = previous(l);
  return l;
}

int walk::class_of(const valued_place& A, const valued_place& B) const {
  const double x = (B.at.x + corner_.at.x + A.at.x) / 3;
  const double y = (B.at.y + corner_.at.y + A.at.y) / 3;
  const plane_xy g0 = sites_.gradient(x, y, 0);
  const plane_xy g1 = sites_.gradient(x, y, 1);
  return classify(B, corner_, A, {-g0.y, g0.x}, {-g1.y, g1.x});
}

walk::triangle walk::first_triangle(const leaving& l) const {
  const valued_place A = valued(target(l));
  const valued_place B = valued(target(next(l)));
  return {A, B, class_of(A, B)};
}

walk::triangle walk::next_triangle(const triangle& t, const leaving& l) const {
  const valued_place B = valued(target(next(l)));
  return {t.B, B, class_of(t.B, B)};
}

bool walk::goes_on(int before, int now) {
  if (before == 1 || now == 1) return true;
  return (before == 2 || before == 3) && (now == 2 || now == 4);
}

// Round the cell to the left of the edge; the walk goes on from its corner that is best for
// objective 1.
void walk::go_round_cell(const leaving& l) {
  const std::uint32_t first = here_;
  double best = value(first, 1);
  std::uint32_t last = first;
  std::uint32_t corner = target(l);
  recurrence is_back;
  do {
    if (is_back(last, corner)) circles_ = true;
    const leaving back = edge_back(corner, last);
    const double f1 = value(corner, 1);
    if (f1 < best) {
      best = f1;
      here_ = corner;
      before_ = last;
    }
    append(corner);
    last = corner;
    corner = target(previous(back));
  } while (last != first);
}

void walk::step() {
  ++piece_;
  corner_ = valued(here_);
  leaving l = edge_towards(here_, before_);
  triangle t = first_triangle(l);
  int before = t.type;
  do {
    l = next(l);
    before = t.type;
    t = next_triangle(t, l);
  } while (!goes_on(before, t.type));
  if (before == 1 || t.type == 1) {
    go_round_cell(before == 1 ? previous(l) : l);
    return;
  }
  append(here_);
  append(target(l));
  before_ = here_;
  here_ = target(l);
}

list<location> walk::from(const point& start, const list<point>& goal) {
  const auto found = std::find(map_.nodes.begin(), map_.nodes.end(), to_xy(start));
  if (found != map_.nodes.end()) here_ = static_cast<std::uint32_t>(found - map_.nodes.begin());
  before_ = target(first_edge(here_));
  recurrence is_back;
  while (point_list_contains(goal, point_at(here_)) == 0) {
    if (is_back(before_, here_)) circles_ = true;
    step();
  }
  return result_;
}

// The cuts of f that the segments give; none if nothing would be gained, or proved.
std::optional<level_cuts> cuts_of(const flat_gauged_sites& sites, std::size_t k,
                                  const flat_map& map, std::span<const xy_segment> segments) {
  if (segments.empty() || !std::isfinite(sites.relative_error())) return std::nullopt;
  xy_box box(map.nodes.front());
  for (const xy& p : map.nodes) box.extend(p);
  level_cuts cuts(sites, k, box);
  cuts.narrow(segments);
  return cuts;
}

}  // namespace

list<point> lexicographic_points(const flat_gauged_sites& sites, const point& x0, std::size_t k1,
                                 std::size_t k2, const flat_map& map,
                                 std::span<const xy_segment> segments) {
  const plane_xy start = to_xy(x0);
  double b1 = sites.value(start.x, start.y, k1);
  double b2 = sites.value(start.x, start.y, k2);
  const plane_xy g = sites.gradient(start.x, start.y, k1);
  const std::optional<level_cuts> cuts = cuts_of(sites, k1, map, segments);
  list<point> best;
  for (const xy& c : map.nodes) {
    // As descent_side.
    if (g.y * (c.y - start.y) + g.x * (c.x - start.x) > 0.0) continue;
    if (cuts && cuts->surely_above(c, b1)) continue;
    const double f = sites.value(c.x, c.y, k1);
    if (!(f <= b1)) continue;
    const double h = sites.value(c.x, c.y, k2);
    if (f < b1 || h < b2) best.clear();
    if (f < b1 || h <= b2) {
      best.append(to_point(c));
      b1 = f;
      b2 = h;
    }
  }
  return best;
}

list<location> efficient_walk(const flat_gauged_sites& sites, const list<point>& start,
                              const list<point>& goal, const flat_map& map) {
  return walk(sites, map).from(start.head(), goal);
}

}  // namespace planloc::detail
