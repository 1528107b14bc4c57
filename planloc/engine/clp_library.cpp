#include "planloc/engine/clp_library.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <memory>
#include <optional>
#include <string>

#include "planloc/engine/clp_environment.h"

namespace planloc {

using namespace detail;

namespace {

// Of the texts of parameters.
constexpr std::size_t kLongestText = 510;

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
    {CPXERR_CALLBACK, "Error in or outside of a callback."},
    {CPXERR_PRESOLVE, "Error during presolve."},
    {CPXERR_NEGATIVE_SURPLUS, "Too little space for the results."},
    {CPXERR_NO_BASIS, "No basis exists."},
    {CPXERR_FAIL_OPEN_WRITE, "Could not open file for writing."},
    {CPXERR_FAIL_OPEN_READ, "Could not open file for reading."},
    {CPXERR_BAD_FILETYPE, "Unknown type of file."},
    {CPXERR_BAD_BASIS_FILE, "Not a basis of this problem."},
    {CPXERR_NOT_MIP, "Only for mixed-integer problems."},
    {CPXERR_BAD_PRIORITY, "Negative priority."},
    {CPXERR_BAD_SOS_TYPE, "Unknown type of special ordered set."},
    {CPXERR_SOS_BAD_WEIGHT, "Equal weights in a special ordered set."},
    {CPXERR_NO_INT_SOLN, "No integer solution exists."},
};

template <typename T>
int check_value(const clp_parameter<T>* parameter, T value) {
  if (!parameter) return CPXERR_BAD_PARAM_NUM;
  if (value != value) return CPXERR_BAD_NUMBER;
  if (value < parameter->min_value) return CPXERR_PARAM_TOO_SMALL;
  return value > parameter->max_value ? CPXERR_PARAM_TOO_BIG : 0;
}

template <typename T>
int give_info(const clp_parameter<T>* parameter, T* default_value, T* min_value, T* max_value) {
  if (!parameter) return CPXERR_BAD_PARAM_NUM;
  if (default_value) *default_value = parameter->default_value;
  if (min_value) *min_value = parameter->min_value;
  if (max_value) *max_value = parameter->max_value;
  return 0;
}

int check_text(CPXENVptr env, int number, const char* text) {
  if (!env) return CPXERR_NO_ENVIRONMENT;
  if (number != CPX_PARAM_WORKDIR) return CPXERR_BAD_PARAM_NUM;
  return text ? 0 : CPXERR_NULL_POINTER;
}

clp_monitor monitor_of(CPXENVptr env, const clp_callback& callback) {
  if (!callback.function) return {};
  return [env, callback](clp_progress& progress) {
    return callback.function(env, &progress, progress.where, callback.handle) != 0;
  };
}

int solve(CPXENVptr env, CPXLPptr lp, clp_method method) {
  if (const int code = missing(env, lp)) return code;
  if (lp->problem.type == CPXPROB_MIP) return CPXERR_NOT_FOR_MIP;
  solve_clp_problem(lp->problem, method, env->parameters.settings(),
                    monitor_of(env, env->lp_callback));
  return 0;
}

int solve_by(CPXENVptr env, CPXLPptr lp, int letter, clp_method primal, clp_method dual) {
  if (letter != 'p' && letter != 'd') return CPXERR_BAD_ARGUMENT;
  return solve(env, lp, letter == 'p' ? primal : dual);
}

int count_of(CPXENVptr env, CPXLPptr lp, int clp_problem::*count) {
  return missing(env, lp) ? 0 : lp->problem.*count;
}

std::optional<int> int_info(const clp_progress& progress, int which) {
  switch (which) {
    case CPX_CALLBACK_INFO_PRIMAL_FEAS:
      return progress.primal_infeasibility == 0.0;
    case CPX_CALLBACK_INFO_DUAL_FEAS:
      return progress.dual_infeasibility == 0.0;
    case CPX_CALLBACK_INFO_ITCOUNT:
    case CPX_CALLBACK_INFO_MIP_ITERATIONS:
      return progress.iterations;
    case CPX_CALLBACK_INFO_NODE_COUNT:
      return progress.nodes;
    case CPX_CALLBACK_INFO_NODES_LEFT:
      return progress.nodes_left;
    case CPX_CALLBACK_INFO_MIP_FEAS:
      return progress.has_integer_solution;
    default:
      return std::nullopt;
  }
}

std::optional<double> double_info(const clp_progress& progress, int which) {
  switch (which) {
    case CPX_CALLBACK_INFO_PRIMAL_OBJ:
      return progress.primal_objective;
    case CPX_CALLBACK_INFO_DUAL_OBJ:
      return progress.dual_objective;
    case CPX_CALLBACK_INFO_PRIMAL_INFMEAS:
      return progress.primal_infeasibility;
    case CPX_CALLBACK_INFO_DUAL_INFMEAS:
      return progress.dual_infeasibility;
    case CPX_CALLBACK_INFO_BEST_INTEGER:
      return progress.best_integer;
    case CPX_CALLBACK_INFO_BEST_REMAINING:
      return progress.best_remaining;
    case CPX_CALLBACK_INFO_CUTOFF:
      return progress.cutoff;
    default:
      return std::nullopt;
  }
}

int set_callback(CPXENVptr env, clp_callback cpxenv::*which, CPXcallbackfunc function,
                 void* handle) {
  if (!env) return CPXERR_NO_ENVIRONMENT;
  env->*which = {function, function ? handle : nullptr};
  return 0;
}

int get_callback(CPXENVptr env, clp_callback cpxenv::*which, CPXcallbackfunc* function,
                 void** handle) {
  if (!env) return CPXERR_NO_ENVIRONMENT;
  if (function) *function = (env->*which).function;
  if (handle) *handle = (env->*which).handle;
  return 0;
}

}  // namespace

// ----- Environment and problem -----

CPXENVptr ClpLibrary::CPXopenCPLEXdevelop(int* status) {
  *status = 0;
  return std::make_unique<cpxenv>().release();
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
  const auto* const end = std::end(kErrorTexts);
  const auto* const entry = std::find_if(
      kErrorTexts, end, [&](const ErrorText& candidate) { return candidate.code == code; });
  if (entry == end) return nullptr;
  std::snprintf(buffer, kLongestText, "Error %d: %s", code, entry->text);
  return buffer;
}

// ----- Parameters -----

int ClpLibrary::CPXsetintparam(CPXENVptr env, int number, int value) {
  if (!env) return CPXERR_NO_ENVIRONMENT;
  if (const int code = check_value(find_int_parameter(number), value)) return code;
  env->parameters.ints[number] = value;
  return 0;
}

int ClpLibrary::CPXgetintparam(CPXENVptr env, int number, int* value) {
  if (!env) return CPXERR_NO_ENVIRONMENT;
  if (!value) return CPXERR_NULL_POINTER;
  const auto found = env->parameters.ints.find(number);
  if (found == env->parameters.ints.end()) return CPXERR_BAD_PARAM_NUM;
  *value = found->second;
  return 0;
}

int ClpLibrary::CPXinfointparam(CPXENVptr env, int number, int* default_value, int* min_value,
                                int* max_value) {
  if (!env) return CPXERR_NO_ENVIRONMENT;
  return give_info(find_int_parameter(number), default_value, min_value, max_value);
}

int ClpLibrary::CPXsetdblparam(CPXENVptr env, int number, double value) {
  if (!env) return CPXERR_NO_ENVIRONMENT;
  if (const int code = check_value(find_float_parameter(number), value)) return code;
  env->parameters.floats[number] = value;
  return 0;
}

int ClpLibrary::CPXgetdblparam(CPXENVptr env, int number, double* value) {
  if (!env) return CPXERR_NO_ENVIRONMENT;
  if (!value) return CPXERR_NULL_POINTER;
  const auto found = env->parameters.floats.find(number);
  if (found == env->parameters.floats.end()) return CPXERR_BAD_PARAM_NUM;
  *value = found->second;
  return 0;
}

int ClpLibrary::CPXinfodblparam(CPXENVptr env, int number, double* default_value, double* min_value,
                                double* max_value) {
  if (!env) return CPXERR_NO_ENVIRONMENT;
  return give_info(find_float_parameter(number), default_value, min_value, max_value);
}

int ClpLibrary::CPXsetstrparam(CPXENVptr env, int number, const char* value) {
  if (const int code = check_text(env, number, value)) return code;
  if (std::strlen(value) > kLongestText) return CPXERR_PARAM_TOO_BIG;
  env->parameters.work_directory = value;
  return 0;
}

int ClpLibrary::CPXgetstrparam(CPXENVptr env, int number, char* value) {
  if (const int code = check_text(env, number, value)) return code;
  std::strcpy(value, env->parameters.work_directory.c_str());
  return 0;
}

int ClpLibrary::CPXinfostrparam(CPXENVptr env, int number, char* default_value) {
  if (const int code = check_text(env, number, default_value)) return code;
  std::strcpy(default_value, kDefaultWorkDirectory);
  return 0;
}

int ClpLibrary::CPXsetdefaults(CPXENVptr env) {
  if (!env) return CPXERR_NO_ENVIRONMENT;
  env->parameters = clp_parameters();
  return 0;
}

// ----- Solve -----

int ClpLibrary::CPXprimopt(CPXENVptr env, CPXLPptr lp) {
  return solve(env, lp, clp_method::kPrimal);
}

int ClpLibrary::CPXdualopt(CPXENVptr env, CPXLPptr lp) { return solve(env, lp, clp_method::kDual); }

int ClpLibrary::CPXbaropt(CPXENVptr env, CPXLPptr lp) {
  return solve(env, lp, clp_method::kBarrierPrimal);
}

int ClpLibrary::CPXhybbaropt(CPXENVptr env, CPXLPptr lp, int method) {
  return solve_by(env, lp, method, clp_method::kBarrierPrimal, clp_method::kBarrierDual);
}

int ClpLibrary::CPXhybnetopt(CPXENVptr env, CPXLPptr lp, int method) {
  return solve_by(env, lp, method, clp_method::kNetworkPrimal, clp_method::kNetworkDual);
}

int ClpLibrary::CPXmipopt(CPXENVptr env, CPXLPptr lp) {
  if (const int code = missing(env, lp)) return code;
  if (lp->problem.type != CPXPROB_MIP) return CPXERR_NOT_MIP;
  solve_clp_mip(lp->problem, env->parameters.settings(), monitor_of(env, env->mip_callback));
  return 0;
}

int ClpLibrary::CPXgetstat(CPXENVptr env, CPXLPptr lp) {
  return count_of(env, lp, &clp_problem::status);
}

int ClpLibrary::CPXgetsubstat(CPXENVptr env, CPXLPptr lp) {
  return count_of(env, lp, &clp_problem::sub_status);
}

// ----- Counts -----

int ClpLibrary::CPXgetitcnt(CPXENVptr env, CPXLPptr lp) {
  return count_of(env, lp, &clp_problem::iterations);
}

int ClpLibrary::CPXgetbaritcnt(CPXENVptr env, CPXLPptr lp) {
  return count_of(env, lp, &clp_problem::barrier_iterations);
}

int ClpLibrary::CPXgetmipitcnt(CPXENVptr env, CPXLPptr lp) {
  return count_of(env, lp, &clp_problem::mip_iterations);
}

int ClpLibrary::CPXgetnodecnt(CPXENVptr env, CPXLPptr lp) {
  return count_of(env, lp, &clp_problem::nodes);
}

int ClpLibrary::CPXgetnodeleftcnt(CPXENVptr env, CPXLPptr lp) {
  return count_of(env, lp, &clp_problem::nodes_left);
}

int ClpLibrary::CPXgetclqcnt(CPXENVptr env, CPXLPptr lp) {
  return count_of(env, lp, &clp_problem::clique_cuts);
}

int ClpLibrary::CPXgetcovcnt(CPXENVptr env, CPXLPptr lp) {
  return count_of(env, lp, &clp_problem::cover_cuts);
}

// CLP counts neither the iterations of its first phase nor the steps of its crossover.
int ClpLibrary::CPXgetphase1cnt(CPXENVptr, CPXLPptr) { return 0; }
int ClpLibrary::CPXgetcrossppushcnt(CPXENVptr, CPXLPptr) { return 0; }
int ClpLibrary::CPXgetcrosspexchcnt(CPXENVptr, CPXLPptr) { return 0; }
int ClpLibrary::CPXgetcrossdpushcnt(CPXENVptr, CPXLPptr) { return 0; }
int ClpLibrary::CPXgetcrossdexchcnt(CPXENVptr, CPXLPptr) { return 0; }

// ----- Callbacks -----

int ClpLibrary::CPXsetlpcallbackfunc(CPXENVptr env, CPXcallbackfunc callback, void* cbhandle) {
  return set_callback(env, &cpxenv::lp_callback, callback, cbhandle);
}

int ClpLibrary::CPXsetmipcallbackfunc(CPXENVptr env, CPXcallbackfunc callback, void* cbhandle) {
  return set_callback(env, &cpxenv::mip_callback, callback, cbhandle);
}

int ClpLibrary::CPXgetlpcallbackfunc(CPXENVptr env, CPXcallbackfunc* callback, void** cbhandle) {
  return get_callback(env, &cpxenv::lp_callback, callback, cbhandle);
}

int ClpLibrary::CPXgetmipcallbackfunc(CPXENVptr env, CPXcallbackfunc* callback, void** cbhandle) {
  return get_callback(env, &cpxenv::mip_callback, callback, cbhandle);
}

int ClpLibrary::CPXgetcallbackinfo(CPXENVptr env, void* cbdata, int wherefrom, int whichinfo,
                                   void* result) {
  if (!env) return CPXERR_NO_ENVIRONMENT;
  if (!cbdata) return CPXERR_CALLBACK;
  if (!result) return CPXERR_NULL_POINTER;
  const auto& progress = *static_cast<const clp_progress*>(cbdata);
  if (progress.where != wherefrom) return CPXERR_CALLBACK;
  const bool of_mip = whichinfo >= CPX_CALLBACK_INFO_BEST_INTEGER;
  if (of_mip != (progress.where == CPX_CALLBACK_MIP)) return CPXERR_BAD_ARGUMENT;
  if (const std::optional<int> number = int_info(progress, whichinfo)) {
    *static_cast<int*>(result) = *number;
    return 0;
  }
  const std::optional<double> value = double_info(progress, whichinfo);
  if (!value) return CPXERR_BAD_ARGUMENT;
  *static_cast<double*>(result) = *value;
  return 0;
}

}  // namespace planloc
