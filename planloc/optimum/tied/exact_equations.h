// Linear equations in fractions. Internal.
#ifndef PLANLOC_OPTIMUM_TIED_EXACT_EQUATIONS_H_
#define PLANLOC_OPTIMUM_TIED_EXACT_EQUATIONS_H_

#include <gmpxx.h>

#include <cstddef>
#include <optional>
#include <utility>
#include <vector>

#include "planloc/optimum/exact/dyadic.h"

namespace planloc::detail {

// numerator / denominator, for numerators that are far longer than what they are multiplied and
// divided by: common factors are not looked for, as long as the denominator stays short.
struct long_fraction {
  dyadic numerator;
  mpz_class denominator = 1;  // positive
};

// Value: `mpq_class` or `long_fraction`.
template <class Value>
struct exact_equation {
  std::vector<std::pair<std::size_t, mpq_class>> terms;  // unknown and factor, by unknown
  Value right;
};

// Gauss's elimination, the equation with the fewest terms first. Unknowns that are not determined
// keep their value. Nothing if the equations contradict each other.
template <class Value>
std::optional<std::vector<Value>> solve_exactly(std::vector<exact_equation<Value>> equations,
                                                std::vector<Value> values);

}  // namespace planloc::detail

#endif  // PLANLOC_OPTIMUM_TIED_EXACT_EQUATIONS_H_
