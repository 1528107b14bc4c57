// How f behaves far from the sites. The recession function of f is the ordered median of the
// weighted gauges themselves: the same problem with all sites at the origin. f is bounded below if
// and only if it is nowhere negative. Internal.
#ifndef PLANLOC_OPTIMUM_RECESSION_H_
#define PLANLOC_OPTIMUM_RECESSION_H_

#include <array>
#include <vector>

#include "planloc/optimum/evaluate.h"
#include "planloc/optimum/solution.h"
#include "planloc/optimum/triangle_cell.h"

namespace planloc::detail {

enum class growth {
  falls,      // without end along `direction`
  grows,      // so that nothing outside of the square is better than the base
  repeats,    // outside of the square no value is new
  undecided,  // it is 0, or nearly so, in some direction
};

struct recession {
  growth kind = growth::undecided;
  xy direction{0, 0};
  double half = 0;  // of the side of the square around the table's base
  std::vector<branch_certificate::reason> outside;
};

recession test_recession(const problem& p, const distance_table& table);

// Whether no sum of the last k order weights is negative, decided exactly: then f >= 0.
bool never_negative(const problem& p);

// All sites at the origin.
problem recession_problem(const problem& p);

// The sides of the square of half side 1 around the origin: right, top, left, bottom.
std::array<triangle, 4> unit_sides();

}  // namespace planloc::detail

#endif  // PLANLOC_OPTIMUM_RECESSION_H_
