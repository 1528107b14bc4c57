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

#include "planloc/engine/cplex_constants.h"

namespace planloc {

struct cpxenv;
struct cpxlp;
using CPXENVptr = cpxenv*;
using CPXLPptr = cpxlp*;

// Called in the course of a solve; a result other than 0 stops it. `cbdata` and `wherefrom` are for
// CPXgetcallbackinfo, `cbhandle` is what the callback was set with. It must not throw.
using CPXcallbackfunc = int (*)(CPXENVptr env, void* cbdata, int wherefrom, void* cbhandle);

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
  // A null pointer is left out; so below.
  virtual int CPXinfointparam(CPXENVptr env, int number, int* default_value, int* min_value,
                              int* max_value) = 0;
  virtual int CPXsetdblparam(CPXENVptr env, int number, double value) = 0;
  virtual int CPXgetdblparam(CPXENVptr env, int number, double* value) = 0;
  virtual int CPXinfodblparam(CPXENVptr env, int number, double* default_value, double* min_value,
                              double* max_value) = 0;
  // Texts have up to 510 characters; a buffer has a byte more.
  virtual int CPXsetstrparam(CPXENVptr env, int number, const char* value) = 0;
  virtual int CPXgetstrparam(CPXENVptr env, int number, char* value) = 0;
  virtual int CPXinfostrparam(CPXENVptr env, int number, char* default_value) = 0;
  virtual int CPXsetdefaults(CPXENVptr env) = 0;

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
  // Takes the columns out of rows, special ordered sets, priorities and start values too.
  virtual int CPXdelcols(CPXENVptr env, CPXLPptr lp, int begin, int end) = 0;
  virtual int CPXchgobj(CPXENVptr env, CPXLPptr lp, int cnt, const int* indices,
                        const double* values) = 0;
  virtual void CPXchgobjsen(CPXENVptr env, CPXLPptr lp, int maxormin) = 0;  // 1 min, -1 max
  virtual int CPXgetobjsen(CPXENVptr env, CPXLPptr lp) = 0;
  virtual int CPXchgrhs(CPXENVptr env, CPXLPptr lp, int cnt, const int* indices,
                        const double* values) = 0;
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

  // ----- Type of the program, integrality -----

  virtual int CPXgetprobtype(CPXENVptr env, CPXLPptr lp) = 0;
  // To 0 drops types, special ordered sets, priorities and start values; from 0 to 1 makes all
  // columns continuous ones of a mixed integer program. 2 solves it without integrality, 3 with the
  // integer columns fixed at the last mixed integer solution (CPXERR_NO_INT_SOLN without one); both
  // keep what they put aside, and are refused with CPXERR_NOT_MIP from 0.
  virtual int CPXchgprobtype(CPXENVptr env, CPXLPptr lp, int type) = 0;
  // One type per column: C, B or I. The program becomes mixed integer. B clips no bounds.
  virtual int CPXcopyctype(CPXENVptr env, CPXLPptr lp, const char* ctype) = 0;
  // Replaces all special ordered sets; set k has the type sostype[k], 1 or 2, and the entries
  // sosbeg[k] ... sosbeg[k + 1] - 1, ordered by their weights, which differ. At most one entry of a
  // set of type 1 is not zero, at most two neighbours of one of type 2. `sospri` may be null; a set
  // of higher priority is branched on first. The program becomes mixed integer.
  virtual int CPXcopysos(CPXENVptr env, CPXLPptr lp, int numsos, int numsosnz, const char* sostype,
                         const int* sospri, const int* sosbeg, const int* sosind,
                         const double* sosref) = 0;
  virtual int CPXgetnumsos(CPXENVptr env, CPXLPptr lp) = 0;
  // The sets begin ... end. With too little space, surplus is negative and its amount is missing.
  virtual int CPXgetsos(CPXENVptr env, CPXLPptr lp, int* numsosnz, char* sostype, int* sospri,
                        int* sosbeg, int* sosind, double* sosref, int sosspace, int* surplus,
                        int begin, int end) = 0;
  // Replaces the priorities, which are not negative; columns of higher priority are branched on
  // first, those left out have 0. `direction` (an IlcCplexBranch each) may be null.
  virtual int CPXcopyorder(CPXENVptr env, CPXLPptr lp, int cnt, const int* indices,
                           const int* priority, const int* direction) = 0;
  // A start for the next mixed integer solves: one value per column in `cprim`, NaN for an unknown
  // one. Where values of the integer columns can be completed, the search begins with that
  // solution. cstat and rstat, if given, become the basis; the others are not used.
  virtual int CPXcopystart(CPXENVptr env, CPXLPptr lp, const int* cstat, const int* rstat,
                           const double* cprim, const double* rprim, const double* cdual,
                           const double* rdual) = 0;

  // ----- Solve -----

  // CPXERR_NOT_FOR_MIP for a program of type 1.
  virtual int CPXprimopt(CPXENVptr env, CPXLPptr lp) = 0;
  virtual int CPXdualopt(CPXENVptr env, CPXLPptr lp) = 0;
  // An interior solution, taken to a basic one.
  virtual int CPXbaropt(CPXENVptr env, CPXLPptr lp) = 0;
  // The same, ended by the primal (p) or the dual (d) simplex.
  virtual int CPXhybbaropt(CPXENVptr env, CPXLPptr lp, int method) = 0;
  // The network among the rows first, as far as parameter 1022 goes, then the whole program from
  // its basis by the primal (p) or the dual (d) simplex.
  virtual int CPXhybnetopt(CPXENVptr env, CPXLPptr lp, int method) = 0;
  // CPXERR_NOT_MIP for a program of another type than 1.
  virtual int CPXmipopt(CPXENVptr env, CPXLPptr lp) = 0;
  virtual int CPXgetstat(CPXENVptr env, CPXLPptr lp) = 0;
  // Of the last linear program that the last mixed integer solve solved.
  virtual int CPXgetsubstat(CPXENVptr env, CPXLPptr lp) = 0;

  // ----- Solution; 1217 without one -----
  // CPXERR_NOT_FOR_MIP where the program is mixed integer and solved as such.

  virtual int CPXgetobjval(CPXENVptr env, CPXLPptr lp, double* value) = 0;
  virtual int CPXgetx(CPXENVptr env, CPXLPptr lp, double* x, int begin, int end) = 0;
  // Change of the objective per unit of right-hand side, whether minimised or maximised.
  virtual int CPXgetpi(CPXENVptr env, CPXLPptr lp, double* pi, int begin, int end) = 0;
  // Cost minus the row's entries times their duals: change of the objective per unit of the column.
  virtual int CPXgetdj(CPXENVptr env, CPXLPptr lp, double* dj, int begin, int end) = 0;
  // Right-hand side minus row activity.
  virtual int CPXgetslack(CPXENVptr env, CPXLPptr lp, double* slack, int begin, int end) = 0;

  // ----- Mixed integer solution; CPXERR_NO_INT_SOLN without one -----

  virtual int CPXgetmipobjval(CPXENVptr env, CPXLPptr lp, double* value) = 0;
  virtual int CPXgetmipx(CPXENVptr env, CPXLPptr lp, double* x, int begin, int end) = 0;
  virtual int CPXgetmipslack(CPXENVptr env, CPXLPptr lp, double* slack, int begin, int end) = 0;
  // What no solution can be better than; 1217 before a solve.
  virtual int CPXgetbestobjval(CPXENVptr env, CPXLPptr lp, double* value) = 0;

  // ----- Basis -----

  // An IlcCplexBasisStatus per column and row. CPXERR_NO_BASIS without one; null is left out.
  virtual int CPXgetbase(CPXENVptr env, CPXLPptr lp, int* cstat, int* rstat) = 0;
  virtual int CPXcopybase(CPXENVptr env, CPXLPptr lp, const int* cstat, const int* rstat) = 0;
  // Basis files of MPS.
  virtual int CPXmbasewrite(CPXENVptr env, CPXLPptr lp, const char* filename) = 0;
  virtual int CPXreadcopybase(CPXENVptr env, CPXLPptr lp, const char* filename) = 0;

  // Format "MPS" or "LP" in either case; null takes the ending of the name.
  virtual int CPXwriteprob(CPXENVptr env, CPXLPptr lp, const char* filename,
                           const char* format) = 0;

  // ----- Counts of the last solve -----

  virtual int CPXgetitcnt(CPXENVptr env, CPXLPptr lp) = 0;
  virtual int CPXgetbaritcnt(CPXENVptr env, CPXLPptr lp) = 0;
  virtual int CPXgetmipitcnt(CPXENVptr env, CPXLPptr lp) = 0;
  virtual int CPXgetphase1cnt(CPXENVptr env, CPXLPptr lp) = 0;
  virtual int CPXgetnodecnt(CPXENVptr env, CPXLPptr lp) = 0;
  virtual int CPXgetnodeleftcnt(CPXENVptr env, CPXLPptr lp) = 0;
  virtual int CPXgetclqcnt(CPXENVptr env, CPXLPptr lp) = 0;
  virtual int CPXgetcovcnt(CPXENVptr env, CPXLPptr lp) = 0;
  virtual int CPXgetcrossppushcnt(CPXENVptr env, CPXLPptr lp) = 0;
  virtual int CPXgetcrosspexchcnt(CPXENVptr env, CPXLPptr lp) = 0;
  virtual int CPXgetcrossdpushcnt(CPXENVptr env, CPXLPptr lp) = 0;
  virtual int CPXgetcrossdexchcnt(CPXENVptr env, CPXLPptr lp) = 0;

  // ----- Callbacks of an environment; null takes one out -----

  virtual int CPXsetlpcallbackfunc(CPXENVptr env, CPXcallbackfunc callback, void* cbhandle) = 0;
  virtual int CPXsetmipcallbackfunc(CPXENVptr env, CPXcallbackfunc callback, void* cbhandle) = 0;
  virtual int CPXgetlpcallbackfunc(CPXENVptr env, CPXcallbackfunc* callback, void** cbhandle) = 0;
  virtual int CPXgetmipcallbackfunc(CPXENVptr env, CPXcallbackfunc* callback, void** cbhandle) = 0;
  // Inside a callback: the value of an IlcCplexCallbackInfo, into an int or a double.
  virtual int CPXgetcallbackinfo(CPXENVptr env, void* cbdata, int wherefrom, int whichinfo,
                                 void* result) = 0;
};

// The library in force, ClpLibrary unless another one was set. Take care that no optimiser is alive
// while it changes, and that no other thread uses the engine.
CplexLibrary& cplex_library();

// Puts another library in force, which stays the caller's; null puts ClpLibrary back. Returns the
// one before.
CplexLibrary* set_cplex_library(CplexLibrary* library);

}  // namespace planloc

#endif  // PLANLOC_ENGINE_CPLEX_LIBRARY_H_
