// The check of pairs of rectangles that prove a lower bound for two facilities. Internal to
// `verify`.
#ifndef PLANLOC_OPTIMUM_PROOF_VERIFY_PAIRS_H_
#define PLANLOC_OPTIMUM_PROOF_VERIFY_PAIRS_H_

#include "planloc/optimum/location_allocation.h"

namespace planloc::detail {

// Refuses pairs that do not prove that no places have a value below `claimed`.
//
// For any set of sites, a place where all distances are greater than at the base is not where their
// sum is least; so each of the two facilities is best somewhere in the union of the balls around
// the sites with the base on their borders, which the whole rectangle must hold. On a pair that is
// not divided each distance is replaced by a linear function below it; the sum over the sites of
// the least of these and of the distance from the nearest existing facility is concave in both
// places, so it is least at corners.
void prove_pairs(const allocation_problem& p, const allocation_pairs& pairs, double claimed);

}  // namespace planloc::detail

#endif  // PLANLOC_OPTIMUM_PROOF_VERIFY_PAIRS_H_
