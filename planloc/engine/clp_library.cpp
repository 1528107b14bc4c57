#include "planloc/engine/clp_library.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>
#include <map>
#include <memory>
#include <string>

#include "planloc/engine/clp_problem.h"

namespace planloc {
namespace {

constexpr int kNoLimit = std::numeric_limits<int>::max();
constexpr int kLongestRun = 2100000000;

struct IntParam {
  int number;
  int default_value;
  int min_value;
  int max_value;
};

// The integer parameters and what becomes of them:
//   1001  used: 0 solves from scratch, 1 from the last basis
//   1020  used: limit on simplex iterations
//   1030  used: presolve of a program without a basis
//   1006  used: the clock (1 CPU, 2 wall) of the time limit
//   1046, 1047, 1048  read back by IlcCplex; memory here grows by itself
//   1019, 1035  accepted without effect: CLP's output is off in any case, because standard output
//         belongs to the run's own lines
//   1004  accepted without effect: no basis file is ever written
//   1003, 1009, 1017, 1022, 1029  accepted without effect: CLP chooses pricing and aggregation by
//         itself and the result does not depend on them
constexpr IntParam kIntParams[] = {
    {CPX_PARAM_ADVIND, 1, 0, 1},
    {CPX_PARAM_AGGIND, -1, -1, kNoLimit},
    {CPX_PARAM_BASINTERVAL, 50000, 1, kLongestRun},
    {CPX_PARAM_CLOCKTYPE, 1, 1, 2},
    {CPX_PARAM_DPRIIND, 0, 0, 5},
    {CPX_PARAM_FASTMIP, 0, 0, 1},
    {CPX_PARAM_SIMDISPLAY, 1, 0, 2},
    {CPX_PARAM_ITLIM, kLongestRun, 0, kLongestRun},
    {CPX_PARAM_NETFIND, 2, 1, 3},
    {CPX_PARAM_PPRIIND, 0, -1, 4},
    {CPX_PARAM_ROWGROWTH, 100, 1, kNoLimit},
    {CPX_PARAM_COLGROWTH, 100, 1, kNoLimit},
    {CPX_PARAM_NZGROWTH, 500, 1, kNoLimit},
    {CPX_PARAM_PREIND, 1, 0, 1},
    {CPX_PARAM_SCRIND, 0, 0, 1},
};

struct FloatParam {
  int number;
  double default_value;
  double min_value;
  double max_value;
};

// All used: reduced cost tolerance, feasibility tolerance, time limit in seconds.
constexpr FloatParam kFloatParams[] = {
    {CPX_PARAM_EPOPT, 1e-6, 1e-9, 1e-1},
    {CPX_PARAM_EPRHS, 1e-6, 1e-9, 1e-1},
    {CPX_PARAM_TILIM, 1e75, 0.0, 1e75},
};

struct ErrorText {
  int code;
  const char* text;
};

constexpr ErrorText kErrorTexts[] = {
    {CPXERR_NO_MEMORY, "Out of memory."},
    {CPXERR_NO_ENVIRONMENT, "No environment."},
    {CPXERR_BAD_ARGUMENT, "Bad argument to function."},
    {CPXERR_NULL_POINTER, "Null pointer for required data."},
    {CPXERR_NO_PROBLEM, "No problem exists."},
    {CPXERR_BAD_PARAM_NUM, "Invalid parameter number."},
    {CPXERR_PARAM_TOO_SMALL, "Parameter value too small."},
    {CPXERR_PARAM_TOO_BIG, "Parameter value too big."},
    {CPXERR_NOT_FOR_MIP, "Not available for mixed-integer problems."},
    {CPXERR_INDEX_RANGE, "Index is outside range of valid values."},
    {CPXERR_COL_INDEX_RANGE, "Column index is outside range of valid values."},
    {CPXERR_ROW_INDEX_RANGE, "Row index is outside range of valid values."},
    {CPXERR_BAD_SENSE, "Unknown row sense."},
    {CPXERR_NO_SOLN, "No solution exists."},
    {CPXERR_DUP_ENTRY, "Duplicate entry."},
    {CPXERR_BAD_NUMBER, "Number is not finite or too large."},
    {CPXERR_BAD_CTYPE, "Unknown column type."},
};

template <typename Entry, std::size_t n, typename Key>
const Entry* find(const Entry (&table)[n], Key Entry::*key, int number) {
  const auto* const found =
      std::find_if(table, table + n, [&](const Entry& entry) { return entry.*key == number; });
  return found == table + n ? nullptr : found;
}

// Costs at 1e25 fail an assertion inside CLP, which ends the process. Matrix values above 1e20 it
// declines, and NaN it does not notice.
bool is_cost(double value) { return std::fabs(value) < 1e25; }
bool is_matrix_value(double value) { return std::fabs(value) <= 1e20; }
bool is_number(double value) { return !std::isnan(value); }

// An absent array holds.
bool all_of(const double* values, int n, bool (*holds)(double)) {
  return !values || std::all_of(values, values + n, holds);
}

bool in_range(int begin, int end, int size) { return 0 <= begin && begin <= end && end < size; }

}  // namespace

struct cpxenv {
  std::map<int, int> ints;
  std::map<int, double> floats;
  std::string work_directory;
};

struct cpxlp {
  clp_problem problem;
};

namespace {

clp_settings settings_of(const cpxenv& env) {
  const auto value = [&](int number) { return env.ints.at(number); };
  return {.presolve = value(CPX_PARAM_PREIND) != 0,
          .start_from_basis = value(CPX_PARAM_ADVIND) != 0,
          .primal_tolerance = env.floats.at(CPX_PARAM_EPRHS),
          .dual_tolerance = env.floats.at(CPX_PARAM_EPOPT),
          .iteration_limit = value(CPX_PARAM_ITLIM),
          .time_limit = env.floats.at(CPX_PARAM_TILIM),
          .wall_clock = value(CPX_PARAM_CLOCKTYPE) == 2};
}

int missing(CPXENVptr env, CPXLPptr lp) {
  return !env ? CPXERR_NO_ENVIRONMENT : !lp ? CPXERR_NO_PROBLEM : 0;
}

int solve(CPXENVptr env, CPXLPptr lp, clp_method method) {
  if (const int code = missing(env, lp)) return code;
  if (lp->problem.type == CPXPROB_MIP) return CPXERR_NOT_FOR_MIP;
  solve_clp_problem(lp->problem, method, settings_of(*env));
  return 0;
}

// Entries begin ... end of something that the last solve found, one value(i) for each.
template <typename Value>
int read_solution(CPXENVptr env, CPXLPptr lp, double* out, int begin, int end, std::size_t size,
                  Value value) {
  if (const int code = missing(env, lp)) return code;
  if (!lp->problem.has_solution) return CPXERR_NO_SOLN;
  if (!in_range(begin, end, static_cast<int>(size))) return CPXERR_INDEX_RANGE;
  for (int i = begin; i <= end; ++i) out[i - begin] = value(static_cast<std::size_t>(i));
  return 0;
}

template <typename Value>
int read_columns(CPXENVptr env, CPXLPptr lp, double* out, int begin, int end, Value value) {
  if (const int code = missing(env, lp)) return code;
  const std::vector<clp_column>& columns = lp->problem.columns;
  if (!in_range(begin, end, static_cast<int>(columns.size()))) return CPXERR_INDEX_RANGE;
  for (int j = begin; j <= end; ++j) out[j - begin] = value(columns[static_cast<std::size_t>(j)]);
  return 0;
}

// change(bound, value, is_lower) for each entry of the list.
template <typename Change>
int change_bounds(CPXENVptr env, CPXLPptr lp, int cnt, const int* indices, const char* lu,
                  const double* bd, Change change) {
  if (const int code = missing(env, lp)) return code;
  const int n = static_cast<int>(lp->problem.columns.size());
  for (int k = 0; k < cnt; ++k) {
    if (!in_range(indices[k], indices[k], n)) return CPXERR_COL_INDEX_RANGE;
    if (lu[k] != 'L' && lu[k] != 'U' && lu[k] != 'B') return CPXERR_BAD_ARGUMENT;
    if (!is_number(bd[k])) return CPXERR_BAD_NUMBER;
  }
  for (int k = 0; k < cnt; ++k) {
    clp_column& column = lp->problem.columns[static_cast<std::size_t>(indices[k])];
    if (lu[k] != 'U') change(column.lower, bd[k], true);
    if (lu[k] != 'L') change(column.upper, bd[k], false);
  }
  lp->problem.forget_solution();
  return 0;
}

int check_rows(const clp_problem& problem, int rcnt, int nzcnt, const char* sense,
               const int* rmatbeg, const int* rmatind) {
  const int n = static_cast<int>(problem.columns.size());
  std::vector<int> row_of(problem.columns.size(), -1);
  for (int i = 0; i < rcnt; ++i) {
    if (sense[i] != 'L' && sense[i] != 'G' && sense[i] != 'E') return CPXERR_BAD_SENSE;
    const int end = i + 1 < rcnt ? rmatbeg[i + 1] : nzcnt;
    if (rmatbeg[i] < 0 || rmatbeg[i] > end || end > nzcnt) return CPXERR_BAD_ARGUMENT;
    for (int k = rmatbeg[i]; k < end; ++k) {
      if (!in_range(rmatind[k], rmatind[k], n)) return CPXERR_COL_INDEX_RANGE;
      int& row = row_of[static_cast<std::size_t>(rmatind[k])];
      if (row == i) return CPXERR_DUP_ENTRY;
      row = i;
    }
  }
  return 0;
}

}  // namespace

// ----- Environment and problem -----

CPXENVptr ClpLibrary::CPXopenCPLEXdevelop(int* status) {
  auto env = std::make_unique<cpxenv>();
  for (const IntParam& param : kIntParams) env->ints[param.number] = param.default_value;
  for (const FloatParam& param : kFloatParams) env->floats[param.number] = param.default_value;
  *status = 0;
  return env.release();
}

int ClpLibrary::CPXcloseCPLEX(CPXENVptr* env) {
  if (!env || !*env) return CPXERR_NO_ENVIRONMENT;
  delete *env;
  *env = nullptr;
  return 0;
}

CPXLPptr ClpLibrary::CPXcreateprob(CPXENVptr env, int* status, const char*) {
  *status = env ? 0 : CPXERR_NO_ENVIRONMENT;
  return env ? new cpxlp : nullptr;
}

int ClpLibrary::CPXfreeprob(CPXENVptr env, CPXLPptr* lp) {
  if (const int code = missing(env, lp ? *lp : nullptr)) return code;
  delete *lp;
  *lp = nullptr;
  return 0;
}

char* ClpLibrary::CPXgeterrorstring(CPXENVptr, int code, char* buffer) {
  const ErrorText* const entry = find(kErrorTexts, &ErrorText::code, code);
  if (!entry) return nullptr;
  std::snprintf(buffer, 510, "Error %d: %s", code, entry->text);
  return buffer;
}

// ----- Parameters -----

int ClpLibrary::CPXsetintparam(CPXENVptr env, int number, int value) {
  if (!env) return CPXERR_NO_ENVIRONMENT;
  const IntParam* const param = find(kIntParams, &IntParam::number, number);
  if (!param) return CPXERR_BAD_PARAM_NUM;
  if (value < param->min_value) return CPXERR_PARAM_TOO_SMALL;
  if (value > param->max_value) return CPXERR_PARAM_TOO_BIG;
  env->ints[number] = value;
  return 0;
}

int ClpLibrary::CPXgetintparam(CPXENVptr env, int number, int* value) {
  if (!env) return CPXERR_NO_ENVIRONMENT;
  const auto found = env->ints.find(number);
  if (found == env->ints.end()) return CPXERR_BAD_PARAM_NUM;
  *value = found->second;
  return 0;
}

int ClpLibrary::CPXinfointparam(CPXENVptr env, int number, int* default_value, int* min_value,
                                int* max_value) {
  if (!env) return CPXERR_NO_ENVIRONMENT;
  const IntParam* const param = find(kIntParams, &IntParam::number, number);
  if (!param) return CPXERR_BAD_PARAM_NUM;
  if (default_value) *default_value = param->default_value;
  if (min_value) *min_value = param->min_value;
  if (max_value) *max_value = param->max_value;
  return 0;
}

int ClpLibrary::CPXsetdblparam(CPXENVptr env, int number, double value) {
  if (!env) return CPXERR_NO_ENVIRONMENT;
  const FloatParam* const param = find(kFloatParams, &FloatParam::number, number);
  if (!param) return CPXERR_BAD_PARAM_NUM;
  if (value < param->min_value) return CPXERR_PARAM_TOO_SMALL;
  if (value > param->max_value) return CPXERR_PARAM_TOO_BIG;
  env->floats[number] = value;
  return 0;
}

int ClpLibrary::CPXsetstrparam(CPXENVptr env, int number, const char* value) {
  if (!env) return CPXERR_NO_ENVIRONMENT;
  if (number != CPX_PARAM_WORKDIR) return CPXERR_BAD_PARAM_NUM;
  if (!value) return CPXERR_NULL_POINTER;
  env->work_directory = value;  // kept only: no file is ever written
  return 0;
}

// ----- Matrix -----

int ClpLibrary::CPXnewcols(CPXENVptr env, CPXLPptr lp, int ccnt, const double* obj,
                           const double* lb, const double* ub, const char* ctype, char** colname) {
  if (const int code = missing(env, lp)) return code;
  if (ccnt < 0) return CPXERR_BAD_ARGUMENT;
  clp_problem& problem = lp->problem;
  for (int j = 0; ctype && j < ccnt; ++j) {
    if (ctype[j] != 'C' && ctype[j] != 'B' && ctype[j] != 'I') return CPXERR_BAD_CTYPE;
  }
  if (!all_of(obj, ccnt, is_cost) || !all_of(lb, ccnt, is_number) || !all_of(ub, ccnt, is_number)) {
    return CPXERR_BAD_NUMBER;
  }
  for (int j = 0; j < ccnt; ++j) {
    problem.columns.push_back({lb ? lb[j] : 0.0, ub ? ub[j] : CPX_INFBOUND, obj ? obj[j] : 0.0,
                               ctype ? ctype[j] : 'C', colname ? colname[j] : ""});
  }
  if (ctype) problem.type = CPXPROB_MIP;
  problem.column_basis.resize(problem.columns.size(), clp_basis_status::kAtLower);
  problem.forget_solution();
  return 0;
}

int ClpLibrary::CPXaddrows(CPXENVptr env, CPXLPptr lp, int ccnt, int rcnt, int nzcnt,
                           const double* rhs, const char* sense, const int* rmatbeg,
                           const int* rmatind, const double* rmatval, char**, char** rowname) {
  if (const int code = missing(env, lp)) return code;
  if (ccnt != 0 || rcnt < 0) return CPXERR_BAD_ARGUMENT;
  clp_problem& problem = lp->problem;
  if (const int code = check_rows(problem, rcnt, nzcnt, sense, rmatbeg, rmatind)) return code;
  if (!all_of(rhs, rcnt, is_number) || !all_of(rmatval, nzcnt, is_matrix_value)) {
    return CPXERR_BAD_NUMBER;
  }
  problem.rows.reserve(problem.rows.size() + static_cast<std::size_t>(rcnt));
  for (int i = 0; i < rcnt; ++i) {
    const double finite = std::clamp(rhs[i], -CPX_INFBOUND, CPX_INFBOUND);
    problem.rows.push_back({finite, sense[i], rowname ? rowname[i] : ""});
    std::vector<clp_matrix_entry> entries;
    const int end = i + 1 < rcnt ? rmatbeg[i + 1] : nzcnt;
    entries.reserve(static_cast<std::size_t>(end - rmatbeg[i]));
    for (int k = rmatbeg[i]; k < end; ++k) entries.push_back({rmatind[k], rmatval[k]});
    problem.entries.push_back(std::move(entries));
  }
  problem.row_basis.resize(problem.rows.size(), clp_basis_status::kBasic);
  problem.forget_solution();
  return 0;
}

int ClpLibrary::CPXdelrows(CPXENVptr env, CPXLPptr lp, int begin, int end) {
  if (const int code = missing(env, lp)) return code;
  clp_problem& problem = lp->problem;
  if (!in_range(begin, end, static_cast<int>(problem.rows.size()))) return CPXERR_INDEX_RANGE;
  const auto erase = [&](auto& items) {
    items.erase(items.begin() + begin, items.begin() + end + 1);
  };
  erase(problem.rows);
  erase(problem.entries);
  erase(problem.row_basis);
  problem.forget_solution();
  return 0;
}

int ClpLibrary::CPXchgobj(CPXENVptr env, CPXLPptr lp, int cnt, const int* indices,
                          const double* values) {
  if (const int code = missing(env, lp)) return code;
  const int n = static_cast<int>(lp->problem.columns.size());
  for (int k = 0; k < cnt; ++k) {
    if (!in_range(indices[k], indices[k], n)) return CPXERR_COL_INDEX_RANGE;
    if (!is_cost(values[k])) return CPXERR_BAD_NUMBER;
  }
  for (int k = 0; k < cnt; ++k) {
    lp->problem.columns[static_cast<std::size_t>(indices[k])].objective = values[k];
  }
  lp->problem.forget_solution();
  return 0;
}

void ClpLibrary::CPXchgobjsen(CPXENVptr env, CPXLPptr lp, int maxormin) {
  if (missing(env, lp) || lp->problem.sense == maxormin) return;
  lp->problem.sense = maxormin < 0 ? -1 : 1;
  lp->problem.forget_solution();
}

int ClpLibrary::CPXgetobjsen(CPXENVptr env, CPXLPptr lp) {
  return missing(env, lp) ? 0 : lp->problem.sense;
}

int ClpLibrary::CPXchgbds(CPXENVptr env, CPXLPptr lp, int cnt, const int* indices, const char* lu,
                          const double* bd) {
  return change_bounds(env, lp, cnt, indices, lu, bd,
                       [](double& bound, double value, bool) { bound = value; });
}

int ClpLibrary::CPXtightenbds(CPXENVptr env, CPXLPptr lp, int cnt, const int* indices,
                              const char* lu, const double* bd) {
  return change_bounds(env, lp, cnt, indices, lu, bd,
                       [](double& bound, double value, bool is_lower) {
                         bound = is_lower ? std::max(bound, value) : std::min(bound, value);
                       });
}

int ClpLibrary::CPXchgname(CPXENVptr env, CPXLPptr lp, int key, int index, const char* name) {
  if (const int code = missing(env, lp)) return code;
  if (!name) return CPXERR_NULL_POINTER;
  clp_problem& problem = lp->problem;
  if (key == 'r') {
    if (!in_range(index, index, static_cast<int>(problem.rows.size()))) {
      return CPXERR_ROW_INDEX_RANGE;
    }
    problem.rows[static_cast<std::size_t>(index)].name = name;
  } else if (key == 'c') {
    if (!in_range(index, index, static_cast<int>(problem.columns.size()))) {
      return CPXERR_COL_INDEX_RANGE;
    }
    problem.columns[static_cast<std::size_t>(index)].name = name;
  } else {
    return CPXERR_BAD_ARGUMENT;
  }
  return 0;
}

int ClpLibrary::CPXgetlb(CPXENVptr env, CPXLPptr lp, double* lb, int begin, int end) {
  return read_columns(env, lp, lb, begin, end, [](const clp_column& c) { return c.lower; });
}

int ClpLibrary::CPXgetub(CPXENVptr env, CPXLPptr lp, double* ub, int begin, int end) {
  return read_columns(env, lp, ub, begin, end, [](const clp_column& c) { return c.upper; });
}

int ClpLibrary::CPXgetnumrows(CPXENVptr env, CPXLPptr lp) {
  return missing(env, lp) ? 0 : static_cast<int>(lp->problem.rows.size());
}

int ClpLibrary::CPXgetnumcols(CPXENVptr env, CPXLPptr lp) {
  return missing(env, lp) ? 0 : static_cast<int>(lp->problem.columns.size());
}

int ClpLibrary::CPXgetnumnz(CPXENVptr env, CPXLPptr lp) {
  std::size_t count = 0;
  if (missing(env, lp) == 0) {
    for (const auto& row : lp->problem.entries) count += row.size();
  }
  return static_cast<int>(count);
}

int ClpLibrary::CPXgetprobtype(CPXENVptr env, CPXLPptr lp) {
  return missing(env, lp) ? -1 : lp->problem.type;
}

int ClpLibrary::CPXchgprobtype(CPXENVptr env, CPXLPptr lp, int type) {
  if (const int code = missing(env, lp)) return code;
  if (type < CPXPROB_LP || type > CPXPROB_FIXED) return CPXERR_BAD_ARGUMENT;
  lp->problem.type = type;
  return 0;
}

// ----- Solve -----

int ClpLibrary::CPXprimopt(CPXENVptr env, CPXLPptr lp) {
  return solve(env, lp, clp_method::kPrimal);
}

int ClpLibrary::CPXdualopt(CPXENVptr env, CPXLPptr lp) { return solve(env, lp, clp_method::kDual); }

int ClpLibrary::CPXgetstat(CPXENVptr env, CPXLPptr lp) {
  return missing(env, lp) ? 0 : lp->problem.status;
}

int ClpLibrary::CPXgetitcnt(CPXENVptr env, CPXLPptr lp) {
  return missing(env, lp) ? 0 : lp->problem.iterations;
}

// ----- Solution -----

int ClpLibrary::CPXgetobjval(CPXENVptr env, CPXLPptr lp, double* value) {
  return read_solution(env, lp, value, 0, 0, 1,
                       [&](std::size_t) { return lp->problem.objective_value; });
}

int ClpLibrary::CPXgetx(CPXENVptr env, CPXLPptr lp, double* x, int begin, int end) {
  return read_solution(env, lp, x, begin, end, lp ? lp->problem.x.size() : 0,
                       [&](std::size_t j) { return lp->problem.x[j]; });
}

int ClpLibrary::CPXgetpi(CPXENVptr env, CPXLPptr lp, double* pi, int begin, int end) {
  return read_solution(env, lp, pi, begin, end, lp ? lp->problem.dual.size() : 0,
                       [&](std::size_t i) { return lp->problem.dual[i]; });
}

int ClpLibrary::CPXgetdj(CPXENVptr env, CPXLPptr lp, double* dj, int begin, int end) {
  return read_solution(env, lp, dj, begin, end, lp ? lp->problem.reduced_cost.size() : 0,
                       [&](std::size_t j) { return lp->problem.reduced_cost[j]; });
}

int ClpLibrary::CPXgetslack(CPXENVptr env, CPXLPptr lp, double* slack, int begin, int end) {
  return read_solution(
      env, lp, slack, begin, end, lp ? lp->problem.activity.size() : 0,
      [&](std::size_t i) { return lp->problem.rows[i].rhs - lp->problem.activity[i]; });
}

}  // namespace planloc
