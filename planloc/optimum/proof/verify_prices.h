// The check of prices that prove a lower bound for several facilities. Internal to `verify`.
#ifndef PLANLOC_OPTIMUM_PROOF_VERIFY_PRICES_H_
#define PLANLOC_OPTIMUM_PROOF_VERIFY_PRICES_H_

#include <vector>

#include "planloc/optimum/location_allocation.h"

namespace planloc::detail {

// Refuses prices that do not prove that no places have a value below `claimed`.
//
// For any prices u_i, at most the distance from the nearest existing facility, and new facilities
// at x_1 ... x_p:
//   sum over i of the distance from the nearest >= sum of u_i + sum over i, j of min(0, d_i(x_j) -
//   u_i) >= sum of u_i + p * min over x of (sum over i of min(0, d_i(x) - u_i)).
// Of three sites at most one new facility serves two or all; so a price of a triple may be asked of
// that one: it leaves the bound's start and joins what the facility pays for the sites that it
// serves, which are then those by which it gains the most.
// The minimum is bounded by a walk over rectangles that cover all places where a distance is below
// its price.
void prove_prices(const allocation_problem& p, const std::vector<double>& prices,
                  const std::vector<priced_triple>& triples, double claimed);

// The same of cases: in each, the minimum of the facilities in a rectangle is that over the
// rectangle. Every way to place the facilities belongs to a case.
void prove_cases(const allocation_problem& p, const std::vector<allocation_case>& cases,
                 double claimed);

}  // namespace planloc::detail

#endif  // PLANLOC_OPTIMUM_PROOF_VERIFY_PRICES_H_
