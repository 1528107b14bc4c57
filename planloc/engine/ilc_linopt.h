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
#include <string>

#include "planloc/engine/arrays.h"
#include "planloc/engine/constraint.h"
#include "planloc/engine/cplex_library.h"
#include "planloc/engine/float_exp.h"
#include "planloc/engine/ilc_assert.h"
#include "planloc/engine/ilc_basis.h"
#include "planloc/engine/ilc_callback.h"
#include "planloc/engine/manager.h"

namespace planloc {

class IlcGoalI;
class IlcLinOptI;

// Handle of a goal of a search. No search runs here, so every one is empty.
class IlcGoal {
 public:
  IlcGoalI* getImpl() const { return nullptr; }
};

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

// Handle of an optimiser. A member of an empty handle, or of one whose optimiser has ended, reports
// "IlcLinOpt::<member> empty handle" or "IlcLinOpt::<member>: empty handle"; those that are not
// part of that family assert "_impl != 0".
class IlcLinOpt {
 public:
  IlcLinOpt() = default;
  // a: whether the optimiser works together with a search and releases the library before it
  // reports an error of it; 0 stands alone and throws. b has no effect.
  // Reports "IlcInitFloat has not been called".
  explicit IlcLinOpt(IlcManager m, int a = 1, int b = 1);
  template <std::convertible_to<IlcLinOptI*> Impl>
  IlcLinOpt(Impl impl) : impl_(impl) {}
  IlcLinOptI* getImpl() const { return impl_; }

  // Gives the library's side back. Variables and expressions stay on the manager's heap.
  void end();

  // Installs the throwing reporter (v != 0) or the one that the manager had before.
  void useExceptions(int v);

  const char* getName() const;  // null without one
  void setName(const char* name);

  // ----- Model -----

  // Minimise or maximise; return the objective variable. Level 0: the linear program only. Level 1:
  // the manager also gets "variable == exp". Level 2: only converts exp into a variable.
  // The objective's constant is carried by an extra column fixed at 1.
  IlcFloatVar setObjMin(IlcFloatExp exp, int level = 0);
  IlcFloatVar setObjMax(IlcFloatExp exp, int level = 0);

  // Level 0: the linear program. Level 1: the manager too. Level 2: the manager only.
  void add(IlcConstraint ct, int level = 0);
  // Edit mode only: "IlcLinOptI::remove : manager in IlcNoEdit mode". What the manager narrowed for
  // the constraint stays narrow.
  void remove(IlcConstraint ct);

  // Set the bounds of a variable and of its column, in edit mode only. A variable's own bounds only
  // get narrower. Report "IlcLinOptI::<member>: empty variable", "... : manager in IlcNoEdit mode",
  // "... : inconsistent bounds", in this order and before any change.
  void chgBounds(IlcFloatVar var, double lb, double ub);
  void chgBounds(IlcIntVar var, int lb, int ub);
  void chgLowerBound(IlcFloatVar var, double lb);
  void chgLowerBound(IlcIntVar var, int lb);
  void chgUpperBound(IlcFloatVar var, double ub);
  void chgUpperBound(IlcIntVar var, int ub);

  // A special ordered set: at most one of the variables (type 1), or two neighbours (type 2), are
  // not zero; the weights give their order. The program becomes mixed integer. Report
  // "IlcLinOptI::addSOS : empty array of variables", "... empty reference row", "... different
  // sizes for arrays".
  void addSOS(int type, IlcFloatVarArray vars, IlcFloatArray weights);
  void addSOS(int type, IlcIntVarArray vars, IlcFloatArray weights);

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
  int getParam(IlcCplexIntParam number);
  int getParam(IlcCplexBoolParam number);
  double getParam(IlcCplexFloatParam number);
  std::string getParam(IlcCplexStringParam number);
  int getParamDefault(IlcCplexIntParam number);
  int getParamDefault(IlcCplexBoolParam number);
  double getParamDefault(IlcCplexFloatParam number);
  std::string getParamDefault(IlcCplexStringParam number);
  int getParamMin(IlcCplexIntParam number);
  int getParamMin(IlcCplexBoolParam number);
  double getParamMin(IlcCplexFloatParam number);
  int getParamMax(IlcCplexIntParam number);
  int getParamMax(IlcCplexBoolParam number);
  double getParamMax(IlcCplexFloatParam number);
  // All to the library's own defaults, which are not those of a new optimiser.
  void setParamsDefault();

  // ----- Solve -----

  // Flush, solve, and return the library's status (IlcCplexStatus): 1 optimal, 2 infeasible, 3
  // unbounded. Integer variables may take any value within their bounds, except in mipOpt. With the
  // manager in IlcNoEdit mode a program that is infeasible or was given up makes the manager fail.
  int primalOpt();
  int dualOpt();
  // The network among the rows first. Without an argument, parameter CPX_PARAM_NETFIND tells how
  // rows are taken for it.
  int networkPrimalOpt();
  int networkPrimalOpt(int extraction);
  int networkDualOpt();
  int networkDualOpt(int extraction);
  // An interior point method, with a basic solution at its end; then the simplex named, from there.
  int barrierOpt();
  int barrierPrimalOpt();
  int barrierDualOpt();
  // Integer variables take whole numbers: 101 optimal, 102 optimal within the gap, 103 infeasible.
  // "IlcLinOptI::mipOpt manager in IlcNoEdit mode".
  int mipOpt();

  // Solves by the method set with setFirstMethod and narrows the objective variable to the optimum,
  // with the optimiser's precision on either side. Whether it was solved. Reports "optimize: no
  // objective function was defined".
  int optimize();
  // For optimize(): 0 primal, 1 dual, 2 and 3 the same after a network, 4 and 5 after a barrier.
  // Reports "IlcLinOpt::setFirstMethod: Bad method".
  void setFirstMethod(int method);
  // For a search, which does not run here: no effect. Reports "IlcLinOpt::setSearchMethod: Bad
  // method".
  void setSearchMethod(int method);
  // Goals that branch on the pieces of piecewise linear expressions, of which there are none.
  IlcGoal getPiecewiseLinearGenerateGoal();
  IlcGoal getPiecewiseLinearGenerateGoalCut();

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
  // Of mipOpt: what no solution can be better than, and the status of the last program that it
  // solved ("IlcLinOpt::getSubproblemStatus : manager in IlcNoEdit mode").
  double getBestObjValue();
  int getSubproblemStatus();

  // ----- Basis and start -----

  IlcBasis getBasis();
  // Takes the basis again into a handle that getBasis gave. "IlcLinOpt::fillBasis : empty handle".
  void fillBasis(IlcBasis basis);
  // Variables and constraints that are newer than the basis start at a bound and basic.
  // "IlcLinOpt::setBasis : empty handle for argument".
  void setBasis(IlcBasis basis);
  // Basis files of MPS.
  void writeBasis(const char* file);
  void readBasis(const char* file);

  // A start for mipOpt: values of some variables. "IlcLinOpt::setCurrentValue: Bad array sizes".
  void setCurrentValue(IlcFloatVarArray vars, IlcFloatArray values);
  void setCurrentValue(IlcIntVarArray vars, IlcIntArray values);

  // mipOpt branches on variables of higher priority first, in the direction given (an
  // IlcCplexBranch). Report "IlcLinOptI::setPriOrder : empty array of variables", "... array too
  // small" (no variables), "... sizes of arrays are different".
  void setPriOrder(IlcIntVarArray vars, IlcIntArray priorities);
  void setPriOrder(IlcIntVarArray vars, IlcIntArray priorities, IlcIntArray directions);

  // ----- Callbacks; the object must outlive its stay -----

  // "IlcLinOpt::setLPCallback : empty handle".
  void setLPCallback(IlcCallback callback);
  IlcCallback getLPCallback();  // an empty handle without one
  void unsetLPCallback();
  // "IlcLinOpt::setMIPCallback : empty handle for argument", and "IlcLinOpt::<member> : manager in
  // IlcNoEdit mode".
  void setMIPCallback(IlcCallback callback);
  IlcCallback getMIPCallback();
  void unsetMIPCallback();

  // ----- Matrix; all of it flushes first -----

  IlcFloatVar getVar(int column);            // empty for an index out of range
  int getVarIndex(IlcFloatVar var);          // -1 without a column
  int getConstraintIndex(IlcConstraint ct);  // -1 without a row
  CPXENVptr getCPXENVptr();
  CPXLPptr getCPXLPptr();
  // Format "MPS" or "LP"; null takes the ending of the name.
  void writeProblem(const char* file, const char* format = nullptr);

  // ----- Counters -----

  int getNumberOfRows();
  int getNumberOfColumns();
  int getNumberOfNonZeros();
  int getNumberOfIterations();  // of all solves
  // Of the last solve; docs/engine.md lists those that the library does not keep, which are 0.
  int getPhaseOneCount();
  int getNodeCount();
  int getNodeLeftCount();
  int getCrossPPushCount();
  int getCrossPExchCount();
  int getCrossDPushCount();
  int getCrossDExchCount();
  int getCliqueCount();
  int getCoverCount();
  // Five lines on the manager's output stream.
  void printInformation();

 private:
  bool isEmpty() const;
  IlcLinOptI* checked() const;
  template <typename Operation, typename... Args>
  auto run(const char* report, Operation operation, const Args&... args) const;

  IlcLinOptI* impl_ = nullptr;
};

// All rows, for debugging.
std::ostream& operator<<(std::ostream& out, IlcLinOpt lp);

}  // namespace planloc

#endif  // PLANLOC_ENGINE_ILC_LINOPT_H_
