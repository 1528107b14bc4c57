#include "planloc/engine/ilc_linopt.h"

#include <cstdio>
#include <ostream>

#include "planloc/engine/ilc_linopt_impl.h"
#include "planloc/engine/manager_impl.h"

namespace planloc {

// ----- IlcLinOptException -----

IlcLinOptException::IlcLinOptException(int code, const char* text) : code_(code) {
  char library_text[kTextSize] = "";
  if (!text) text = cplex_library().CPXgeterrorstring(nullptr, code, library_text);
  if (text) std::snprintf(text_, sizeof text_, "%s", text);
}

// ----- IlcLinOpt -----

IlcLinOpt::IlcLinOpt(IlcManager m, int a, int b)
    : impl_(new (m.getHeap()) IlcLinOptI(m.getImpl(), a != 0, b)) {}

// Reports on an empty handle.
bool IlcLinOpt::isEmpty(const char* report) const {
  if (!impl_) ilc_reporter().error(kIlcUsageError, report);
  return !impl_;
}

void IlcLinOpt::end() {
  IlcLinOptI* const impl = checked();
  impl_ = nullptr;
  impl->end();
}

void IlcLinOpt::useExceptions(int v) {
  if (isEmpty("IlcLinOpt::useExceptions empty handle")) return;
  impl_->useExceptions(v != 0);
}

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

void IlcLinOpt::remove(IlcConstraint ct) {
  if (isEmpty("IlcLinOpt::remove: empty handle")) return;
  detail::ilc_assert(ct.getImpl() != nullptr, "ct.getImpl() != 0");
  impl_->remove(ct.getImpl());
}

void IlcLinOpt::chgBounds(IlcFloatVar var, double lb, double ub) {
  if (isEmpty("IlcLinOpt::chgBounds: empty handle")) return;
  impl_->chgBounds(var.getImpl(), lb, ub);
}

void IlcLinOpt::chgLowerBound(IlcFloatVar var, double lb) {
  if (isEmpty("IlcLinOpt::chgLowerBound: empty handle")) return;
  impl_->chgLowerBound(var.getImpl(), lb);
}

void IlcLinOpt::chgUpperBound(IlcFloatVar var, double ub) {
  if (isEmpty("IlcLinOpt::chgUpperBound: empty handle")) return;
  impl_->chgUpperBound(var.getImpl(), ub);
}

// ----- Parameters -----

void IlcLinOpt::setParam(IlcCplexIntParam number, int value) {
  if (isEmpty("IlcLinOpt::setParam empty handle")) return;
  impl_->cplex().setIntParam(number, value);
}

void IlcLinOpt::setParam(IlcCplexBoolParam number, int value) {
  if (isEmpty("IlcLinOpt::setParam empty handle")) return;
  impl_->cplex().setIntParam(number, value);
}

void IlcLinOpt::setParam(IlcCplexFloatParam number, double value) {
  if (isEmpty("IlcLinOpt::setParam empty handle")) return;
  impl_->cplex().setFloatParam(number, value);
}

void IlcLinOpt::setParam(IlcCplexStringParam number, const char* value) {
  if (isEmpty("IlcLinOpt::setParam empty handle")) return;
  impl_->cplex().setStringParam(number, value);
}

// ----- Solve -----

int IlcLinOpt::dualOpt() {
  if (isEmpty("IlcLinOpt::dualOpt empty handle")) return 0;
  return impl_->dualOpt();
}

int IlcLinOpt::primalOpt() {
  if (isEmpty("IlcLinOpt::primalOpt empty handle")) return 0;
  return impl_->primalOpt();
}

// ----- Solution -----

double IlcLinOpt::getCurrentValue(IlcFloatVar var) {
  checked();
  detail::ilc_assert(var.getImpl() != nullptr, "var.getImpl() != 0");
  return impl_->getCurrentValue(var);
}

double IlcLinOpt::getObjValue() {
  if (isEmpty("IlcLinOpt::getObjValue empty handle")) return 0.0;
  return impl_->getObjValue();
}

double IlcLinOpt::getDualValue(IlcConstraint ct) {
  if (isEmpty("IlcLinOpt::getDualValue: empty handle")) return 0.0;
  detail::ilc_assert(ct.getImpl() != nullptr, "ct.getImpl() != 0");
  return impl_->getDualValue(ct.getImpl());
}

double IlcLinOpt::getSlackValue(IlcConstraint ct) {
  if (isEmpty("IlcLinOpt::getSlackValue: empty handle")) return 0.0;
  detail::ilc_assert(ct.getImpl() != nullptr, "ct.getImpl() != 0");
  return impl_->getSlackValue(ct.getImpl());
}

double IlcLinOpt::getReducedCost(IlcFloatVar var) {
  checked();
  detail::ilc_assert(var.getImpl() != nullptr, "var.getImpl() != 0");
  return impl_->getReducedCost(var.getImpl());
}

// ----- Matrix -----

IlcFloatVar IlcLinOpt::getVar(int column) {
  if (isEmpty("IlcLinOpt::getVar: empty handle")) return IlcFloatVar();
  return impl_->getVar(column);
}

int IlcLinOpt::getVarIndex(IlcFloatVar var) {
  if (isEmpty("IlcLinOpt::getVarIndex: empty handle")) return -1;
  return impl_->getVarIndex(var.getImpl());
}

int IlcLinOpt::getConstraintIndex(IlcConstraint ct) {
  if (isEmpty("IlcLinOpt::getConstraintIndex: empty handle")) return -1;
  return impl_->getConstraintIndex(ct.getImpl());
}

CPXENVptr IlcLinOpt::getCPXENVptr() {
  if (isEmpty("IlcLinOpt::getCPXENVptr: empty handle")) return nullptr;
  impl_->flushIfDeferred();
  return impl_->cplex().getEnv();
}

CPXLPptr IlcLinOpt::getCPXLPptr() {
  if (isEmpty("IlcLinOpt::getCPXLPptr: empty handle")) return nullptr;
  impl_->flushIfDeferred();
  return impl_->cplex().getLp();
}

int IlcLinOpt::getNumberOfRows() { return checked()->getNumberOfRows(); }

int IlcLinOpt::getNumberOfColumns() { return checked()->getNumberOfColumns(); }

int IlcLinOpt::getNumberOfNonZeros() { return checked()->getNumberOfNonZeros(); }

int IlcLinOpt::getNumberOfIterations() { return checked()->getNumberOfIterations(); }

void IlcLinOpt::printInformation() { checked()->printInformation(); }

std::ostream& operator<<(std::ostream& out, IlcLinOpt lp) {
  detail::ilc_assert(lp.getImpl() != nullptr, "_impl != 0");
  lp.getImpl()->display(out);
  return out;
}

}  // namespace planloc
