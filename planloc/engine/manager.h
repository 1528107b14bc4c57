// The engine's context: one manager per run, made after IlcInitFloat. It owns the heap on which
// models live, the clock, the error reporter, the table of shared expressions and the constraints
// that it was given. Models are built with float_exp.h, arrays.h and constraint.h and solved with
// ilc_linopt.h.
//
// Threads: each may have managers of its own, and uses a manager, its objects and its optimisers
// alone; what they compute does not depend on the other threads. The current manager is that of the
// thread.
#ifndef PLANLOC_ENGINE_MANAGER_H_
#define PLANLOC_ENGINE_MANAGER_H_

#include <concepts>
#include <exception>
#include <iosfwd>

#include "planloc/engine/error_reporter.h"
#include "planloc/engine/heap.h"

namespace planloc {

class IlcConstraint;
class IlcManager;
class IlcManagerI;

// Plus infinity; minus infinity is its negation.
extern double IlcInfinity;

// Starts the float subsystem: sets IlcInfinity and fixes rounding to nearest in the calling thread.
// Call it before the manager is made.
void IlcInitFloat();
bool ilc_float_started();

// Thrown by IlcManager::fail once IlcManager::useExceptions is on.
class IlcFailException : public std::exception {
 public:
  const char* what() const noexcept override { return "fail"; }
};

// Edit modes of a manager. In edit mode a model may change between solves, and infeasibility is a
// status, not a failure.
inline constexpr int IlcNoEdit = 0;
inline constexpr int IlcEdit = 1;

// Handle of a manager. Every member of an empty handle reports code 39, "<member> : empty manager".
class IlcManager {
 public:
  using FailHook = void (*)(IlcManager manager);

  IlcManager() = default;
  // Makes a manager, which becomes the current one of the thread. `mode` is IlcEdit or IlcNoEdit.
  explicit IlcManager(int mode);
  template <std::convertible_to<IlcManagerI*> Impl>
  IlcManager(Impl impl) : impl_(impl) {}
  IlcManagerI* getImpl() const { return impl_; }

  // Destroys the manager with its heaps; all handles of its objects become invalid. Call it on the
  // thread that made the manager, where it may be the current one.
  void end();

  IlcHeap* getHeap() const;
  IlcHeap* getGlobalHeap() const;  // for objects that outlive a reset of the heap
  double getTime() const;          // process time in seconds, to the millisecond, since creation
  int getStamp() const;            // moves with the search state only, so it is constant here
  int isInEditMode() const;
  double getDefaultPrecision() const;  // of new float variables

  IlcErrorReporter* getErrorReporter() const;
  void setErrorReporter(IlcErrorReporter* reporter);

  // Adds a constraint: narrows the bounds of its operands at once. Bounds without a common value
  // make the manager fail.
  void add(IlcConstraint ct);
  int isAdded(IlcConstraint ct) const;
  void remove(IlcConstraint ct);  // the narrowed bounds stay

  // For a search that takes changes back. None runs here, so nothing is kept.
  void saveValue(void* address);

  // Counts the failure and calls the hook. No search runs here, so it then reports "fail not in a
  // Solve (try enclosing in IlcSolve)", with " : Label " and the label if one is given, or throws
  // IlcFailException after useExceptions(1).
  void fail(const char* label = nullptr);
  int getNumberOfFails() const;
  void setFailHook(FailHook hook);
  void useExceptions(int use);

  // Where optimisers write their information: standard output unless set.
  std::ostream& out() const;
  void setOut(std::ostream& out);
  // Numbers of failures and constraints, memory used.
  void printInformation() const;

 private:
  IlcManagerI* checked(const char* member) const {
    if (!impl_) reportEmpty(member);
    return impl_;
  }
  [[noreturn]] static void reportEmpty(const char* member);

  IlcManagerI* impl_ = nullptr;
};

// The current manager of the thread. Without one both report "no manager".
IlcManager IlcGetManager();
IlcManagerI* IlcGetManagerI();

}  // namespace planloc

#endif  // PLANLOC_ENGINE_MANAGER_H_
