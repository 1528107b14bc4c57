// A cell of a polyhedral problem solved without loss: f is linear between the lines on which the
// piece of a site or the order of two sites changes, so its least value on the cell is at a
// crossing of two of them, of one with the border, or at a corner. Internal.
#ifndef PLANLOC_OPTIMUM_GENERAL_EXACT_CLOSE_H_
#define PLANLOC_OPTIMUM_GENERAL_EXACT_CLOSE_H_

#include <gmpxx.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <variant>
#include <vector>

#include "planloc/optimum/exact/exact_place.h"
#include "planloc/optimum/general/triangle_cell.h"

namespace planloc::detail {

// a . x == right, with the first coefficient of a that is not 0 being 1, so that equal lines have
// equal numbers.
struct exact_line {
  exact_xy normal;
  mpq_class right;

  friend bool operator==(const exact_line&, const exact_line&) = default;
};

exact_line normalised(exact_xy normal, mpq_class right);
// Whether corners of the triangle lie on both sides of the line.
bool crosses_inside(const triangle& t, const exact_line& l);

// How many break lines of a cell are worth an exact close. The shorter its sides are beside the
// extent of the sites, the more of them are there to stay, since they meet in one place.
std::size_t lines_worth_a_close(double side, double extent, std::size_t far_away);

class exact_closer {
 public:
  // A ray (twice the same slot), or the pieces of two sites that are equal on the line.
  struct source {
    std::uint32_t slot, edge;
    std::uint32_t other, other_edge;
  };
  // A line in doubles, and without loss once that is asked for: few of the crossings need it.
  struct break_line {
    xy normal;
    double right;
    double doubt;  // what normal . x - right is off by at most on the cell
    std::variant<source, exact_line> exact;

    break_line(const xy& n, double r, double off_by, const source& from)
        : normal(n), right(r), doubt(off_by), exact(from) {}
    explicit break_line(exact_line l);
  };

  exact_closer(const problem& p, const distance_table& table);

  // The break lines that cross the cell, and maybe some that touch it; nothing if there are more
  // than `limit` distinct ones that cross it.
  std::optional<std::vector<break_line>> lines(const cell& c, std::size_t limit);

  // The places of the cell, relative to the base, at which f can be least, but for those whose
  // roundings are not promising.
  std::vector<exact_xy> vertices(const triangle& t, std::vector<break_line> lines,
                                 const std::function<bool(const xy&)>& promising);

  // f at a place relative to the base.
  mpq_class value(const exact_xy& at);

  // Of the corners of a cell: on which side of a line they are.
  using sides = std::array<double, 3>;

 private:
  struct candidate {
    source from;
    double doubt;
    bool sure;  // that it crosses the cell
  };
  struct piece {
    std::uint32_t slot, edge;
    std::array<double, 3> value;  // at the corners
    double size;                  // that its roundings are measured by
  };

  bool find_undecided(const cell& c, std::size_t limit);
  bool collect(const cell& c, std::size_t limit);
  void add_pieces(const cell& c, const placed_site& s);
  bool add_ray(const cell& c, std::uint32_t slot, std::uint32_t edge);
  void add(const sides& side, double doubt, const source& from);
  bool surely_more(std::size_t limit);
  std::optional<std::vector<exact_line>> distinct_lines(const triangle& t, std::size_t limit);
  break_line rounded_line(const candidate& k) const;
  exact_line line_of(const source& from);
  const exact_line& exact(break_line& l);
  exact_xy position(std::uint32_t slot) const;
  exact_xy absolute(const exact_xy& at) const;

  const problem& problem_;
  const distance_table& table_;
  exact_edges edges_;
  std::vector<std::uint32_t> same_as_;  // the first slot with equal place, weight and gauge
  std::vector<std::uint32_t> marked_;   // by slot: with the number of the last cell that had it
  std::uint32_t mark_ = 0;
  // Of the cell at hand.
  std::vector<placed_site> undecided_;
  std::vector<std::uint32_t> edge_numbers_;
  std::vector<piece> pieces_;
  std::vector<candidate> candidates_;
  std::vector<double> keys_;  // of candidates that surely cross, equal if the lines are
};

}  // namespace planloc::detail

#endif  // PLANLOC_OPTIMUM_GENERAL_EXACT_CLOSE_H_
