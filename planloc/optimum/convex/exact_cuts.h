// The cutting-plane model in fractions: finitely many pieces, so a search that adds the pieces at
// each minimiser ends at an optimum. Where doubles end too early. Internal.
#ifndef PLANLOC_OPTIMUM_CONVEX_EXACT_CUTS_H_
#define PLANLOC_OPTIMUM_CONVEX_EXACT_CUTS_H_

#include <gmpxx.h>

#include <array>
#include <cstddef>
#include <functional>
#include <optional>
#include <vector>

#include "planloc/optimum/exact/exact_place.h"

namespace planloc::detail {

class exact_cuts {
 public:
  // Over the square |x - centre| <= half_width in both coordinates, which is made larger where no
  // optimum is found in it.
  // REQUIRES: half_width > 0.
  exact_cuts(const exact_xy& centre, const mpq_class& half_width);

  // The pieces of f in force at a place beside it, in the direction of each axis and along `u`. If
  // all of them are known, the next minimiser is found in a larger square or with more digits.
  void add_pieces_at(const exact_place& place, const exact_xy& u);

  // Where the largest of the pieces is least, or nothing: asked before each pivot, the search had
  // to end.
  std::optional<exact_xy> minimiser(const std::function<bool()>& must_end);

 private:
  using triple = std::array<mpq_class, 3>;
  // normal . (x, y, t) >= right.
  struct row {
    triple normal;
    mpq_class right;
  };

  exact_xy exact_vertex() const;
  void add_piece(const exact_place& place, const mpq_class& value, const exact_xy& u);
  row rounded_row(const row& r) const;
  void start();
  void start_again();
  void set_sides();
  void locate();
  mpq_class slack(const row& r) const;
  void pivot(std::size_t entering);

  exact_xy centre_;
  mpq_class half_width_;
  // The four sides first. Pivots work on rows rounded to some hundred bits, which choose the basis;
  // the vertex is that of the basis without roundings.
  unsigned bits_ = 256;
  std::vector<row> rows_;
  std::vector<row> exact_;
  std::array<std::size_t, 3> basis_{};
  std::array<triple, 3> inverse_;  // columns belong to the basis
  triple vertex_;                  // x, y, t
};

}  // namespace planloc::detail

#endif  // PLANLOC_OPTIMUM_CONVEX_EXACT_CUTS_H_
