// CplexLibrary on CLP, the simplex code of COIN-OR. Nothing that it does reaches standard output or
// the error stream.
#ifndef PLANLOC_ENGINE_CLP_LIBRARY_H_
#define PLANLOC_ENGINE_CLP_LIBRARY_H_

#include "planloc/engine/cplex_library.h"

namespace planloc {

class ClpLibrary final : public CplexLibrary {
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
  int CPXsetstrparam(CPXENVptr env, int number, const char* value) override;

  // ----- Matrix -----
  int CPXnewcols(CPXENVptr env, CPXLPptr lp, int ccnt, const double* obj, const double* lb,
                 const double* ub, const char* ctype, char** colname) override;
  int CPXaddrows(CPXENVptr env, CPXLPptr lp, int ccnt, int rcnt, int nzcnt, const double* rhs,
                 const char* sense, const int* rmatbeg, const int* rmatind, const double* rmatval,
                 char** colname, char** rowname) override;
  int CPXdelrows(CPXENVptr env, CPXLPptr lp, int begin, int end) override;
  int CPXchgobj(CPXENVptr env, CPXLPptr lp, int cnt, const int* indices,
                const double* values) override;
  void CPXchgobjsen(CPXENVptr env, CPXLPptr lp, int maxormin) override;
  int CPXgetobjsen(CPXENVptr env, CPXLPptr lp) override;
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
  int CPXgetprobtype(CPXENVptr env, CPXLPptr lp) override;
  int CPXchgprobtype(CPXENVptr env, CPXLPptr lp, int type) override;

  // ----- Solve -----
  int CPXprimopt(CPXENVptr env, CPXLPptr lp) override;
  int CPXdualopt(CPXENVptr env, CPXLPptr lp) override;
  int CPXgetstat(CPXENVptr env, CPXLPptr lp) override;
  int CPXgetitcnt(CPXENVptr env, CPXLPptr lp) override;

  // ----- Solution -----
  int CPXgetobjval(CPXENVptr env, CPXLPptr lp, double* value) override;
  int CPXgetx(CPXENVptr env, CPXLPptr lp, double* x, int begin, int end) override;
  int CPXgetpi(CPXENVptr env, CPXLPptr lp, double* pi, int begin, int end) override;
  int CPXgetdj(CPXENVptr env, CPXLPptr lp, double* dj, int begin, int end) override;
  int CPXgetslack(CPXENVptr env, CPXLPptr lp, double* slack, int begin, int end) override;
};

}  // namespace planloc

#endif  // PLANLOC_ENGINE_CLP_LIBRARY_H_
