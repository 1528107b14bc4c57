// A basis of a linear program, taken from an optimiser to start a later solve with, of this
// optimiser or of another one with the same variables and constraints.
#ifndef PLANLOC_ENGINE_ILC_BASIS_H_
#define PLANLOC_ENGINE_ILC_BASIS_H_

#include <concepts>

#include "planloc/engine/constraint.h"
#include "planloc/engine/float_exp.h"
#include "planloc/engine/manager.h"

namespace planloc {

class IlcBasisI;

// Handle of a basis, which lives on the manager's heap. Made by IlcLinOpt::getBasis.
class IlcBasis {
 public:
  IlcBasis() = default;
  template <std::convertible_to<IlcBasisI*> Impl>
  IlcBasis(Impl impl) : impl_(impl) {}
  IlcBasisI* getImpl() const { return impl_; }

  IlcManager getManager() const;  // "IlcBasis::getManager : empty handle"

  // An IlcCplexBasisStatus, that of a row being the one of its slack; -1 for what was no part of
  // the program. Report "IlcBasis::getStatus : empty handle", and "... for argument".
  int getStatus(IlcFloatVar var) const;
  int getStatus(IlcConstraint ct) const;

 private:
  int statusOf(const void* item, bool is_row) const;

  IlcBasisI* impl_ = nullptr;
};

}  // namespace planloc

#endif  // PLANLOC_ENGINE_ILC_BASIS_H_
