// A library that writes down the calls it gets and passes them on, or fails them on demand.
#ifndef PLANLOC_TESTS_ENGINE_RECORDING_LIBRARY_H_
#define PLANLOC_TESTS_ENGINE_RECORDING_LIBRARY_H_

#include <algorithm>
#include <cstring>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "planloc/engine/clp_library.h"

namespace planloc {

class RecordingLibrary : public CplexLibrary {
 public:
  // One line per call: the name without CPX, then what matters of its arguments.
  std::vector<std::string> calls;
  // Return code of the next call of this name, which is then not passed on.
  std::map<std::string, int> fail_next;

  std::vector<std::string> take() { return std::exchange(calls, {}); }
  long count(const std::string& name) const {
    return std::count_if(calls.begin(), calls.end(), [&](const std::string& call) {
      return call.substr(0, call.find(' ')) == name;
    });
  }

  CPXENVptr CPXopenCPLEXdevelop(int* status) override {
    if ((*status = noted("openCPLEXdevelop"))) return nullptr;
    return clp_.CPXopenCPLEXdevelop(status);
  }
  int CPXcloseCPLEX(CPXENVptr* env) override {
    const int code = noted("closeCPLEX");
    const int result = clp_.CPXcloseCPLEX(env);
    return code ? code : result;
  }
  CPXLPptr CPXcreateprob(CPXENVptr env, int* status, const char* name) override {
    if ((*status = noted("createprob"))) return nullptr;
    return clp_.CPXcreateprob(env, status, name);
  }
  int CPXfreeprob(CPXENVptr env, CPXLPptr* lp) override {
    const int code = noted("freeprob");
    const int result = clp_.CPXfreeprob(env, lp);
    return code ? code : result;
  }
  char* CPXgeterrorstring(CPXENVptr env, int code, char* buffer) override {
    noted("geterrorstring", env ? code : -code);
    return clp_.CPXgeterrorstring(env, code, buffer);
  }
  int CPXsetintparam(CPXENVptr env, int number, int value) override {
    const int code = noted("setintparam", number, value);
    return code ? code : clp_.CPXsetintparam(env, number, value);
  }
  int CPXgetintparam(CPXENVptr env, int number, int* value) override {
    const int code = noted("getintparam", number);
    return code ? code : clp_.CPXgetintparam(env, number, value);
  }
  int CPXinfointparam(CPXENVptr env, int number, int* default_value, int* min_value,
                      int* max_value) override {
    const int code = noted("infointparam", number);
    return code ? code : clp_.CPXinfointparam(env, number, default_value, min_value, max_value);
  }
  int CPXsetdblparam(CPXENVptr env, int number, double value) override {
    const int code = noted("setdblparam", number, value);
    return code ? code : clp_.CPXsetdblparam(env, number, value);
  }
  int CPXsetstrparam(CPXENVptr env, int number, const char* value) override {
    const int code = noted("setstrparam", number, value);
    return code ? code : clp_.CPXsetstrparam(env, number, value);
  }
  int CPXnewcols(CPXENVptr env, CPXLPptr lp, int ccnt, const double* obj, const double* lb,
                 const double* ub, const char* ctype, char** colname) override {
    std::ostringstream args;
    for (int j = 0; j < ccnt; ++j) args << " [" << lb[j] << ',' << ub[j] << ']';
    if (ctype) args << " types " << std::string(ctype, static_cast<std::size_t>(ccnt));
    for (int j = 0; colname && j < ccnt; ++j) args << ' ' << colname[j];
    const int code = noted("newcols" + args.str());
    return code ? code : clp_.CPXnewcols(env, lp, ccnt, obj, lb, ub, ctype, colname);
  }
  int CPXaddrows(CPXENVptr env, CPXLPptr lp, int ccnt, int rcnt, int nzcnt, const double* rhs,
                 const char* sense, const int* rmatbeg, const int* rmatind, const double* rmatval,
                 char** colname, char** rowname) override {
    std::ostringstream args;
    for (int i = 0; i < rcnt; ++i) {
      args << (i ? "; " : " ");
      if (rowname) args << rowname[i] << ": ";
      const int end = i + 1 < rcnt ? rmatbeg[i + 1] : nzcnt;
      for (int k = rmatbeg[i]; k < end; ++k) args << rmatval[k] << " x" << rmatind[k] << ' ';
      args << sense[i] << ' ' << rhs[i];
    }
    const int code = noted("addrows" + args.str());
    return code ? code
                : clp_.CPXaddrows(env, lp, ccnt, rcnt, nzcnt, rhs, sense, rmatbeg, rmatind, rmatval,
                                  colname, rowname);
  }
  int CPXdelrows(CPXENVptr env, CPXLPptr lp, int begin, int end) override {
    const int code = noted("delrows", begin, end);
    return code ? code : clp_.CPXdelrows(env, lp, begin, end);
  }
  int CPXchgobj(CPXENVptr env, CPXLPptr lp, int cnt, const int* indices,
                const double* values) override {
    std::ostringstream args;
    for (int k = 0; k < cnt; ++k) args << ' ' << values[k] << " x" << indices[k];
    const int code = noted("chgobj" + args.str());
    return code ? code : clp_.CPXchgobj(env, lp, cnt, indices, values);
  }
  void CPXchgobjsen(CPXENVptr env, CPXLPptr lp, int maxormin) override {
    noted("chgobjsen", maxormin);
    clp_.CPXchgobjsen(env, lp, maxormin);
  }
  int CPXgetobjsen(CPXENVptr env, CPXLPptr lp) override { return clp_.CPXgetobjsen(env, lp); }
  int CPXchgbds(CPXENVptr env, CPXLPptr lp, int cnt, const int* indices, const char* lu,
                const double* bd) override {
    const int code = noted("chgbds" + bounds(cnt, indices, lu, bd));
    return code ? code : clp_.CPXchgbds(env, lp, cnt, indices, lu, bd);
  }
  int CPXtightenbds(CPXENVptr env, CPXLPptr lp, int cnt, const int* indices, const char* lu,
                    const double* bd) override {
    const int code = noted("tightenbds" + bounds(cnt, indices, lu, bd));
    return code ? code : clp_.CPXtightenbds(env, lp, cnt, indices, lu, bd);
  }
  int CPXchgname(CPXENVptr env, CPXLPptr lp, int key, int index, const char* name) override {
    const int code = noted("chgname", static_cast<char>(key), index, name);
    return code ? code : clp_.CPXchgname(env, lp, key, index, name);
  }
  int CPXgetlb(CPXENVptr env, CPXLPptr lp, double* lb, int begin, int end) override {
    const int code = noted("getlb", begin, end);
    return code ? code : clp_.CPXgetlb(env, lp, lb, begin, end);
  }
  int CPXgetub(CPXENVptr env, CPXLPptr lp, double* ub, int begin, int end) override {
    const int code = noted("getub", begin, end);
    return code ? code : clp_.CPXgetub(env, lp, ub, begin, end);
  }
  int CPXgetnumrows(CPXENVptr env, CPXLPptr lp) override { return clp_.CPXgetnumrows(env, lp); }
  int CPXgetnumcols(CPXENVptr env, CPXLPptr lp) override { return clp_.CPXgetnumcols(env, lp); }
  int CPXgetnumnz(CPXENVptr env, CPXLPptr lp) override { return clp_.CPXgetnumnz(env, lp); }
  int CPXgetprobtype(CPXENVptr env, CPXLPptr lp) override { return clp_.CPXgetprobtype(env, lp); }
  int CPXchgprobtype(CPXENVptr env, CPXLPptr lp, int type) override {
    const int code = noted("chgprobtype", type);
    return code ? code : clp_.CPXchgprobtype(env, lp, type);
  }
  int CPXprimopt(CPXENVptr env, CPXLPptr lp) override {
    const int code = noted("primopt");
    return code ? code : clp_.CPXprimopt(env, lp);
  }
  int CPXdualopt(CPXENVptr env, CPXLPptr lp) override {
    const int code = noted("dualopt");
    return code ? code : clp_.CPXdualopt(env, lp);
  }
  int CPXgetstat(CPXENVptr env, CPXLPptr lp) override { return clp_.CPXgetstat(env, lp); }
  int CPXgetitcnt(CPXENVptr env, CPXLPptr lp) override { return clp_.CPXgetitcnt(env, lp); }
  int CPXgetobjval(CPXENVptr env, CPXLPptr lp, double* value) override {
    const int code = noted("getobjval");
    return code ? code : clp_.CPXgetobjval(env, lp, value);
  }
  int CPXgetx(CPXENVptr env, CPXLPptr lp, double* x, int begin, int end) override {
    const int code = noted("getx", begin, end);
    return code ? code : clp_.CPXgetx(env, lp, x, begin, end);
  }
  int CPXgetpi(CPXENVptr env, CPXLPptr lp, double* pi, int begin, int end) override {
    const int code = noted("getpi", begin, end);
    return code ? code : clp_.CPXgetpi(env, lp, pi, begin, end);
  }
  int CPXgetdj(CPXENVptr env, CPXLPptr lp, double* dj, int begin, int end) override {
    const int code = noted("getdj", begin, end);
    return code ? code : clp_.CPXgetdj(env, lp, dj, begin, end);
  }
  int CPXgetslack(CPXENVptr env, CPXLPptr lp, double* slack, int begin, int end) override {
    const int code = noted("getslack", begin, end);
    return code ? code : clp_.CPXgetslack(env, lp, slack, begin, end);
  }

 private:
  static std::string bounds(int cnt, const int* indices, const char* lu, const double* bd) {
    std::ostringstream args;
    for (int k = 0; k < cnt; ++k) args << ' ' << lu[k] << " x" << indices[k] << ' ' << bd[k];
    return args.str();
  }

  template <typename... Args>
  int noted(const std::string& name, Args... args) {
    std::ostringstream call;
    call << name;
    ((call << ' ' << args), ...);
    calls.push_back(call.str());
    const auto found = fail_next.find(name.substr(0, name.find(' ')));
    if (found == fail_next.end()) return 0;
    const int code = found->second;
    fail_next.erase(found);
    return code;
  }

  ClpLibrary clp_;
};

}  // namespace planloc

#endif  // PLANLOC_TESTS_ENGINE_RECORDING_LIBRARY_H_
