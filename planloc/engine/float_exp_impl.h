// The nodes behind IlcFloatExp. Users include float_exp.h.
#ifndef PLANLOC_ENGINE_FLOAT_EXP_IMPL_H_
#define PLANLOC_ENGINE_FLOAT_EXP_IMPL_H_

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
  void walk(IlcFloatExpI* exp, double coefficient);

  // Gives the memory of the walk back; for visitors that are never destroyed.
  void releaseStack() { std::vector<Open>().swap(open_); }

 protected:
  ~IlcLinearVisitor() = default;

 private:
  struct Open {
    IlcFloatExpI* exp;
    double coefficient;
  };
  std::vector<Open> open_;
};

// What the bounds of variables alone say of linear expressions, without ranges that were set on the
// expressions: a linear program knows the bounds of its columns and nothing else.
class IlcVariableRange final : public IlcLinearVisitor {
 public:
  struct Range {
    double min;
    double max;
  };

  // Begins a group of expressions, in which a repeated variable is looked for.
  void start();
  // Both ends are attained where no variable is repeated.
  Range of(IlcFloatExpI* exp);
  // Whether a variable that is not fixed occurred twice since the start.
  bool repeated() const { return repeated_; }

  void addTerm(double coefficient, IlcFloatVarI* var) override;
  void addConstant(double constant) override;

 private:
  Range range_{0.0, 0.0};
  std::uint32_t mark_ = 0;
  bool repeated_ = false;
};

// A bound to pass on to an operand.
struct IlcNarrowing {
  IlcFloatExpI* exp;
  double min;
  double max;
};

// A node: its key and its bounds. Nodes are never destroyed.
class IlcFloatExpI {
 public:
  IlcManagerI* getManager() const { return manager_; }
  IlcExpKey key() const { return {kind_, left_, right_, constant_}; }
  bool isVariable() const { return kind_ == IlcExpKind::kVariable; }
  // c in c * left.
  double factor() const { return kind_ == IlcExpKind::kNegation ? -1.0 : constant_; }

  double getMin() {
    refresh();
    return min_;
  }
  double getMax() {
    refresh();
    return max_;
  }
  double getValue();
  void setRange(double min, double max);

  virtual void display(std::ostream& out) const = 0;

 protected:
  IlcFloatExpI(IlcManagerI* manager, const IlcExpKey& key)
      : manager_(manager),
        kind_(key.kind),
        left_(key.left),
        right_(key.right),
        constant_(key.constant) {}
  ~IlcFloatExpI() = default;

  // Bounds that follow from those of the operands. REQUIRES: the operands' bounds are up to date.
  virtual void computeBounds(double& min, double& max) const;
  // Appends what bounds [min, max] of the node mean for its operands. REQUIRES: the common part
  // with the node's own bounds is not empty.
  virtual void narrowOperands(double min, double max, std::vector<IlcNarrowing>& narrowings) const;

  // Bounds as of the last refresh.
  double knownMin() const { return min_; }
  double knownMax() const { return max_; }
  static double knownMin(const IlcFloatExpI* exp) { return exp->min_; }
  static double knownMax(const IlcFloatExpI* exp) { return exp->max_; }

 private:
  friend class IlcFloatVarI;
  friend class IlcLinearVisitor;

  bool isFresh() const;
  void refresh();
  void recompute();
  bool setOwnRange(double min, double max);

  IlcManagerI* manager_;
  IlcExpKind kind_;
  std::uint32_t epoch_ = 0;  // of the manager when the bounds were computed
  IlcFloatExpI* left_;
  IlcFloatExpI* right_;
  double constant_;
  // Bounds only ever get narrower, so a recomputed bound is the common part with the old one, and a
  // range set on the node itself is not lost.
  double min_ = -std::numeric_limits<double>::infinity();
  double max_ = std::numeric_limits<double>::infinity();
};

class IlcFloatVarI final : public IlcFloatExpI {
 public:
  IlcFloatVarI(IlcManagerI* manager, double min, double max, const char* name,
               bool is_integer = false);

  // Those of a variable are always up to date.
  double getMin() const { return min_; }
  double getMax() const { return max_; }
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

  void display(std::ostream& out) const override;

 private:
  const char* name_;
  IlcFloatExpI* definition_ = nullptr;
  std::uint32_t mark_ = 0;
  int column_hint_ = -1;
  bool is_integer_;
};

// The number c as an expression of the manager.
IlcFloatExp ilc_number(IlcManagerI* manager, double c);

// A copy of a text on the manager's heap; null stays null.
const char* ilc_copy_text(IlcManagerI* manager, const char* text);

}  // namespace planloc

#endif  // PLANLOC_ENGINE_FLOAT_EXP_IMPL_H_
