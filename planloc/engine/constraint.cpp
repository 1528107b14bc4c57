#include "planloc/engine/constraint.h"

#include <algorithm>
#include <ostream>

#include "planloc/engine/float_exp_impl.h"
#include "planloc/engine/linear_solver.h"
#include "planloc/engine/manager_impl.h"

namespace planloc {
namespace {

struct Sides {
  IlcVariableRange::Range left;
  IlcVariableRange::Range right;
  bool repeated;
};

Sides sidesOf(IlcFloatExpI* left, IlcFloatExpI* right) {
  IlcVariableRange& range = left->getManager()->variableRange();
  range.start();
  const auto left_range = range.of(left);
  const auto right_range = range.of(right);
  return {left_range, right_range, range.repeated()};
}

// left <= right. With the flag set it was written right >= left, and keeps that form as a row.
class LessOrEqualI final : public IlcConstraintI {
 public:
  LessOrEqualI(IlcManagerI* manager, bool flag, IlcFloatExpI* left, IlcFloatExpI* right)
      : IlcConstraintI(manager), flag_(flag), left_(left), right_(right) {}

  void post() override { propagate(); }
  void propagate() override {
    left_->setRange(-IlcInfinity, right_->getMax());
    right_->setRange(left_->getMin(), IlcInfinity);
  }
  bool isAlreadySatisfied() override { return standing().satisfied; }
  bool hasAUniqueSolution() override { return standing().unique; }
  Standing standing() override {
    const auto [left, right, repeated] = sidesOf(left_, right_);
    return {left.max <= right.min, !repeated && left.min == right.max};
  }
  void linParse(IlcLinearVisitor& visitor) override {
    visitor.walk(flag_ ? right_ : left_, 1.0);
    visitor.walk(flag_ ? left_ : right_, -1.0);
  }
  void linPost(IlcLinearSolverI& solver, IlcFloatArray coefficients, IlcFloatVarArray vars,
               double rhs) override {
    if (flag_) {
      solver.greaterOrEqual(coefficients, vars, rhs - knownExcess());
    } else {
      solver.lessOrEqual(coefficients, vars, rhs + knownExcess());
    }
  }
  void display(std::ostream& out) const override {
    if (flag_) {
      out << IlcFloatExp(right_) << " >= " << IlcFloatExp(left_);
    } else {
      out << IlcFloatExp(left_) << " <= " << IlcFloatExp(right_);
    }
  }

 private:
  // The manager can know ranges of both sides by which the constraint holds, from another
  // constraint of the same expression. The program does not know them, so its row takes the limit
  // of left - right that they give; 0 otherwise.
  double knownExcess() {
    if (!getManager()->knowsRanges()) return 0.0;
    return std::min(0.0, left_->getMax() - right_->getMin());
  }

  bool flag_;
  IlcFloatExpI* left_;
  IlcFloatExpI* right_;
};

class EqualI final : public IlcConstraintI {
 public:
  EqualI(IlcManagerI* manager, IlcFloatExpI* left, IlcFloatExpI* right)
      : IlcConstraintI(manager), left_(left), right_(right) {}

  void post() override { propagate(); }
  void propagate() override {
    left_->setRange(right_->getMin(), right_->getMax());
    right_->setRange(left_->getMin(), left_->getMax());
  }
  bool isAlreadySatisfied() override { return standing().satisfied; }
  bool hasAUniqueSolution() override { return standing().unique; }
  Standing standing() override {
    const auto [left, right, repeated] = sidesOf(left_, right_);
    const bool fixed = left.max == right.min && left.min == right.max;
    return {left_ == right_ || fixed,
            !repeated && (left.min == right.max || left.max == right.min)};
  }
  void linParse(IlcLinearVisitor& visitor) override {
    visitor.walk(left_, 1.0);
    visitor.walk(right_, -1.0);
  }
  void linPost(IlcLinearSolverI& solver, IlcFloatArray coefficients, IlcFloatVarArray vars,
               double rhs) override {
    solver.equal(coefficients, vars, rhs);
  }
  void display(std::ostream& out) const override {
    out << IlcFloatExp(left_) << " == " << IlcFloatExp(right_);
  }

 private:
  IlcFloatExpI* left_;
  IlcFloatExpI* right_;
};

template <typename Kind, typename... Args>
IlcConstraint new_constraint(IlcManagerI* manager, Args... args) {
  IlcConstraintI* const impl = new (manager) Kind(manager, args...);
  return impl;
}

IlcManagerI* common_manager(IlcFloatExp a, IlcFloatExp b) {
  detail::ilc_assert(a.getImpl() != nullptr && b.getImpl() != nullptr, "exp.getImpl() != 0");
  return a.getImpl()->getManager();
}

IlcFloatExp number_beside(IlcFloatExp e, double c) {
  detail::ilc_assert(e.getImpl() != nullptr, "exp.getImpl() != 0");
  return ilc_number(e.getImpl()->getManager(), c);
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

IlcConstraintI::Standing IlcConstraintI::standing() {
  const bool satisfied = isAlreadySatisfied();
  return {satisfied, !satisfied && hasAUniqueSolution()};
}

void IlcConstraintI::linParse(IlcLinearVisitor&) { notImplemented("linParse not implemented"); }

void IlcConstraintI::linPost(IlcLinearSolverI&, IlcFloatArray, IlcFloatVarArray, double) {
  notImplemented("linPost not implemented");
}

void IlcConstraintI::notImplemented(const char* text) const {
  manager_->getErrorReporter()->error(kIlcUsageError, text);
}

IlcConstraint operator<=(IlcFloatExp a, IlcFloatExp b) {
  IlcManagerI* const m = common_manager(a, b);
  return new_constraint<LessOrEqualI>(m, false, a.getImpl(), b.getImpl());
}

IlcConstraint operator<=(IlcFloatExp e, double c) { return e <= number_beside(e, c); }

IlcConstraint operator<=(double c, IlcFloatExp e) { return number_beside(e, c) <= e; }

IlcConstraint operator>=(IlcFloatExp a, IlcFloatExp b) {
  IlcManagerI* const m = common_manager(a, b);
  return new_constraint<LessOrEqualI>(m, true, b.getImpl(), a.getImpl());
}

IlcConstraint operator>=(IlcFloatExp e, double c) { return e >= number_beside(e, c); }

IlcConstraint operator>=(double c, IlcFloatExp e) { return number_beside(e, c) >= e; }

IlcConstraint operator==(IlcFloatExp a, IlcFloatExp b) {
  IlcManagerI* const m = common_manager(a, b);
  return new_constraint<EqualI>(m, a.getImpl(), b.getImpl());
}

IlcConstraint operator==(IlcFloatExp e, double c) { return e == number_beside(e, c); }

IlcConstraint operator==(double c, IlcFloatExp e) { return number_beside(e, c) == e; }

std::ostream& operator<<(std::ostream& out, IlcConstraint ct) {
  detail::ilc_assert(ct.getImpl() != nullptr, "ct.getImpl() != 0");
  ct.getImpl()->display(out);
  return out;
}

}  // namespace planloc
