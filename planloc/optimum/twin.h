// Two doubles that one instruction works on, for loops in which compilers do not find them.
// Internal.
#ifndef PLANLOC_OPTIMUM_TWIN_H_
#define PLANLOC_OPTIMUM_TWIN_H_

#include <cmath>

namespace planloc::detail {

// Each half has what the same operations on doubles give.
using twin = double __attribute__((vector_size(16)));

inline twin root(const twin& t) { return twin{std::sqrt(t[0]), std::sqrt(t[1])}; }
inline double total(const twin& t) { return t[0] + t[1]; }

}  // namespace planloc::detail

#endif  // PLANLOC_OPTIMUM_TWIN_H_
