// Tied facilities whose distances are sums of one-sided distances in two directions: l1 in x and y,
// l-infinity in x + y and x - y. Internal.
#ifndef PLANLOC_OPTIMUM_TIED_SEPARABLE_H_
#define PLANLOC_OPTIMUM_TIED_SEPARABLE_H_

#include <optional>

#include "planloc/optimum/tied/tied_part.h"

namespace planloc::detail {

enum class frame : std::uint8_t { axes, diagonals };

// The frame in which all gauges that count are separable, with coefficients that are powers of 2.
std::optional<frame> separable_frame(const tied_problem& p);

// An exact optimum of one part, with its slopes: written to `s`, whose certificate has its sizes.
// Returns the value. Per coordinate, facilities lie at coordinates of sites; which of them lie
// above a value is a minimum cut of a network of the facilities (Picard and Ratliff 1978), so the
// range of values is halved again and again; the flow that holds facilities at one value together
// gives the slopes.
double solve_separable(const tied_problem& p, frame f, const tied_part& part, tied_solution& s);

}  // namespace planloc::detail

#endif  // PLANLOC_OPTIMUM_TIED_SEPARABLE_H_
