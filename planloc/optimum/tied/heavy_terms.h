// Parts some of whose terms outweigh all others together by far: doubles, which know places to so
// many digits of the heavy terms, know nothing of the light ones. Internal.
#ifndef PLANLOC_OPTIMUM_TIED_HEAVY_TERMS_H_
#define PLANLOC_OPTIMUM_TIED_HEAVY_TERMS_H_

#include <optional>

#include "planloc/optimum/tied/tied_part.h"

namespace planloc::detail {

// Where all heavy terms are 0 at once, facilities that they join to each other lie together, those
// that they join to a site lie there, and what is left is a problem of the light terms alone; the
// slopes of the heavy ones carry on what the light ones leave. Writes the part's answer to `s`,
// whose certificate has its sizes, and returns its value; nothing if the optimum is not found so.
// REQUIRES: polyhedral gauges.
std::optional<double> solve_light_terms(const tied_problem& p, const tied_part& part,
                                        const tied_options& options, tied_solution& s);

}  // namespace planloc::detail

#endif  // PLANLOC_OPTIMUM_TIED_HEAVY_TERMS_H_
