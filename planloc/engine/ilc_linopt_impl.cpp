#include "planloc/engine/ilc_linopt_impl.h"

#include <algorithm>
#include <cstdio>
#include <new>
#include <ostream>
#include <string>

#include "planloc/engine/manager_impl.h"

namespace planloc {

using namespace linopt_message;

namespace {

// Carries every report to the caller as an exception.
class ThrowingReporter final : public IlcErrorReporter {
 public:
  void abort(int code) override { throw IlcLinOptException(code, getText()); }

 protected:
  void show() override {}
};

// One for all managers, so that it outlives the optimiser that installs it.
IlcErrorReporter* throwing_reporter() {
  static ThrowingReporter reporter;
  return &reporter;
}

// Rows of this length are compared term by term, longer ones by marks on the columns.
constexpr int kShortRow = 8;

// A later term of a column is added to the first, and the last term of the row moves into its
// place. first_place(i) is the first place with the column of place i. The number of terms left.
template <typename FirstPlace>
int merge_terms(int n, double* values, int* columns, FirstPlace first_place) {
  for (int i = 0; i < n;) {
    const int first = first_place(i);
    if (first == i) {
      ++i;
    } else {
      values[first] += values[i];
      --n;
      values[i] = values[n];
      columns[i] = columns[n];
    }
  }
  return n;
}

bool has_repeated(const int* columns, int n) {
  for (int i = 1; i < n; ++i) {
    for (int k = 0; k < i; ++k) {
      if (columns[k] == columns[i]) return true;
    }
  }
  return false;
}

template <typename T>
void check_memory(IlcManagerI* manager, const std::unique_ptr<T>& pointer) {
  if (!pointer) manager->getErrorReporter()->error(kIlcNoMemory, "Solver", kNoMemory);
}

}  // namespace

IlcLinOptI::IlcLinOptI(IlcManagerI* manager, bool linked, int b)
    : IlcLinearSolverI(manager), linked_(linked), previous_reporter_(manager->getErrorReporter()) {
  isRefused(!ilc_float_started(), kFloatNotStarted);
  if (!linked_) useExceptions(true);
  cplex_.reset(new (std::nothrow) IlcCplex(manager, b, linked_));
  check_memory(manager, cplex_);
  columns_.reset(new (std::nothrow) IlcColumnTable);
  check_memory(manager, columns_);
  rows_.reset(new (std::nothrow) IlcRowTable);
  check_memory(manager, rows_);
  scratch_ = std::make_unique<Scratch>();
  cplex_->setFloatParam(CPX_PARAM_EPRHS, precision_);
  cplex_->setFloatParam(CPX_PARAM_EPOPT, precision_);
  manager->link(this);
}

void IlcLinOptI::end() {
  getManager()->unlink(this);
  releaseStack();
  scratch_.reset();
  const std::unique_ptr<IlcCplex> cplex = std::move(cplex_);
  columns_.reset();
  rows_.reset();
  cplex->close();
}

void IlcLinOptI::useExceptions(bool use) {
  getManager()->setErrorReporter(use ? throwing_reporter() : previous_reporter_);
}

// Reports the text if the condition holds.
bool IlcLinOptI::isRefused(bool condition, const char* text) const {
  if (condition) getManager()->getErrorReporter()->error(kIlcUsageError, text);
  return condition;
}

bool IlcLinOptI::isRefusedOutsideOfEditMode(const char* text) const {
  return isRefused(!getManager()->isInEditMode(), text);
}

// ----- Rows -----

void IlcLinOptI::add(IlcConstraint ct, int level) {
  if (!deferred_) allowMipAgain();
  if (level >= 1) getManager()->add(ct.getImpl());
  if (level >= 2) return;
  if (deferred_) return enqueue(ct.getImpl(), level);
  extract(ct.getImpl(), level);
}

void IlcLinOptI::extract(IlcConstraintI* ct, int level) {
  const auto [satisfied, unique] = parse(ct);
  if (substitute_ && satisfied) return;
  const bool bound = termCount() == 0 || (substitute_ && termCount() < 2);
  if (bound || (substitute_ && unique && level < 1)) return getManager()->add(ct);
  makeRow(ct);
}

void IlcLinOptI::makeRow(IlcConstraintI* ct) {
  const bool buffered = !active_ && !posted_;
  const int buffered_before = cplex_->getBufferedRows();
  const int rows_before = buffered ? 0 : cplex_->getNumRows();
  const Terms terms = copyTerms();
  ct->linPost(*this, terms.coefficients, terms.vars, 0.0 - parsedConstant());
  if (cplex_->getBufferedRows() > buffered_before) {
    if (ct->getName()) cplex_->nameLastBufferedRow(ct->getName());
    rows_->append(ct, *cplex_);
  } else if (!buffered && cplex_->getNumRows() > rows_before) {
    if (ct->getName()) cplex_->setRowName(ct->getName());
    rows_->append(ct, *cplex_);
  }
}

void IlcLinOptI::equal(IlcFloatArray coefficients, IlcFloatVarArray vars, double rhs) {
  enterRow(coefficients, vars, 'E', rhs);
}

void IlcLinOptI::lessOrEqual(IlcFloatArray coefficients, IlcFloatVarArray vars, double rhs) {
  enterRow(coefficients, vars, 'L', rhs);
}

void IlcLinOptI::greaterOrEqual(IlcFloatArray coefficients, IlcFloatVarArray vars, double rhs) {
  enterRow(coefficients, vars, 'G', rhs);
}

void IlcLinOptI::enterRow(IlcFloatArray coefficients, IlcFloatVarArray vars, char sense,
                          double rhs) {
  rhs = ilc_clamp_bound(rhs);
  const int n = mapTerms(coefficients, vars);
  const double* const values = coefficients.getImpl()->values;
  if (!active_ && !posted_) {
    cplex_->bufferRow(n, scratch_->row_columns.data(), values, sense, rhs);
  } else {
    cplex_->newRow(n, scratch_->row_columns.data(), values, sense, rhs);
  }
}

// Maps the variables to columns, in the scratch, and merges terms of the same column. The number of
// terms left.
int IlcLinOptI::mapTerms(IlcFloatArray coefficients, IlcFloatVarArray vars) {
  columns_->mapToColumns(vars, *cplex_, scratch_->row_columns);
  double* const values = coefficients.getImpl()->values;
  int* const columns = scratch_->row_columns.data();
  const int size = vars.getSize();
  if (size <= kShortRow) {
    if (!has_repeated(columns, size)) return size;
    return merge_terms(size, values, columns, [&](int i) {
      return static_cast<int>(std::find(columns, columns + i, columns[i]) - columns);
    });
  }
  // A column that the library refused has a number beyond those of the table.
  const std::size_t markers = static_cast<std::size_t>(columns_->size() + size);
  if (scratch_->marker.size() < markers) scratch_->marker.resize(2 * markers, -1);
  const auto mark = [&](int i) -> int& {
    return scratch_->marker[static_cast<std::size_t>(columns[i])];
  };
  const int n = merge_terms(size, values, columns,
                            [&](int i) { return mark(i) < 0 ? mark(i) = i : mark(i); });
  for (int i = 0; i < n; ++i) mark(i) = -1;
  return n;
}

void IlcLinOptI::remove(IlcConstraint handle) {
  IlcConstraintI* const ct = handle.getImpl();
  detail::ilc_assert(ct != nullptr, "ct.getImpl() != 0");
  if (isRefusedOutsideOfEditMode(kRemoveNoEdit)) return;
  if (deferred_) {
    unlinkPending(ct);
  } else if (const int row = rows_->find(ct); row >= 0) {
    allowMipAgain();
    cplex_->deleteRow(row);
    rows_->erase(row);
  }
  if (getManager()->isAdded(ct)) getManager()->remove(ct);
}

// ----- Special ordered sets -----

void IlcLinOptI::addFloatSOS(int type, IlcFloatVarArray vars, IlcFloatArray weights) {
  addSOS(type, vars, weights);
}

void IlcLinOptI::addIntSOS(int type, IlcIntVarArray vars, IlcFloatArray weights) {
  addSOS(type, vars, weights);
}

template <typename Vars>
void IlcLinOptI::addSOS(int type, const Vars& vars, const IlcFloatArray& weights) {
  if (isRefused(!vars.getImpl() || vars.getSize() == 0, kSOSNoArray) ||
      isRefused(!weights.getImpl(), kSOSNoReferenceRow) ||
      isRefused(vars.getSize() != weights.getSize(), kSOSSizes)) {
    return;
  }
  reportingNoMemory([&] {
    IlcSOS set{type, {}, {&weights[0], &weights[0] + weights.getSize()}};
    columns_->mapToColumns(vars, *cplex_, set.columns);
    cplex_->newSOS(set);
  });
}

// ----- Objective -----

IlcFloatVar IlcLinOptI::setObjMin(IlcFloatExp exp, int level) { return setObj(exp, level, 1); }

IlcFloatVar IlcLinOptI::setObjMax(IlcFloatExp exp, int level) { return setObj(exp, level, -1); }

IlcFloatVar IlcLinOptI::setObjMinTerms(IlcFloatArray coefficients, IlcFloatVarArray vars) {
  return enterObj(coefficients, vars, 1);
}

IlcFloatVar IlcLinOptI::setObjMaxTerms(IlcFloatArray coefficients, IlcFloatVarArray vars) {
  return enterObj(coefficients, vars, -1);
}

IlcFloatVar IlcLinOptI::setObj(IlcFloatExp exp, int level, int sense) {
  if (level >= 2) return toVariable(exp.getImpl());
  IlcManagerI* const manager = getManager();
  objective_given_ = 1;
  objective_ = exp.getImpl();

  parse(exp.getImpl());
  if (parsedConstant() != 0.0) {
    const IlcFloatVar one(manager, 1.0, 1.0);
    append(parsedConstant(), one.getImpl());
  }
  const Terms terms = copyTerms();
  const IlcFloatVar var = enterObj(terms.coefficients, terms.vars, sense);
  if (columns_->find(var.getImpl()) < 0) var.getImpl()->setDefinition(exp.getImpl());
  if (!manager->isInEditMode() || linked_) add(var == exp, 0);
  if (level == 1) manager->add((var == exp).getImpl());
  return var;
}

IlcFloatVar IlcLinOptI::enterObj(IlcFloatArray coefficients, IlcFloatVarArray vars, int sense) {
  if (objective_var_) {
    allowMipAgain();
    cplex_->eraseObj();
    objective_var_ = nullptr;
  }
  if (vars.getSize() == 0) return IlcFloatVar(getManager(), 0.0, 0.0);
  const int n = mapTerms(coefficients, vars);
  if (!deferred_) allowMipAgain();
  cplex_->chgObj(n, scratch_->row_columns.data(), coefficients.getImpl()->values, sense);
  const IlcFloatVar var = n == 1 && coefficients[0] == 1.0
                              ? vars[0]
                              : IlcFloatVar(getManager(), -IlcInfinity, IlcInfinity);
  objective_var_ = var.getImpl();
  return var;
}

IlcFloatVar IlcLinOptI::toVariable(IlcFloatExpI* exp) {
  if (exp->isVariable()) return static_cast<IlcFloatVarI*>(exp);
  IlcFloatVar var(getManager(), exp->getMin(), exp->getMax());
  var.getImpl()->setDefinition(exp);
  return var;
}

// A change of the program takes back that it was relaxed or fixed for a solve.
void IlcLinOptI::allowMipAgain() {
  const int type = cplex_->getProblemType();
  if (type == CPXPROB_RELAXED || type == CPXPROB_FIXED) cplex_->setProblemType(CPXPROB_MIP);
}

// ----- Bounds -----

// Sends the library what the variables' bounds have become since the columns were made.
void IlcLinOptI::synchroniseBounds() {
  synchronised_epoch_ = getManager()->boundsEpoch();
  const int n = columns_->size();
  if (n == 0) return;
  if (static_cast<int>(scratch_->lower.size()) < n) {
    scratch_->lower.resize(static_cast<std::size_t>(n));
    scratch_->upper.resize(static_cast<std::size_t>(n));
  }
  cplex_->getBounds(scratch_->lower.data(), scratch_->upper.data());
  scratch_->changed_columns.clear();
  scratch_->changed_sides.clear();
  scratch_->changed_values.clear();
  const auto compare = [this](int column, char side, double bound, double library_bound) {
    const double value = ilc_clamp_bound(bound);
    if (value == library_bound) return;
    scratch_->changed_columns.push_back(column);
    scratch_->changed_sides.push_back(side);
    scratch_->changed_values.push_back(value);
  };
  for (int j = 0; j < n; ++j) {
    IlcFloatVarI* const var = columns_->var(j);
    compare(j, 'L', var->getMin(), scratch_->lower[static_cast<std::size_t>(j)]);
    compare(j, 'U', var->getMax(), scratch_->upper[static_cast<std::size_t>(j)]);
  }
  if (scratch_->changed_columns.empty()) return;
  cplex_->tighten(static_cast<int>(scratch_->changed_columns.size()),
                  scratch_->changed_columns.data(), scratch_->changed_sides.data(),
                  scratch_->changed_values.data());
}

void IlcLinOptI::chgBounds(IlcFloatVar var, double lb, double ub) {
  changeBounds(kBounds, var.getImpl(), lb, ub, kLower | kUpper);
}

void IlcLinOptI::chgLowerBound(IlcFloatVar handle, double lb) {
  IlcFloatVarI* const var = handle.getImpl();
  changeBounds(kLowerBound, var, lb, var ? var->getMax() : lb, kLower);
}

void IlcLinOptI::chgUpperBound(IlcFloatVar handle, double ub) {
  IlcFloatVarI* const var = handle.getImpl();
  changeBounds(kUpperBound, var, var ? var->getMin() : ub, ub, kUpper);
}

void IlcLinOptI::changeBounds(const BoundChange& messages, IlcFloatVarI* var, double lb, double ub,
                              int sides) {
  if (isRefused(!var, messages.empty_variable) || isRefusedOutsideOfEditMode(messages.no_edit) ||
      isRefused(!(lb <= ub), messages.inconsistent)) {
    return;
  }
  allowMipAgain();
  const bool was_synchronised = synchronised_epoch_ == getManager()->boundsEpoch();
  var->setRange(lb, ub);
  const int column = columns_->find(var);
  if (column >= 0) {
    if (sides & kLower) cplex_->chgMin(column, ilc_clamp_bound(lb));
    if (sides & kUpper) cplex_->chgMax(column, ilc_clamp_bound(ub));
  }
  // Where the variable kept a narrower bound than the library now has, the next solve sends it.
  const bool same = var->getMin() == lb && var->getMax() == ub;
  synchronised_epoch_ = was_synchronised && same ? getManager()->boundsEpoch() : 0;
}

}  // namespace planloc
