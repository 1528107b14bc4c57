#include "planloc/engine/arrays.h"

#include <algorithm>
#include <memory>

#include "planloc/engine/float_exp_impl.h"
#include "planloc/engine/manager_impl.h"

namespace planloc {

template <typename Element>
IlcArray<Element>::IlcArray(IlcManager m, int size, const char* label) {
  if (size < 0) {
    m.getErrorReporter()->error(kIlcBadArraySize, label, "bad array size");
    size = 0;
  }
  IlcHeap* const heap = m.getHeap();
  void* const memory = heap->allocate(sizeof(Element) * static_cast<std::size_t>(size));
  impl_ = new (heap) IlcArrayI<Element>{size, static_cast<Element*>(memory)};
}

IlcFloatVarArray::IlcFloatVarArray(IlcManager m, int size)
    : IlcArray(m, size, "IlcFloatVarArrayI") {
  std::uninitialized_default_construct_n(impl_->values, impl_->size);
}

IlcFloatVarArray::IlcFloatVarArray(IlcManager m, int size, double min, double max)
    : IlcFloatVarArray(m, size) {
  std::generate_n(impl_->values, impl_->size, [&] { return IlcFloatVar(m, min, max); });
}

IlcIntVarArray::IlcIntVarArray(IlcManager m, int size) : IlcArray(m, size, "IlcIntVarArrayI") {
  std::uninitialized_default_construct_n(impl_->values, impl_->size);
}

IlcIntVarArray::IlcIntVarArray(IlcManager m, int size, int min, int max) : IlcIntVarArray(m, size) {
  std::generate_n(impl_->values, impl_->size, [&] { return IlcIntVar(m, min, max); });
}

IlcFloatArray::IlcFloatArray(IlcManager m, int size, double init)
    : IlcArray(m, size, "IlcFloatArrayI") {
  std::uninitialized_fill_n(impl_->values, impl_->size, init);
}

IlcIntArray::IlcIntArray(IlcManager m, int size, int init) : IlcArray(m, size, "IlcIntArrayI") {
  std::uninitialized_fill_n(impl_->values, impl_->size, init);
}

IlcIntArray::IlcIntArray(IlcManager m, int size, const int* values)
    : IlcArray(m, size, "IlcIntArrayI") {
  std::uninitialized_copy_n(values, impl_->size, impl_->values);
}

}  // namespace planloc
