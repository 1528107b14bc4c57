// Two facilities in rectangles on which nearly all sites have one that is nearest. Internal to
// `verify`.
#ifndef PLANLOC_OPTIMUM_PROOF_PAIR_CHOICES_H_
#define PLANLOC_OPTIMUM_PROOF_PAIR_CHOICES_H_

#include <array>
#include <cstdint>
#include <span>
#include <vector>

#include "planloc/optimum/proof/corner_tangents.h"

namespace planloc::detail {

// A facility's rectangle, and a place where tangents are taken besides the middle and the corners.
struct facility_range {
  rectangle where;
  xy place;
};

// A bound, rounded down, of the sum of the distances from the nearest facility. Whoever serves a
// site, the sums of each facility are convex, so mixtures of tangents bound them; the least over
// all choices of a facility for the sites of which it is not sure. Refuses where these are too
// many. `existing` holds the distances from the nearest existing facility by site; infinite where
// there is none.
double least_choice(const corner_tangents& tangents, const std::array<facility_range, 2>& ranges,
                    std::span<const interval> existing);

}  // namespace planloc::detail

#endif  // PLANLOC_OPTIMUM_PROOF_PAIR_CHOICES_H_
