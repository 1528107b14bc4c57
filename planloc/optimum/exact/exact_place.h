// f around one place, without loss: which linear pieces meet there, and the slopes of f in every
// direction. Internal.
#ifndef PLANLOC_OPTIMUM_EXACT_EXACT_PLACE_H_
#define PLANLOC_OPTIMUM_EXACT_EXACT_PLACE_H_

#include <gmpxx.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <unordered_map>
#include <utility>
#include <vector>

#include "planloc/optimum/evaluate.h"
#include "planloc/optimum/exact/dyadic.h"
#include "planloc/optimum/solution.h"

namespace planloc::detail {

template <class Number>
struct exact_pair {
  Number x, y;

  friend bool operator==(const exact_pair&, const exact_pair&) = default;
};

using exact_xy = exact_pair<mpq_class>;
using dyadic_xy = exact_pair<dyadic>;

inline exact_xy to_exact(const xy& p) { return {mpq_class(p.x), mpq_class(p.y)}; }
inline exact_xy value_of(const dyadic_xy& p) { return {p.x.value(), p.y.value()}; }
// Each coordinate the nearest double.
xy to_nearest(const exact_xy& p);
exact_point to_text(const exact_xy& p);

template <class Number>
Number dot(const exact_pair<Number>& a, const exact_pair<Number>& b) {
  return a.x * b.x + a.y * b.y;
}
template <class Number>
Number cross(const exact_pair<Number>& a, const exact_pair<Number>& b) {
  return a.x * b.y - a.y * b.x;
}

// A slope as whole numbers over one positive denominator, which signs and directions do not need.
struct exact_slope {
  mpz_class x, y, denominator;

  // The slope turned left, at a length of about 1.
  exact_xy turned_left() const;
};

int dot_sign(const exact_slope& s, const exact_xy& v);

// The normals of a table's edges as fractions, each made when it is asked for first.
class exact_edges {
 public:
  explicit exact_edges(const distance_table& table) : table_(table) {}

  // The normal is (x, y) / area.
  struct dyadic_edge {
    dyadic x, y, area;
  };

  // `edge` counts in the table.
  const dyadic_edge& dyadic_of(std::size_t edge);
  const exact_xy& normal(std::size_t edge);

 private:
  struct known_edge {
    dyadic_edge undivided;
    std::optional<exact_xy> normal;
  };
  known_edge& known(std::size_t edge);

  const distance_table& table_;
  std::unordered_map<std::size_t, known_edge> edges_;
};

// A choice of one linear piece of f that touches it at a place, from those that meet there.
struct piece_choice {
  std::vector<std::uint32_t> edge;  // of each tied slot, within its gauge
  std::vector<std::uint32_t> slot;  // at each tied rank
};

// REQUIRES: polyhedral gauges.
class exact_place {
 public:
  // `guess`: edges that may be in force there, by slots; empty if none are known.
  exact_place(const problem& p, const distance_table& table, exact_edges& edges, exact_xy at,
              std::span<const std::uint32_t> guess = {});

  const exact_xy& at() const { return at_; }

  // f in doubles, within a few units in the last place unless `cancels`.
  double value() const { return value_; }
  // Whether f is a small difference of large terms, those of the distances in x and y included.
  bool cancels() const;
  // f without loss.
  mpq_class exact_value() const;

  // The pieces in force just beside the place in the direction u, u != 0.
  piece_choice choose(const exact_xy& u) const;
  // The same by sites, as certificates have it. The multiplier is left at 0.
  affine_piece piece(const piece_choice& c) const;
  // Whether f rises in the direction u: 1, 0 or -1.
  int rise_sign(const exact_xy& u) const { return dot_sign(slope(choose(u)), u); }
  // The slope of f there, and the same in doubles with a bound of its error in each coordinate.
  exact_slope slope(const piece_choice& c) const;
  struct rounded_slope {
    xy slope;
    double error;
  };
  rounded_slope slope_in_doubles(const piece_choice& c) const;

 private:
  // A site where several edges meet. All sites may be such ones, so it is small.
  struct tied_slot {
    std::uint32_t slot;
    std::uint32_t rank;  // 0 if all order weights are equal
  };
  // Neighbours within a gauge, cyclic.
  struct edge_range {
    std::uint32_t first, count;
  };
  struct tied_ranks {
    std::uint32_t begin, end;  // in order_
  };
  struct rounded_distance {
    double value, error;
  };
  // One distance under a choice.
  struct term {
    std::uint32_t slot;
    std::uint32_t edge;  // in the table
    double lambda;
  };
  struct slope_sum {
    long double x;
    long double y;
    double size;  // of the magnitudes
  };
  class slope_adder;
  struct rounded_rise;
  class distance_order;

  const site& site_of(std::size_t slot) const { return problem_.sites()[table_.site[slot]]; }
  std::uint32_t first_edge_of(std::size_t slot) const {
    return table_.blocks[table_.block_of[slot]].first_edge;
  }
  void find_edges(std::span<const std::uint32_t> guess);
  void find_ranks();
  void find_tied_ranks(distance_order& by_distance);
  int sure_side(const xy& v, const xy& u) const;
  bool is_site(std::uint32_t slot) const;
  edge_range exact_edges_of(std::uint32_t slot) const;
  edge_range tied_edges_of(std::uint32_t slot) const;
  xy offset(std::uint32_t slot) const;
  rounded_distance distance(std::uint32_t slot) const;
  double size_of_terms(std::uint32_t slot) const;  // of the distance in x and y
  dyadic level(std::uint32_t slot) const;
  bool is_tied(std::uint32_t slot) const { return (edge_[slot] & kTied) != 0; }
  std::uint32_t edge(std::uint32_t slot) const { return edge_[slot] & ~kTied; }
  std::size_t tie_of(std::uint32_t slot) const;  // in tied_slots_. REQUIRES: is_tied
  std::uint32_t edge_of(std::uint32_t slot, const piece_choice& c) const;
  double lambda_at(std::uint32_t rank) const;
  std::uint32_t steepest_edge(const gauge_block& b, edge_range tied, const exact_xy& u) const;
  void sort_by_rise(std::span<std::uint32_t> slots, const piece_choice& c, const exact_xy& u) const;
  template <class Use>
  void each_untied_term(Use use) const;
  piece_choice any_choice() const;
  template <class Use>
  void each_tied_term(const piece_choice& c, Use use) const;
  std::vector<term> terms_by_edge(const piece_choice& c) const;

  const problem& problem_;
  const distance_table& table_;
  exact_edges& edges_;
  exact_xy at_;
  xy rounded_, rest_;  // that, and what it lacks
  bool is_double_;     // it lacks nothing
  double value_ = 0;
  static constexpr std::uint32_t kTied = 1U << 31;  // added to an edge
  std::vector<std::uint32_t> edge_;                 // of each slot; the first of the tied ones
  std::vector<tied_slot> tied_slots_;
  std::vector<std::uint32_t> order_;  // slots by rank class; empty if all weights are equal
  std::vector<std::uint32_t> jumps_;  // where the runs begin, and the end
  std::vector<tied_ranks> tied_ranks_;
  mutable std::optional<slope_sum> untied_;  // made when it is asked for first
};

// The place that was asked for last: one at a time, since each takes memory for every site.
class current_place {
 public:
  current_place(const problem& p, const distance_table& table)
      : problem_(p), table_(table), edges_(table) {}

  // Valid until another place is asked for.
  const exact_place& at(const exact_xy& at) {
    if (place_ && place_->at() == at) return *place_;
    release();
    return place_.emplace(problem_, table_, edges_, at);
  }
  void release() { place_.reset(); }
  exact_edges& edges() { return edges_; }

 private:
  const problem& problem_;
  const distance_table& table_;
  exact_edges edges_;
  std::optional<exact_place> place_;
};

}  // namespace planloc::detail

#endif  // PLANLOC_OPTIMUM_EXACT_EXACT_PLACE_H_
