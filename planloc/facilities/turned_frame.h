// A rectilinear problem solved as a maximum-norm one, or the other way round: in the plane the two
// norms differ by a turn of 45 degrees (`location::to_turned_frame`).
//
//   // The maximum-norm sum, by the solver of the rectilinear one.
//   solve_maximum_as_rectilinear(F, [&](facilities& turned) { turned.l1_sum(k, false); });
//
// Both work on a copy of F, turn the copy's facilities, hand the copy to `solve`, and give its
// `opt` to F, turned back. The copy starts with the `opt` of F as it stands: results that `solve`
// leaves in it, older ones too, come back turned. They return what `solve` returns.
#ifndef PLANLOC_FACILITIES_TURNED_FRAME_H_
#define PLANLOC_FACILITIES_TURNED_FRAME_H_

#include <type_traits>
#include <utility>

#include "planloc/facilities/facilities.h"

namespace planloc {

namespace detail {

using turn = void (*)(list<location>&);

template <class Solve>
auto solve_turned(facilities& F, turn there, turn back, Solve&& solve) {
  facilities turned = F;
  there(turned);
  const auto take_results = [&] {
    F.opt = std::move(turned.opt);
    back(F.opt);
  };
  if constexpr (std::is_void_v<decltype(solve(turned))>) {
    solve(turned);
    take_results();
  } else {
    auto result = solve(turned);
    take_results();
    return result;
  }
}

}  // namespace detail

template <class Solve>
auto solve_maximum_as_rectilinear(facilities& F, Solve&& solve) {
  return detail::solve_turned(F, to_turned_frame, from_turned_frame, std::forward<Solve>(solve));
}

template <class Solve>
auto solve_rectilinear_as_maximum(facilities& F, Solve&& solve) {
  return detail::solve_turned(F, from_turned_frame, to_turned_frame, std::forward<Solve>(solve));
}

}  // namespace planloc

#endif  // PLANLOC_FACILITIES_TURNED_FRAME_H_
