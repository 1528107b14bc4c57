#include "planloc/engine/constraint.h"

#include <algorithm>
#include <cmath>
#include <ostream>

#include "planloc/engine/float_exp_impl.h"
#include "planloc/engine/linear_solver.h"
#include "planloc/engine/manager_impl.h"

namespace planloc {
namespace {

// A side of a constraint: an expression, or a number that needs no node.
class Side {
 public:
  explicit Side(IlcFloatExpI* exp) : exp_(exp) {}
  explicit Side(double number) : number_(number) {}

  double getMin() const { return exp_ ? exp_->getMin() : number_; }
  double getMax() const { return exp_ ? exp_->getMax() : number_; }
  void setRange(IlcManagerI* manager, double min, double max) const {
    if (exp_) return exp_->setRange(min, max);
    if (!(min <= number_ && max >= number_)) manager->fail(nullptr);
  }
  void walk(IlcLinearVisitor& visitor, double coefficient) const {
    if (exp_) return visitor.walk(exp_, coefficient);
    visitor.addConstant(coefficient * number_);
  }
  bool operator==(const Side&) const = default;
  friend std::ostream& operator<<(std::ostream& out, const Side& side) {
    return side.exp_ ? out << IlcFloatExp(side.exp_) : out << side.number_;
  }

 private:
  IlcFloatExpI* exp_ = nullptr;
  double number_ = 0.0;
};

// What the kinds of constraints share: two sides, of which the row has the first positive.
class ComparisonI : public IlcConstraintI {
 public:
  ComparisonI(IlcManagerI* manager, const Side& left, const Side& right)
      : IlcConstraintI(manager), left_(left), right_(right) {}

  void post() override { propagate(); }
  bool isAlreadySatisfied() override { return standing().satisfied; }
  bool hasAUniqueSolution() override { return standing().unique; }
  void linParse(IlcLinearVisitor& visitor) override {
    left_.walk(visitor, 1.0);
    right_.walk(visitor, -1.0);
  }
  Standing linJudge(IlcRangeVisitor& visitor) override {
    IlcVariableRange& range = visitor.range();
    range.start();
    left_.walk(visitor, 1.0);
    const auto left = range.take();
    right_.walk(visitor, -1.0);
    const auto right = -range.take();
    return judge(left, right, range.repeated());
  }

 protected:
  using Range = IlcVariableRange::Range;

  ~ComparisonI() = default;

  virtual Standing judge(const Range& left, const Range& right, bool repeated) const = 0;
  void displaySides(std::ostream& out, const char* sign) const { out << left_ << sign << right_; }

  Side left_;
  Side right_;

 private:
  Standing standing() {
    IlcRangeVisitor visitor(getManager()->variableRange());
    return linJudge(visitor);
  }
};

void narrow_to_order(IlcManagerI* manager, const Side& less, const Side& more) {
  less.setRange(manager, -IlcInfinity, more.getMax());
  more.setRange(manager, less.getMin(), IlcInfinity);
}

// The manager can know ranges of both sides by which less <= more holds, from another constraint of
// the same expression. The program does not know them, so its row takes the limit of less - more
// that they give; 0 otherwise.
double known_excess(IlcManagerI* manager, const Side& less, const Side& more) {
  if (!manager->knowsRanges()) return 0.0;
  return std::min(0.0, less.getMax() - more.getMin());
}

class LessOrEqualI final : public ComparisonI {
 public:
  using ComparisonI::ComparisonI;

  void propagate() override { narrow_to_order(getManager(), left_, right_); }
  void linPost(IlcLinearSolverI& solver, IlcFloatArray coefficients, IlcFloatVarArray vars,
               double rhs) override {
    solver.lessOrEqual(coefficients, vars, rhs + known_excess(getManager(), left_, right_));
  }
  void display(std::ostream& out) const override { displaySides(out, " <= "); }

 protected:
  Standing judge(const Range& left, const Range& right, bool repeated) const override {
    return {left.max <= right.min, !repeated && left.min == right.max};
  }
};

class GreaterOrEqualI final : public ComparisonI {
 public:
  using ComparisonI::ComparisonI;

  void propagate() override { narrow_to_order(getManager(), right_, left_); }
  void linPost(IlcLinearSolverI& solver, IlcFloatArray coefficients, IlcFloatVarArray vars,
               double rhs) override {
    solver.greaterOrEqual(coefficients, vars, rhs - known_excess(getManager(), right_, left_));
  }
  void display(std::ostream& out) const override { displaySides(out, " >= "); }

 protected:
  Standing judge(const Range& left, const Range& right, bool repeated) const override {
    return {right.max <= left.min, !repeated && right.min == left.max};
  }
};

class EqualI final : public ComparisonI {
 public:
  using ComparisonI::ComparisonI;

  void propagate() override {
    left_.setRange(getManager(), right_.getMin(), right_.getMax());
    right_.setRange(getManager(), left_.getMin(), left_.getMax());
  }
  void linPost(IlcLinearSolverI& solver, IlcFloatArray coefficients, IlcFloatVarArray vars,
               double rhs) override {
    solver.equal(coefficients, vars, rhs);
  }
  void display(std::ostream& out) const override { displaySides(out, " == "); }

 protected:
  Standing judge(const Range& left, const Range& right, bool repeated) const override {
    const bool fixed = left.max == right.min && left.min == right.max;
    return {left_ == right_ || fixed,
            !repeated && (left.min == right.max || left.max == right.min)};
  }
};

template <typename Kind>
IlcConstraint compared(IlcFloatExp a, IlcFloatExp b) {
  detail::ilc_assert(a.getImpl() != nullptr && b.getImpl() != nullptr, "exp.getImpl() != 0");
  IlcManagerI* const m = a.getImpl()->getManager();
  return IlcConstraint(new (m->getHeap()) Kind(m, Side(a.getImpl()), Side(b.getImpl())));
}

// Zero is a variable of the manager, and a number that is none has bounds as an expression alone.
Side side_of(IlcManagerI* manager, double c) {
  return c == 0.0 || !std::isfinite(c) ? Side(ilc_number(manager, c).getImpl()) : Side(c);
}

template <typename Kind>
IlcConstraint compared(IlcFloatExp e, double c) {
  detail::ilc_assert(e.getImpl() != nullptr, "exp.getImpl() != 0");
  IlcManagerI* const m = e.getImpl()->getManager();
  return IlcConstraint(new (m->getHeap()) Kind(m, Side(e.getImpl()), side_of(m, c)));
}

template <typename Kind>
IlcConstraint compared(double c, IlcFloatExp e) {
  detail::ilc_assert(e.getImpl() != nullptr, "exp.getImpl() != 0");
  IlcManagerI* const m = e.getImpl()->getManager();
  return IlcConstraint(new (m->getHeap()) Kind(m, side_of(m, c), Side(e.getImpl())));
}

}  // namespace

void IlcConstraintI::setName(const char* name) { name_ = ilc_copy_text(manager_, name); }

bool IlcConstraintI::isAlreadySatisfied() {
  notImplemented("isAlreadySatisfied not implemented");
  return false;
}

bool IlcConstraintI::hasAUniqueSolution() {
  notImplemented("hasAUniqueSolution not implemented");
  return false;
}

IlcConstraintI::Standing IlcConstraintI::linJudge(IlcRangeVisitor& visitor) {
  if (isAlreadySatisfied()) return {true, false};
  const bool unique = hasAUniqueSolution();
  linParse(visitor);
  return {false, unique};
}

void IlcConstraintI::linParse(IlcLinearVisitor&) { notImplemented("linParse not implemented"); }

void IlcConstraintI::linPost(IlcLinearSolverI&, IlcFloatArray, IlcFloatVarArray, double) {
  notImplemented("linPost not implemented");
}

void IlcConstraintI::notImplemented(const char* text) const {
  manager_->getErrorReporter()->error(kIlcUsageError, text);
}

IlcConstraint operator<=(IlcFloatExp a, IlcFloatExp b) { return compared<LessOrEqualI>(a, b); }

IlcConstraint operator<=(IlcFloatExp e, double c) { return compared<LessOrEqualI>(e, c); }

IlcConstraint operator<=(double c, IlcFloatExp e) { return compared<LessOrEqualI>(c, e); }

IlcConstraint operator>=(IlcFloatExp a, IlcFloatExp b) { return compared<GreaterOrEqualI>(a, b); }

IlcConstraint operator>=(IlcFloatExp e, double c) { return compared<GreaterOrEqualI>(e, c); }

IlcConstraint operator>=(double c, IlcFloatExp e) { return compared<GreaterOrEqualI>(c, e); }

IlcConstraint operator==(IlcFloatExp a, IlcFloatExp b) { return compared<EqualI>(a, b); }

IlcConstraint operator==(IlcFloatExp e, double c) { return compared<EqualI>(e, c); }

IlcConstraint operator==(double c, IlcFloatExp e) { return compared<EqualI>(c, e); }

std::ostream& operator<<(std::ostream& out, IlcConstraint ct) {
  detail::ilc_assert(ct.getImpl() != nullptr, "ct.getImpl() != 0");
  ct.getImpl()->display(out);
  return out;
}

}  // namespace planloc
