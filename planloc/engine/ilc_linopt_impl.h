// The optimiser behind IlcLinOpt. Users include ilc_linopt.h.
#ifndef PLANLOC_ENGINE_ILC_LINOPT_IMPL_H_
#define PLANLOC_ENGINE_ILC_LINOPT_IMPL_H_

#include <cstdint>
#include <memory>
#include <new>
#include <vector>

#include "planloc/engine/ilc_cplex.h"
#include "planloc/engine/ilc_linopt.h"
#include "planloc/engine/linear_solver.h"
#include "planloc/engine/linopt_messages.h"
#include "planloc/engine/linopt_tables.h"
#include "planloc/engine/manager_impl.h"

namespace planloc {

// Lives on the manager's heap and owns adaptor, tables and scratch until end().
class IlcLinOptI final : public IlcLinearSolverI {
 public:
  // What the library says of a parameter.
  template <typename Value>
  struct ParamInfo {
    Value normal{};
    Value min{};
    Value max{};
  };

  // Of a column or a row; -1 for none.
  struct Index {
    int value = -1;
  };

  using Solve = int (IlcCplex::*)();
  using NetworkSolve = int (IlcCplex::*)(int extraction);

  IlcLinOptI(IlcManagerI* manager, bool linked, int b);

  void end() override;
  bool hasEnded() const { return cplex_ == nullptr; }
  void useExceptions(bool use);

  // ----- Model -----

  IlcFloatVar setObjMin(IlcFloatExp exp, int level) override;
  IlcFloatVar setObjMinTerms(IlcFloatArray coefficients, IlcFloatVarArray vars) override;
  IlcFloatVar setObjMax(IlcFloatExp exp, int level) override;
  IlcFloatVar setObjMaxTerms(IlcFloatArray coefficients, IlcFloatVarArray vars) override;
  void add(IlcConstraint ct, int level) override;
  void equal(IlcFloatArray coefficients, IlcFloatVarArray vars, double rhs) override;
  void lessOrEqual(IlcFloatArray coefficients, IlcFloatVarArray vars, double rhs) override;
  void greaterOrEqual(IlcFloatArray coefficients, IlcFloatVarArray vars, double rhs) override;
  void remove(IlcConstraint ct);
  void chgBounds(IlcFloatVar var, double lb, double ub);
  void chgLowerBound(IlcFloatVar var, double lb);
  void chgUpperBound(IlcFloatVar var, double ub);
  void addFloatSOS(int type, IlcFloatVarArray vars, IlcFloatArray weights);
  void addIntSOS(int type, IlcIntVarArray vars, IlcFloatArray weights);

  // ----- Parameters -----

  ParamInfo<int> getIntParamInfo(int number);
  ParamInfo<double> getFloatParamInfo(int number);

  // ----- Solve -----

  int solveLinear(Solve solve);
  int solveNetwork(NetworkSolve solve, int extraction);
  int solveNetworkByParam(NetworkSolve solve);
  int mipOpt();
  int optimize() override;
  void setFirstMethod(int method);
  void setSearchMethod(int method);
  IlcGoal getPiecewiseLinearGoal() const { return IlcGoal(); }

  // ----- Solution -----

  double getCurrentValue(IlcFloatVar var) override;
  double getObjValue();
  double getDualValue(IlcConstraint ct);
  double getSlackValue(IlcConstraint ct);
  double getReducedCost(IlcFloatVarI* var);
  int getSubproblemStatus();

  // ----- Basis and start -----

  IlcBasis getBasis();
  void fillBasis(IlcBasis basis);
  void setBasis(IlcBasis basis);
  void writeBasis(const char* file);
  void readBasis(const char* file);
  void setFloatStart(IlcFloatVarArray vars, IlcFloatArray values);
  void setIntStart(IlcIntVarArray vars, IlcIntArray values);
  // Null directions are left out.
  void setPriOrder(IlcIntVarArray vars, IlcIntArray priorities, const IlcIntArray* directions);

  // ----- Callbacks -----

  void setLPCallback(IlcCallback callback);
  void setMIPCallback(IlcCallback callback);
  IlcCallback getMIPCallback();

  // ----- Matrix -----

  IlcFloatVar getVar(int column);
  Index getVarIndex(IlcFloatVar var);
  Index getConstraintIndex(IlcConstraint ct);
  CPXENVptr getEnv();
  CPXLPptr getLp();
  void writeProblem(const char* file, const char* format);
  int getNumberOfRows() override;
  int getNumberOfColumns() override;
  int getNumberOfNonZeros() override;
  int getNumberOfIterations() override { return cplex_->getIterations(); }
  void printInformation() override;
  void display(std::ostream& out) const override;

  IlcCplex& cplex() { return *cplex_; }

 private:
  enum BoundSides { kLower = 1, kUpper = 2 };

  // Reused arrays, growing only.
  struct Scratch {
    std::vector<int> row_columns;  // of the row at hand
    std::vector<int> marker;       // one per column, -1 outside of the merge
    std::vector<double> lower;
    std::vector<double> upper;
    std::vector<int> changed_columns;
    std::vector<char> changed_sides;
    std::vector<double> changed_values;
  };

  ~IlcLinOptI() = default;

  bool isRefused(bool condition, const char* text) const;
  bool isRefusedOutsideOfEditMode(const char* text) const;
  template <typename Work>
  void reportingNoMemory(Work work) const;

  void extract(IlcConstraintI* ct, int level);
  void makeRow(IlcConstraintI* ct);
  void enterRow(IlcFloatArray coefficients, IlcFloatVarArray vars, char sense, double rhs);
  int mapTerms(IlcFloatArray coefficients, IlcFloatVarArray vars);
  IlcFloatVar setObj(IlcFloatExp exp, int level, int sense);
  IlcFloatVar enterObj(IlcFloatArray coefficients, IlcFloatVarArray vars, int sense);
  IlcFloatVar toVariable(IlcFloatExpI* exp);
  void allowMipAgain();
  void changeBounds(const linopt_message::BoundChange& messages, IlcFloatVarI* var, double lb,
                    double ub, int sides);
  template <typename Vars>
  void addSOS(int type, const Vars& vars, const IlcFloatArray& weights);

  class Flush;
  void flush();
  void flushIfDeferred();
  void updateMatrix();
  void synchroniseBounds();
  void prepareLinearSolve();
  int judged(int status) const;
  template <typename Vars, typename Values>
  void setStart(const Vars& vars, const Values& values);

  std::unique_ptr<IlcCplex> cplex_;
  IlcFloatVarI* objective_var_ = nullptr;  // set once the library holds objective coefficients
  std::unique_ptr<IlcColumnTable> columns_;
  std::unique_ptr<IlcRowTable> rows_;
  int active_ = 0;  // set: rows go out at once
  int posted_ = 0;  // set once the first flush has ended
  bool linked_;
  IlcErrorReporter* previous_reporter_;
  IlcMethod first_method_ = kIlcPrimal;
  // Of the manager when library and variables last had the same bounds.
  std::uint32_t synchronised_epoch_ = 0;

  std::unique_ptr<Scratch> scratch_;
};

// Runs the work of a member that reports missing memory.
template <typename Work>
void IlcLinOptI::reportingNoMemory(Work work) const {
  try {
    work();
  } catch (const std::bad_alloc&) {
    getManager()->getErrorReporter()->error(kIlcNoMemory, linopt_message::kNoMoreMemory);
  }
}

}  // namespace planloc

#endif  // PLANLOC_ENGINE_ILC_LINOPT_IMPL_H_
