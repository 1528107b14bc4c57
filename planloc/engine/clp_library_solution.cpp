// ClpLibrary: solutions, bases, files.
#include <strings.h>

#include <algorithm>
#include <string>

#include "planloc/engine/clp_environment.h"
#include "planloc/engine/clp_files.h"
#include "planloc/engine/clp_library.h"

namespace planloc {

using namespace detail;

namespace {

// Entries begin ... end of something that the last linear solve found, one value(i) for each.
template <typename Value>
int read_entries(double* out, int begin, int end, std::size_t size, Value value) {
  if (!in_range(begin, end, static_cast<int>(size))) return CPXERR_INDEX_RANGE;
  if (!out) return CPXERR_NULL_POINTER;
  for (int i = begin; i <= end; ++i) out[i - begin] = value(static_cast<std::size_t>(i));
  return 0;
}

int no_linear_solution(CPXENVptr env, CPXLPptr lp) {
  if (const int code = missing(env, lp)) return code;
  const clp_problem& problem = lp->problem;
  if (problem.has_solution) return 0;
  return problem.type == CPXPROB_MIP && problem.has_mip_solution ? CPXERR_NOT_FOR_MIP
                                                                 : CPXERR_NO_SOLN;
}

int no_mip_solution(CPXENVptr env, CPXLPptr lp) {
  if (const int code = missing(env, lp)) return code;
  return lp->problem.has_mip_solution ? 0 : CPXERR_NO_INT_SOLN;
}

template <typename Value>
int read_solution(CPXENVptr env, CPXLPptr lp, double* out, int begin, int end,
                  std::vector<double> clp_problem::*entries, Value value) {
  if (const int code = no_linear_solution(env, lp)) return code;
  return read_entries(out, begin, end, (lp->problem.*entries).size(), value);
}

int read_plain(CPXENVptr env, CPXLPptr lp, double* out, int begin, int end,
               std::vector<double> clp_problem::*entries) {
  return read_solution(env, lp, out, begin, end, entries,
                       [&](std::size_t i) { return (lp->problem.*entries)[i]; });
}

int to_code(clp_basis_status status) {
  switch (status) {
    case clp_basis_status::kBasic:
      return CPX_BASIC;
    case clp_basis_status::kAtUpper:
      return CPX_AT_UPPER;
    case clp_basis_status::kFree:
      return CPX_FREE_SUPER;
    default:
      return CPX_AT_LOWER;
  }
}

clp_basis_status from_code(int code) {
  switch (code) {
    case CPX_BASIC:
      return clp_basis_status::kBasic;
    case CPX_AT_UPPER:
      return clp_basis_status::kAtUpper;
    case CPX_FREE_SUPER:
      return clp_basis_status::kFree;
    default:
      return clp_basis_status::kAtLower;
  }
}

bool are_codes(const int* codes, std::size_t n) {
  return std::all_of(codes, codes + n,
                     [](int code) { return code >= CPX_AT_LOWER && code <= CPX_FREE_SUPER; });
}

bool ends_with(const std::string& text, const std::string& ending) {
  return text.size() >= ending.size() &&
         strcasecmp(text.c_str() + text.size() - ending.size(), ending.c_str()) == 0;
}

}  // namespace

// ----- Linear solution -----

int ClpLibrary::CPXgetobjval(CPXENVptr env, CPXLPptr lp, double* value) {
  if (const int code = no_linear_solution(env, lp)) return code;
  if (!value) return CPXERR_NULL_POINTER;
  *value = lp->problem.objective_value;
  return 0;
}

int ClpLibrary::CPXgetx(CPXENVptr env, CPXLPptr lp, double* x, int begin, int end) {
  return read_plain(env, lp, x, begin, end, &clp_problem::x);
}

int ClpLibrary::CPXgetpi(CPXENVptr env, CPXLPptr lp, double* pi, int begin, int end) {
  return read_plain(env, lp, pi, begin, end, &clp_problem::dual);
}

int ClpLibrary::CPXgetdj(CPXENVptr env, CPXLPptr lp, double* dj, int begin, int end) {
  return read_plain(env, lp, dj, begin, end, &clp_problem::reduced_cost);
}

int ClpLibrary::CPXgetslack(CPXENVptr env, CPXLPptr lp, double* slack, int begin, int end) {
  return read_solution(env, lp, slack, begin, end, &clp_problem::activity, [&](std::size_t i) {
    return lp->problem.rows[i].rhs - lp->problem.activity[i];
  });
}

// ----- Mixed integer solution -----

int ClpLibrary::CPXgetmipobjval(CPXENVptr env, CPXLPptr lp, double* value) {
  if (const int code = no_mip_solution(env, lp)) return code;
  if (!value) return CPXERR_NULL_POINTER;
  *value = lp->problem.mip_objective_value;
  return 0;
}

int ClpLibrary::CPXgetmipx(CPXENVptr env, CPXLPptr lp, double* x, int begin, int end) {
  if (const int code = no_mip_solution(env, lp)) return code;
  const std::vector<double>& values = lp->problem.mip_x;
  return read_entries(x, begin, end, values.size(), [&](std::size_t j) { return values[j]; });
}

int ClpLibrary::CPXgetmipslack(CPXENVptr env, CPXLPptr lp, double* slack, int begin, int end) {
  if (const int code = no_mip_solution(env, lp)) return code;
  const clp_problem& problem = lp->problem;
  return read_entries(slack, begin, end, problem.mip_activity.size(),
                      [&](std::size_t i) { return problem.rows[i].rhs - problem.mip_activity[i]; });
}

int ClpLibrary::CPXgetbestobjval(CPXENVptr env, CPXLPptr lp, double* value) {
  if (const int code = missing(env, lp)) return code;
  if (!lp->problem.has_mip_bound) return CPXERR_NO_SOLN;
  if (!value) return CPXERR_NULL_POINTER;
  *value = lp->problem.mip_bound;
  return 0;
}

// ----- Basis -----

int ClpLibrary::CPXgetbase(CPXENVptr env, CPXLPptr lp, int* cstat, int* rstat) {
  if (const int code = missing(env, lp)) return code;
  const clp_problem& problem = lp->problem;
  if (!problem.has_basis) return CPXERR_NO_BASIS;
  for (std::size_t j = 0; cstat && j < problem.columns.size(); ++j) {
    cstat[j] = to_code(problem.column_basis[j]);
  }
  for (std::size_t i = 0; rstat && i < problem.rows.size(); ++i) {
    rstat[i] = problem.row_basis[i] == clp_basis_status::kBasic ? CPX_BASIC : CPX_AT_LOWER;
  }
  return 0;
}

int ClpLibrary::CPXcopybase(CPXENVptr env, CPXLPptr lp, const int* cstat, const int* rstat) {
  if (const int code = missing(env, lp)) return code;
  clp_problem& problem = lp->problem;
  const std::size_t n = problem.columns.size();
  const std::size_t m = problem.rows.size();
  if ((n > 0 && !cstat) || (m > 0 && !rstat)) return CPXERR_NULL_POINTER;
  if (!are_codes(cstat, n) || !are_codes(rstat, m)) return CPXERR_BAD_ARGUMENT;
  for (std::size_t j = 0; j < n; ++j) problem.column_basis[j] = from_code(cstat[j]);
  for (std::size_t i = 0; i < m; ++i) problem.row_basis[i] = from_code(rstat[i]);
  problem.has_basis = true;
  problem.forget_linear_solution();
  return 0;
}

int ClpLibrary::CPXmbasewrite(CPXENVptr env, CPXLPptr lp, const char* filename) {
  if (const int code = missing(env, lp)) return code;
  if (!filename) return CPXERR_NULL_POINTER;
  if (!lp->problem.has_basis) return CPXERR_NO_BASIS;
  return write_basis_file(lp->problem, filename);
}

int ClpLibrary::CPXreadcopybase(CPXENVptr env, CPXLPptr lp, const char* filename) {
  if (const int code = missing(env, lp)) return code;
  if (!filename) return CPXERR_NULL_POINTER;
  if (const int code = read_basis_file(filename, lp->problem)) return code;
  lp->problem.forget_linear_solution();
  return 0;
}

// ----- Problem file -----

int ClpLibrary::CPXwriteprob(CPXENVptr env, CPXLPptr lp, const char* filename, const char* format) {
  if (const int code = missing(env, lp)) return code;
  if (!filename) return CPXERR_NULL_POINTER;
  const bool named = format && *format;
  const auto is = [&](const char* name, const char* ending) {
    return named ? strcasecmp(format, name) == 0 : ends_with(filename, ending);
  };
  if (is("MPS", ".mps")) return write_mps_file(lp->problem, filename);
  if (is("LP", ".lp")) return write_lp_file(lp->problem, filename);
  return CPXERR_BAD_FILETYPE;
}

}  // namespace planloc
