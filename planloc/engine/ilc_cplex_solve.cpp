// IlcCplex: solves, the cached solution, callbacks.
#include <new>
#include <stdexcept>
#include <utility>

#include "planloc/engine/ilc_cplex.h"

namespace planloc {

// ----- Solve -----

void IlcCplex::countIterations(bool as_mip) {
  iterations_ += as_mip ? library_.CPXgetmipitcnt(env_, lp_) : library_.CPXgetitcnt(env_, lp_);
}

// After a solve that returned `code`; the status.
int IlcCplex::finishSolve(const char* name, int code, bool as_mip) {
  invalidateCaches();
  if (std::exception_ptr thrown = std::exchange(environment().thrown, nullptr)) {
    std::rethrow_exception(thrown);
  }
  test(name, code);
  const int status = library_.CPXgetstat(env_, lp_);
  solved_as_mip_ = as_mip;
  countIterations(as_mip);
  return status;
}

int IlcCplex::primalOpt() {
  return finishSolve("IlcCplex::primalOpt", library_.CPXprimopt(env_, lp_), false);
}

int IlcCplex::dualOpt() {
  return finishSolve("IlcCplex::dualOpt", library_.CPXdualopt(env_, lp_), false);
}

int IlcCplex::finishBarrier(const char* name, int code) {
  const int status = finishSolve(name, code, false);
  iterations_ += library_.CPXgetbaritcnt(env_, lp_);
  return status;
}

int IlcCplex::barrierOpt() {
  return finishBarrier("IlcCplex::barrierOpt", library_.CPXbaropt(env_, lp_));
}

int IlcCplex::barrierPrimalOpt() {
  return finishBarrier("IlcCplex::barrierPrimalOpt", library_.CPXhybbaropt(env_, lp_, 'p'));
}

int IlcCplex::barrierDualOpt() {
  return finishBarrier("IlcCplex::barrierDualOpt", library_.CPXhybbaropt(env_, lp_, 'd'));
}

int IlcCplex::solveByNetwork(int extraction, int method) {
  const int before = getIntParam(CPX_PARAM_NETFIND);
  if (before != extraction) setIntParam(CPX_PARAM_NETFIND, extraction);
  const int code = library_.CPXhybnetopt(env_, lp_, method);
  if (before != extraction) setIntParam(CPX_PARAM_NETFIND, before);
  // The name of both: intended, it is the one that users know.
  return finishSolve("IlcCplex::netPrimalOpt", code, false);
}

int IlcCplex::netPrimalOpt(int extraction) { return solveByNetwork(extraction, 'p'); }

int IlcCplex::netDualOpt(int extraction) { return solveByNetwork(extraction, 'd'); }

int IlcCplex::mipOpt() {
  return finishSolve("IlcCplex::mipOpt", library_.CPXmipopt(env_, lp_), true);
}

int IlcCplex::getSubStatus() { return library_.CPXgetsubstat(env_, lp_); }

// ----- Solves for a search -----

void IlcCplex::setFirstSolveParams() {
  setIntParam(CPX_PARAM_AGGIND, -1);
  setIntParam(CPX_PARAM_PREIND, 1);
  setIntParam(CPX_PARAM_PPRIIND, 0);
  setIntParam(CPX_PARAM_DPRIIND, 0);
  setIntParam(CPX_PARAM_ADVIND, 0);
}

bool IlcCplex::optimize(IlcMethod method, int extraction) {
  setToLP();
  const bool dual = method == kIlcDual || method == kIlcNetworkDual || method == kIlcBarrierDual;
  const bool network = method == kIlcNetworkPrimal || method == kIlcNetworkDual;
  const bool barrier = method == kIlcBarrierPrimal || method == kIlcBarrierDual;
  if (network) {
    setIntParam(CPX_PARAM_NETFIND, extraction);
    setIntParam(CPX_PARAM_ADVIND, 1);
    library_.CPXhybnetopt(env_, lp_, dual ? 'd' : 'p');
    countIterations(false);
  } else if (barrier) {
    const int code = library_.CPXhybbaropt(env_, lp_, dual ? 'd' : 'p');
    setIntParam(CPX_PARAM_ADVIND, 1);
    iterations_ += library_.CPXgetbaritcnt(env_, lp_);
    countIterations(false);
    if (code != 0) manager_.fail();
  }
  const bool solved = dual ? solveByDual() : solveByPrimal();
  if (network || barrier) setIntParam(CPX_PARAM_ADVIND, 0);
  return solved;
}

// A program without a solution is a result in edit mode and a failure otherwise.
bool IlcCplex::failed() {
  if (!manager_.isInEditMode()) manager_.fail();
  return false;
}

int IlcCplex::runSimplex(Solve method) {
  const int code = (library_.*method)(env_, lp_);
  invalidateCaches();
  solved_as_mip_ = false;
  countIterations(false);
  if (std::exception_ptr thrown = std::exchange(environment().thrown, nullptr)) {
    std::rethrow_exception(thrown);
  }
  return code;
}

bool IlcCplex::solveByPrimal() {
  const int code = runSimplex(&CplexLibrary::CPXprimopt);
  if (code != 0) return recover(code);
  const int status = library_.CPXgetstat(env_, lp_);
  if (status == CPX_STAT_NONE || status == CPX_STAT_INFEASIBLE) return failed();
  return status != CPX_STAT_UNBOUNDED;
}

bool IlcCplex::solveByDual() {
  const int code = runSimplex(&CplexLibrary::CPXdualopt);
  if (code != 0) return recover(code);
  int status = library_.CPXgetstat(env_, lp_);
  if (status == CPX_STAT_NONE || status == CPX_STAT_UNBOUNDED) return failed();
  if (status == CPX_STAT_INFEASIBLE && !manager_.isInEditMode()) {
    runSimplex(&CplexLibrary::CPXprimopt);
    status = library_.CPXgetstat(env_, lp_);
    if (status == CPX_STAT_INFEASIBLE) manager_.fail();
  }
  return status != CPX_STAT_INFEASIBLE;
}

// After a solve that the library refused: once more without presolve and aggregator. Never solved.
bool IlcCplex::recover(int code) {
  if (manager_.isInEditMode()) return false;
  if (code != CPXERR_PRESOLVE) manager_.fail();
  setIntParam(CPX_PARAM_AGGIND, 0);
  setIntParam(CPX_PARAM_PREIND, 0);
  const int again = runSimplex(&CplexLibrary::CPXprimopt);
  const int status = library_.CPXgetstat(env_, lp_);
  if (again != 0 || status == CPX_STAT_NONE || status == CPX_STAT_INFEASIBLE) manager_.fail();
  return false;
}

// ----- Solution -----

void IlcCplex::fill(Cache& cache, int length, Read linear, Read mip, const char* memory_report,
                    const char* name, bool solve_without_solution) {
  try {
    cache.values.resize(static_cast<std::size_t>(length));
  } catch (const std::bad_alloc&) {
    return manager_.getErrorReporter()->error(kIlcNoMemory, memory_report);
  }
  double* const values = cache.values.data();
  int code = (library_.*(solved_as_mip_ ? mip : linear))(env_, lp_, values, 0, length - 1);
  if (code == CPXERR_NO_SOLN && solve_without_solution) {
    setToLP();
    library_.CPXprimopt(env_, lp_);
    solved_as_mip_ = false;
    code = (library_.*linear)(env_, lp_, values, 0, length - 1);
  }
  test(name, code);
  cache.valid = true;
}

double IlcCplex::getCurrentValue(int column) {
  if (!x_.valid) {
    fill(x_, getNumCols(), &CplexLibrary::CPXgetx, &CplexLibrary::CPXgetmipx,
         "IlcCplex::getCurrentValue: No more memory", "IlcCplex::getCurrentValue",
         !manager_.isInEditMode());
  }
  return x_.values[static_cast<std::size_t>(column)];
}

double IlcCplex::getReducedCost(int column) {
  if (!dj_.valid) {
    fill(dj_, getNumCols(), &CplexLibrary::CPXgetdj, &CplexLibrary::CPXgetdj,
         "IlcCplex::updateReducedCost: No more memory", "IlcCplex::updateReducedCost",
         !manager_.isInEditMode() || close_on_error_);
  }
  return dj_.values[static_cast<std::size_t>(column)];
}

double IlcCplex::getDualValue(int row) {
  if (!pi_.valid) {
    fill(pi_, getNumRows(), &CplexLibrary::CPXgetpi, &CplexLibrary::CPXgetpi,
         "IlcCplex::updateDualValue: No more memory", "IlcCplex::updateDuals",
         !manager_.isInEditMode());
  }
  return pi_.values[static_cast<std::size_t>(row)];
}

double IlcCplex::getSlackValue(int row) {
  if (!slack_.valid) {
    fill(slack_, getNumRows(), &CplexLibrary::CPXgetslack, &CplexLibrary::CPXgetmipslack,
         "IlcCplex::updateSlackValue: No more memory", "IlcCplex::updateSlackValue",
         !manager_.isInEditMode());
  }
  return slack_.values[static_cast<std::size_t>(row)];
}

double IlcCplex::readObjValue(ReadValue read, const char* name) {
  double value = 0.0;
  test(name, (library_.*read)(env_, lp_, &value));
  return value;
}

double IlcCplex::getObjValue() {
  return readObjValue(&CplexLibrary::CPXgetobjval, "IlcCplex::getObjValue");
}

double IlcCplex::getMIPObjValue() {
  return readObjValue(&CplexLibrary::CPXgetmipobjval, "IlcCplex::getMIPObjValue");
}

double IlcCplex::getBestObjValue() {
  return readObjValue(&CplexLibrary::CPXgetbestobjval, "IlcCplex::getBestObjValue");
}

// ----- Callbacks -----

// What the library calls. Its code is not made for exceptions, so they wait for the end of the
// solve.
int IlcCplex::call(CPXENVptr, void* data, int where, void* handle) noexcept {
  auto* const callback = static_cast<IlcCallbackI*>(handle);
  callback->data_ = data;
  callback->where_ = where;
  int stop = 1;
  try {
    stop = callback->execute();
  } catch (...) {
    environment().thrown = std::current_exception();
  }
  callback->data_ = nullptr;
  callback->where_ = 0;
  return stop;
}

void IlcCplex::setLPCallback(IlcCallback callback) {
  if (!callback.getImpl()) return unsetLPCallback();
  callback.getImpl()->cplex_ = this;
  holds_lp_callback_ = true;
  test("IlcCplex::setLPCallback", library_.CPXsetlpcallbackfunc(env_, &call, callback.getImpl()));
}

void IlcCplex::unsetLPCallback() {
  holds_lp_callback_ = false;
  test("IlcCplex::unsetLPCallback", library_.CPXsetlpcallbackfunc(env_, nullptr, nullptr));
}

void IlcCplex::setMIPCallback(IlcCallback callback) {
  if (!callback.getImpl()) return unsetMIPCallback();
  callback.getImpl()->cplex_ = this;
  holds_mip_callback_ = true;
  test("IlcCplex::setMIPCallback", library_.CPXsetmipcallbackfunc(env_, &call, callback.getImpl()));
}

void IlcCplex::unsetMIPCallback() {
  holds_mip_callback_ = false;
  test("IlcCplex::unsetMIPCallback", library_.CPXsetmipcallbackfunc(env_, nullptr, nullptr));
}

IlcCallback IlcCplex::getLPCallback() {
  CPXcallbackfunc function = nullptr;
  void* handle = nullptr;
  library_.CPXgetlpcallbackfunc(env_, &function, &handle);
  return function == &call ? static_cast<IlcCallbackI*>(handle) : nullptr;
}

IlcCallback IlcCplex::getMIPCallback() {
  CPXcallbackfunc function = nullptr;
  void* handle = nullptr;
  library_.CPXgetmipcallbackfunc(env_, &function, &handle);
  return function == &call ? static_cast<IlcCallbackI*>(handle) : nullptr;
}

// Nothing is released in the middle of a solve, so this is not test().
void IlcCallbackI::getCallbackInfo(int which, void* result) const {
  const char* const name = "IlcCallbackI::getCallbackInfo";
  if (!data_) return ilc_reporter().error(CPXERR_CALLBACK, name, "not inside a callback");
  CplexLibrary& library = cplex_->library_;
  const int code = library.CPXgetcallbackinfo(cplex_->env_, data_, where_, which, result);
  if (code == 0) return;
  char* const message = cplex_->message_;
  if (!library.CPXgeterrorstring(cplex_->env_, code, message)) *message = '\0';
  cplex_->report(name, code);
}

int IlcCallbackI::getIntInfo(int which) const {
  int value = 0;
  getCallbackInfo(which, &value);
  return value;
}

double IlcCallbackI::getFloatInfo(int which) const {
  double value = 0.0;
  getCallbackInfo(which, &value);
  return value;
}

}  // namespace planloc
