// Facilities that have to be placed together, and what the searches write their answer to.
// Internal.
#ifndef PLANLOC_OPTIMUM_TIED_TIED_PART_H_
#define PLANLOC_OPTIMUM_TIED_TIED_PART_H_

#include <gmpxx.h>

#include <cstdint>
#include <vector>

#include "planloc/optimum/tied_facilities.h"

namespace planloc::detail {

// A connected part of the graph of the ties with positive weight.
struct tied_part {
  std::vector<std::uint32_t> facilities;
  std::vector<std::uint32_t> ties;  // with positive weight
};

// The parts that some site holds, with a positive weight.
std::vector<tied_part> held_parts(const tied_problem& p);

// A pair of fractions as a solution holds it: rounded, and as text where that is not it.
tied_certificate::slope slope_of(const mpq_class& x, const mpq_class& y);
void set_place(tied_solution& s, std::uint32_t facility, const mpq_class& x, const mpq_class& y);

}  // namespace planloc::detail

#endif  // PLANLOC_OPTIMUM_TIED_TIED_PART_H_
