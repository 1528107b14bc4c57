// Constraints between float expressions. Give them to IlcLinOpt::add for the linear program, or to
// IlcManager::add to narrow bounds at once.
#ifndef PLANLOC_ENGINE_CONSTRAINT_H_
#define PLANLOC_ENGINE_CONSTRAINT_H_

#include <concepts>
#include <iosfwd>

#include "planloc/engine/arrays.h"
#include "planloc/engine/float_exp.h"

namespace planloc {

class IlcLinearSolverI;
class IlcLinearVisitor;
class IlcRangeVisitor;

// Implementation of a constraint; lives on the manager's heap and is never destroyed.
class IlcConstraintI {
 public:
  explicit IlcConstraintI(IlcManagerI* manager) : manager_(manager) {}
  IlcManagerI* getManager() const { return manager_; }

  const char* getName() const { return name_; }
  void setName(const char* name);

  virtual void post() = 0;       // narrows what follows from the constraint when it is added
  virtual void propagate() = 0;  // narrows again after a change of bounds

  // What a kind without a rule of its own reports: "<member> not implemented".
  virtual bool isAlreadySatisfied();  // by every value that the variables' bounds allow
  virtual bool hasAUniqueSolution();  // the variables' bounds allow exactly one
  // Hands the terms of a row "terms + constant (<=, >=, =) 0" to the visitor.
  virtual void linParse(IlcLinearVisitor& visitor);
  // The same, and the answers of both questions, for the price of one walk where they rest on the
  // same terms. Of a satisfied constraint the terms may be missing.
  struct Standing {
    bool satisfied;
    bool unique;
  };
  virtual Standing linJudge(IlcRangeVisitor& visitor);
  // Makes the row of the constraint's sense from the parsed terms.
  virtual void linPost(IlcLinearSolverI& solver, IlcFloatArray coefficients, IlcFloatVarArray vars,
                       double rhs);

  virtual void display(std::ostream& out) const = 0;

 protected:
  ~IlcConstraintI() = default;

 private:
  void notImplemented(const char* text) const;

  IlcManagerI* manager_;
  const char* name_ = nullptr;
};

// Handle of a constraint.
class IlcConstraint {
 public:
  IlcConstraint() = default;
  // A pointer only: the literal 0 is no constraint.
  template <std::convertible_to<IlcConstraintI*> Impl>
  IlcConstraint(Impl impl) : impl_(impl) {}
  IlcConstraintI* getImpl() const { return impl_; }

  const char* getName() const { return checked()->getName(); }  // null without a name
  void setName(const char* name) const { checked()->setName(name); }

 private:
  IlcConstraintI* checked() const {
    detail::ilc_assert(impl_ != nullptr, "_impl != 0");
    return impl_;
  }

  IlcConstraintI* impl_ = nullptr;
};

IlcConstraint operator<=(IlcFloatExp a, IlcFloatExp b);
IlcConstraint operator<=(IlcFloatExp e, double c);
IlcConstraint operator<=(double c, IlcFloatExp e);
IlcConstraint operator>=(IlcFloatExp a, IlcFloatExp b);
IlcConstraint operator>=(IlcFloatExp e, double c);
IlcConstraint operator>=(double c, IlcFloatExp e);
IlcConstraint operator==(IlcFloatExp a, IlcFloatExp b);
IlcConstraint operator==(IlcFloatExp e, double c);
IlcConstraint operator==(double c, IlcFloatExp e);

// As written: "a <= b", "a >= b", "a == b".
std::ostream& operator<<(std::ostream& out, IlcConstraint ct);

}  // namespace planloc

#endif  // PLANLOC_ENGINE_CONSTRAINT_H_
