// The Euclidean centre from the few sites that matter: the place is fixed by two or three of them.
// Internal.
#ifndef PLANLOC_OPTIMUM_CONVEX_EUCLIDEAN_CENTRE_H_
#define PLANLOC_OPTIMUM_CONVEX_EUCLIDEAN_CENTRE_H_

#include <optional>

#include "planloc/optimum/minimise.h"

namespace planloc::detail {

// The solution of a problem with the order weights 0 ... 0 w, Euclidean gauges only and any
// weights. The centre of a growing set of sites, the farthest site joining it (Gärtner 1999), the
// set started from a sample and the sites that are nearly as far. Empty if it is no such problem,
// or if doubles do not close the gap this way: a heavy site at the centre, all sites at one place.
std::optional<solution> euclidean_centre(const problem& p, const minimise_options& options);

}  // namespace planloc::detail

#endif  // PLANLOC_OPTIMUM_CONVEX_EUCLIDEAN_CENTRE_H_
