#include "planloc/engine/ilc_linopt.h"

#include <cstdio>
#include <functional>
#include <ostream>
#include <type_traits>

#include "planloc/engine/ilc_linopt_impl.h"
#include "planloc/engine/linopt_messages.h"
#include "planloc/engine/manager_impl.h"

namespace planloc {

using namespace linopt_message;

// ----- IlcLinOptException -----

IlcLinOptException::IlcLinOptException(int code, const char* text) : code_(code) {
  char library_text[kTextSize] = "";
  if (!text) text = cplex_library().CPXgeterrorstring(nullptr, code, library_text);
  if (text) std::snprintf(text_, sizeof text_, "%s", text);
}

// ----- IlcLinOpt -----

IlcLinOpt::IlcLinOpt(IlcManager m, int a, int b)
    : impl_(new (m.getHeap()) IlcLinOptI(m.getImpl(), a != 0, b)) {}

bool IlcLinOpt::isEmpty() const { return !impl_ || impl_->hasEnded(); }

IlcLinOptI* IlcLinOpt::checked() const {
  detail::ilc_assert(!isEmpty(), "_impl != 0");
  return impl_;
}

// Runs an operation of the optimiser or of its adaptor. An empty handle reports, and gives an empty
// result where the reporter returns.
template <typename Operation, typename... Args>
auto IlcLinOpt::run(const char* report, Operation operation, const Args&... args) const {
  constexpr bool of_adaptor = std::is_invocable_v<Operation, IlcCplex&, const Args&...>;
  using Target = std::conditional_t<of_adaptor, IlcCplex, IlcLinOptI>;
  using Result = std::invoke_result_t<Operation, Target&, const Args&...>;
  if (isEmpty()) {
    ilc_reporter().error(kIlcUsageError, report);
    return Result();
  }
  if constexpr (of_adaptor) {
    return std::invoke(operation, impl_->cplex(), args...);
  } else {
    return std::invoke(operation, *impl_, args...);
  }
}

void IlcLinOpt::end() {
  IlcLinOptI* const impl = checked();
  impl_ = nullptr;
  impl->end();
}

void IlcLinOpt::useExceptions(int v) { run(kUseExceptions, &IlcLinOptI::useExceptions, v != 0); }

const char* IlcLinOpt::getName() const { return checked()->getName(); }

void IlcLinOpt::setName(const char* name) { checked()->setName(name); }

// ----- Model -----

IlcFloatVar IlcLinOpt::setObjMin(IlcFloatExp exp, int level) {
  checked();
  detail::ilc_assert(exp.getImpl() != nullptr, "exp.getImpl() != 0");
  return impl_->setObjMin(exp, level);
}

IlcFloatVar IlcLinOpt::setObjMax(IlcFloatExp exp, int level) {
  checked();
  detail::ilc_assert(exp.getImpl() != nullptr, "exp.getImpl() != 0");
  return impl_->setObjMax(exp, level);
}

void IlcLinOpt::add(IlcConstraint ct, int level) {
  checked();
  detail::ilc_assert(ct.getImpl() != nullptr, "ct.getImpl() != 0");
  impl_->add(ct, level);
}

void IlcLinOpt::remove(IlcConstraint ct) { run(kRemove, &IlcLinOptI::remove, ct); }

void IlcLinOpt::chgBounds(IlcFloatVar var, double lb, double ub) {
  run(kChgBounds, &IlcLinOptI::chgBounds, var, lb, ub);
}

void IlcLinOpt::chgBounds(IlcIntVar var, int lb, int ub) {
  run(kChgBounds, &IlcLinOptI::chgBounds, var, lb, ub);
}

void IlcLinOpt::chgLowerBound(IlcFloatVar var, double lb) {
  run(kChgLowerBound, &IlcLinOptI::chgLowerBound, var, lb);
}

void IlcLinOpt::chgLowerBound(IlcIntVar var, int lb) {
  run(kChgLowerBound, &IlcLinOptI::chgLowerBound, var, lb);
}

void IlcLinOpt::chgUpperBound(IlcFloatVar var, double ub) {
  run(kChgUpperBound, &IlcLinOptI::chgUpperBound, var, ub);
}

void IlcLinOpt::chgUpperBound(IlcIntVar var, int ub) {
  run(kChgUpperBound, &IlcLinOptI::chgUpperBound, var, ub);
}

void IlcLinOpt::addSOS(int type, IlcFloatVarArray vars, IlcFloatArray weights) {
  run(kAddSOS, &IlcLinOptI::addFloatSOS, type, vars, weights);
}

void IlcLinOpt::addSOS(int type, IlcIntVarArray vars, IlcFloatArray weights) {
  run(kAddSOS, &IlcLinOptI::addIntSOS, type, vars, weights);
}

// ----- Parameters -----

void IlcLinOpt::setParam(IlcCplexIntParam number, int value) {
  run(kSetParam, &IlcCplex::setIntParam, number, value);
}

void IlcLinOpt::setParam(IlcCplexBoolParam number, int value) {
  run(kSetParam, &IlcCplex::setIntParam, number, value);
}

void IlcLinOpt::setParam(IlcCplexFloatParam number, double value) {
  run(kSetParam, &IlcCplex::setFloatParam, number, value);
}

void IlcLinOpt::setParam(IlcCplexStringParam number, const char* value) {
  run(kSetParam, &IlcCplex::setStringParam, number, value);
}

int IlcLinOpt::getParam(IlcCplexIntParam number) {
  return run(kGetParam, &IlcCplex::getIntParam, number);
}

int IlcLinOpt::getParam(IlcCplexBoolParam number) {
  return run(kGetParam, &IlcCplex::getIntParam, number);
}

double IlcLinOpt::getParam(IlcCplexFloatParam number) {
  return run(kGetParam, &IlcCplex::getFloatParam, number);
}

std::string IlcLinOpt::getParam(IlcCplexStringParam number) {
  return run(kGetParam, &IlcCplex::getStringParam, number);
}

int IlcLinOpt::getParamDefault(IlcCplexIntParam number) {
  return run(kGetParamDefault, &IlcLinOptI::getIntParamInfo, number).normal;
}

int IlcLinOpt::getParamDefault(IlcCplexBoolParam number) {
  return run(kGetParamDefault, &IlcLinOptI::getIntParamInfo, number).normal;
}

double IlcLinOpt::getParamDefault(IlcCplexFloatParam number) {
  return run(kGetParamDefault, &IlcLinOptI::getFloatParamInfo, number).normal;
}

std::string IlcLinOpt::getParamDefault(IlcCplexStringParam number) {
  return run(kGetParamDefault, &IlcCplex::getStringParamDefault, number);
}

int IlcLinOpt::getParamMin(IlcCplexIntParam number) {
  return run(kGetParamMin, &IlcLinOptI::getIntParamInfo, number).min;
}

int IlcLinOpt::getParamMin(IlcCplexBoolParam number) {
  return run(kGetParamMin, &IlcLinOptI::getIntParamInfo, number).min;
}

double IlcLinOpt::getParamMin(IlcCplexFloatParam number) {
  return run(kGetParamMin, &IlcLinOptI::getFloatParamInfo, number).min;
}

int IlcLinOpt::getParamMax(IlcCplexIntParam number) {
  return run(kGetParamMax, &IlcLinOptI::getIntParamInfo, number).max;
}

int IlcLinOpt::getParamMax(IlcCplexBoolParam number) {
  return run(kGetParamMax, &IlcLinOptI::getIntParamInfo, number).max;
}

double IlcLinOpt::getParamMax(IlcCplexFloatParam number) {
  return run(kGetParamMax, &IlcLinOptI::getFloatParamInfo, number).max;
}

void IlcLinOpt::setParamsDefault() { run(kSetParamsDefault, &IlcCplex::setParamsDefault); }

// ----- Solve -----

int IlcLinOpt::primalOpt() {
  return run(kPrimalOpt, &IlcLinOptI::solveLinear, &IlcCplex::primalOpt);
}

int IlcLinOpt::dualOpt() { return run(kDualOpt, &IlcLinOptI::solveLinear, &IlcCplex::dualOpt); }

int IlcLinOpt::networkPrimalOpt() {
  return run(kNetworkPrimalOpt, &IlcLinOptI::solveNetworkByParam, &IlcCplex::netPrimalOpt);
}

int IlcLinOpt::networkPrimalOpt(int extraction) {
  return run(kNetworkPrimalOpt, &IlcLinOptI::solveNetwork, &IlcCplex::netPrimalOpt, extraction);
}

int IlcLinOpt::networkDualOpt() {
  return run(kNetworkDualOpt, &IlcLinOptI::solveNetworkByParam, &IlcCplex::netDualOpt);
}

int IlcLinOpt::networkDualOpt(int extraction) {
  return run(kNetworkDualOpt, &IlcLinOptI::solveNetwork, &IlcCplex::netDualOpt, extraction);
}

int IlcLinOpt::barrierOpt() {
  return run(kBarrierOpt, &IlcLinOptI::solveLinear, &IlcCplex::barrierOpt);
}

int IlcLinOpt::barrierPrimalOpt() {
  return run(kBarrierPrimalOpt, &IlcLinOptI::solveLinear, &IlcCplex::barrierPrimalOpt);
}

int IlcLinOpt::barrierDualOpt() {
  return run(kBarrierDualOpt, &IlcLinOptI::solveLinear, &IlcCplex::barrierDualOpt);
}

int IlcLinOpt::mipOpt() { return run(kMipOpt, &IlcLinOptI::mipOpt); }

int IlcLinOpt::optimize() { return run(kOptimize, &IlcLinOptI::optimize); }

void IlcLinOpt::setFirstMethod(int method) {
  run(kSetFirstMethod, &IlcLinOptI::setFirstMethod, method);
}

void IlcLinOpt::setSearchMethod(int method) {
  run(kSetSearchMethod, &IlcLinOptI::setSearchMethod, method);
}

IlcGoal IlcLinOpt::getPiecewiseLinearGenerateGoal() {
  return run(kGenerateGoal, &IlcLinOptI::getPiecewiseLinearGoal);
}

IlcGoal IlcLinOpt::getPiecewiseLinearGenerateGoalCut() {
  return run(kGenerateGoalCut, &IlcLinOptI::getPiecewiseLinearGoal);
}

// ----- Solution -----

double IlcLinOpt::getCurrentValue(IlcFloatVar var) {
  checked();
  detail::ilc_assert(var.getImpl() != nullptr, "var.getImpl() != 0");
  return impl_->getCurrentValue(var);
}

double IlcLinOpt::getObjValue() { return run(kGetObjValue, &IlcLinOptI::getObjValue); }

double IlcLinOpt::getDualValue(IlcConstraint ct) {
  return run(kGetDualValue, &IlcLinOptI::getDualValue, ct);
}

double IlcLinOpt::getSlackValue(IlcConstraint ct) {
  return run(kGetSlackValue, &IlcLinOptI::getSlackValue, ct);
}

double IlcLinOpt::getReducedCost(IlcFloatVar var) {
  checked();
  detail::ilc_assert(var.getImpl() != nullptr, "var.getImpl() != 0");
  return impl_->getReducedCost(var.getImpl());
}

double IlcLinOpt::getBestObjValue() { return run(kGetBestObjValue, &IlcCplex::getBestObjValue); }

int IlcLinOpt::getSubproblemStatus() {
  return run(kGetSubproblemStatus, &IlcLinOptI::getSubproblemStatus);
}

// ----- Basis and start -----

IlcBasis IlcLinOpt::getBasis() { return run(kGetBasis, &IlcLinOptI::getBasis); }

void IlcLinOpt::fillBasis(IlcBasis basis) { run(kFillBasis, &IlcLinOptI::fillBasis, basis); }

void IlcLinOpt::setBasis(IlcBasis basis) { run(kSetBasis, &IlcLinOptI::setBasis, basis); }

void IlcLinOpt::writeBasis(const char* file) { run(kWriteBasis, &IlcLinOptI::writeBasis, file); }

void IlcLinOpt::readBasis(const char* file) { run(kReadBasis, &IlcLinOptI::readBasis, file); }

void IlcLinOpt::setCurrentValue(IlcFloatVarArray vars, IlcFloatArray values) {
  run(kSetCurrentValue, &IlcLinOptI::setFloatStart, vars, values);
}

void IlcLinOpt::setCurrentValue(IlcIntVarArray vars, IlcIntArray values) {
  run(kSetCurrentValue, &IlcLinOptI::setIntStart, vars, values);
}

void IlcLinOpt::setPriOrder(IlcIntVarArray vars, IlcIntArray priorities) {
  run(kSetPriOrder, &IlcLinOptI::setPriOrder, vars, priorities, nullptr);
}

void IlcLinOpt::setPriOrder(IlcIntVarArray vars, IlcIntArray priorities, IlcIntArray directions) {
  run(kSetPriOrder, &IlcLinOptI::setPriOrder, vars, priorities, &directions);
}

// ----- Callbacks -----

void IlcLinOpt::setLPCallback(IlcCallback callback) {
  run(kSetLPCallback, &IlcLinOptI::setLPCallback, callback);
}

IlcCallback IlcLinOpt::getLPCallback() { return run(kGetLPCallback, &IlcCplex::getLPCallback); }

void IlcLinOpt::unsetLPCallback() { run(kUnsetLPCallback, &IlcCplex::unsetLPCallback); }

void IlcLinOpt::setMIPCallback(IlcCallback callback) {
  run(kSetMIPCallback, &IlcLinOptI::setMIPCallback, callback);
}

IlcCallback IlcLinOpt::getMIPCallback() {
  return run(kGetMIPCallback, &IlcLinOptI::getMIPCallback);
}

void IlcLinOpt::unsetMIPCallback() { run(kUnsetMIPCallback, &IlcCplex::unsetMIPCallback); }

// ----- Matrix -----

IlcFloatVar IlcLinOpt::getVar(int column) { return run(kGetVar, &IlcLinOptI::getVar, column); }

int IlcLinOpt::getVarIndex(IlcFloatVar var) {
  return run(kGetVarIndex, &IlcLinOptI::getVarIndex, var).value;
}

int IlcLinOpt::getConstraintIndex(IlcConstraint ct) {
  return run(kGetConstraintIndex, &IlcLinOptI::getConstraintIndex, ct).value;
}

CPXENVptr IlcLinOpt::getCPXENVptr() { return run(kGetCPXENVptr, &IlcLinOptI::getEnv); }

CPXLPptr IlcLinOpt::getCPXLPptr() { return run(kGetCPXLPptr, &IlcLinOptI::getLp); }

void IlcLinOpt::writeProblem(const char* file, const char* format) {
  run(kWriteProblem, &IlcLinOptI::writeProblem, file, format);
}

// ----- Counters -----

int IlcLinOpt::getNumberOfRows() { return checked()->getNumberOfRows(); }

int IlcLinOpt::getNumberOfColumns() { return checked()->getNumberOfColumns(); }

int IlcLinOpt::getNumberOfNonZeros() { return checked()->getNumberOfNonZeros(); }

int IlcLinOpt::getNumberOfIterations() { return checked()->getNumberOfIterations(); }

int IlcLinOpt::getPhaseOneCount() { return run(kGetPhaseOneCount, &IlcCplex::getPhaseOneCount); }

int IlcLinOpt::getNodeCount() { return run(kGetNodeCount, &IlcCplex::getNodeCount); }

int IlcLinOpt::getNodeLeftCount() { return run(kGetNodeLeftCount, &IlcCplex::getNodeLeftCount); }

int IlcLinOpt::getCrossPPushCount() {
  return run(kGetCrossPPushCount, &IlcCplex::getCrossPPushCount);
}

int IlcLinOpt::getCrossPExchCount() {
  return run(kGetCrossPExchCount, &IlcCplex::getCrossPExchCount);
}

int IlcLinOpt::getCrossDPushCount() {
  return run(kGetCrossDPushCount, &IlcCplex::getCrossDPushCount);
}

int IlcLinOpt::getCrossDExchCount() {
  return run(kGetCrossDExchCount, &IlcCplex::getCrossDExchCount);
}

int IlcLinOpt::getCliqueCount() { return run(kGetCliqueCount, &IlcCplex::getCliqueCount); }

int IlcLinOpt::getCoverCount() { return run(kGetCoverCount, &IlcCplex::getCoverCount); }

void IlcLinOpt::printInformation() { checked()->printInformation(); }

std::ostream& operator<<(std::ostream& out, IlcLinOpt lp) {
  lp.getName();  // asserts on an empty handle
  lp.getImpl()->display(out);
  return out;
}

}  // namespace planloc
