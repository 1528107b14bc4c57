// Linear equations in fractions. Internal.
#ifndef PLANLOC_OPTIMUM_TIED_EXACT_EQUATIONS_H_
#define PLANLOC_OPTIMUM_TIED_EXACT_EQUATIONS_H_

#include <gmpxx.h>

#include <cstddef>
#include <optional>
#include <utility>
#include <vector>

namespace planloc::detail {

struct exact_equation {
  std::vector<std::pair<std::size_t, mpq_class>> terms;  // unknown and factor, by unknown
  mpq_class right;
};

// Gauss's elimination, the equation with the fewest terms first. Unknowns that are not determined
// keep their value. Nothing if the equations contradict each other.
std::optional<std::vector<mpq_class>> solve_exactly(std::vector<exact_equation> equations,
                                                    std::vector<mpq_class> values);

}  // namespace planloc::detail

#endif  // PLANLOC_OPTIMUM_TIED_EXACT_EQUATIONS_H_
