// ClpLibrary: columns and rows, integrality.
#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <set>
#include <utility>

#include "planloc/engine/clp_environment.h"
#include "planloc/engine/clp_library.h"

namespace planloc {

using namespace detail;

namespace {

constexpr double kUnknown = std::numeric_limits<double>::quiet_NaN();

// An absent array holds. Without an early end, so that the loop takes several at once.
template <typename Holds>
bool all_of(const double* values, int n, Holds holds) {
  bool all = true;
  for (int k = 0; values && k < n; ++k) all &= holds(values[k]);
  return all;
}

int check_indices(int cnt, const int* indices, int size, int code) {
  if (cnt < 0) return CPXERR_BAD_ARGUMENT;
  if (cnt > 0 && !indices) return CPXERR_NULL_POINTER;
  const bool inside =
      std::all_of(indices, indices + cnt, [&](int index) { return in_range(index, index, size); });
  return inside ? 0 : code;
}

template <typename Value>
int read_columns(CPXENVptr env, CPXLPptr lp, double* out, int begin, int end, Value value) {
  if (const int code = missing(env, lp)) return code;
  if (!in_range(begin, end, column_count(lp->problem))) return CPXERR_INDEX_RANGE;
  if (!out) return CPXERR_NULL_POINTER;
  for (int j = begin; j <= end; ++j) {
    out[j - begin] = value(lp->problem.columns[static_cast<std::size_t>(j)]);
  }
  return 0;
}

// change(bound, value, is_lower) for each entry of the list.
template <typename Change>
int change_bounds(CPXENVptr env, CPXLPptr lp, int cnt, const int* indices, const char* lu,
                  const double* bd, Change change) {
  if (const int code = missing(env, lp)) return code;
  if (const int code =
          check_indices(cnt, indices, column_count(lp->problem), CPXERR_COL_INDEX_RANGE)) {
    return code;
  }
  if (cnt > 0 && (!lu || !bd)) return CPXERR_NULL_POINTER;
  for (int k = 0; k < cnt; ++k) {
    if (lu[k] != 'L' && lu[k] != 'U' && lu[k] != 'B') return CPXERR_BAD_ARGUMENT;
    if (!is_number(bd[k])) return CPXERR_BAD_NUMBER;
  }
  for (int k = 0; k < cnt; ++k) {
    clp_column& column = lp->problem.columns[static_cast<std::size_t>(indices[k])];
    if (lu[k] != 'U') change(column.lower, bd[k], true);
    if (lu[k] != 'L') change(column.upper, bd[k], false);
  }
  lp->problem.forget_solutions();
  return 0;
}

int check_rows(const clp_problem& problem, int rcnt, int nzcnt, const double* rhs,
               const char* sense, const int* rmatbeg, const int* rmatind, const double* rmatval) {
  if (rcnt > 0 && (!rhs || !sense || !rmatbeg)) return CPXERR_NULL_POINTER;
  if (nzcnt > 0 && (!rmatind || !rmatval)) return CPXERR_NULL_POINTER;
  const int n = column_count(problem);
  std::vector<int> last_row(problem.columns.size(), -1);
  for (int i = 0; i < rcnt; ++i) {
    if (sense[i] != 'L' && sense[i] != 'G' && sense[i] != 'E') return CPXERR_BAD_SENSE;
    const int end = i + 1 < rcnt ? rmatbeg[i + 1] : nzcnt;
    if (rmatbeg[i] < 0 || rmatbeg[i] > end || end > nzcnt) return CPXERR_BAD_ARGUMENT;
    for (int k = rmatbeg[i]; k < end; ++k) {
      if (!in_range(rmatind[k], rmatind[k], n)) return CPXERR_COL_INDEX_RANGE;
      if (std::exchange(last_row[static_cast<std::size_t>(rmatind[k])], i) == i) {
        return CPXERR_DUP_ENTRY;
      }
    }
  }
  if (!all_of(rhs, rcnt, is_number) || !all_of(rmatval, nzcnt, is_matrix_value)) {
    return CPXERR_BAD_NUMBER;
  }
  return 0;
}

bool is_type(char type) { return type == 'C' || type == 'B' || type == 'I'; }

// Names of `count` new columns or rows. The array stays empty as long as there is none.
void append_names(std::vector<std::string>& names, std::size_t before, int count, char** given) {
  if (names.empty() && !given) return;
  names.resize(before);
  for (int k = 0; k < count; ++k) names.emplace_back(given && given[k] ? given[k] : "");
}

template <typename Items>
void erase_closed(Items& items, int begin, int end) {
  if (!items.empty()) items.erase(items.begin() + begin, items.begin() + end + 1);
}

// The column after begin ... end are gone, -1 for one of them.
int moved(int column, int begin, int end) {
  return column < begin ? column : column > end ? column - (end - begin + 1) : -1;
}

void erase_from_sets(clp_problem& problem, int begin, int end) {
  for (clp_sos& set : problem.sets) {
    std::size_t kept = 0;
    for (std::size_t k = 0; k < set.columns.size(); ++k) {
      const int column = moved(set.columns[k], begin, end);
      if (column < 0) continue;
      set.columns[kept] = column;
      set.weights[kept++] = set.weights[k];
    }
    set.columns.resize(kept);
    set.weights.resize(kept);
  }
  std::erase_if(problem.sets, [](const clp_sos& set) { return set.columns.empty(); });
  for (clp_order_entry& entry : problem.order) entry.column = moved(entry.column, begin, end);
  std::erase_if(problem.order, [](const clp_order_entry& entry) { return entry.column < 0; });
}

void make_mixed_integer(clp_problem& problem) {
  problem.type = CPXPROB_MIP;
  problem.fixed.clear();
}

// The integer columns, and the members of sets that are zero.
void fix_at_mip_solution(clp_problem& problem) {
  problem.fixed.assign(problem.columns.size(), kUnknown);
  for (std::size_t j = 0; j < problem.columns.size(); ++j) {
    if (problem.columns[j].type != 'C') problem.fixed[j] = problem.mip_x[j];
  }
  for (const clp_sos& set : problem.sets) {
    for (const int column : set.columns) {
      const auto j = static_cast<std::size_t>(column);
      if (problem.mip_x[j] == 0.0) problem.fixed[j] = 0.0;
    }
  }
}

clp_sos sorted_set(char type, int priority, int n, const int* columns, const double* weights) {
  std::vector<int> order(static_cast<std::size_t>(n));
  std::iota(order.begin(), order.end(), 0);
  std::sort(order.begin(), order.end(), [&](int a, int b) { return weights[a] < weights[b]; });
  clp_sos set{type, priority, {}, {}};
  for (const int k : order) {
    set.columns.push_back(columns[k]);
    set.weights.push_back(weights[k]);
  }
  return set;
}

int check_set(const clp_problem& problem, char type, int n, const int* columns,
              const double* weights) {
  if (type != '1' && type != '2') return CPXERR_BAD_SOS_TYPE;
  if (const int code = check_indices(n, columns, column_count(problem), CPXERR_COL_INDEX_RANGE)) {
    return code;
  }
  if (!all_of(weights, n, is_number)) return CPXERR_BAD_NUMBER;
  const auto count = static_cast<std::size_t>(n);
  if (std::set<int>(columns, columns + n).size() < count) return CPXERR_DUP_ENTRY;
  return std::set<double>(weights, weights + n).size() < count ? CPXERR_SOS_BAD_WEIGHT : 0;
}

}  // namespace

// ----- Matrix -----

int ClpLibrary::CPXnewcols(CPXENVptr env, CPXLPptr lp, int ccnt, const double* obj,
                           const double* lb, const double* ub, const char* ctype, char** colname) {
  if (const int code = missing(env, lp)) return code;
  if (ccnt < 0) return CPXERR_BAD_ARGUMENT;
  clp_problem& problem = lp->problem;
  if (ctype && !std::all_of(ctype, ctype + ccnt, is_type)) return CPXERR_BAD_CTYPE;
  if (!all_of(obj, ccnt, is_cost) || !all_of(lb, ccnt, is_number) || !all_of(ub, ccnt, is_number)) {
    return CPXERR_BAD_NUMBER;
  }
  append_names(problem.column_names, problem.columns.size(), ccnt, colname);
  for (int j = 0; j < ccnt; ++j) {
    problem.columns.push_back(
        {lb ? lb[j] : 0.0, ub ? ub[j] : CPX_INFBOUND, obj ? obj[j] : 0.0, ctype ? ctype[j] : 'C'});
  }
  if (ctype) make_mixed_integer(problem);
  problem.column_basis.resize(problem.columns.size(), clp_basis_status::kAtLower);
  if (!problem.start.empty()) problem.start.resize(problem.columns.size(), kUnknown);
  if (!problem.fixed.empty()) problem.fixed.resize(problem.columns.size(), kUnknown);
  problem.forget_solutions();
  return 0;
}

int ClpLibrary::CPXaddrows(CPXENVptr env, CPXLPptr lp, int ccnt, int rcnt, int nzcnt,
                           const double* rhs, const char* sense, const int* rmatbeg,
                           const int* rmatind, const double* rmatval, char**, char** rowname) {
  if (const int code = missing(env, lp)) return code;
  if (ccnt != 0 || rcnt < 0 || nzcnt < 0) return CPXERR_BAD_ARGUMENT;
  clp_problem& problem = lp->problem;
  if (const int code = check_rows(problem, rcnt, nzcnt, rhs, sense, rmatbeg, rmatind, rmatval)) {
    return code;
  }
  append_names(problem.row_names, problem.rows.size(), rcnt, rowname);
  const std::size_t before = problem.rows.size();
  problem.rows.resize(before + static_cast<std::size_t>(rcnt));
  std::transform(rhs, rhs + rcnt, sense, problem.rows.data() + before, [](double value, char s) {
    return clp_row{std::clamp(value, -CPX_INFBOUND, CPX_INFBOUND), s};
  });
  problem.matrix.append(rcnt, nzcnt, rmatbeg, rmatind, rmatval);
  problem.row_basis.resize(problem.rows.size(), clp_basis_status::kBasic);
  problem.forget_solutions();
  return 0;
}

int ClpLibrary::CPXdelrows(CPXENVptr env, CPXLPptr lp, int begin, int end) {
  if (const int code = missing(env, lp)) return code;
  clp_problem& problem = lp->problem;
  if (!in_range(begin, end, static_cast<int>(problem.rows.size()))) return CPXERR_INDEX_RANGE;
  erase_closed(problem.rows, begin, end);
  erase_closed(problem.row_names, begin, end);
  erase_closed(problem.row_basis, begin, end);
  problem.matrix.erase_rows(begin, end);
  problem.forget_solutions();
  return 0;
}

int ClpLibrary::CPXdelcols(CPXENVptr env, CPXLPptr lp, int begin, int end) {
  if (const int code = missing(env, lp)) return code;
  clp_problem& problem = lp->problem;
  if (!in_range(begin, end, column_count(problem))) return CPXERR_INDEX_RANGE;
  erase_closed(problem.columns, begin, end);
  erase_closed(problem.column_names, begin, end);
  erase_closed(problem.column_basis, begin, end);
  erase_closed(problem.start, begin, end);
  erase_closed(problem.fixed, begin, end);
  erase_from_sets(problem, begin, end);
  problem.matrix.erase_columns(begin, end);
  problem.forget_solutions();
  return 0;
}

int ClpLibrary::CPXchgobj(CPXENVptr env, CPXLPptr lp, int cnt, const int* indices,
                          const double* values) {
  if (const int code = missing(env, lp)) return code;
  if (const int code =
          check_indices(cnt, indices, column_count(lp->problem), CPXERR_COL_INDEX_RANGE)) {
    return code;
  }
  if (cnt > 0 && !values) return CPXERR_NULL_POINTER;
  if (!all_of(values, cnt, is_cost)) return CPXERR_BAD_NUMBER;
  for (int k = 0; k < cnt; ++k) {
    lp->problem.columns[static_cast<std::size_t>(indices[k])].objective = values[k];
  }
  lp->problem.forget_solutions();
  return 0;
}

int ClpLibrary::CPXchgrhs(CPXENVptr env, CPXLPptr lp, int cnt, const int* indices,
                          const double* values) {
  if (const int code = missing(env, lp)) return code;
  if (const int code =
          check_indices(cnt, indices, row_count(lp->problem), CPXERR_ROW_INDEX_RANGE)) {
    return code;
  }
  if (cnt > 0 && !values) return CPXERR_NULL_POINTER;
  if (!all_of(values, cnt, is_number)) return CPXERR_BAD_NUMBER;
  for (int k = 0; k < cnt; ++k) {
    lp->problem.rows[static_cast<std::size_t>(indices[k])].rhs =
        std::clamp(values[k], -CPX_INFBOUND, CPX_INFBOUND);
  }
  lp->problem.forget_solutions();
  return 0;
}

void ClpLibrary::CPXchgobjsen(CPXENVptr env, CPXLPptr lp, int maxormin) {
  if (missing(env, lp) || lp->problem.sense == maxormin) return;
  lp->problem.sense = maxormin < 0 ? -1 : 1;
  lp->problem.forget_solutions();
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
  if (key != 'r' && key != 'c') return CPXERR_BAD_ARGUMENT;
  const int size = key == 'r' ? row_count(problem) : column_count(problem);
  if (!in_range(index, index, size)) {
    return key == 'r' ? CPXERR_ROW_INDEX_RANGE : CPXERR_COL_INDEX_RANGE;
  }
  std::vector<std::string>& names = key == 'r' ? problem.row_names : problem.column_names;
  names.resize(static_cast<std::size_t>(size));
  names[static_cast<std::size_t>(index)] = name;
  return 0;
}

int ClpLibrary::CPXgetlb(CPXENVptr env, CPXLPptr lp, double* lb, int begin, int end) {
  return read_columns(env, lp, lb, begin, end, [](const clp_column& c) { return c.lower; });
}

int ClpLibrary::CPXgetub(CPXENVptr env, CPXLPptr lp, double* ub, int begin, int end) {
  return read_columns(env, lp, ub, begin, end, [](const clp_column& c) { return c.upper; });
}

int ClpLibrary::CPXgetnumrows(CPXENVptr env, CPXLPptr lp) {
  return missing(env, lp) ? 0 : row_count(lp->problem);
}

int ClpLibrary::CPXgetnumcols(CPXENVptr env, CPXLPptr lp) {
  return missing(env, lp) ? 0 : column_count(lp->problem);
}

int ClpLibrary::CPXgetnumnz(CPXENVptr env, CPXLPptr lp) {
  return missing(env, lp) ? 0 : static_cast<int>(lp->problem.matrix.size());
}

// ----- Integrality -----

int ClpLibrary::CPXgetprobtype(CPXENVptr env, CPXLPptr lp) {
  return missing(env, lp) ? -1 : lp->problem.type;
}

int ClpLibrary::CPXchgprobtype(CPXENVptr env, CPXLPptr lp, int type) {
  if (const int code = missing(env, lp)) return code;
  clp_problem& problem = lp->problem;
  if (type < CPXPROB_LP || type > CPXPROB_FIXED) return CPXERR_BAD_ARGUMENT;
  if (type == problem.type) return 0;
  if (problem.type == CPXPROB_LP && type != CPXPROB_MIP) return CPXERR_NOT_MIP;
  if (type == CPXPROB_FIXED && !problem.has_mip_solution) return CPXERR_NO_INT_SOLN;
  if (type == CPXPROB_FIXED || problem.type == CPXPROB_FIXED) problem.forget_linear_solution();
  problem.fixed.clear();
  if (type == CPXPROB_FIXED) fix_at_mip_solution(problem);
  if (type == CPXPROB_LP) {
    for (clp_column& column : problem.columns) column.type = 'C';
    problem.sets.clear();
    problem.order.clear();
    problem.start.clear();
    problem.has_mip_solution = problem.has_mip_bound = false;
  }
  problem.type = type;
  return 0;
}

int ClpLibrary::CPXcopyctype(CPXENVptr env, CPXLPptr lp, const char* ctype) {
  if (const int code = missing(env, lp)) return code;
  clp_problem& problem = lp->problem;
  if (!ctype) return CPXERR_NULL_POINTER;
  if (!std::all_of(ctype, ctype + column_count(problem), is_type)) return CPXERR_BAD_CTYPE;
  for (std::size_t j = 0; j < problem.columns.size(); ++j) problem.columns[j].type = ctype[j];
  make_mixed_integer(problem);
  problem.forget_solutions();
  return 0;
}

int ClpLibrary::CPXcopysos(CPXENVptr env, CPXLPptr lp, int numsos, int numsosnz,
                           const char* sostype, const int* sospri, const int* sosbeg,
                           const int* sosind, const double* sosref) {
  if (const int code = missing(env, lp)) return code;
  if (numsos < 0 || numsosnz < 0) return CPXERR_BAD_ARGUMENT;
  if (numsos > 0 && (!sostype || !sosbeg)) return CPXERR_NULL_POINTER;
  if (numsosnz > 0 && (!sosind || !sosref)) return CPXERR_NULL_POINTER;
  clp_problem& problem = lp->problem;
  std::vector<clp_sos> sets;
  for (int k = 0; k < numsos; ++k) {
    const int begin = sosbeg[k];
    const int end = k + 1 < numsos ? sosbeg[k + 1] : numsosnz;
    if (begin < 0 || begin >= end || end > numsosnz) return CPXERR_BAD_ARGUMENT;
    const int n = end - begin;
    if (const int code = check_set(problem, sostype[k], n, sosind + begin, sosref + begin)) {
      return code;
    }
    sets.push_back(
        sorted_set(sostype[k], sospri ? sospri[k] : 0, n, sosind + begin, sosref + begin));
  }
  problem.sets = std::move(sets);
  if (numsos > 0) make_mixed_integer(problem);
  problem.forget_solutions();
  return 0;
}

int ClpLibrary::CPXgetnumsos(CPXENVptr env, CPXLPptr lp) {
  return missing(env, lp) ? 0 : static_cast<int>(lp->problem.sets.size());
}

int ClpLibrary::CPXgetsos(CPXENVptr env, CPXLPptr lp, int* numsosnz, char* sostype, int* sospri,
                          int* sosbeg, int* sosind, double* sosref, int sosspace, int* surplus,
                          int begin, int end) {
  if (const int code = missing(env, lp)) return code;
  const std::vector<clp_sos>& sets = lp->problem.sets;
  if (!in_range(begin, end, static_cast<int>(sets.size()))) return CPXERR_INDEX_RANGE;
  if (!numsosnz || !surplus) return CPXERR_NULL_POINTER;
  *numsosnz = 0;
  for (int k = begin; k <= end; ++k) {
    *numsosnz += static_cast<int>(sets[static_cast<std::size_t>(k)].columns.size());
  }
  *surplus = sosspace - *numsosnz;
  if (*surplus < 0) return CPXERR_NEGATIVE_SURPLUS;
  if (!sosbeg || !sosind || !sosref) return CPXERR_NULL_POINTER;
  int place = 0;
  for (int k = begin; k <= end; ++k) {
    const clp_sos& set = sets[static_cast<std::size_t>(k)];
    if (sostype) sostype[k - begin] = set.type;
    if (sospri) sospri[k - begin] = set.priority;
    sosbeg[k - begin] = place;
    std::copy(set.columns.begin(), set.columns.end(), sosind + place);
    std::copy(set.weights.begin(), set.weights.end(), sosref + place);
    place += static_cast<int>(set.columns.size());
  }
  return 0;
}

int ClpLibrary::CPXcopyorder(CPXENVptr env, CPXLPptr lp, int cnt, const int* indices,
                             const int* priority, const int* direction) {
  if (const int code = missing(env, lp)) return code;
  clp_problem& problem = lp->problem;
  if (problem.type == CPXPROB_LP) return CPXERR_NOT_MIP;
  if (const int code = check_indices(cnt, indices, column_count(problem), CPXERR_COL_INDEX_RANGE)) {
    return code;
  }
  if (cnt > 0 && !priority) return CPXERR_NULL_POINTER;
  for (int k = 0; k < cnt; ++k) {
    if (priority[k] < 0) return CPXERR_BAD_PRIORITY;
    if (direction && std::abs(direction[k]) > 1) return CPXERR_BAD_ARGUMENT;
  }
  problem.order.clear();
  for (int k = 0; k < cnt; ++k) {
    problem.order.push_back({indices[k], priority[k], direction ? direction[k] : 0});
  }
  return 0;
}

int ClpLibrary::CPXcopystart(CPXENVptr env, CPXLPptr lp, const int* cstat, const int* rstat,
                             const double* cprim, const double*, const double*, const double*) {
  if (const int code = missing(env, lp)) return code;
  clp_problem& problem = lp->problem;
  const int n = column_count(problem);
  const auto is_finite = [](double value) { return !std::isinf(value); };
  if (!all_of(cprim, n, is_finite)) return CPXERR_BAD_NUMBER;
  if (cstat || rstat) {
    if (const int code = CPXcopybase(env, lp, cstat, rstat)) return code;
  }
  if (cprim) problem.start.assign(cprim, cprim + n);
  return 0;
}

}  // namespace planloc
