// Arrays of the engine: fixed size, on the manager's heap, shared by their handles. Assigning a
// handle shares the array; make a new one for a copy.
//
// A negative size reports code 5, "<class>I : bad array size". Members of an empty handle assert
// "_impl != 0".
#ifndef PLANLOC_ENGINE_ARRAYS_H_
#define PLANLOC_ENGINE_ARRAYS_H_

#include <concepts>

#include "planloc/engine/float_exp.h"
#include "planloc/engine/ilc_assert.h"
#include "planloc/engine/manager.h"

namespace planloc {

template <typename Element>
struct IlcArrayI {
  int size;
  Element* values;
};

// What the handles of arrays share; elements are counted from 0.
template <typename Element>
class IlcArray {
 public:
  IlcArray() = default;
  template <std::convertible_to<IlcArrayI<Element>*> Impl>
  IlcArray(Impl impl) : impl_(impl) {}
  IlcArrayI<Element>* getImpl() const { return impl_; }

  int getSize() const { return checked()->size; }
  int getIndexMin() const { return 0; }
  int getIndexMax() const { return checked()->size; }

  // Asserts "i >= getIndexMin()" and "getIndexMax() > i".
  Element& operator[](int i) const {
    checked();
    detail::ilc_assert(i >= getIndexMin(), "i >= getIndexMin()");
    detail::ilc_assert(getIndexMax() > i, "getIndexMax() > i");
    return impl_->values[i];
  }

 protected:
  // Not constructed elements. A negative size is reported under `label`.
  IlcArray(IlcManager m, int size, const char* label);
  const IlcArrayI<Element>* checked() const {
    detail::ilc_assert(impl_ != nullptr, "_impl != 0");
    return impl_;
  }

  IlcArrayI<Element>* impl_ = nullptr;
};

using IlcFloatVarArrayI = IlcArrayI<IlcFloatVar>;
using IlcIntVarArrayI = IlcArrayI<IlcIntVar>;
using IlcFloatArrayI = IlcArrayI<double>;
using IlcIntArrayI = IlcArrayI<int>;

// Handle of an array of float variables.
class IlcFloatVarArray : public IlcArray<IlcFloatVar> {
 public:
  using IlcArray::IlcArray;
  IlcFloatVarArray() = default;
  // `size` empty handles.
  IlcFloatVarArray(IlcManager m, int size);
  // `size` new variables with the same bounds.
  IlcFloatVarArray(IlcManager m, int size, double min, double max);
};

// Handle of an array of integer variables.
class IlcIntVarArray : public IlcArray<IlcIntVar> {
 public:
  using IlcArray::IlcArray;
  IlcIntVarArray() = default;
  IlcIntVarArray(IlcManager m, int size);
  IlcIntVarArray(IlcManager m, int size, int min, int max);
};

// Handle of an array of doubles. The index is not checked.
class IlcFloatArray : public IlcArray<double> {
 public:
  using IlcArray::IlcArray;
  IlcFloatArray() = default;
  IlcFloatArray(IlcManager m, int size, double init);

  double& operator[](int i) const { return checked()->values[i]; }
};

// Handle of an array of ints.
class IlcIntArray : public IlcArray<int> {
 public:
  using IlcArray::IlcArray;
  IlcIntArray() = default;
  IlcIntArray(IlcManager m, int size, int init);
  IlcIntArray(IlcManager m, int size, const int* values);
};

}  // namespace planloc

#endif  // PLANLOC_ENGINE_ARRAYS_H_
