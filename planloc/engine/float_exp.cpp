#include "planloc/engine/float_exp.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <ostream>

#include "planloc/engine/expression_table_impl.h"

namespace planloc {
namespace {

// A bound of an operand that follows from a consistent bound of the node can miss the operand's
// other bound by rounding only; it is then that bound.
void narrow(IlcFloatExpI* exp, double min, double max, std::vector<IlcNarrowing>& narrowings) {
  narrowings.push_back({exp, std::min(min, exp->getMax()), std::max(max, exp->getMin())});
}

bool is_zero(const IlcFloatExpI* exp) { return exp->getManager()->isZero(exp); }

IlcFloatExp shared(const IlcExpKey& key) {
  return key.left->getManager()->expressions().findOrInsert(key);
}

IlcFloatExpI* checked(const IlcFloatExpI* exp) {
  detail::ilc_assert(exp != nullptr, "_impl != 0");
  return const_cast<IlcFloatExpI*>(exp);
}

}  // namespace

// ----- IlcLinearVisitor -----

void IlcLinearVisitor::walk(IlcFloatExpI* exp, double coefficient) {
  walkWith(*this, exp, coefficient);
}

void IlcLinearVisitor::reportNotLinear(IlcFloatExpI* exp) {
  exp->getManager()->getErrorReporter()->error(kIlcNotLinear, "Not a linear expression");
}

// ----- IlcVariableRange -----

void IlcVariableRange::start() {
  ++mark_;
  range_ = {};
  repeated_ = false;
}

// ----- IlcFloatExpI -----

double IlcFloatExpI::getValue() {
  const auto [min, max] = bounds();
  if (min != max) {
    manager_->getErrorReporter()->error(kIlcUnboundValue, "IlcFloatExpI::getValue",
                                        "unbound constrained variable", this);
  }
  return min;
}

bool IlcFloatExpI::isFresh() const {
  if (isVariable()) return true;
  const auto* const known = static_cast<const IlcCompoundExpI*>(this)->bounds_;
  return known && known->epoch == manager_->boundsEpoch();
}

const IlcFloatExpI::Bounds& IlcFloatExpI::bounds() {
  if (!isFresh()) static_cast<IlcCompoundExpI*>(this)->recompute();
  return knownBounds();
}

IlcFloatExpI::Bounds& IlcFloatExpI::knownBounds() {
  if (isVariable()) return static_cast<IlcFloatVarI*>(this)->bounds_;
  return *static_cast<IlcCompoundExpI*>(this)->bounds_;
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
    if (!next.exp->isVariable()) static_cast<IlcCompoundExpI*>(next.exp)->narrowOperands(open);
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
    const Bounds& own = bounds();
    consistent = max >= own.min && min <= own.max && min != infinity && max != -infinity;
  }
  if (!consistent) {
    manager_->fail(nullptr);
    return false;
  }
  Bounds& own = knownBounds();
  if (min <= own.min && max >= own.max) return false;
  if (!isVariable()) manager_->rangeSet();
  own = {std::max(min, own.min), std::min(max, own.max)};
  return true;
}

void IlcFloatExpI::display(std::ostream& out) const {
  if (isVariable()) return static_cast<const IlcFloatVarI*>(this)->displayVariable(out);
  const auto& node = static_cast<const IlcCompoundExpI&>(*this);
  const IlcFloatExp left(node.left());
  switch (kind_) {
    case IlcExpKind::kSum:
      out << '(' << left << " + " << IlcFloatExp(node.right()) << ')';
      break;
    case IlcExpKind::kOffset:
      if (is_zero(node.left())) {
        out << node.constant();
      } else {
        out << '(' << left << " + " << node.constant() << ')';
      }
      break;
    case IlcExpKind::kNegation:
      out << "- " << left;
      break;
    case IlcExpKind::kOther:
      out << '?';
      break;
    default:
      out << node.constant() << " * " << left;
  }
}

// ----- IlcCompoundExpI -----

void IlcCompoundExpI::recompute() {
  IlcManagerI* const manager = getManager();
  std::vector<IlcCompoundExpI*> open{this};
  while (!open.empty()) {
    IlcCompoundExpI* const node = open.back();
    const std::size_t depth = open.size();
    for (IlcFloatExpI* operand : {node->right(), node->left()}) {
      if (operand && !operand->isFresh()) open.push_back(static_cast<IlcCompoundExpI*>(operand));
    }
    if (open.size() > depth) continue;
    open.pop_back();
    if (!node->bounds_) node->bounds_ = new (manager->getGlobalHeap()) KnownBounds;
    const Bounds computed = node->computeBounds();
    KnownBounds& known = *node->bounds_;
    known.min = std::max(known.min, computed.min);
    known.max = std::min(known.max, computed.max);
    known.epoch = manager->boundsEpoch();
  }
}

IlcFloatExpI::Bounds IlcCompoundExpI::computeBounds() const {
  const auto known = [](IlcFloatExpI* exp) { return exp->knownBounds(); };
  switch (kind()) {
    case IlcExpKind::kSum: {
      const Bounds a = known(left_);
      const Bounds b = known(right_);
      return {a.min + b.min, a.max + b.max};
    }
    case IlcExpKind::kOffset: {
      const Bounds a = known(left_);
      return {a.min + constant_, a.max + constant_};
    }
    case IlcExpKind::kOther:
      getManager()->getErrorReporter()->error(kIlcUsageError, "access to uninitialised floatvar");
      return {};
    default: {
      const Bounds a = known(left_);
      const double c = factor();
      return c < 0.0 ? Bounds{c * a.max, c * a.min} : Bounds{c * a.min, c * a.max};
    }
  }
}

void IlcCompoundExpI::narrowOperands(std::vector<IlcNarrowing>& narrowings) {
  auto [min, max] = knownBounds();
  switch (kind()) {
    case IlcExpKind::kSum:
      narrow(left_, min - right_->getMax(), max - right_->getMin(), narrowings);
      narrow(right_, min - left_->getMax(), max - left_->getMin(), narrowings);
      break;
    case IlcExpKind::kOffset:
      narrow(left_, min - constant_, max - constant_, narrowings);
      break;
    case IlcExpKind::kOther:
      break;
    default:
      if (factor() < 0.0) std::swap(min, max);
      narrow(left_, min / factor(), max / factor(), narrowings);
  }
}

// ----- IlcFloatVarI -----

IlcFloatVarI::IlcFloatVarI(IlcManagerI* manager, double min, double max, const char* name,
                           bool is_integer)
    : IlcFloatExpI(manager, IlcExpKind::kVariable),
      bounds_{min, max},
      name_(ilc_copy_text(manager, name)) {
  is_integer_ = is_integer;
  if (min > max) manager->fail(nullptr);
}

double IlcFloatVarI::getPrecision() const { return getManager()->getDefaultPrecision(); }

// A bound that rests on a computation can miss a whole number by rounding.
double IlcFloatVarI::roundedMin(double min) const {
  return is_integer_ ? std::ceil(min - getPrecision() * std::max(1.0, std::fabs(min))) : min;
}

double IlcFloatVarI::roundedMax(double max) const {
  return is_integer_ ? std::floor(max + getPrecision() * std::max(1.0, std::fabs(max))) : max;
}

void IlcFloatVarI::displayVariable(std::ostream& out) const {
  if (name_) {
    out << name_;
  } else if (getMin() == getMax()) {
    out << getMin();
  } else {
    out << '[' << getMin() << ".." << getMax() << ']';
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
  const auto* const node = static_cast<const IlcCompoundExpI*>(checked(e.getImpl()));
  switch (node->kind()) {
    case IlcExpKind::kNegation:
      return node->left();
    case IlcExpKind::kPositiveProduct:
    case IlcExpKind::kNegativeProduct:
      return -node->constant() * IlcFloatExp(node->left());
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
