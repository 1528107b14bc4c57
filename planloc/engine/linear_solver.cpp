#include "planloc/engine/linear_solver.h"

#include <algorithm>
#include <memory>
#include <utility>

#include "planloc/engine/manager_impl.h"

namespace planloc {
namespace {

constexpr int kScratchSize = 1000;

// The first n elements as an array of the heap.
template <typename Element>
IlcArrayI<Element>* copied(IlcHeap* heap, const Element* values, int n) {
  void* const memory = heap->allocate(sizeof(Element) * static_cast<std::size_t>(n));
  auto* const copy = static_cast<Element*>(memory);
  std::uninitialized_copy_n(values, n, copy);
  return new (heap) IlcArrayI<Element>{n, copy};
}

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
  auto* const record = new (getManager()->getHeap()) Pending{ct, level, nullptr};
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
  IlcHeap* const heap = getManager()->getHeap();
  return {copied(heap, coefficients_.getImpl()->values, term_count_),
          copied(heap, vars_.getImpl()->values, term_count_)};
}

}  // namespace planloc
