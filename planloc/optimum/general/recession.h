// How f behaves far from the sites. The recession function of f is the ordered median of the
// weighted gauges themselves: the same problem with all sites at the origin. f is bounded below if
// and only if it is nowhere negative. Internal.
#ifndef PLANLOC_OPTIMUM_GENERAL_RECESSION_H_
#define PLANLOC_OPTIMUM_GENERAL_RECESSION_H_

#include <array>
#include <limits>
#include <vector>

#include "planloc/optimum/evaluate.h"
#include "planloc/optimum/general/triangle_cell.h"
#include "planloc/optimum/solution.h"

namespace planloc::detail {

enum class growth {
  falls,      // without end along `direction`
  grows,      // so that nothing outside of the square is better than the base
  repeats,    // outside of the square no value is new
  levels,     // nowhere falling; all crossings of break lines are in the square
  undecided,  // none of these is known: too many lines, or gauges that are not polyhedral
};

struct recession {
  growth kind = growth::undecided;
  xy direction{0, 0};
  double half = 0;  // of the side of the least square around the table's base
  std::vector<branch_certificate::reason> outside;
};

// Of a square outside of which f grows, it is above `level` there, too.
recession test_recession(const problem& p, const distance_table& table,
                         double level = -std::numeric_limits<double>::infinity());

// Whether no sum of the last k order weights is negative, decided exactly: then f >= 0.
bool never_negative(const problem& p);

// By all lines on which f can break, for problems with few of them. Polyhedral f that falls nowhere
// far from the sites is linear on the cells between these lines, each of which has a corner, so
// that its least value is at a crossing. The recession function in turn is linear between the
// directions of the lines.
recession test_all_lines(const problem& p, const distance_table& table);

// Whether the recession function, `origin` with its table, is surely negative in a direction.
bool surely_falls(const problem& origin, const distance_table& table, const xy& u);

// All sites at the origin.
problem recession_problem(const problem& p);

// The sides of the square of half side 1 around the origin: right, top, left, bottom.
std::array<triangle, 4> unit_sides();

}  // namespace planloc::detail

#endif  // PLANLOC_OPTIMUM_GENERAL_RECESSION_H_
