// What the two ways of checking an answer for tied facilities share. Internal to `verify`.
#ifndef PLANLOC_OPTIMUM_PROOF_TIED_PARTS_H_
#define PLANLOC_OPTIMUM_PROOF_TIED_PARTS_H_

#include <cstddef>
#include <string>
#include <vector>

#include "planloc/optimum/proof/verify_parts.h"
#include "planloc/optimum/tied_facilities.h"

namespace planloc::detail {

// The places of an answer.
std::vector<fraction_pair> exact_places_of(const tied_problem& p, const tied_solution& s);

inline std::string term_name(std::size_t facility, std::size_t site) {
  return "facility " + std::to_string(facility) + " and site " + std::to_string(site);
}

// REQUIRES: a certificate of the right sizes, which `verify` looks at first.
verification verify_tied_fractions(const tied_problem& p, const tied_solution& s);
verification verify_tied_intervals(const tied_problem& p, const tied_solution& s);

}  // namespace planloc::detail

#endif  // PLANLOC_OPTIMUM_PROOF_TIED_PARTS_H_
