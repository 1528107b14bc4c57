#include "planloc/engine/linear_solver.h"

#include <algorithm>
#include <utility>

#include "planloc/engine/manager_impl.h"

namespace planloc {
namespace {

constexpr int kScratchSize = 1000;

}  // namespace

IlcLinearSolverI::IlcLinearSolverI(IlcManagerI* manager)
    : IlcConstraintI(manager),
      IlcRangeVisitor(manager->variableRange()),
      coefficients_(manager, kScratchSize, 0.0),
      vars_(manager, kScratchSize),
      capacity_(kScratchSize) {}

void IlcLinearSolverI::post() {
  getManager()->getErrorReporter()->error(kIlcUsageError,
                                          "Not implemented: IlcLinearSolverI::post()");
}

void IlcLinearSolverI::propagate() {
  getManager()->getErrorReporter()->error(kIlcUsageError,
                                          "Not implemented: IlcLinearSolverI::propagate()");
}

// ----- Pending queue -----

void IlcLinearSolverI::enqueue(IlcConstraintI* ct, int level) {
  auto* const record = new (getManager()) Pending{ct, level, nullptr};
  (pending_tail_ ? pending_tail_->next : pending_head_) = record;
  pending_tail_ = record;
}

IlcLinearSolverI::Pending* IlcLinearSolverI::takePending() {
  pending_tail_ = nullptr;
  return std::exchange(pending_head_, nullptr);
}

void IlcLinearSolverI::putBack(Pending* records) {
  pending_head_ = pending_tail_ = records;
  while (pending_tail_ && pending_tail_->next) pending_tail_ = pending_tail_->next;
}

bool IlcLinearSolverI::unlinkPending(IlcConstraintI* ct) {
  Pending* before = nullptr;
  for (Pending* record = pending_head_; record; before = record, record = record->next) {
    if (record->ct != ct) continue;
    (before ? before->next : pending_head_) = record->next;
    if (pending_tail_ == record) pending_tail_ = before;
    return true;
  }
  return false;
}

// ----- Parse -----

void IlcLinearSolverI::append(double coefficient, IlcFloatVarI* var) {
  if (term_count_ == capacity_) growScratch();
  coefficients_.getImpl()->values[term_count_] = coefficient;
  vars_.getImpl()->values[term_count_] = var;
  ++term_count_;
}

void IlcLinearSolverI::addTerm(double coefficient, IlcFloatVarI* var) {
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

void IlcLinearSolverI::walk(IlcFloatExpI* exp, double coefficient) {
  walkWith(*this, exp, coefficient);
}

void IlcLinearSolverI::startParse() {
  term_count_ = 0;
  constant_ = 0.0;
}

IlcConstraintI::Standing IlcLinearSolverI::parse(IlcConstraintI* ct) {
  startParse();
  return ct->linJudge(*this);
}

void IlcLinearSolverI::parse(IlcFloatExpI* exp) {
  startParse();
  walk(exp, 1.0);
}

void IlcLinearSolverI::growScratch() {
  capacity_ *= 2;
  const IlcFloatArray coefficients(getManager(), capacity_, 0.0);
  const IlcFloatVarArray vars(getManager(), capacity_);
  std::copy_n(coefficients_.getImpl()->values, term_count_, coefficients.getImpl()->values);
  std::copy_n(vars_.getImpl()->values, term_count_, vars.getImpl()->values);
  coefficients_ = coefficients;
  vars_ = vars;
}

IlcLinearSolverI::Terms IlcLinearSolverI::copyTerms() const {
  const Terms terms{IlcFloatArray(getManager(), term_count_, 0.0),
                    IlcFloatVarArray(getManager(), term_count_)};
  std::copy_n(coefficients_.getImpl()->values, term_count_, terms.coefficients.getImpl()->values);
  std::copy_n(vars_.getImpl()->values, term_count_, terms.vars.getImpl()->values);
  return terms;
}

}  // namespace planloc
