// f around one place, without loss: which linear pieces meet there, and the slopes of f in every
// direction. Internal.
#ifndef PLANLOC_OPTIMUM_EXACT_EXACT_PLACE_H_
#define PLANLOC_OPTIMUM_EXACT_EXACT_PLACE_H_

#include <gmpxx.h>

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <utility>
#include <vector>

#include "planloc/optimum/evaluate.h"
#include "planloc/optimum/solution.h"

namespace planloc::detail {

struct exact_xy {
  mpq_class x, y;

  friend bool operator==(const exact_xy&, const exact_xy&) = default;
};

inline exact_xy to_exact(const xy& p) { return {mpq_class(p.x), mpq_class(p.y)}; }
// Each coordinate the nearest double.
xy to_nearest(const exact_xy& p);
exact_point to_text(const exact_xy& p);

inline mpq_class dot(const exact_xy& a, const exact_xy& b) { return a.x * b.x + a.y * b.y; }
inline mpq_class cross(const exact_xy& a, const exact_xy& b) { return a.x * b.y - a.y * b.x; }

// A slope as whole numbers over one positive denominator, which signs and directions do not need.
struct exact_slope {
  mpz_class x, y, denominator;

  // The slope turned left, at a length of about 1.
  exact_xy turned_left() const;
};

int dot_sign(const exact_slope& s, const exact_xy& v);

// The normals of all edges of a table as fractions, each made when it is asked for first.
class exact_edges {
 public:
  explicit exact_edges(const distance_table& table)
      : table_(table), dyadic_(table.edges.size()), normals_(table.edges.size()) {}

  // The normal is (x, y) / area. All denominators are powers of 2, so products cost little.
  struct dyadic_edge {
    mpq_class x, y, area;
  };

  // `edge` counts in the table.
  const dyadic_edge& dyadic(std::size_t edge);
  const exact_xy& normal(std::size_t edge);

 private:
  const distance_table& table_;
  std::vector<std::optional<dyadic_edge>> dyadic_;
  std::vector<std::optional<exact_xy>> normals_;
};

// A choice of one linear piece for every slot: an affine function that touches f at the place.
struct piece_choice {
  std::vector<std::uint32_t> edge;  // of each slot, within its gauge
  std::vector<std::uint32_t> rank;  // of each slot
};

// REQUIRES: polyhedral gauges.
class exact_place {
 public:
  exact_place(const problem& p, const distance_table& table, exact_edges& edges, exact_xy at);

  const exact_xy& at() const { return at_; }

  // f in doubles, within a unit or two in the last place for terms of one sign.
  double value() const;
  // f without loss.
  mpq_class exact_value() const;

  // The pieces in force just beside the place in the direction u, u != 0.
  piece_choice choose(const exact_xy& u) const;
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
  struct tied_slot {
    std::uint32_t slot;
    std::uint32_t first_edge, edges;  // neighbours, cyclic
  };
  struct tied_ranks {
    std::uint32_t begin, end;  // in order_
  };

  const site& site_of(std::size_t slot) const { return problem_.sites()[table_.site[slot]]; }
  void find_edges();
  void find_ranks();
  bool surely_inside(const gauge_block& b, std::uint32_t edge, const xy& u) const;
  tied_slot exact_edges_of(std::uint32_t slot) const;
  int compare(std::uint32_t a, std::uint32_t b);
  const exact_edges::dyadic_edge& dyadic(std::uint32_t slot) const;
  const mpq_class& level(std::uint32_t slot);
  const exact_xy& normal(std::uint32_t slot, std::uint32_t edge) const;

  const problem& problem_;
  const distance_table& table_;
  exact_edges& edges_;
  exact_xy at_;
  xy rounded_;
  std::vector<std::uint32_t> edge_;  // of each slot; the first of the tied ones
  std::vector<double> distance_;
  std::vector<double> error_;  // of each distance
  std::map<std::uint32_t, mpq_class> levels_;
  std::vector<tied_slot> tied_slots_;
  std::vector<std::uint32_t> order_;  // slots by rank class; empty if all weights are equal
  std::vector<tied_ranks> tied_ranks_;
};

}  // namespace planloc::detail

#endif  // PLANLOC_OPTIMUM_EXACT_EXACT_PLACE_H_
