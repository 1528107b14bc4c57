// Float variables and the linear expressions built from them. Constraints between expressions are
// in constraint.h, arrays of variables in arrays.h.
//
// A handle is one pointer; copying it shares the object, which lives on the manager's heap. Equal
// expressions of one manager are one object, so repeated model building reuses nodes.
#ifndef PLANLOC_ENGINE_FLOAT_EXP_H_
#define PLANLOC_ENGINE_FLOAT_EXP_H_

#include <concepts>
#include <iosfwd>

#include "planloc/engine/ilc_assert.h"
#include "planloc/engine/manager.h"

namespace planloc {

class IlcFloatExpI;
class IlcFloatVarI;

// Handle of a float expression. Members of an empty handle assert "_impl != 0".
class IlcFloatExp {
 public:
  IlcFloatExp() = default;
  // A pointer only: the literal 0 is a number.
  template <std::convertible_to<IlcFloatExpI*> Impl>
  IlcFloatExp(Impl impl) : impl_(impl) {}
  // A number as an expression of the current manager. Beside another expression a number needs no
  // conversion and belongs to that expression's manager.
  IlcFloatExp(double c);
  IlcFloatExpI* getImpl() const { return impl_; }

  // Rebind the handle to the sum and to the difference.
  IlcFloatExp& operator+=(IlcFloatExp e);
  IlcFloatExp& operator+=(double c);
  IlcFloatExp& operator-=(IlcFloatExp e);
  IlcFloatExp& operator-=(double c);

  IlcManager getManager() const;

  // Bounds, computed from those of the operands.
  double getMin() const;
  double getMax() const;

  // The one value of an expression whose bounds are equal; otherwise reports
  // "IlcFloatExpI::getValue : unbound constrained variable".
  double getValue() const;

  // Narrows the bounds to the common part with [min, max], and those of the operands with them.
  // The manager fails if min > max, if there is no common part, or if min is plus or max minus
  // infinity. Bounds of integer variables are rounded inwards, beyond the variable's precision.
  void setRange(double min, double max);

 protected:
  IlcFloatExpI* impl_ = nullptr;
};

// Handle of a float variable.
class IlcFloatVar : public IlcFloatExp {
 public:
  IlcFloatVar() = default;
  template <std::convertible_to<IlcFloatVarI*> Impl>
  IlcFloatVar(Impl impl) : IlcFloatVar(impl, 0) {}
  // Bounds may be infinite; min > max makes the manager fail. The name is copied.
  IlcFloatVar(IlcManager m, double min, double max, const char* name = nullptr);
  IlcFloatVarI* getImpl() const;

  const char* getName() const;  // null if the variable has none
  double getPrecision() const;

  // A sum is no variable: use an IlcFloatExp for it.
  void operator+=(IlcFloatExp) = delete;
  void operator-=(IlcFloatExp) = delete;

 protected:
  IlcFloatVar(IlcFloatVarI* impl, int);
};

// Handle of an integer variable: a variable of expressions like the others, whose bounds are whole
// numbers. In a linear program its column has the type B (bounds 0 and 1) or I.
class IlcIntVar : public IlcFloatVar {
 public:
  IlcIntVar() = default;
  IlcIntVar(IlcManager m, int min, int max, const char* name = nullptr);

  int getMin() const;
  int getMax() const;
  int getValue() const;
  void setRange(int min, int max);
};

// 1.0 * e is e, 0.0 * e and c * zero are the manager's zero.
IlcFloatExp operator*(double c, IlcFloatExp e);
IlcFloatExp operator*(IlcFloatExp e, double c);
// (1 / c) * e. Reports "divide by zero".
IlcFloatExp operator/(IlcFloatExp e, double c);
// a + a is 2.0 * a; adding the manager's zero gives the other operand.
IlcFloatExp operator+(IlcFloatExp a, IlcFloatExp b);
// e + 0.0 is e.
IlcFloatExp operator+(IlcFloatExp e, double c);
IlcFloatExp operator+(double c, IlcFloatExp e);
// -(c * e) is (-c) * e, and -(-e) is e.
IlcFloatExp operator-(IlcFloatExp e);
// a - a is the manager's zero, otherwise a + -b.
IlcFloatExp operator-(IlcFloatExp a, IlcFloatExp b);
IlcFloatExp operator-(IlcFloatExp e, double c);
IlcFloatExp operator-(double c, IlcFloatExp e);

// A variable prints as its name, or as "[min..max]" without one.
std::ostream& operator<<(std::ostream& out, IlcFloatExp e);

}  // namespace planloc

#endif  // PLANLOC_ENGINE_FLOAT_EXP_H_
