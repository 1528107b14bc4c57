#include "planloc/engine/float_exp.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <ostream>

#include "planloc/engine/float_exp_impl.h"
#include "planloc/engine/manager_impl.h"

namespace planloc {
namespace {

// A bound of an operand that follows from a consistent bound of the node can miss the operand's
// other bound by rounding only; it is then that bound.
void narrow(IlcFloatExpI* exp, double min, double max, std::vector<IlcNarrowing>& narrowings) {
  narrowings.push_back({exp, std::min(min, exp->getMax()), std::max(max, exp->getMin())});
}

bool is_zero(const IlcFloatExpI* exp) { return exp == exp->getManager()->getZero(); }

class SumI final : public IlcFloatExpI {
 public:
  SumI(IlcManagerI* manager, const IlcExpKey& key) : IlcFloatExpI(manager, key) {}

  void display(std::ostream& out) const override {
    out << '(' << IlcFloatExp(key().left) << " + " << IlcFloatExp(key().right) << ')';
  }

 protected:
  void computeBounds(double& min, double& max) const override {
    min = knownMin(key().left) + knownMin(key().right);
    max = knownMax(key().left) + knownMax(key().right);
  }
  void narrowOperands(double min, double max,
                      std::vector<IlcNarrowing>& narrowings) const override {
    IlcFloatExpI* const a = key().left;
    IlcFloatExpI* const b = key().right;
    narrow(a, min - b->getMax(), max - b->getMin(), narrowings);
    narrow(b, min - a->getMax(), max - a->getMin(), narrowings);
  }
};

// constant * left for a constant of either sign, and the negation, which is the product by -1.
class ProductI final : public IlcFloatExpI {
 public:
  ProductI(IlcManagerI* manager, const IlcExpKey& key) : IlcFloatExpI(manager, key) {}

  void display(std::ostream& out) const override {
    if (key().kind == IlcExpKind::kNegation) {
      out << "- " << IlcFloatExp(key().left);
    } else {
      out << factor() << " * " << IlcFloatExp(key().left);
    }
  }

 protected:
  void computeBounds(double& min, double& max) const override {
    min = factor() * knownMin(key().left);
    max = factor() * knownMax(key().left);
    if (factor() < 0.0) std::swap(min, max);
  }
  void narrowOperands(double min, double max,
                      std::vector<IlcNarrowing>& narrowings) const override {
    if (factor() < 0.0) std::swap(min, max);
    narrow(key().left, min / factor(), max / factor(), narrowings);
  }
};

class OffsetI final : public IlcFloatExpI {
 public:
  OffsetI(IlcManagerI* manager, const IlcExpKey& key) : IlcFloatExpI(manager, key) {}

  void display(std::ostream& out) const override {
    if (is_zero(key().left)) {
      out << key().constant;
    } else {
      out << '(' << IlcFloatExp(key().left) << " + " << key().constant << ')';
    }
  }

 protected:
  void computeBounds(double& min, double& max) const override {
    min = knownMin(key().left) + key().constant;
    max = knownMax(key().left) + key().constant;
  }
  void narrowOperands(double min, double max,
                      std::vector<IlcNarrowing>& narrowings) const override {
    narrow(key().left, min - key().constant, max - key().constant, narrowings);
  }
};

IlcFloatExpI* build(IlcManagerI* manager, const IlcExpKey& key) {
  switch (key.kind) {
    case IlcExpKind::kSum:
      return new (manager) SumI(manager, key);
    case IlcExpKind::kOffset:
      return new (manager) OffsetI(manager, key);
    default:
      return new (manager) ProductI(manager, key);
  }
}

IlcFloatExp shared(const IlcExpKey& key) {
  IlcManagerI* const manager = key.left->getManager();
  return manager->expressions().findOrInsert(key, [&] { return build(manager, key); });
}

IlcFloatExpI* checked(const IlcFloatExpI* exp) {
  detail::ilc_assert(exp != nullptr, "_impl != 0");
  return const_cast<IlcFloatExpI*>(exp);
}

}  // namespace

// ----- IlcLinearVisitor -----

void IlcLinearVisitor::walk(IlcFloatExpI* exp, double coefficient) {
  const std::size_t bottom = open_.size();
  for (;;) {
    switch (exp->kind_) {
      case IlcExpKind::kSum:
        open_.push_back({exp->right_, coefficient});
        exp = exp->left_;
        continue;
      case IlcExpKind::kOffset:
        addConstant(coefficient * exp->constant_);
        exp = exp->left_;
        continue;
      case IlcExpKind::kPositiveProduct:
      case IlcExpKind::kNegativeProduct:
      case IlcExpKind::kNegation:
        coefficient *= exp->factor();
        exp = exp->left_;
        continue;
      case IlcExpKind::kVariable:
        addTerm(coefficient, static_cast<IlcFloatVarI*>(exp));
        break;
      case IlcExpKind::kOther:
        exp->getManager()->getErrorReporter()->error(kIlcNotLinear, "Not a linear expression");
        break;
    }
    if (open_.size() == bottom) return;
    exp = open_.back().exp;
    coefficient = open_.back().coefficient;
    open_.pop_back();
  }
}

// ----- IlcVariableRange -----

void IlcVariableRange::start() {
  ++mark_;
  repeated_ = false;
}

IlcVariableRange::Range IlcVariableRange::of(IlcFloatExpI* exp) {
  range_ = {0.0, 0.0};
  walk(exp, 1.0);
  return range_;
}

void IlcVariableRange::addTerm(double coefficient, IlcFloatVarI* var) {
  if (coefficient == 0.0) return;
  const double at_min = coefficient * var->getMin();
  const double at_max = coefficient * var->getMax();
  range_.min += std::min(at_min, at_max);
  range_.max += std::max(at_min, at_max);
  if (at_min != at_max && !var->setMark(mark_)) repeated_ = true;
}

void IlcVariableRange::addConstant(double constant) {
  range_.min += constant;
  range_.max += constant;
}

// ----- IlcFloatExpI -----

double IlcFloatExpI::getValue() {
  refresh();
  if (min_ != max_) {
    manager_->getErrorReporter()->error(kIlcUnboundValue, "IlcFloatExpI::getValue",
                                        "unbound constrained variable", this);
  }
  return min_;
}

bool IlcFloatExpI::isFresh() const { return isVariable() || epoch_ == manager_->boundsEpoch(); }

void IlcFloatExpI::refresh() {
  if (!isFresh()) recompute();
}

void IlcFloatExpI::recompute() {
  std::vector<IlcFloatExpI*> open{this};
  while (!open.empty()) {
    IlcFloatExpI* const exp = open.back();
    const std::size_t depth = open.size();
    for (IlcFloatExpI* operand : {exp->right_, exp->left_}) {
      if (operand && !operand->isFresh()) open.push_back(operand);
    }
    if (open.size() > depth) continue;
    open.pop_back();
    double min = exp->min_;
    double max = exp->max_;
    exp->computeBounds(min, max);
    exp->min_ = std::max(exp->min_, min);
    exp->max_ = std::min(exp->max_, max);
    exp->epoch_ = manager_->boundsEpoch();
  }
}

// The whole narrowing rests on the bounds at its start: noting a change at each step would have the
// bounds of a long expression computed again for each of its variables.
void IlcFloatExpI::setRange(double min, double max) {
  struct ChangeNote {
    ~ChangeNote() {
      if (changed) manager->boundsChanged();
    }
    IlcManagerI* manager;
    bool changed = false;
  } note{manager_};
  std::vector<IlcNarrowing> open{{this, min, max}};
  while (!open.empty()) {
    const IlcNarrowing next = open.back();
    open.pop_back();
    if (!next.exp->setOwnRange(next.min, next.max)) continue;
    note.changed = true;
    if (!next.exp->isVariable()) {
      next.exp->narrowOperands(next.exp->knownMin(), next.exp->knownMax(), open);
    }
  }
}

// Whether a bound changed.
bool IlcFloatExpI::setOwnRange(double min, double max) {
  if (isVariable() && min <= max) {
    const auto* const var = static_cast<const IlcFloatVarI*>(this);
    if (std::isfinite(min)) min = var->roundedMin(min);
    if (std::isfinite(max)) max = var->roundedMax(max);
  }
  const double infinity = std::numeric_limits<double>::infinity();
  bool consistent = min <= max;
  if (consistent) {
    refresh();
    consistent = max >= min_ && min <= max_ && min != infinity && max != -infinity;
  }
  if (!consistent) {
    manager_->fail(nullptr);
    return false;
  }
  if (min <= min_ && max >= max_) return false;
  if (!isVariable()) manager_->rangeSet();
  min_ = std::max(min, min_);
  max_ = std::min(max, max_);
  return true;
}

void IlcFloatExpI::computeBounds(double&, double&) const {
  manager_->getErrorReporter()->error(kIlcUsageError, "access to uninitialised floatvar");
}

void IlcFloatExpI::narrowOperands(double, double, std::vector<IlcNarrowing>&) const {}

// ----- IlcFloatVarI -----

IlcFloatVarI::IlcFloatVarI(IlcManagerI* manager, double min, double max, const char* name,
                           bool is_integer)
    : IlcFloatExpI(manager, {IlcExpKind::kVariable, nullptr, nullptr, 0.0}),
      name_(ilc_copy_text(manager, name)),
      is_integer_(is_integer) {
  if (min > max) manager->fail(nullptr);
  min_ = min;
  max_ = max;
}

double IlcFloatVarI::getPrecision() const { return getManager()->getDefaultPrecision(); }

// A bound that rests on a computation can miss a whole number by rounding.
double IlcFloatVarI::roundedMin(double min) const {
  return is_integer_ ? std::ceil(min - getPrecision() * std::max(1.0, std::fabs(min))) : min;
}

double IlcFloatVarI::roundedMax(double max) const {
  return is_integer_ ? std::floor(max + getPrecision() * std::max(1.0, std::fabs(max))) : max;
}

void IlcFloatVarI::display(std::ostream& out) const {
  if (name_) {
    out << name_;
  } else if (knownMin() == knownMax()) {
    out << knownMin();
  } else {
    out << '[' << knownMin() << ".." << knownMax() << ']';
  }
}

const char* ilc_copy_text(IlcManagerI* manager, const char* text) {
  if (!text) return nullptr;
  const std::size_t size = std::strlen(text) + 1;
  return static_cast<const char*>(std::memcpy(manager->getHeap()->allocate(size), text, size));
}

IlcFloatExp ilc_number(IlcManagerI* manager, double c) {
  return IlcFloatExp(IlcFloatVar(manager->getZero())) + c;
}

// ----- Handles -----

IlcFloatExp::IlcFloatExp(double c) : IlcFloatExp(ilc_number(IlcGetManagerI(), c)) {}

IlcFloatExp& IlcFloatExp::operator+=(IlcFloatExp e) { return *this = *this + e; }

IlcFloatExp& IlcFloatExp::operator+=(double c) { return *this = *this + c; }

IlcFloatExp& IlcFloatExp::operator-=(IlcFloatExp e) { return *this = *this - e; }

IlcFloatExp& IlcFloatExp::operator-=(double c) { return *this = *this - c; }

IlcManager IlcFloatExp::getManager() const { return checked(impl_)->getManager(); }

double IlcFloatExp::getMin() const { return checked(impl_)->getMin(); }

double IlcFloatExp::getMax() const { return checked(impl_)->getMax(); }

double IlcFloatExp::getValue() const { return checked(impl_)->getValue(); }

void IlcFloatExp::setRange(double min, double max) { checked(impl_)->setRange(min, max); }

IlcFloatVar::IlcFloatVar(IlcFloatVarI* impl, int) : IlcFloatExp(static_cast<IlcFloatExpI*>(impl)) {}

IlcFloatVar::IlcFloatVar(IlcManager m, double min, double max, const char* name)
    : IlcFloatVar(new (m.getHeap()) IlcFloatVarI(m.getImpl(), min, max, name)) {}

IlcFloatVarI* IlcFloatVar::getImpl() const { return static_cast<IlcFloatVarI*>(impl_); }

const char* IlcFloatVar::getName() const {
  checked(impl_);
  return getImpl()->getName();
}

double IlcFloatVar::getPrecision() const {
  checked(impl_);
  return getImpl()->getPrecision();
}

IlcIntVar::IlcIntVar(IlcManager m, int min, int max, const char* name)
    : IlcFloatVar(new (m.getHeap()) IlcFloatVarI(m.getImpl(), min, max, name, true), 0) {}

int IlcIntVar::getMin() const { return static_cast<int>(IlcFloatVar::getMin()); }

int IlcIntVar::getMax() const { return static_cast<int>(IlcFloatVar::getMax()); }

int IlcIntVar::getValue() const { return static_cast<int>(IlcFloatVar::getValue()); }

void IlcIntVar::setRange(int min, int max) { IlcFloatVar::setRange(min, max); }

// ----- Arithmetic -----

IlcFloatExp operator*(double c, IlcFloatExp e) {
  IlcFloatExpI* const exp = checked(e.getImpl());
  if (c == 1.0 || is_zero(exp)) return e;
  if (c == 0.0) return IlcFloatVar(exp->getManager()->getZero());
  if (c == -1.0) return shared({IlcExpKind::kNegation, exp, nullptr, 0.0});
  return shared(
      {c > 0.0 ? IlcExpKind::kPositiveProduct : IlcExpKind::kNegativeProduct, exp, nullptr, c});
}

IlcFloatExp operator*(IlcFloatExp e, double c) { return c * e; }

IlcFloatExp operator/(IlcFloatExp e, double c) {
  IlcFloatExpI* const exp = checked(e.getImpl());
  if (c == 0.0) exp->getManager()->getErrorReporter()->error(kIlcUsageError, "divide by zero");
  return (1.0 / c) * e;
}

IlcFloatExp operator+(IlcFloatExp a, IlcFloatExp b) {
  IlcFloatExpI* const left = checked(a.getImpl());
  IlcFloatExpI* const right = checked(b.getImpl());
  if (left == right) return 2.0 * a;
  if (is_zero(left)) return b;
  if (is_zero(right)) return a;
  return shared({IlcExpKind::kSum, left, right, 0.0});
}

IlcFloatExp operator+(IlcFloatExp e, double c) {
  IlcFloatExpI* const exp = checked(e.getImpl());
  if (c == 0.0) return e;
  return shared({IlcExpKind::kOffset, exp, nullptr, c});
}

IlcFloatExp operator+(double c, IlcFloatExp e) { return e + c; }

// A product takes the sign into its constant, so that a - 2 * b has no more nodes than a + 2 * b.
IlcFloatExp operator-(IlcFloatExp e) {
  const IlcExpKey key = checked(e.getImpl())->key();
  switch (key.kind) {
    case IlcExpKind::kNegation:
      return key.left;
    case IlcExpKind::kPositiveProduct:
    case IlcExpKind::kNegativeProduct:
      return -key.constant * IlcFloatExp(key.left);
    default:
      return -1.0 * e;
  }
}

IlcFloatExp operator-(IlcFloatExp a, IlcFloatExp b) {
  return a.getImpl() == b.getImpl() ? 0.0 * a : a + -b;
}

IlcFloatExp operator-(IlcFloatExp e, double c) { return e + (-c); }

IlcFloatExp operator-(double c, IlcFloatExp e) { return -e + c; }

std::ostream& operator<<(std::ostream& out, IlcFloatExp e) {
  checked(e.getImpl())->display(out);
  return out;
}

}  // namespace planloc
