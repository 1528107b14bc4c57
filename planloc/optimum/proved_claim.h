// Internal.
#ifndef PLANLOC_OPTIMUM_PROVED_CLAIM_H_
#define PLANLOC_OPTIMUM_PROVED_CLAIM_H_

#include <algorithm>
#include <utility>

#include "planloc/optimum/verify.h"

namespace planloc::detail {

// Lowers a bound that was found in doubles to the one that `verify` proves of the answer.
template <class Problem, class Answer>
void claim_what_is_proved(const Problem& p, Answer& s) {
  const double in_doubles = std::exchange(s.lower_bound, 0);
  const verification v = verify(p, s);
  s.lower_bound = v.accepted ? std::min(in_doubles, v.lower_bound) : in_doubles;
}

}  // namespace planloc::detail

#endif  // PLANLOC_OPTIMUM_PROVED_CLAIM_H_
