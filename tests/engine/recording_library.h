// A library that writes down the calls it gets and passes them on; their codes can be replaced.
#ifndef PLANLOC_TESTS_ENGINE_RECORDING_LIBRARY_H_
#define PLANLOC_TESTS_ENGINE_RECORDING_LIBRARY_H_

#include <algorithm>
#include <map>
#include <sstream>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "planloc/engine/clp_library.h"

namespace planloc {

class RecordingLibrary : public ClpLibrary {
 public:
  // One line per call: the name without CPX, then what matters of its arguments.
  std::vector<std::string> calls;
  // What the next call of this name returns instead of its own code.
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
    return pass("closeCPLEX", &CplexLibrary::CPXcloseCPLEX, env);
  }
  CPXLPptr CPXcreateprob(CPXENVptr env, int* status, const char* name) override {
    if ((*status = noted("createprob"))) return nullptr;
    return clp_.CPXcreateprob(env, status, name);
  }
  int CPXfreeprob(CPXENVptr env, CPXLPptr* lp) override {
    return pass("freeprob", &CplexLibrary::CPXfreeprob, env, lp);
  }
  char* CPXgeterrorstring(CPXENVptr env, int code, char* buffer) override {
    noted(env ? "geterrorstring" : "geterrorstring without environment");
    return clp_.CPXgeterrorstring(env, code, buffer);
  }
  int CPXsetintparam(CPXENVptr env, int number, int value) override {
    return pass("setintparam", &CplexLibrary::CPXsetintparam, env, number, value);
  }
  int CPXgetintparam(CPXENVptr env, int number, int* value) override {
    return pass("getintparam", &CplexLibrary::CPXgetintparam, env, number, value);
  }
  int CPXinfointparam(CPXENVptr env, int number, int* normal, int* min, int* max) override {
    return pass("infointparam", &CplexLibrary::CPXinfointparam, env, number, normal, min, max);
  }
  int CPXsetdblparam(CPXENVptr env, int number, double value) override {
    return pass("setdblparam", &CplexLibrary::CPXsetdblparam, env, number, value);
  }
  int CPXsetstrparam(CPXENVptr env, int number, const char* value) override {
    return pass("setstrparam", &CplexLibrary::CPXsetstrparam, env, number, value);
  }
  int CPXnewcols(CPXENVptr env, CPXLPptr lp, int n, const double* obj, const double* lb,
                 const double* ub, const char* types, char** names) override {
    std::ostringstream text("newcols", std::ios::ate);
    for (int j = 0; j < n; ++j) text << " [" << lb[j] << ',' << ub[j] << ']';
    if (types) text << " types " << std::string(types, static_cast<std::size_t>(n));
    for (int j = 0; names && j < n; ++j) text << ' ' << names[j];
    return pass_noted(text, &CplexLibrary::CPXnewcols, env, lp, n, obj, lb, ub, types, names);
  }
  int CPXaddrows(CPXENVptr env, CPXLPptr lp, int ccnt, int n, int nonzeros, const double* rhs,
                 const char* sense, const int* starts, const int* indices, const double* values,
                 char** columns, char** rows) override {
    std::ostringstream text("addrows", std::ios::ate);
    for (int i = 0; i < n; ++i) {
      text << (i ? "; " : " ") << (rows ? rows[i] : "") << (rows ? ": " : "");
      const int end = i + 1 < n ? starts[i + 1] : nonzeros;
      for (int k = starts[i]; k < end; ++k) text << values[k] << " x" << indices[k] << ' ';
      text << sense[i] << ' ' << rhs[i];
    }
    return pass_noted(text, &CplexLibrary::CPXaddrows, env, lp, ccnt, n, nonzeros, rhs, sense,
                      starts, indices, values, columns, rows);
  }
  int CPXdelrows(CPXENVptr env, CPXLPptr lp, int begin, int end) override {
    return pass("delrows", &CplexLibrary::CPXdelrows, env, lp, begin, end);
  }
  int CPXchgobj(CPXENVptr env, CPXLPptr lp, int n, const int* indices,
                const double* values) override {
    std::ostringstream text("chgobj", std::ios::ate);
    for (int k = 0; k < n; ++k) text << ' ' << values[k] << " x" << indices[k];
    return pass_noted(text, &CplexLibrary::CPXchgobj, env, lp, n, indices, values);
  }
  void CPXchgobjsen(CPXENVptr env, CPXLPptr lp, int maxormin) override {
    noted("chgobjsen " + std::to_string(maxormin));
    clp_.CPXchgobjsen(env, lp, maxormin);
  }
  int CPXchgbds(CPXENVptr env, CPXLPptr lp, int n, const int* indices, const char* lu,
                const double* bd) override {
    return pass_bounds("chgbds", &CplexLibrary::CPXchgbds, env, lp, n, indices, lu, bd);
  }
  int CPXtightenbds(CPXENVptr env, CPXLPptr lp, int n, const int* indices, const char* lu,
                    const double* bd) override {
    return pass_bounds("tightenbds", &CplexLibrary::CPXtightenbds, env, lp, n, indices, lu, bd);
  }
  int CPXchgname(CPXENVptr env, CPXLPptr lp, int key, int index, const char* name) override {
    return pass("chgname", &CplexLibrary::CPXchgname, env, lp, key, index, name);
  }
  int CPXgetlb(CPXENVptr env, CPXLPptr lp, double* lb, int begin, int end) override {
    return pass("getlb", &CplexLibrary::CPXgetlb, env, lp, lb, begin, end);
  }
  int CPXgetub(CPXENVptr env, CPXLPptr lp, double* ub, int begin, int end) override {
    return pass("getub", &CplexLibrary::CPXgetub, env, lp, ub, begin, end);
  }
  int CPXchgprobtype(CPXENVptr env, CPXLPptr lp, int type) override {
    return pass("chgprobtype", &CplexLibrary::CPXchgprobtype, env, lp, type);
  }
  int CPXprimopt(CPXENVptr env, CPXLPptr lp) override {
    return pass("primopt", &CplexLibrary::CPXprimopt, env, lp);
  }
  int CPXdualopt(CPXENVptr env, CPXLPptr lp) override {
    return pass("dualopt", &CplexLibrary::CPXdualopt, env, lp);
  }
  int CPXgetobjval(CPXENVptr env, CPXLPptr lp, double* value) override {
    return pass("getobjval", &CplexLibrary::CPXgetobjval, env, lp, value);
  }
  int CPXgetx(CPXENVptr env, CPXLPptr lp, double* x, int begin, int end) override {
    return pass("getx", &CplexLibrary::CPXgetx, env, lp, x, begin, end);
  }
  int CPXgetpi(CPXENVptr env, CPXLPptr lp, double* pi, int begin, int end) override {
    return pass("getpi", &CplexLibrary::CPXgetpi, env, lp, pi, begin, end);
  }
  int CPXgetdj(CPXENVptr env, CPXLPptr lp, double* dj, int begin, int end) override {
    return pass("getdj", &CplexLibrary::CPXgetdj, env, lp, dj, begin, end);
  }
  int CPXgetslack(CPXENVptr env, CPXLPptr lp, double* slack, int begin, int end) override {
    return pass("getslack", &CplexLibrary::CPXgetslack, env, lp, slack, begin, end);
  }

  int CPXhybbaropt(CPXENVptr env, CPXLPptr lp, int method) override {
    return pass("hybbaropt", &CplexLibrary::CPXhybbaropt, env, lp, method);
  }
  int CPXhybnetopt(CPXENVptr env, CPXLPptr lp, int method) override {
    return pass("hybnetopt", &CplexLibrary::CPXhybnetopt, env, lp, method);
  }
  int CPXgetmipx(CPXENVptr env, CPXLPptr lp, double* x, int begin, int end) override {
    return pass("getmipx", &CplexLibrary::CPXgetmipx, env, lp, x, begin, end);
  }
  int CPXgetmipslack(CPXENVptr env, CPXLPptr lp, double* slack, int begin, int end) override {
    return pass("getmipslack", &CplexLibrary::CPXgetmipslack, env, lp, slack, begin, end);
  }
  int CPXcopysos(CPXENVptr env, CPXLPptr lp, int sets, int n, const char* types,
                 const int* priorities, const int* starts, const int* columns,
                 const double* weights) override {
    std::ostringstream text("copysos", std::ios::ate);
    for (int k = 0; k < sets; ++k) {
      text << (k ? "; S" : " S") << types[k];
      for (int i = starts[k]; i < (k + 1 < sets ? starts[k + 1] : n); ++i) {
        text << " x" << columns[i] << ':' << weights[i];
      }
    }
    return pass_noted(text, &CplexLibrary::CPXcopysos, env, lp, sets, n, types, priorities, starts,
                      columns, weights);
  }

 private:
  int noted(const std::string& call) {
    calls.push_back(call);
    const auto failing = fail_next.extract(call.substr(0, call.find(' ')));
    return failing ? failing.mapped() : 0;
  }

  template <typename Operation, typename... Args>
  int pass_noted(const std::ostringstream& call, Operation operation, Args... args) {
    const int code = noted(call.str());
    const int own_code = (clp_.*operation)(args...);
    return code ? code : own_code;
  }

  // Notes the numbers and the texts among the arguments.
  template <typename Operation, typename... Args>
  int pass(const char* name, Operation operation, Args... args) {
    std::ostringstream call(name, std::ios::ate);
    const auto note = [&call](auto argument) {
      if constexpr (std::is_same_v<decltype(argument), const char*>) {
        call << ' ' << (argument ? argument : "none");
      } else if constexpr (!std::is_pointer_v<decltype(argument)>) {
        call << ' ' << argument;
      }
    };
    (note(args), ...);
    return pass_noted(call, operation, args...);
  }

  template <typename Operation>
  int pass_bounds(const char* name, Operation operation, CPXENVptr env, CPXLPptr lp, int n,
                  const int* indices, const char* lu, const double* bd) {
    std::ostringstream call(name, std::ios::ate);
    for (int k = 0; k < n; ++k) call << ' ' << lu[k] << " x" << indices[k] << ' ' << bd[k];
    return pass_noted(call, operation, env, lp, n, indices, lu, bd);
  }

  ClpLibrary clp_;
};

}  // namespace planloc

#endif  // PLANLOC_TESTS_ENGINE_RECORDING_LIBRARY_H_
