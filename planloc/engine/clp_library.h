// CplexLibrary on CLP, the simplex code of COIN-OR, and CBC, its branch and cut. Nothing that it
// does reaches standard output or the error stream. docs/engine.md lists what the two do not keep.
#ifndef PLANLOC_ENGINE_CLP_LIBRARY_H_
#define PLANLOC_ENGINE_CLP_LIBRARY_H_

#include "planloc/engine/cplex_library.h"

namespace planloc {

class ClpLibrary : public CplexLibrary {
 public:
  // ----- Environment and problem -----

  CPXENVptr CPXopenCPLEXdevelop(int* status) override;
  int CPXcloseCPLEX(CPXENVptr* env) override;
  CPXLPptr CPXcreateprob(CPXENVptr env, int* status, const char* name) override;
  int CPXfreeprob(CPXENVptr env, CPXLPptr* lp) override;
  char* CPXgeterrorstring(CPXENVptr env, int code, char* buffer) override;

  // ----- Parameters -----

  int CPXsetintparam(CPXENVptr env, int number, int value) override;
  int CPXgetintparam(CPXENVptr env, int number, int* value) override;
  int CPXinfointparam(CPXENVptr env, int number, int* default_value, int* min_value,
                      int* max_value) override;
  int CPXsetdblparam(CPXENVptr env, int number, double value) override;
  int CPXgetdblparam(CPXENVptr env, int number, double* value) override;
  int CPXinfodblparam(CPXENVptr env, int number, double* default_value, double* min_value,
                      double* max_value) override;
  int CPXsetstrparam(CPXENVptr env, int number, const char* value) override;
  int CPXgetstrparam(CPXENVptr env, int number, char* value) override;
  int CPXinfostrparam(CPXENVptr env, int number, char* default_value) override;
  int CPXsetdefaults(CPXENVptr env) override;

  // ----- Matrix -----

  int CPXnewcols(CPXENVptr env, CPXLPptr lp, int ccnt, const double* obj, const double* lb,
                 const double* ub, const char* ctype, char** colname) override;
  int CPXaddrows(CPXENVptr env, CPXLPptr lp, int ccnt, int rcnt, int nzcnt, const double* rhs,
                 const char* sense, const int* rmatbeg, const int* rmatind, const double* rmatval,
                 char** colname, char** rowname) override;
  int CPXdelrows(CPXENVptr env, CPXLPptr lp, int begin, int end) override;
  int CPXdelcols(CPXENVptr env, CPXLPptr lp, int begin, int end) override;
  int CPXchgobj(CPXENVptr env, CPXLPptr lp, int cnt, const int* indices,
                const double* values) override;
  void CPXchgobjsen(CPXENVptr env, CPXLPptr lp, int maxormin) override;
  int CPXgetobjsen(CPXENVptr env, CPXLPptr lp) override;
  int CPXchgrhs(CPXENVptr env, CPXLPptr lp, int cnt, const int* indices,
                const double* values) override;
  int CPXchgbds(CPXENVptr env, CPXLPptr lp, int cnt, const int* indices, const char* lu,
                const double* bd) override;
  int CPXtightenbds(CPXENVptr env, CPXLPptr lp, int cnt, const int* indices, const char* lu,
                    const double* bd) override;
  int CPXchgname(CPXENVptr env, CPXLPptr lp, int key, int index, const char* name) override;
  int CPXgetlb(CPXENVptr env, CPXLPptr lp, double* lb, int begin, int end) override;
  int CPXgetub(CPXENVptr env, CPXLPptr lp, double* ub, int begin, int end) override;
  int CPXgetnumrows(CPXENVptr env, CPXLPptr lp) override;
  int CPXgetnumcols(CPXENVptr env, CPXLPptr lp) override;
  int CPXgetnumnz(CPXENVptr env, CPXLPptr lp) override;

  // ----- Type of the program, integrality -----

  int CPXgetprobtype(CPXENVptr env, CPXLPptr lp) override;
  int CPXchgprobtype(CPXENVptr env, CPXLPptr lp, int type) override;
  int CPXcopyctype(CPXENVptr env, CPXLPptr lp, const char* ctype) override;
  int CPXcopysos(CPXENVptr env, CPXLPptr lp, int numsos, int numsosnz, const char* sostype,
                 const int* sospri, const int* sosbeg, const int* sosind,
                 const double* sosref) override;
  int CPXgetnumsos(CPXENVptr env, CPXLPptr lp) override;
  int CPXgetsos(CPXENVptr env, CPXLPptr lp, int* numsosnz, char* sostype, int* sospri, int* sosbeg,
                int* sosind, double* sosref, int sosspace, int* surplus, int begin,
                int end) override;
  int CPXcopyorder(CPXENVptr env, CPXLPptr lp, int cnt, const int* indices, const int* priority,
                   const int* direction) override;
  int CPXcopystart(CPXENVptr env, CPXLPptr lp, const int* cstat, const int* rstat,
                   const double* cprim, const double* rprim, const double* cdual,
                   const double* rdual) override;

  // ----- Solve -----

  int CPXprimopt(CPXENVptr env, CPXLPptr lp) override;
  int CPXdualopt(CPXENVptr env, CPXLPptr lp) override;
  int CPXbaropt(CPXENVptr env, CPXLPptr lp) override;
  int CPXhybbaropt(CPXENVptr env, CPXLPptr lp, int method) override;
  int CPXhybnetopt(CPXENVptr env, CPXLPptr lp, int method) override;
  int CPXmipopt(CPXENVptr env, CPXLPptr lp) override;
  int CPXgetstat(CPXENVptr env, CPXLPptr lp) override;
  int CPXgetsubstat(CPXENVptr env, CPXLPptr lp) override;

  // ----- Solution -----

  int CPXgetobjval(CPXENVptr env, CPXLPptr lp, double* value) override;
  int CPXgetx(CPXENVptr env, CPXLPptr lp, double* x, int begin, int end) override;
  int CPXgetpi(CPXENVptr env, CPXLPptr lp, double* pi, int begin, int end) override;
  int CPXgetdj(CPXENVptr env, CPXLPptr lp, double* dj, int begin, int end) override;
  int CPXgetslack(CPXENVptr env, CPXLPptr lp, double* slack, int begin, int end) override;

  // ----- Mixed integer solution -----

  int CPXgetmipobjval(CPXENVptr env, CPXLPptr lp, double* value) override;
  int CPXgetmipx(CPXENVptr env, CPXLPptr lp, double* x, int begin, int end) override;
  int CPXgetmipslack(CPXENVptr env, CPXLPptr lp, double* slack, int begin, int end) override;
  int CPXgetbestobjval(CPXENVptr env, CPXLPptr lp, double* value) override;

  // ----- Basis -----

  int CPXgetbase(CPXENVptr env, CPXLPptr lp, int* cstat, int* rstat) override;
  int CPXcopybase(CPXENVptr env, CPXLPptr lp, const int* cstat, const int* rstat) override;
  int CPXmbasewrite(CPXENVptr env, CPXLPptr lp, const char* filename) override;
  int CPXreadcopybase(CPXENVptr env, CPXLPptr lp, const char* filename) override;

  int CPXwriteprob(CPXENVptr env, CPXLPptr lp, const char* filename, const char* format) override;

  // ----- Counts of the last solve -----

  int CPXgetitcnt(CPXENVptr env, CPXLPptr lp) override;
  int CPXgetbaritcnt(CPXENVptr env, CPXLPptr lp) override;
  int CPXgetmipitcnt(CPXENVptr env, CPXLPptr lp) override;
  int CPXgetphase1cnt(CPXENVptr env, CPXLPptr lp) override;
  int CPXgetnodecnt(CPXENVptr env, CPXLPptr lp) override;
  int CPXgetnodeleftcnt(CPXENVptr env, CPXLPptr lp) override;
  int CPXgetclqcnt(CPXENVptr env, CPXLPptr lp) override;
  int CPXgetcovcnt(CPXENVptr env, CPXLPptr lp) override;
  int CPXgetcrossppushcnt(CPXENVptr env, CPXLPptr lp) override;
  int CPXgetcrosspexchcnt(CPXENVptr env, CPXLPptr lp) override;
  int CPXgetcrossdpushcnt(CPXENVptr env, CPXLPptr lp) override;
  int CPXgetcrossdexchcnt(CPXENVptr env, CPXLPptr lp) override;

  // ----- Callbacks of an environment -----

  int CPXsetlpcallbackfunc(CPXENVptr env, CPXcallbackfunc callback, void* cbhandle) override;
  int CPXsetmipcallbackfunc(CPXENVptr env, CPXcallbackfunc callback, void* cbhandle) override;
  int CPXgetlpcallbackfunc(CPXENVptr env, CPXcallbackfunc* callback, void** cbhandle) override;
  int CPXgetmipcallbackfunc(CPXENVptr env, CPXcallbackfunc* callback, void** cbhandle) override;
  int CPXgetcallbackinfo(CPXENVptr env, void* cbdata, int wherefrom, int whichinfo,
                         void* result) override;
};

}  // namespace planloc

#endif  // PLANLOC_ENGINE_CLP_LIBRARY_H_
