// Callbacks: code of the user's that runs in the course of a solve, reads how far it is and can
// stop it. IlcCplex installs them.
#ifndef PLANLOC_ENGINE_ILC_CALLBACK_H_
#define PLANLOC_ENGINE_ILC_CALLBACK_H_

#include "planloc/engine/cplex_library.h"

namespace planloc {

class IlcCplex;

// Derive from this. An object must outlive its stay in an optimiser.
class IlcCallbackI {
 public:
  virtual ~IlcCallbackI() = default;

  // Called time and again; a result other than 0 stops the solve, whose status is then
  // CPX_STAT_ABORT_... or CPXMIP_ABORT_.... An exception stops it too and is thrown on by the call
  // that solves.
  virtual int execute() = 0;

  // Inside execute() only: where it is called from (an IlcCplexCallbackPlace), and the value of an
  // IlcCplexCallbackInfo, which goes into an int or a double. A code of the library is reported as
  // "IlcCallbackI::getCallbackInfo"; outside of execute() that is CPXERR_CALLBACK.
  int getWhere() const { return where_; }
  void getCallbackInfo(int which, void* result) const;
  int getIntInfo(int which) const;
  double getFloatInfo(int which) const;

 private:
  friend class IlcCplex;

  IlcCplex* cplex_ = nullptr;  // that runs it, null outside of a solve
  void* data_ = nullptr;
  int where_ = 0;
};

// Handle of a callback object, which it does not own.
class IlcCallback {
 public:
  IlcCallback() = default;
  IlcCallback(IlcCallbackI* impl) : impl_(impl) {}
  IlcCallbackI* getImpl() const { return impl_; }

 private:
  IlcCallbackI* impl_ = nullptr;
};

}  // namespace planloc

#endif  // PLANLOC_ENGINE_ILC_CALLBACK_H_
