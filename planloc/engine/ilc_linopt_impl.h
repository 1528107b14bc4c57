// The optimiser behind IlcLinOpt. Users include ilc_linopt.h.
#ifndef PLANLOC_ENGINE_ILC_LINOPT_IMPL_H_
#define PLANLOC_ENGINE_ILC_LINOPT_IMPL_H_

#include <cstdint>
#include <memory>
#include <vector>

#include "planloc/engine/ilc_cplex.h"
#include "planloc/engine/ilc_linopt.h"
#include "planloc/engine/linear_solver.h"
#include "planloc/engine/linopt_tables.h"

namespace planloc {

// Lives on the manager's heap and owns adaptor, tables and scratch until end().
class IlcLinOptI final : public IlcLinearSolverI {
 public:
  IlcLinOptI(IlcManagerI* manager, bool linked, int b);

  void end() override;
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
  void remove(IlcConstraintI* ct);
  void chgBounds(IlcFloatVarI* var, double lb, double ub);
  void chgLowerBound(IlcFloatVarI* var, double lb);
  void chgUpperBound(IlcFloatVarI* var, double ub);

  // ----- Solve -----

  int dualOpt();
  int primalOpt();
  void flush();
  void flushIfDeferred();

  // ----- Solution -----

  double getCurrentValue(IlcFloatVar var) override;
  double getObjValue() { return cplex_->getObjValue(); }
  double getDualValue(IlcConstraintI* ct);
  double getSlackValue(IlcConstraintI* ct);
  double getReducedCost(IlcFloatVarI* var);

  // ----- Matrix -----

  IlcFloatVar getVar(int column);
  int getVarIndex(IlcFloatVarI* var);
  int getConstraintIndex(IlcConstraintI* ct);
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

  void extract(IlcConstraintI* ct);
  void makeRow(IlcConstraintI* ct);
  void enterRow(IlcFloatArray coefficients, IlcFloatVarArray vars, char sense, double rhs);
  int mapTerms(IlcFloatArray coefficients, IlcFloatVarArray vars);
  IlcFloatVar setObj(IlcFloatExp exp, int level, int sense);
  IlcFloatVar enterObj(IlcFloatArray coefficients, IlcFloatVarArray vars, int sense);
  IlcFloatVar toVariable(IlcFloatExpI* exp);
  void allowMipAgain();
  void prepareSolve();
  int judged(int status) const;
  void synchroniseBounds();
  void changeBounds(const char* member, IlcFloatVarI* var, double lb, double ub, int sides);
  void report(const char* text) const;

  std::unique_ptr<IlcCplex> cplex_;
  IlcFloatVarI* objective_var_ = nullptr;  // set once the library holds objective coefficients
  std::unique_ptr<IlcColumnTable> columns_;
  std::unique_ptr<IlcRowTable> rows_;
  int active_ = 0;  // set: rows go out at once
  int posted_ = 0;  // set once the first flush has ended
  bool linked_;
  IlcErrorReporter* previous_reporter_;
  // Of the manager when library and variables last had the same bounds.
  std::uint32_t synchronised_epoch_ = 0;

  std::unique_ptr<Scratch> scratch_;
};

}  // namespace planloc

#endif  // PLANLOC_ENGINE_ILC_LINOPT_IMPL_H_
