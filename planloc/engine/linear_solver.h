// The base of linear optimisers: a constraint of the manager that queues constraints, parses them
// and turns them into rows. IlcLinOptI (ilc_linopt_impl.h) is the optimiser on IlcCplex.
#ifndef PLANLOC_ENGINE_LINEAR_SOLVER_H_
#define PLANLOC_ENGINE_LINEAR_SOLVER_H_

#include "planloc/engine/arrays.h"
#include "planloc/engine/constraint.h"
#include "planloc/engine/float_exp_impl.h"

namespace planloc {

class IlcLinearSolverI : public IlcConstraintI, protected IlcRangeVisitor {
 public:
  // An optimiser is never propagated here; both report "Not implemented: IlcLinearSolverI::...".
  void post() override;
  void propagate() override;

  virtual IlcFloatVar setObjMin(IlcFloatExp exp, int level) = 0;
  virtual IlcFloatVar setObjMinTerms(IlcFloatArray coefficients, IlcFloatVarArray vars) = 0;
  virtual IlcFloatVar setObjMax(IlcFloatExp exp, int level) = 0;
  virtual IlcFloatVar setObjMaxTerms(IlcFloatArray coefficients, IlcFloatVarArray vars) = 0;
  // Rows: sum of coefficients[k] * vars[k] against rhs. The arrays may be rearranged.
  virtual void equal(IlcFloatArray coefficients, IlcFloatVarArray vars, double rhs) = 0;
  virtual void lessOrEqual(IlcFloatArray coefficients, IlcFloatVarArray vars, double rhs) = 0;
  virtual double getCurrentValue(IlcFloatVar var) = 0;
  virtual void end() = 0;
  virtual int optimize() = 0;
  virtual void add(IlcConstraint ct, int level) = 0;
  virtual void greaterOrEqual(IlcFloatArray coefficients, IlcFloatVarArray vars, double rhs) = 0;
  virtual void printInformation() = 0;
  virtual int getNumberOfRows() = 0;
  virtual int getNumberOfColumns() = 0;
  virtual int getNumberOfNonZeros() = 0;
  virtual int getNumberOfIterations() = 0;

 protected:
  struct Pending {
    IlcConstraintI* ct;
    int level;
    Pending* next;
  };

  // Terms and constant of a parse, as arrays of exactly the term count on the manager's heap.
  struct Terms {
    IlcFloatArray coefficients;
    IlcFloatVarArray vars;
  };

  explicit IlcLinearSolverI(IlcManagerI* manager);
  ~IlcLinearSolverI() = default;

  void enqueue(IlcConstraintI* ct, int level);
  // Takes the whole queue, which is left empty; the head of the records.
  Pending* takePending();
  // The queue anew, from records that were taken.
  void putBack(Pending* records);
  bool unlinkPending(IlcConstraintI* ct);
  Pending* firstPending() const { return pending_head_; }

  // Parse into the scratch arrays.
  void startParse();
  IlcConstraintI::Standing parse(IlcConstraintI* ct);
  void parse(IlcFloatExpI* exp);
  void append(double coefficient, IlcFloatVarI* var) {
    if (term_count_ == capacity_) growScratch();
    coefficients_.getImpl()->values[term_count_] = coefficient;
    vars_.getImpl()->values[term_count_] = var;
    ++term_count_;
  }
  int termCount() const { return term_count_; }
  double parsedConstant() const { return constant_; }
  Terms copyTerms() const;

  int deferred_ = 1;
  int substitute_ = 1;
  double precision_ = 1e-6;
  IlcFloatExpI* objective_ = nullptr;
  int objective_given_ = 0;

 private:
  friend class IlcLinearVisitor;

  void walk(IlcFloatExpI* exp, double coefficient) final;
  // The accumulator. Zero coefficients are dropped; with `substitute_` set, so are variables fixed
  // at zero, and other fixed variables are folded into the constant.
  void addTerm(double coefficient, IlcFloatVarI* var) final {
    if (coefficient == 0.0) return;
    IlcRangeVisitor::addTerm(coefficient, var);
    if (substitute_) {
      const double min = var->getMin();
      const double max = var->getMax();
      if (min == 0.0 && max == 0.0) return;
      if (min == max) {
        constant_ += coefficient * min;
        return;
      }
    }
    append(coefficient, var);
  }
  void addConstant(double constant) final {
    IlcRangeVisitor::addConstant(constant);
    constant_ += constant;
  }
  void growScratch();

  Pending* pending_head_ = nullptr;
  Pending* pending_tail_ = nullptr;
  IlcFloatArray coefficients_;
  IlcFloatVarArray vars_;
  int term_count_ = 0;
  int capacity_;
  double constant_ = 0.0;
};

}  // namespace planloc

#endif  // PLANLOC_ENGINE_LINEAR_SOLVER_H_
