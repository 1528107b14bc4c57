// What ClpLibrary keeps behind the pointers that it hands out, and the tests of its arguments.
#ifndef PLANLOC_ENGINE_CLP_ENVIRONMENT_H_
#define PLANLOC_ENGINE_CLP_ENVIRONMENT_H_

#include <cmath>

#include "planloc/engine/clp_parameters.h"
#include "planloc/engine/clp_problem.h"
#include "planloc/engine/cplex_library.h"

namespace planloc {

struct clp_callback {
  CPXcallbackfunc function = nullptr;
  void* handle = nullptr;
};

struct cpxenv {
  clp_parameters parameters;
  clp_callback lp_callback;
  clp_callback mip_callback;
};

struct cpxlp {
  clp_problem problem;
};

namespace detail {

inline int missing(CPXENVptr env, CPXLPptr lp) {
  return !env ? CPXERR_NO_ENVIRONMENT : !lp ? CPXERR_NO_PROBLEM : 0;
}

inline bool in_range(int begin, int end, int size) {
  return 0 <= begin && begin <= end && end < size;
}

inline int column_count(const clp_problem& problem) {
  return static_cast<int>(problem.columns.size());
}

inline int row_count(const clp_problem& problem) { return static_cast<int>(problem.rows.size()); }

// Costs at 1e25 fail an assertion inside CLP, which ends the process. Matrix values above 1e20 it
// declines, and NaN it does not notice.
inline bool is_cost(double value) { return std::fabs(value) < 1e25; }
inline bool is_matrix_value(double value) { return std::fabs(value) <= 1e20; }
inline bool is_number(double value) { return !std::isnan(value); }

}  // namespace detail
}  // namespace planloc

#endif  // PLANLOC_ENGINE_CLP_ENVIRONMENT_H_
