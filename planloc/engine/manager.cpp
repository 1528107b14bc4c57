#include "planloc/engine/manager.h"

#include <atomic>
#include <cfenv>
#include <cstdlib>
#include <ctime>
#include <iostream>
#include <limits>
#include <new>
#include <string>

#include "planloc/engine/constraint.h"
#include "planloc/engine/linear_solver.h"
#include "planloc/engine/manager_impl.h"

namespace planloc {

double IlcInfinity = std::numeric_limits<double>::infinity();

namespace {

std::atomic<bool> float_started = false;
// One for each thread, as a manager and its objects belong to one.
constinit thread_local IlcManagerI* current_manager = nullptr;

// The process clock counts whole milliseconds.
double process_seconds() {
  const std::clock_t milliseconds = std::clock() / (CLOCKS_PER_SEC / 1000);
  return static_cast<double>(milliseconds) * 0.001;
}

}  // namespace

void IlcInitFloat() {
  // Not written again where it stands: other threads may be reading it.
  if (IlcInfinity != std::numeric_limits<double>::infinity()) {
    IlcInfinity = std::numeric_limits<double>::infinity();
  }
  std::fesetround(FE_TONEAREST);
  float_started = true;
}

bool ilc_float_started() { return float_started; }

IlcErrorReporter& ilc_reporter() {
  return current_manager ? *current_manager->getErrorReporter() : *ilc_default_reporter();
}

IlcManagerI* IlcGetManagerI() {
  if (!current_manager) ilc_reporter().error(kIlcNoManager, "no manager");
  return current_manager;
}

IlcManager IlcGetManager() { return IlcGetManagerI(); }

// ----- IlcManagerI -----

IlcManagerI::IlcManagerI(int mode)
    : start_time_(process_seconds()),
      reporter_(ilc_default_reporter()),
      mode_(mode),
      out_(&std::cout) {
  heap_.activate();
  global_heap_.activate();
  heap_.setListener(&expressions_);
}

void IlcManagerI::endSolvers() {
  const auto solvers = solvers_;
  for (IlcLinearSolverI* solver : solvers) solver->end();
}

double IlcManagerI::getTime() const { return process_seconds() - start_time_; }

void IlcManagerI::add(IlcConstraintI* ct) {
  constraints_.insert(ct);
  ct->post();
}

void IlcManagerI::fail(const char* label) {
  ++fails_;
  if (fail_hook_) fail_hook_(this);
  if (use_exceptions_) throw IlcFailException();
  std::string text = "fail not in a Solve (try enclosing in IlcSolve)";
  if (label) text.append(" : Label ").append(label);
  reporter_->error(kIlcFailure, text.c_str());
}

IlcFloatVarI* IlcManagerI::getZero() {
  if (!zero_) zero_ = new (&global_heap_) IlcFloatVarI(this, 0.0, 0.0, nullptr);
  return zero_;
}

// ----- IlcManager -----

IlcManager::IlcManager(int mode) : impl_(new (std::nothrow) IlcManagerI(mode)) {
  if (!impl_) {
    ilc_default_reporter()->error(kIlcNoMemory, "Solver initialization", "no more memory");
    std::abort();
  }
  current_manager = impl_;
}

void IlcManager::reportEmpty(const char* member) {
  ilc_reporter().error(kIlcEmptyManager, member, "empty manager");
  std::abort();  // a reporter that returns leaves nothing to work on
}

void IlcManager::end() {
  IlcManagerI* const impl = checked("IlcManager::end");
  impl->endSolvers();
  delete impl;
  if (current_manager == impl) current_manager = nullptr;
  impl_ = nullptr;
}

IlcHeap* IlcManager::getHeap() const { return checked("IlcManager::getHeap")->getHeap(); }

IlcHeap* IlcManager::getGlobalHeap() const {
  return checked("IlcManager::getGlobalHeap")->getGlobalHeap();
}

double IlcManager::getTime() const { return checked("IlcManager::getTime")->getTime(); }

int IlcManager::getStamp() const { return checked("IlcManager::getStamp")->getStamp(); }

int IlcManager::isInEditMode() const { return checked("IlcManager::isInEditMode")->isInEditMode(); }

double IlcManager::getDefaultPrecision() const {
  return checked("IlcManager::getDefaultPrecision")->getDefaultPrecision();
}

IlcErrorReporter* IlcManager::getErrorReporter() const {
  return checked("IlcManager::getErrorReporter")->getErrorReporter();
}

void IlcManager::setErrorReporter(IlcErrorReporter* reporter) {
  checked("IlcManager::setErrorReporter")->setErrorReporter(reporter);
}

void IlcManager::add(IlcConstraint ct) {
  IlcManagerI* const impl = checked("IlcManager::add");
  detail::ilc_assert(ct.getImpl() != nullptr, "ct.getImpl() != 0");
  impl->add(ct.getImpl());
}

int IlcManager::isAdded(IlcConstraint ct) const {
  return checked("IlcManager::isAdded")->isAdded(ct.getImpl());
}

void IlcManager::remove(IlcConstraint ct) { checked("IlcManager::remove")->remove(ct.getImpl()); }

void IlcManager::saveValue(void*) { checked("IlcManager::saveValue"); }

void IlcManager::fail(const char* label) { checked("IlcManager::fail")->fail(label); }

int IlcManager::getNumberOfFails() const {
  return checked("IlcManager::getNumberOfFails")->getNumberOfFails();
}

void IlcManager::setFailHook(FailHook hook) {
  checked("IlcManager::setFailHook")->setFailHook(hook);
}

void IlcManager::useExceptions(int use) {
  checked("IlcManager::useExceptions")->useExceptions(use != 0);
}

std::ostream& IlcManager::out() const { return checked("IlcManager::out")->out(); }

void IlcManager::setOut(std::ostream& out) { checked("IlcManager::setOut")->setOut(out); }

void IlcManager::printInformation() const {
  IlcManagerI* const impl = checked("IlcManager::printInformation");
  impl->out() << "Number of fails               : " << impl->getNumberOfFails() << '\n'
              << "Number of constraints         : " << impl->getNumberOfConstraints() << '\n'
              << "Heap words in use             : " << impl->getHeap()->getIndex() << std::endl;
}

}  // namespace planloc
