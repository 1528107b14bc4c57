// Arrays of the engine: fixed size, on the manager's heap, shared by their handles. Assigning a
// handle shares the array; make a new one for a copy.
//
// A negative size reports code 5, "<class>I : bad array size". Members of an empty handle assert
// "_impl != 0".
#ifndef PLANLOC_ENGINE_ARRAYS_H_
#define PLANLOC_ENGINE_ARRAYS_H_

#include "planloc/engine/float_exp.h"
#include "planloc/engine/ilc_assert.h"
#include "planloc/engine/manager.h"

namespace planloc {

struct IlcFloatVarArrayI {
  int size;
  IlcFloatVar* vars;  // a handle is one pointer, so this is an array of implementation pointers
};

// Handle of an array of float variables, indexed from 0.
class IlcFloatVarArray {
 public:
  IlcFloatVarArray() = default;
  IlcFloatVarArray(IlcFloatVarArrayI* impl) : impl_(impl) {}
  // `size` empty handles.
  IlcFloatVarArray(IlcManager m, int size);
  // `size` new variables with the same bounds.
  IlcFloatVarArray(IlcManager m, int size, double min, double max);
  IlcFloatVarArrayI* getImpl() const { return impl_; }

  int getSize() const { return checked()->size; }
  int getIndexMin() const { return 0; }
  int getIndexMax() const { return checked()->size; }

  // Asserts "i >= getIndexMin()" and "getIndexMax() > i".
  IlcFloatVar& operator[](int i) const {
    checked();
    detail::ilc_assert(i >= getIndexMin(), "i >= getIndexMin()");
    detail::ilc_assert(getIndexMax() > i, "getIndexMax() > i");
    return impl_->vars[i];
  }

 private:
  const IlcFloatVarArrayI* checked() const {
    detail::ilc_assert(impl_ != nullptr, "_impl != 0");
    return impl_;
  }

  IlcFloatVarArrayI* impl_ = nullptr;
};

struct IlcFloatArrayI {
  int size;
  double* values;
};

// Handle of an array of doubles. The index is not checked.
class IlcFloatArray {
 public:
  IlcFloatArray() = default;
  IlcFloatArray(IlcFloatArrayI* impl) : impl_(impl) {}
  IlcFloatArray(IlcManager m, int size, double init);
  IlcFloatArrayI* getImpl() const { return impl_; }

  int getSize() const { return checked()->size; }
  double& operator[](int i) const { return checked()->values[i]; }

 private:
  const IlcFloatArrayI* checked() const {
    detail::ilc_assert(impl_ != nullptr, "_impl != 0");
    return impl_;
  }

  IlcFloatArrayI* impl_ = nullptr;
};

struct IlcIntArrayI {
  int size;
  int* values;
};

// Handle of an array of ints, indexed from 0.
class IlcIntArray {
 public:
  IlcIntArray() = default;
  IlcIntArray(IlcIntArrayI* impl) : impl_(impl) {}
  IlcIntArray(IlcManager m, int size, int init);
  IlcIntArray(IlcManager m, int size, const int* values);
  IlcIntArrayI* getImpl() const { return impl_; }

  int getSize() const { return checked()->size; }
  int getIndexMin() const { return 0; }
  int getIndexMax() const { return checked()->size; }

  // Asserts "i >= getIndexMin()" and "getIndexMax() > i".
  int& operator[](int i) const {
    checked();
    detail::ilc_assert(i >= getIndexMin(), "i >= getIndexMin()");
    detail::ilc_assert(getIndexMax() > i, "getIndexMax() > i");
    return impl_->values[i];
  }

 private:
  const IlcIntArrayI* checked() const {
    detail::ilc_assert(impl_ != nullptr, "_impl != 0");
    return impl_;
  }

  IlcIntArrayI* impl_ = nullptr;
};

}  // namespace planloc

#endif  // PLANLOC_ENGINE_ARRAYS_H_
