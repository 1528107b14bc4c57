// The nodes behind IlcFloatExp. Users include float_exp.h.
#ifndef PLANLOC_ENGINE_FLOAT_EXP_IMPL_H_
#define PLANLOC_ENGINE_FLOAT_EXP_IMPL_H_

#include <algorithm>
#include <cstdint>
#include <iosfwd>
#include <limits>
#include <utility>
#include <vector>

#include "planloc/engine/expression_table.h"
#include "planloc/engine/float_exp.h"
#include "planloc/engine/manager.h"

namespace planloc {

// Walks a linear expression from left to right. A chain of sums is as long as a model is large, so
// the walk keeps its own stack instead of recurring. A node that is not linear reports "Not a
// linear expression".
class IlcLinearVisitor {
 public:
  // One product of a coefficient and a variable, in order of occurrence.
  virtual void addTerm(double coefficient, IlcFloatVarI* var) = 0;
  virtual void addConstant(double constant) = 0;

  // Visits coefficient * exp.
  virtual void walk(IlcFloatExpI* exp, double coefficient);

  // Gives the memory of the walk back; for visitors that are never destroyed.
  void releaseStack() { std::vector<Open>().swap(open_); }

 protected:
  ~IlcLinearVisitor() = default;

  // The walk for a visitor of a known class, whose members it need not look up term by term.
  template <typename Visitor>
  static void walkWith(Visitor& visitor, IlcFloatExpI* exp, double coefficient);

 private:
  static void reportNotLinear(IlcFloatExpI* exp);

  struct Open {
    IlcFloatExpI* exp;
    double coefficient;
  };
  std::vector<Open> open_;
};

// What the bounds of variables alone say of linear expressions, without ranges that were set on the
// expressions: a linear program knows the bounds of its columns and nothing else.
class IlcVariableRange {
 public:
  struct Range {
    double min = 0.0;
    double max = 0.0;
    Range operator-() const { return {-max, -min}; }
  };

  // Begins a group of expressions, in which a repeated variable is looked for.
  void start();
  // The range of what was added since the last call. Both ends are attained where no variable is
  // repeated.
  Range take() { return std::exchange(range_, {}); }
  // Whether a variable that is not fixed occurred twice since the start.
  bool repeated() const { return repeated_; }

  void addTerm(double coefficient, IlcFloatVarI* var);
  void addConstant(double constant);

 private:
  Range range_;
  std::uint32_t mark_ = 0;
  bool repeated_ = false;
};

// Adds what it walks to the manager's range.
class IlcRangeVisitor : public IlcLinearVisitor {
 public:
  explicit IlcRangeVisitor(IlcVariableRange& range) : range_(range) {}
  IlcVariableRange& range() { return range_; }

  void addTerm(double coefficient, IlcFloatVarI* var) override { range_.addTerm(coefficient, var); }
  void addConstant(double constant) override { range_.addConstant(constant); }

 private:
  IlcVariableRange& range_;
};

// A bound to pass on to an operand.
struct IlcNarrowing {
  IlcFloatExpI* exp;
  double min;
  double max;
};

// A node: a variable or, with operands, an IlcCompoundExpI. Nodes are never destroyed, and a model
// has several a row, so they are kept small.
class IlcFloatExpI {
 public:
  IlcManagerI* getManager() const { return manager_; }
  IlcExpKind kind() const { return kind_; }
  bool isVariable() const { return kind_ == IlcExpKind::kVariable; }
  // What the expression table notes of the nodes whose left operand this is: the last one's number,
  // 0 without one, or that they are in its hash table.
  std::uint32_t users() const { return users_; }
  void setUsers(std::uint32_t users) { users_ = users; }

  double getMin() { return bounds().min; }
  double getMax() { return bounds().max; }
  double getValue();
  void setRange(double min, double max);

  void display(std::ostream& out) const;

 protected:
  struct Bounds {
    double min = -std::numeric_limits<double>::infinity();
    double max = std::numeric_limits<double>::infinity();
  };

  IlcFloatExpI(IlcManagerI* manager, IlcExpKind kind) : manager_(manager), kind_(kind) {}
  ~IlcFloatExpI() = default;

  bool isFresh() const;
  // Up to date; of a compound node they are computed when they are asked for.
  const Bounds& bounds();
  // As of the last time. REQUIRES: they were asked for.
  Bounds& knownBounds();

 private:
  friend class IlcCompoundExpI;

  bool setOwnRange(double min, double max);

  IlcManagerI* manager_;
  IlcExpKind kind_;

 protected:
  bool is_integer_ = false;  // of variables alone, here for the sake of size

 private:
  std::uint32_t users_ = 0;
};

class IlcCompoundExpI final : public IlcFloatExpI {
 public:
  IlcCompoundExpI(IlcManagerI* manager, const IlcExpKey& key)
      : IlcFloatExpI(manager, key.kind), left_(key.left) {
    if (key.kind == IlcExpKind::kSum) {
      right_ = key.right;
    } else {
      constant_ = key.constant;
    }
  }

  IlcExpKey key() const { return {kind(), left_, right(), constant()}; }
  IlcFloatExpI* left() const { return left_; }
  IlcFloatExpI* right() const { return kind() == IlcExpKind::kSum ? right_ : nullptr; }
  double constant() const { return kind() == IlcExpKind::kSum ? 0.0 : constant_; }
  // c in c * left.
  double factor() const { return kind() == IlcExpKind::kNegation ? -1.0 : constant_; }
  // The number of the node before this one with the same left operand.
  std::uint32_t next() const { return next_; }
  void setNext(std::uint32_t node) { next_ = node; }

 private:
  friend class IlcFloatExpI;

  // Bounds only ever get narrower, so a recomputed bound is the common part with the old one, and a
  // range set on the node itself is not lost.
  struct KnownBounds : Bounds {
    std::uint32_t epoch = 0;  // of the manager when they were computed
  };

  void recompute();
  // Bounds that follow from those of the operands. REQUIRES: the operands' bounds are up to date.
  Bounds computeBounds() const;
  // Appends what the node's own bounds mean for its operands.
  void narrowOperands(std::vector<IlcNarrowing>& narrowings);

  IlcFloatExpI* left_;
  union {
    IlcFloatExpI* right_;  // of a sum
    double constant_;      // of the others
  };
  // Linear programs never ask for them. On the global heap, since the node can be older than a
  // reset of the other.
  KnownBounds* bounds_ = nullptr;
  std::uint32_t next_ = 0;
};

class IlcFloatVarI final : public IlcFloatExpI {
 public:
  IlcFloatVarI(IlcManagerI* manager, double min, double max, const char* name,
               bool is_integer = false);

  // Those of a variable are always up to date.
  double getMin() const { return bounds_.min; }
  double getMax() const { return bounds_.max; }
  const char* getName() const { return name_; }
  double getPrecision() const;
  bool isInteger() const { return is_integer_; }
  // The least and the largest value that bounds allow.
  double roundedMin(double min) const;
  double roundedMax(double max) const;
  // The expression that the variable stands for, null for a free one.
  IlcFloatExpI* getDefinition() const { return definition_; }
  void setDefinition(IlcFloatExpI* definition) { definition_ = definition; }
  // The column that the last program gave the variable, which others have to check.
  int columnHint() const { return column_hint_; }
  void setColumnHint(int column) { column_hint_ = column; }
  // Whether this is the first call with `mark` since the last with another one.
  bool setMark(std::uint32_t mark) { return std::exchange(mark_, mark) != mark; }
  // Whether one of the bits was not given before.
  bool markUser(std::uint64_t bits) {
    return (std::exchange(user_marks_, user_marks_ | bits) & bits) != bits;
  }

 private:
  friend class IlcFloatExpI;

  void displayVariable(std::ostream& out) const;

  Bounds bounds_;
  int column_hint_ = -1;
  std::uint32_t mark_ = 0;
  std::uint64_t user_marks_ = 0;
  const char* name_;
  IlcFloatExpI* definition_ = nullptr;
};

// ----- Inline members -----

template <typename Visitor>
void IlcLinearVisitor::walkWith(Visitor& visitor, IlcFloatExpI* exp, double coefficient) {
  std::vector<Open>& open = visitor.open_;
  const std::size_t bottom = open.size();
  for (;;) {
    if (exp->isVariable()) {
      visitor.addTerm(coefficient, static_cast<IlcFloatVarI*>(exp));
      if (open.size() == bottom) return;
      exp = open.back().exp;
      coefficient = open.back().coefficient;
      open.pop_back();
      continue;
    }
    const auto* const node = static_cast<const IlcCompoundExpI*>(exp);
    switch (node->kind()) {
      case IlcExpKind::kSum:
        open.push_back({node->right(), coefficient});
        break;
      case IlcExpKind::kOffset:
        visitor.addConstant(coefficient * node->constant());
        break;
      case IlcExpKind::kOther:
        return reportNotLinear(exp);
      default:
        coefficient *= node->factor();
    }
    exp = node->left();
  }
}

inline void IlcVariableRange::addTerm(double coefficient, IlcFloatVarI* var) {
  if (coefficient == 0.0) return;
  const double at_min = coefficient * var->getMin();
  const double at_max = coefficient * var->getMax();
  range_.min += std::min(at_min, at_max);
  range_.max += std::max(at_min, at_max);
  if (at_min != at_max && !var->setMark(mark_)) repeated_ = true;
}

inline void IlcVariableRange::addConstant(double constant) {
  range_.min += constant;
  range_.max += constant;
}

// The number c as an expression of the manager.
IlcFloatExp ilc_number(IlcManagerI* manager, double c);

// A copy of a text on the manager's heap; null stays null.
const char* ilc_copy_text(IlcManagerI* manager, const char* text);

}  // namespace planloc

#endif  // PLANLOC_ENGINE_FLOAT_EXP_IMPL_H_
