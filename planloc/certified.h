// All of certified optima: the best place of a location problem, with a proof.
//
// Include this header, or only what you use:
//   optimum/minimise.h, problem.h, solution.h   the problem, the searches, the answer
//   optimum/tied_facilities.h                   several facilities that exchange goods
//   optimum/verify.h                            the check of an answer
//   optimum/efficient_set.h                     the places that none beats in two criteria: all of
//                                               them, of sums under polyhedral gauges
//   optimum/efficient_polyline.h                the same to a tolerance, of any convex criteria
//   optimum/location_allocation.h               several facilities, each site served by its nearest
//   optimum/region.h                            allowed and forbidden places
//   facilities/certified_problem.h              problems from `facilities`, and answers back
//
// Not among planloc.h: names such as `problem`, `solution`, `site` and `gauge` are likely to stand
// in a user's program as well.
#ifndef PLANLOC_CERTIFIED_H_
#define PLANLOC_CERTIFIED_H_

#include "planloc/facilities/certified_problem.h"
#include "planloc/optimum/efficient_polyline.h"
#include "planloc/optimum/efficient_set.h"
#include "planloc/optimum/location_allocation.h"
#include "planloc/optimum/minimise.h"
#include "planloc/optimum/problem.h"
#include "planloc/optimum/region.h"
#include "planloc/optimum/solution.h"
#include "planloc/optimum/tied_facilities.h"
#include "planloc/optimum/verify.h"

#endif  // PLANLOC_CERTIFIED_H_
