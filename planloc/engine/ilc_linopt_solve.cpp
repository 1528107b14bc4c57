#include <algorithm>
#include <cstdio>
#include <limits>
#include <ostream>
#include <vector>

#include "planloc/engine/ilc_basis_impl.h"
#include "planloc/engine/ilc_linopt_impl.h"
#include "planloc/engine/manager_impl.h"

namespace planloc {

using namespace linopt_message;

namespace {

bool is_method(int method) { return method >= kIlcPrimal && method <= kIlcBarrierDual; }

// Value of a linear expression at the values of the last solution.
class Evaluation final : public IlcLinearVisitor {
 public:
  explicit Evaluation(IlcLinOptI& lp) : lp_(lp) {}
  void addTerm(double coefficient, IlcFloatVarI* var) override {
    value_ += coefficient * lp_.getCurrentValue(var);
  }
  void addConstant(double constant) override { value_ += constant; }
  double value() const { return value_; }

 private:
  IlcLinOptI& lp_;
  double value_ = 0.0;
};

}  // namespace

// ----- Solve -----

// A flush under way. A report that throws ends it early: what was not given to add yet is queued
// again, and the table forgets the rows of a call that the library refused.
class IlcLinOptI::Flush {
 public:
  explicit Flush(IlcLinOptI& lp) : lp_(lp), next_(lp.takePending()) {}
  Flush(const Flush&) = delete;
  Flush& operator=(const Flush&) = delete;
  ~Flush() {
    if (!lp_.posted_) {
      lp_.deferred_ = 1;
      lp_.putBack(next_);
    }
    lp_.rows_->truncate(lp_.cplex_->getNumRows() + lp_.cplex_->getBufferedRows());
  }

  void run() {
    while (const Pending* const record = next_) {
      next_ = record->next;
      lp_.add(record->ct, record->level);
    }
    lp_.cplex_->postToCplex();
    lp_.posted_ = 1;
  }

 private:
  IlcLinOptI& lp_;
  Pending* next_;
};

void IlcLinOptI::flush() {
  synchroniseBounds();
  deferred_ = 0;
  active_ = 0;
  Flush(*this).run();
  // A constraint of a single variable narrows bounds of columns that are older than it.
  if (synchronised_epoch_ != getManager()->boundsEpoch()) synchroniseBounds();
}

void IlcLinOptI::flushIfDeferred() {
  if (deferred_) flush();
}

// Brings rows and bounds of the library up to date.
void IlcLinOptI::updateMatrix() {
  flushIfDeferred();
  if (synchronised_epoch_ != getManager()->boundsEpoch()) synchroniseBounds();
}

void IlcLinOptI::prepareLinearSolve() {
  updateMatrix();
  if (cplex_->getProblemType() == CPXPROB_MIP) cplex_->setProblemType(CPXPROB_RELAXED);
}

// Without edit mode a program that has no solution, or whose solve was given up, is a failure.
int IlcLinOptI::judged(int status) const {
  const bool answered = status == CPX_STAT_OPTIMAL || status == CPX_STAT_OPTIMAL_INFEAS ||
                        status == CPX_STAT_UNBOUNDED;
  if (!answered && !getManager()->isInEditMode()) getManager()->fail(nullptr);
  return status;
}

int IlcLinOptI::solveLinear(Solve solve) {
  prepareLinearSolve();
  return judged((*cplex_.*solve)());
}

int IlcLinOptI::solveNetwork(NetworkSolve solve, int extraction) {
  prepareLinearSolve();
  return judged((*cplex_.*solve)(extraction));
}

int IlcLinOptI::solveNetworkByParam(NetworkSolve solve) {
  return solveNetwork(solve, cplex_->getIntParam(CPX_PARAM_NETFIND));
}

int IlcLinOptI::mipOpt() {
  if (isRefusedOutsideOfEditMode(kMipOptNoEdit)) return CPX_STAT_NONE;
  updateMatrix();
  allowMipAgain();
  return cplex_->mipOpt();
}

int IlcLinOptI::optimize() {
  if (isRefused(!objective_given_, kNoObjective)) return 0;
  updateMatrix();
  cplex_->setFirstSolveParams();
  const int extraction = cplex_->getIntParam(CPX_PARAM_NETFIND);
  if (!cplex_->optimize(first_method_, extraction)) return 0;
  if (objective_var_) {
    const double value = cplex_->getObjValue();
    objective_var_->setRange(value - precision_, value + precision_);
  }
  return 1;
}

void IlcLinOptI::setFirstMethod(int method) {
  if (!isRefused(!is_method(method), kBadFirstMethod)) {
    first_method_ = static_cast<IlcMethod>(method);
  }
}

void IlcLinOptI::setSearchMethod(int method) { isRefused(!is_method(method), kBadSearchMethod); }

// ----- Parameters -----

IlcLinOptI::ParamInfo<int> IlcLinOptI::getIntParamInfo(int number) {
  ParamInfo<int> info;
  cplex_->getInfoIntParam(number, &info.normal, &info.min, &info.max);
  return info;
}

IlcLinOptI::ParamInfo<double> IlcLinOptI::getFloatParamInfo(int number) {
  ParamInfo<double> info;
  cplex_->getInfoFloatParam(number, &info.normal, &info.min, &info.max);
  return info;
}

// ----- Solution -----

double IlcLinOptI::getCurrentValue(IlcFloatVar handle) {
  IlcFloatVarI* const var = handle.getImpl();
  if (const int column = columns_->find(var); column >= 0) {
    return std::clamp(cplex_->getCurrentValue(column), var->getMin(), var->getMax());
  }
  if (IlcFloatExpI* const definition = var->getDefinition()) {
    Evaluation evaluation(*this);
    evaluation.walk(definition, 1.0);
    return evaluation.value();
  }
  return std::clamp(0.0, var->getMin(), var->getMax());
}

double IlcLinOptI::getObjValue() {
  return cplex_->isSolvedAsMIP() ? cplex_->getMIPObjValue() : cplex_->getObjValue();
}

double IlcLinOptI::getDualValue(IlcConstraint ct) {
  const int row = getConstraintIndex(ct).value;
  return row < 0 ? 0.0 : cplex_->getDualValue(row);
}

double IlcLinOptI::getSlackValue(IlcConstraint ct) {
  const int row = getConstraintIndex(ct).value;
  return isRefused(row < 0, kUnknownConstraint) ? 0.0 : cplex_->getSlackValue(row);
}

double IlcLinOptI::getReducedCost(IlcFloatVarI* var) {
  flushIfDeferred();
  const int column = columns_->find(var);
  return column < 0 ? 0.0 : cplex_->getReducedCost(column);
}

int IlcLinOptI::getSubproblemStatus() {
  if (isRefusedOutsideOfEditMode(kSubproblemStatusNoEdit)) return CPX_STAT_NONE;
  return cplex_->getSubStatus();
}

// ----- Basis and start -----

IlcBasis IlcLinOptI::getBasis() {
  auto* const basis = new (getManager()) IlcBasisI(getManager());
  fillBasis(basis);
  return basis;
}

void IlcLinOptI::fillBasis(IlcBasis basis) {
  if (isRefused(!basis.getImpl(), kFillBasisArgument)) return;
  updateMatrix();
  basis.getImpl()->fill(*cplex_, *columns_, *rows_);
}

void IlcLinOptI::setBasis(IlcBasis basis) {
  if (isRefused(!basis.getImpl(), kSetBasisArgument)) return;
  updateMatrix();
  basis.getImpl()->apply(*cplex_, *columns_, *rows_);
}

void IlcLinOptI::writeBasis(const char* file) {
  updateMatrix();
  cplex_->writeBase(file);
}

void IlcLinOptI::readBasis(const char* file) {
  updateMatrix();
  cplex_->readBase(file);
}

void IlcLinOptI::setFloatStart(IlcFloatVarArray vars, IlcFloatArray values) {
  setStart(vars, values);
}

void IlcLinOptI::setIntStart(IlcIntVarArray vars, IlcIntArray values) { setStart(vars, values); }

template <typename Vars, typename Values>
void IlcLinOptI::setStart(const Vars& vars, const Values& values) {
  if (isRefused(vars.getSize() != values.getSize(), kBadArraySizes)) return;
  updateMatrix();
  std::vector<double> start(static_cast<std::size_t>(columns_->size()),
                            std::numeric_limits<double>::quiet_NaN());
  for (int k = 0; k < vars.getSize(); ++k) {
    const int column = columns_->find(vars[k].getImpl());
    if (column >= 0) start[static_cast<std::size_t>(column)] = values[k];
  }
  cplex_->setStartingSolution(start.data());
}

void IlcLinOptI::setPriOrder(IlcIntVarArray vars, IlcIntArray priorities,
                             const IlcIntArray* directions) {
  if (isRefused(!vars.getImpl(), kPriOrderNoArray) ||
      isRefused(vars.getSize() < 1, kPriOrderTooSmall) ||
      isRefused(priorities.getSize() != vars.getSize() ||
                    (directions && directions->getSize() != vars.getSize()),
                kPriOrderSizes)) {
    return;
  }
  updateMatrix();
  reportingNoMemory([&] {
    columns_->mapToColumns(vars, *cplex_, scratch_->row_columns);
    cplex_->setPriOrder(vars.getSize(), scratch_->row_columns.data(), &priorities[0],
                        directions ? &(*directions)[0] : nullptr);
  });
}

// ----- Callbacks -----

void IlcLinOptI::setLPCallback(IlcCallback callback) {
  if (isRefused(!callback.getImpl(), kSetLPCallbackArgument)) return;
  cplex_->setLPCallback(callback);
}

void IlcLinOptI::setMIPCallback(IlcCallback callback) {
  if (isRefused(!callback.getImpl(), kSetMIPCallbackArgument)) return;
  if (isRefusedOutsideOfEditMode(kSetMIPCallbackNoEdit)) return;
  cplex_->setMIPCallback(callback);
}

IlcCallback IlcLinOptI::getMIPCallback() {
  if (isRefusedOutsideOfEditMode(kGetMIPCallbackNoEdit)) return IlcCallback();
  return cplex_->getMIPCallback();
}

// ----- Matrix -----

IlcFloatVar IlcLinOptI::getVar(int column) {
  flushIfDeferred();
  if (column < 0 || column >= columns_->size()) return IlcFloatVar();
  return columns_->var(column);
}

IlcLinOptI::Index IlcLinOptI::getVarIndex(IlcFloatVar var) {
  flushIfDeferred();
  return {columns_->find(var.getImpl())};
}

IlcLinOptI::Index IlcLinOptI::getConstraintIndex(IlcConstraint ct) {
  flushIfDeferred();
  return {rows_->find(ct.getImpl())};
}

CPXENVptr IlcLinOptI::getEnv() {
  updateMatrix();
  return cplex_->getEnv();
}

CPXLPptr IlcLinOptI::getLp() {
  updateMatrix();
  return cplex_->getLp();
}

void IlcLinOptI::writeProblem(const char* file, const char* format) {
  updateMatrix();
  cplex_->writeProblem(file, format);
}

int IlcLinOptI::getNumberOfRows() {
  flushIfDeferred();
  return cplex_->getNumRows();
}

int IlcLinOptI::getNumberOfColumns() {
  flushIfDeferred();
  return cplex_->getNumCols();
}

int IlcLinOptI::getNumberOfNonZeros() {
  flushIfDeferred();
  return cplex_->getNumNonzeros();
}

void IlcLinOptI::printInformation() {
  const int rows = getNumberOfRows();
  const int columns = getNumberOfColumns();
  const int nonzeros = getNumberOfNonZeros();
  const double places = static_cast<double>(rows) * columns;
  char fill_rate[32];
  std::snprintf(fill_rate, sizeof fill_rate, "%.2f",
                places > 0.0 ? nonzeros * 100.0 / places : 0.0);
  std::ostream& out = getManager()->out();
  out << "Number of constraints         : " << rows << '\n'
      << "Number of variables           : " << columns << '\n'
      << "Number of non-zeros           : " << nonzeros << '\n'
      << "Matrix fill rate              : " << fill_rate << '\n'
      << "Iterations                    : " << getNumberOfIterations() << std::endl;
}

void IlcLinOptI::display(std::ostream& out) const {
  out << " -- begin spy " << (getName() ? getName() : "") << '\n';
  for (int row = 0; row < rows_->size(); ++row) {
    out << " spy : " << IlcConstraint(rows_->constraint(row)) << '\n';
  }
  for (const Pending* record = firstPending(); record; record = record->next) {
    out << " spy : " << IlcConstraint(record->ct) << '\n';
  }
  out << " -- end spy -- " << '\n';
}

}  // namespace planloc
