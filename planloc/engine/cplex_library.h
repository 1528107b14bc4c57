// The linear programming library as IlcCplex sees it: the operations that it needs, under their
// published names and with their published arguments and return codes. ClpLibrary (clp_library.h)
// answers in a run; tests install a library of their own to see which calls are made.
//
// Every operation that can fail returns a code, 0 for success; CPXgeterrorstring gives its text.
// Ranges of indices are closed. Bounds and right-hand sides at or beyond 1e20 are infinite. A
// number that is NaN, a cost of 1e25 or more or a matrix value above 1e20 is refused with
// CPXERR_BAD_NUMBER, and nothing of the call takes effect.
#ifndef PLANLOC_ENGINE_CPLEX_LIBRARY_H_
#define PLANLOC_ENGINE_CPLEX_LIBRARY_H_

namespace planloc {

struct cpxenv;
struct cpxlp;
using CPXENVptr = cpxenv*;
using CPXLPptr = cpxlp*;

inline constexpr double CPX_INFBOUND = 1e20;

// ----- Parameter numbers, by type of value -----

enum IlcCplexIntParam : int {
  CPX_PARAM_ADVIND = 1001,
  CPX_PARAM_AGGIND = 1003,
  CPX_PARAM_BASINTERVAL = 1004,
  CPX_PARAM_CLOCKTYPE = 1006,
  CPX_PARAM_DPRIIND = 1009,
  CPX_PARAM_FASTMIP = 1017,
  CPX_PARAM_SIMDISPLAY = 1019,
  CPX_PARAM_ITLIM = 1020,
  CPX_PARAM_NETFIND = 1022,
  CPX_PARAM_PPRIIND = 1029,
  CPX_PARAM_ROWGROWTH = 1046,
  CPX_PARAM_COLGROWTH = 1047,
  CPX_PARAM_NZGROWTH = 1048,
};

// Integer parameters that are switches.
enum IlcCplexBoolParam : int {
  CPX_PARAM_PREIND = 1030,
  CPX_PARAM_SCRIND = 1035,
};

enum IlcCplexFloatParam : int {
  CPX_PARAM_EPOPT = 1014,
  CPX_PARAM_EPRHS = 1016,
  CPX_PARAM_TILIM = 1039,
};

enum IlcCplexStringParam : int {
  CPX_PARAM_WORKDIR = 1064,
};

// ----- Return codes -----

inline constexpr int CPXERR_NO_MEMORY = 1001;
inline constexpr int CPXERR_NO_ENVIRONMENT = 1002;
inline constexpr int CPXERR_BAD_ARGUMENT = 1003;
inline constexpr int CPXERR_NULL_POINTER = 1004;
inline constexpr int CPXERR_NO_PROBLEM = 1009;
inline constexpr int CPXERR_BAD_PARAM_NUM = 1013;
inline constexpr int CPXERR_PARAM_TOO_SMALL = 1014;
inline constexpr int CPXERR_PARAM_TOO_BIG = 1015;
inline constexpr int CPXERR_NOT_FOR_MIP = 1017;
inline constexpr int CPXERR_INDEX_RANGE = 1200;
inline constexpr int CPXERR_COL_INDEX_RANGE = 1201;
inline constexpr int CPXERR_ROW_INDEX_RANGE = 1203;
inline constexpr int CPXERR_BAD_SENSE = 1215;
inline constexpr int CPXERR_NO_SOLN = 1217;
inline constexpr int CPXERR_DUP_ENTRY = 1222;
inline constexpr int CPXERR_BAD_NUMBER = 1225;
inline constexpr int CPXERR_BAD_CTYPE = 3021;

// ----- Solution statuses and problem types -----

enum IlcCplexStatus : int {
  CPX_STAT_NONE = 0,
  CPX_STAT_OPTIMAL = 1,
  CPX_STAT_INFEASIBLE = 2,
  CPX_STAT_UNBOUNDED = 3,
  CPX_STAT_OPTIMAL_INFEAS = 5,  // optimal, with infeasibilities after unscaling
  CPX_STAT_NUM_BEST = 6,        // given up on numerical difficulties
  CPX_STAT_ABORT_IT_LIM = 10,
  CPX_STAT_ABORT_TIME_LIM = 11,
};

enum IlcCplexProblemType : int {
  CPXPROB_LP = 0,
  CPXPROB_MIP = 1,
  CPXPROB_RELAXED = 2,
  CPXPROB_FIXED = 3,
};

class CplexLibrary {
 public:
  virtual ~CplexLibrary();

  // ----- Environment and problem -----

  virtual CPXENVptr CPXopenCPLEXdevelop(int* status) = 0;
  virtual int CPXcloseCPLEX(CPXENVptr* env) = 0;
  virtual CPXLPptr CPXcreateprob(CPXENVptr env, int* status, const char* name) = 0;
  virtual int CPXfreeprob(CPXENVptr env, CPXLPptr* lp) = 0;
  // Writes the text of `code` into a buffer of at least 510 bytes and returns it; null for a code
  // without a text. `env` may be null.
  virtual char* CPXgeterrorstring(CPXENVptr env, int code, char* buffer) = 0;

  // ----- Parameters -----

  virtual int CPXsetintparam(CPXENVptr env, int number, int value) = 0;
  virtual int CPXgetintparam(CPXENVptr env, int number, int* value) = 0;
  virtual int CPXinfointparam(CPXENVptr env, int number, int* default_value, int* min_value,
                              int* max_value) = 0;
  virtual int CPXsetdblparam(CPXENVptr env, int number, double value) = 0;
  virtual int CPXsetstrparam(CPXENVptr env, int number, const char* value) = 0;

  // ----- Matrix -----

  // Null arrays: objective zero, bounds 0 and infinite, types continuous, no names.
  virtual int CPXnewcols(CPXENVptr env, CPXLPptr lp, int ccnt, const double* obj, const double* lb,
                         const double* ub, const char* ctype, char** colname) = 0;
  // Senses are L, G and E. REQUIRES ccnt = 0: columns come through CPXnewcols.
  virtual int CPXaddrows(CPXENVptr env, CPXLPptr lp, int ccnt, int rcnt, int nzcnt,
                         const double* rhs, const char* sense, const int* rmatbeg,
                         const int* rmatind, const double* rmatval, char** colname,
                         char** rowname) = 0;
  virtual int CPXdelrows(CPXENVptr env, CPXLPptr lp, int begin, int end) = 0;
  virtual int CPXchgobj(CPXENVptr env, CPXLPptr lp, int cnt, const int* indices,
                        const double* values) = 0;
  virtual void CPXchgobjsen(CPXENVptr env, CPXLPptr lp, int maxormin) = 0;  // 1 min, -1 max
  virtual int CPXgetobjsen(CPXENVptr env, CPXLPptr lp) = 0;
  // lu: L lower, U upper, B both.
  virtual int CPXchgbds(CPXENVptr env, CPXLPptr lp, int cnt, const int* indices, const char* lu,
                        const double* bd) = 0;
  // As CPXchgbds, but leaves a bound that is already as tight.
  virtual int CPXtightenbds(CPXENVptr env, CPXLPptr lp, int cnt, const int* indices, const char* lu,
                            const double* bd) = 0;
  virtual int CPXchgname(CPXENVptr env, CPXLPptr lp, int key, int index, const char* name) = 0;
  virtual int CPXgetlb(CPXENVptr env, CPXLPptr lp, double* lb, int begin, int end) = 0;
  virtual int CPXgetub(CPXENVptr env, CPXLPptr lp, double* ub, int begin, int end) = 0;
  virtual int CPXgetnumrows(CPXENVptr env, CPXLPptr lp) = 0;
  virtual int CPXgetnumcols(CPXENVptr env, CPXLPptr lp) = 0;
  virtual int CPXgetnumnz(CPXENVptr env, CPXLPptr lp) = 0;
  virtual int CPXgetprobtype(CPXENVptr env, CPXLPptr lp) = 0;
  virtual int CPXchgprobtype(CPXENVptr env, CPXLPptr lp, int type) = 0;

  // ----- Solve -----

  virtual int CPXprimopt(CPXENVptr env, CPXLPptr lp) = 0;
  virtual int CPXdualopt(CPXENVptr env, CPXLPptr lp) = 0;
  virtual int CPXgetstat(CPXENVptr env, CPXLPptr lp) = 0;
  virtual int CPXgetitcnt(CPXENVptr env, CPXLPptr lp) = 0;

  // ----- Solution; 1217 without one -----

  virtual int CPXgetobjval(CPXENVptr env, CPXLPptr lp, double* value) = 0;
  virtual int CPXgetx(CPXENVptr env, CPXLPptr lp, double* x, int begin, int end) = 0;
  // Change of the objective per unit of right-hand side.
  virtual int CPXgetpi(CPXENVptr env, CPXLPptr lp, double* pi, int begin, int end) = 0;
  virtual int CPXgetdj(CPXENVptr env, CPXLPptr lp, double* dj, int begin, int end) = 0;
  // Right-hand side minus row activity.
  virtual int CPXgetslack(CPXENVptr env, CPXLPptr lp, double* slack, int begin, int end) = 0;
};

// The library in force, ClpLibrary unless another one was set. Take care that no optimiser is alive
// while it changes.
CplexLibrary& cplex_library();

// Puts another library in force, which stays the caller's; null puts ClpLibrary back. Returns the
// one before.
CplexLibrary* set_cplex_library(CplexLibrary* library);

}  // namespace planloc

#endif  // PLANLOC_ENGINE_CPLEX_LIBRARY_H_
