// What stands behind IlcManager. Users include manager.h.
#ifndef PLANLOC_ENGINE_MANAGER_IMPL_H_
#define PLANLOC_ENGINE_MANAGER_IMPL_H_

#include <cstdint>
#include <unordered_set>

#include "planloc/engine/expression_table.h"
#include "planloc/engine/float_exp_impl.h"
#include "planloc/engine/manager.h"

namespace planloc {

class IlcConstraintI;
class IlcLinearSolverI;

class IlcManagerI {
 public:
  explicit IlcManagerI(int mode);
  IlcManagerI(const IlcManagerI&) = delete;
  IlcManagerI& operator=(const IlcManagerI&) = delete;

  IlcHeap* getHeap() { return &heap_; }
  IlcHeap* getGlobalHeap() { return &global_heap_; }
  double getTime() const;
  int getStamp() const { return stamp_; }
  bool isInEditMode() const { return mode_ != IlcNoEdit; }
  double getDefaultPrecision() const { return default_precision_; }

  IlcErrorReporter* getErrorReporter() const { return reporter_; }
  void setErrorReporter(IlcErrorReporter* reporter) { reporter_ = reporter; }
  std::ostream& out() const { return *out_; }
  void setOut(std::ostream& out) { out_ = &out; }

  void add(IlcConstraintI* ct);
  bool isAdded(IlcConstraintI* ct) const { return constraints_.contains(ct); }
  void remove(IlcConstraintI* ct) { constraints_.erase(ct); }
  std::size_t getNumberOfConstraints() const { return constraints_.size(); }

  void fail(const char* label);
  int getNumberOfFails() const { return fails_; }
  void setFailHook(IlcManager::FailHook hook) { fail_hook_ = hook; }
  void useExceptions(bool use) { use_exceptions_ = use; }

  // The constant zero: a variable on the global heap, made on first use.
  IlcFloatVarI* getZero();
  bool isZero(const IlcFloatExpI* exp) const { return exp == zero_; }
  IlcExpressionTable& expressions() { return expressions_; }
  IlcVariableRange& variableRange() { return variable_range_; }

  // Moves with every change of a bound; a bound read at the same epoch is still right.
  std::uint32_t boundsEpoch() const { return bounds_epoch_; }
  void boundsChanged() { ++bounds_epoch_; }
  // Whether a range narrower than that of its operands was ever set on an expression.
  bool knowsRanges() const { return knows_ranges_; }
  void rangeSet() { knows_ranges_ = true; }

  // Optimisers that still own memory, to be ended before the manager goes. Not by its destructor,
  // since a report of the library may throw.
  void link(IlcLinearSolverI* solver) { solvers_.insert(solver); }
  void unlink(IlcLinearSolverI* solver) { solvers_.erase(solver); }
  void endSolvers();

 private:
  double start_time_;
  double default_precision_ = 1e-10;
  IlcHeap heap_;
  IlcHeap global_heap_;
  IlcErrorReporter* reporter_;
  int mode_;
  IlcFloatVarI* zero_ = nullptr;
  IlcExpressionTable expressions_;
  IlcVariableRange variable_range_;
  int stamp_ = 0;
  std::unordered_set<IlcConstraintI*> constraints_;
  std::unordered_set<IlcLinearSolverI*> solvers_;
  std::uint32_t bounds_epoch_ = 1;
  bool knows_ranges_ = false;
  int fails_ = 0;
  IlcManager::FailHook fail_hook_ = nullptr;
  bool use_exceptions_ = false;
  std::ostream* out_;
};

}  // namespace planloc

#endif  // PLANLOC_ENGINE_MANAGER_IMPL_H_
