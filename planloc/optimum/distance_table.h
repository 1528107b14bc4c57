// The sites of a problem in slots, by gauge, and their distances in doubles. Internal.
#ifndef PLANLOC_OPTIMUM_DISTANCE_TABLE_H_
#define PLANLOC_OPTIMUM_DISTANCE_TABLE_H_

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <utility>
#include <vector>

#include "planloc/optimum/lp_norm.h"
#include "planloc/optimum/problem.h"

namespace planloc::detail {

// A place amid the sites whose difference to each position is a double; a coordinate is 0 where the
// mean's would not do.
//
// Smooth problems have no exact end that would make good a rounded position, however heavy the
// site: where a difference to the mean is rounded, its site lies nearer to 0 than to the mean, so
// that counting from 0 costs two bits of a place at most.
xy exact_base(const problem& p);

// One edge of a unit ball: for u between `from` and the next edge's `from`, the gauge is normal .
// u.
struct ball_edge {
  xy from;
  xy normal;
};

// The edges of all gauges of a table, one after the other. Copies share them.
class ball_edges {
 public:
  ball_edges() = default;
  explicit ball_edges(std::vector<ball_edge> edges)
      : all_(std::make_shared<const std::vector<ball_edge>>(std::move(edges))),
        first_(all_->data()) {}

  const ball_edge& operator[](std::size_t k) const { return first_[k]; }
  const ball_edge* data() const { return first_; }

 private:
  std::shared_ptr<const std::vector<ball_edge>> all_;
  const ball_edge* first_ = nullptr;
};

// The sites of one gauge stand side by side, in slots [begin, end).
struct gauge_block {
  gauge::shape kind;
  double p;
  std::uint32_t begin, end;
  std::uint32_t first_edge, edges;  // in distance_table::edges
  // The first edge, from 0, whose `from` is in the lower half-plane, and the one in the upper.
  std::uint32_t first_lower, first_upper;
  lp_norm norm;  // where the kind is lp
};

// The sites in slots, by gauge. Constant; any number of threads may read it.
//
// All places are relative to `base`, amid the sites, so that sites close together far from the
// origin lose nothing in doubles. Relative positions are rounded where all gauges are polyhedral,
// and after `count_from`; what is exact starts from the problem's.
class distance_table {
 public:
  explicit distance_table(const problem& p);
  // The same with some of the slots, given in their order. Blocks may be empty.
  distance_table only(std::span<const std::uint32_t> slots) const;

  std::size_t size() const { return weight.size(); }

  // The edge whose cone holds u; one of the two where u lies on a ray. Edges are counted as the
  // gauge's vertices are, from the block's `first_edge`.
  std::uint32_t active_edge(const gauge_block& b, const xy& u) const;
  // Whether the cone of the edge holds u, as far as doubles can tell.
  bool in_cone(const gauge_block& b, std::uint32_t edge, const xy& u) const {
    const xy& v = edges[b.first_edge + edge].from;
    const xy& w = edges[b.first_edge + (edge + 1 == b.edges ? 0 : edge + 1)].from;
    return v.x * u.y - v.y * u.x >= 0 && u.x * w.y - u.y * w.x > 0;
  }

  // The same, looked for next to a guess first.
  std::uint32_t active_edge(const gauge_block& b, const xy& u, std::uint32_t guess) const {
    if (in_cone(b, guess, u)) return guess;
    const std::uint32_t next = guess + 1 == b.edges ? 0 : guess + 1;
    if (in_cone(b, next, u)) return next;
    const std::uint32_t last = (guess == 0 ? b.edges : guess) - 1;
    return in_cone(b, last, u) ? last : active_edge(b, u);
  }

  // The distance of one slot, and its slope: a subgradient of the weighted distance.
  struct linear_piece {
    double distance;
    xy slope;
    std::uint32_t edge;  // 0 unless polyhedral
  };
  linear_piece piece(std::size_t slot, const xy& at) const;
  // The piece of one edge of a polyhedral gauge, in force or not.
  linear_piece piece_of_edge(std::size_t slot, const xy& at, std::uint32_t edge) const {
    const xy& n = edges[blocks[block_of[slot]].first_edge + edge].normal;
    const double w = weight[slot];
    return {w * (n.x * (at.x - x[slot]) + n.y * (at.y - y[slot])), {w * n.x, w * n.y}, edge};
  }

  // Counts places from another base.
  void count_from(const problem& p, const xy& new_base);
  // The largest of the sites' coordinates, in magnitude.
  double extent() const;

  // Whether terms of a polyhedral distance are so much larger than it that intervals lose more than
  // the margins that do elsewhere.
  bool has_thin_ball() const;

  // The slot whose site is nearest to a place, in the maximum norm.
  std::size_t nearest(const xy& at) const;

  // All distances at a place; `edge` may be empty if it is not wanted. So may the slopes, which are
  // those of gauges that are not polyhedral, 0 at the site.
  struct slope_spans {
    std::span<double> x, y;
  };
  void distances(const xy& at, std::span<double> distance, std::span<std::uint32_t> edge,
                 const slope_spans& slope = {}) const;

  xy base;
  double steepest = 0;  // no polyhedral distance grows faster, per unit of x and y each
  std::vector<double> x, y, weight;
  std::vector<std::uint32_t> site;      // of each slot
  std::vector<std::uint32_t> block_of;  // of each slot
  std::vector<gauge_block> blocks;
  ball_edges edges;

 private:
  distance_table() = default;
  void add_block(const gauge& g, std::uint32_t begin, std::uint32_t end,
                 std::vector<ball_edge>& all);
};

}  // namespace planloc::detail

#endif  // PLANLOC_OPTIMUM_DISTANCE_TABLE_H_
