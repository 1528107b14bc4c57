// From places and slopes in doubles that are nearly optimal to the optimum itself, in fractions.
// Internal.
//
// Some terms are bent: the offset of their facility lies on a ray of the gauge, or is 0, so their
// slope has freedom. As many of them as are independent are the equations of the place. The same
// ones, transposed, are those of the changes of slopes that make all slopes cancel; since slopes
// from inside an optimal face have room, tiny changes leave them in their polars.
#ifndef PLANLOC_OPTIMUM_TIED_CROSSING_H_
#define PLANLOC_OPTIMUM_TIED_CROSSING_H_

#include <optional>
#include <vector>

#include "planloc/optimum/tied/part_terms.h"

namespace planloc::detail {

// A term that may be bent.
struct bent_term {
  std::uint32_t term;
  bool at_origin;  // else on the ray between edge and the next one
  std::uint32_t edge;
  double share;  // on a ray: of the next edge
  xy slope;      // at the origin
  double room;   // of the share or the slope, to the border of the polar
};

// Writes the part's answer to `s` and returns its value, in the units of the terms, if the optimum
// is found and proved.
std::optional<double> solve_crossing(const tied_problem& p, const tied_part& part,
                                     const part_terms& terms, std::span<const xy> places,
                                     std::vector<bent_term> bent, tied_solution& s);

}  // namespace planloc::detail

#endif  // PLANLOC_OPTIMUM_TIED_CROSSING_H_
