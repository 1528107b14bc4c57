// The linear optimiser: takes an objective and constraints as expressions over float variables,
// makes columns and rows of them, solves, and gives values back by variable.
//
// An optimiser starts deferred: `add` queues and makes no library call. The first solve flushes the
// queue with one library call for all rows; from then on it is live, rows go out one by one, and a
// solve starts from the basis of the last one.
//
// A constraint that every value of its variables satisfies makes no row; one that is left with a
// single variable narrows that variable's bounds instead. Fixed variables are folded into the
// right-hand side.
//
// Failures go through the manager's reporter. An optimiser made with a = 0 installs one that throws
// IlcLinOptException.
#ifndef PLANLOC_ENGINE_ILC_LINOPT_H_
#define PLANLOC_ENGINE_ILC_LINOPT_H_

#include <concepts>
#include <exception>

#include "planloc/engine/arrays.h"
#include "planloc/engine/constraint.h"
#include "planloc/engine/cplex_library.h"
#include "planloc/engine/float_exp.h"
#include "planloc/engine/ilc_assert.h"
#include "planloc/engine/manager.h"

namespace planloc {

class IlcLinOptI;

// A failure of use or of the library: its code and its text.
class IlcLinOptException : public std::exception {
 public:
  static constexpr int kTextSize = 1024;  // with the final NUL, which is always there

  // Without a text: that of the library for the code, else the empty one.
  explicit IlcLinOptException(int code, const char* text = nullptr);

  int getCode() const { return code_; }
  const char* getText() const { return text_; }
  const char* what() const noexcept override { return text_; }

 private:
  int code_;
  char text_[kTextSize] = {};
};

// Handle of an optimiser. A member of an empty handle reports "IlcLinOpt::<member> empty handle" or
// "IlcLinOpt::<member>: empty handle"; those that are not part of that family assert "_impl != 0".
class IlcLinOpt {
 public:
  IlcLinOpt() = default;
  // a: whether the optimiser works together with a search and releases the library before it
  // reports an error of it; 0 stands alone and throws. b has no effect.
  // Reports "IlcInitFloat has not been called".
  explicit IlcLinOpt(IlcManager m, int a = 1, int b = 1);
  IlcLinOpt(IlcLinOptI* impl) : impl_(impl) {}
  IlcLinOptI* getImpl() const { return impl_; }

  // Gives the library's side back. Variables and expressions stay on the manager's heap.
  void end();

  // Installs the throwing reporter (v != 0) or the one that the manager had before.
  void useExceptions(int v);

  // ----- Model -----

  // Minimise or maximise; return the objective variable. Level 0: the linear program only. Level 1:
  // the manager also gets "variable == exp". Level 2: only converts exp into a variable.
  // The objective's constant is carried by an extra column fixed at 1.
  IlcFloatVar setObjMin(IlcFloatExp exp, int level = 0);
  IlcFloatVar setObjMax(IlcFloatExp exp, int level = 0);

  // Level 0: the linear program. Level 1: the manager too. Level 2: the manager only.
  void add(IlcConstraint ct, int level = 0);
  // Edit mode only: "IlcLinOptI::remove : manager in IlcNoEdit mode".
  void remove(IlcConstraint ct);

  // Set the bounds of a variable and of its column, in edit mode only. A variable's own bounds only
  // get narrower. Report "IlcLinOptI::<member>: empty variable", "... : manager in IlcNoEdit mode",
  // "... : inconsistent bounds", in this order and before any change.
  void chgBounds(IlcFloatVar var, double lb, double ub);
  void chgLowerBound(IlcFloatVar var, double lb);
  void chgUpperBound(IlcFloatVar var, double ub);

  // ----- Parameters -----

  void setParam(IlcCplexIntParam number, int value);
  void setParam(IlcCplexBoolParam number, int value);
  void setParam(IlcCplexFloatParam number, double value);
  void setParam(IlcCplexStringParam number, const char* value);
  // By bare number; the type of the value selects the kind of parameter.
  template <std::same_as<int> Number>
  void setParam(Number number, int value) {
    setParam(static_cast<IlcCplexIntParam>(number), value);
  }
  template <std::same_as<int> Number>
  void setParam(Number number, double value) {
    setParam(static_cast<IlcCplexFloatParam>(number), value);
  }
  template <std::same_as<int> Number>
  void setParam(Number number, const char* value) {
    setParam(static_cast<IlcCplexStringParam>(number), value);
  }

  // ----- Solve -----

  // Flush, solve, and return the library's status: 1 optimal, 2 infeasible, 3 unbounded, other
  // values as the library defines them.
  int dualOpt();
  int primalOpt();

  // ----- Solution -----

  // Clamped to the bounds of the variable. A variable without a column has the value of the
  // expression that it stands for; one without either has the value of its bounds nearest to 0,
  // since the program leaves it free.
  double getCurrentValue(IlcFloatVar var);
  double getObjValue();
  // 0 for a constraint without a row, which restricts nothing.
  double getDualValue(IlcConstraint ct);
  // "IlcLinOptI::getSlackValue : unknown constraint" for a constraint without a row.
  double getSlackValue(IlcConstraint ct);
  // 0 for a variable without a column.
  double getReducedCost(IlcFloatVar var);

  // ----- Matrix; all of it flushes first -----

  IlcFloatVar getVar(int column);            // empty for an index out of range
  int getVarIndex(IlcFloatVar var);          // -1 without a column
  int getConstraintIndex(IlcConstraint ct);  // -1 without a row
  CPXENVptr getCPXENVptr();
  CPXLPptr getCPXLPptr();
  int getNumberOfRows();
  int getNumberOfColumns();
  int getNumberOfNonZeros();
  int getNumberOfIterations();
  // Five lines on the manager's output stream.
  void printInformation();

 private:
  bool isEmpty(const char* report) const;
  IlcLinOptI* checked() const {
    detail::ilc_assert(impl_ != nullptr, "_impl != 0");
    return impl_;
  }

  IlcLinOptI* impl_ = nullptr;
};

// All rows, for debugging.
std::ostream& operator<<(std::ostream& out, IlcLinOpt lp);

}  // namespace planloc

#endif  // PLANLOC_ENGINE_ILC_LINOPT_H_
