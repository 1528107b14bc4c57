// The efficient set of two criteria by its plain steps: on a graph, with edges by their position in
// lists made anew for each look. What the solver does faster must come out the same.
#ifndef PLANLOC_TESTS_FACILITIES_PLAIN_BICRITERIA_H_
#define PLANLOC_TESTS_FACILITIES_PLAIN_BICRITERIA_H_

#include <optional>
#include <utility>
#include <vector>

#include "planloc/facilities/efficient_set.h"
#include "planloc/facilities/facilities.h"
#include "planloc/facilities/gauge_sum.h"
#include "planloc/model/polygauge.h"

namespace planloc {

class plain_bicriteria {
 public:
  using map_graph = GRAPH<point, segment>;

  plain_bicriteria(const facilities& F, const list<polygauge>& gauges, const list<int>& gauge_of)
      : F_(F), gauges_(gauges), gauge_of_(gauge_of) {}

  double value(const point& x, int q) const { return F_.gauge_value(gauges_, gauge_of_, x, q); }

  list<point> lexicographic(const point& x0, int q1, int q2, const map_graph& map) const {
    double b1 = value(x0, q1);
    double b2 = value(x0, q2);
    const vector g = F_.gauge_gradient(gauges_, gauge_of_, x0, q1);
    list<point> R;
    for (node v = map.first_node(); v; v = map.succ_node(v)) {
      const point c = map[v];
      if (descent_side(g, c, x0) == 1) continue;
      const double f = value(c, q1);
      if (f < b1) {
        R.clear();
        R.append(c);
        b1 = f;
        b2 = value(c, q2);
      } else if (f == b1) {
        const double h = value(c, q2);
        if (h < b2) {
          R.clear();
          R.append(c);
          b2 = h;
        } else if (h == b2) {
          R.append(c);
        }
      }
    }
    return R;
  }

  static map_graph prepared(map_graph map) {
    for (node v = map.first_node(); v; v = map.succ_node(v)) {
      const auto adj = [&](int k) {
        return map.out_edges(v).contents(map.out_edges(v).get_item(k));
      };
      const auto angle = [&](int k) {
        const double a = map[adj(k)].angle();
        return a < 0.0 ? a + 6.2831853072 : a;
      };
      int n = map.outdeg(v);
      for (int i = 0; i <= n - 2; ++i) {
        int b = i;
        for (int k = i + 1; k < n; ++k) {
          if (angle(k) < angle(b)) b = k;
        }
        const node w[2] = {map.target(adj(i)), map.target(adj(b))};
        const segment s[2] = {map[adj(i)], map[adj(b)]};
        for (const auto& [at, other] : {std::pair(i, 1), std::pair(b, 0)}) {
          const edge old = adj(at);
          map.new_edge(old, w[other], s[other]);
          map.del_edge(old);
        }
      }
      for (int i = 0; i < n;) {
        const int j = (i + 1) % n;
        if (angle(i) == angle(j)) {
          map.del_edge(map[adj(j)].length() <= map[adj(i)].length() ? adj(i) : adj(j));
          --n;
        } else {
          ++i;
        }
      }
    }
    return map;
  }

  // Nothing if the walk takes more than `limit` looks at an edge, or comes to a corner that no edge
  // leaves.
  std::optional<std::vector<location>> walked(const list<point>& start, const list<point>& goal,
                                              const map_graph& map, int limit = 100000) const;

  // Nothing as in `walked`.
  std::optional<std::vector<location>> efficient_set() const {
    const point x0 = centre();
    map_graph map = segment_map(F_.fundamental_segments(gauges_, gauge_of_, x0, 0.0, 1));
    map = prepared(map);
    const list<point> first = lexicographic(x0, 0, 1, map);
    const list<point> second = lexicographic(x0, 1, 0, map);
    if (point_list_contains(second, first.head()) == 0) return walked(first, second, map);
    std::vector<location> optima;
    for (const point& p : first) optima.push_back(location::from_point(p));
    return optima;
  }

  point centre() const {
    facilities F = F_;
    F.l2squared_sum(0, true);
    return F.opt.head().to_point();
  }

 private:
  const facilities& F_;
  const list<polygauge>& gauges_;
  const list<int>& gauge_of_;
};

inline std::optional<std::vector<location>> plain_bicriteria::walked(const list<point>& start,
                                                                     const list<point>& goal,
                                                                     const map_graph& map,
                                                                     int limit) const {
  std::vector<location> result;
  const auto append = [&](const point& p, int k) {
    result.push_back(location(2.0, 1.0, p.xcoord(), p.ycoord(), static_cast<double>(k)));
  };
  const auto normal = [&](const point& x, int q) {
    return F_.gauge_normal(gauges_, gauge_of_, x, q);
  };
  const auto class_of = [&](const point& B, const point& C, const point& A) {
    const point M((B.xcoord() + C.xcoord() + A.xcoord()) / 3,
                  (B.ycoord() + C.ycoord() + A.ycoord()) / 3);
    return classify(B, C, A, value(B, 0), value(C, 0), value(A, 0), value(B, 1), value(C, 1),
                    value(A, 1), normal(M, 0), normal(M, 1));
  };
  point cur = start.head();
  node v = map.first_node();
  while (!(map[v] == cur)) v = map.succ_node(v);
  if (map.outdeg(v) == 0) return std::nullopt;
  node u = map.target(map.first_adj_edge(v));
  for (int k = 1; point_list_contains(goal, cur) == 0; ++k) {
    if (map.outdeg(v) == 0) return std::nullopt;
    edge e = map.first_adj_edge(v);
    while (segment(map[v], map[map.target(e)]).angle(segment(map[v], map[u])) != 0.0) {
      e = map.cyclic_adj_succ(e);
      if (--limit < 0) return std::nullopt;
    }
    point A = map[map.target(e)];
    point B = map[map.target(map.cyclic_adj_succ(e))];
    int c = class_of(B, cur, A);
    int d = 0;
    do {
      e = map.cyclic_adj_succ(e);
      d = c;
      A = B;
      B = map[map.target(map.cyclic_adj_succ(e))];
      c = class_of(B, cur, A);
      if (--limit < 0) return std::nullopt;
    } while (d != 1 && c != 1 && !(d == 2 && c == 2) && !(d == 2 && c == 4) &&
             !(d == 3 && c == 2) && !(d == 3 && c == 4));
    if (d == 1 || c == 1) {
      if (d == 1) e = map.cyclic_adj_pred(e);
      double b = value(map[v], 1);
      node r = map.target(e);
      node s = v;
      const node t = v;
      do {
        if (map.outdeg(r) == 0) return std::nullopt;
        e = map.first_adj_edge(r);
        while (map.target(e) != s) {
          e = map.cyclic_adj_pred(e);
          if (--limit < 0) return std::nullopt;
        }
        const double x = value(map[r], 1);
        if (x < b) {
          b = x;
          v = r;
          u = s;
        }
        append(map[r], k);
        s = r;
        r = map.target(map.cyclic_adj_pred(e));
        if (--limit < 0) return std::nullopt;
      } while (s != t);
    } else {
      append(cur, k);
      append(A, k);
      u = v;
      v = map.target(e);
    }
    cur = map[v];
  }
  return result;
}

}  // namespace planloc

#endif  // PLANLOC_TESTS_FACILITIES_PLAIN_BICRITERIA_H_
