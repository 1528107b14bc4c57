#include "planloc/engine/arrays.h"

#include <algorithm>
#include <memory>

#include "planloc/engine/float_exp_impl.h"
#include "planloc/engine/manager_impl.h"

namespace planloc {
namespace {

// Storage for `size` elements; none after the report of a negative size.
template <typename T>
T* allocate(IlcManager m, int& size, const char* label) {
  if (size < 0) {
    m.getErrorReporter()->error(kIlcBadArraySize, label, "bad array size");
    size = 0;
  }
  return static_cast<T*>(m.getHeap()->allocate(sizeof(T) * static_cast<std::size_t>(size)));
}

IlcIntArrayI* new_int_array(IlcManager m, int size) {
  int* const values = allocate<int>(m, size, "IlcIntArrayI");
  return new (m.getHeap()) IlcIntArrayI{size, values};
}

}  // namespace

IlcFloatVarArray::IlcFloatVarArray(IlcManager m, int size) {
  auto* const vars = allocate<IlcFloatVar>(m, size, "IlcFloatVarArrayI");
  std::uninitialized_default_construct_n(vars, size);
  impl_ = new (m.getHeap()) IlcFloatVarArrayI{size, vars};
}

IlcFloatVarArray::IlcFloatVarArray(IlcManager m, int size, double min, double max)
    : IlcFloatVarArray(m, size) {
  std::generate_n(impl_->vars, impl_->size, [&] { return IlcFloatVar(m, min, max); });
}

IlcFloatArray::IlcFloatArray(IlcManager m, int size, double init) {
  auto* const values = allocate<double>(m, size, "IlcFloatArrayI");
  std::uninitialized_fill_n(values, size, init);
  impl_ = new (m.getHeap()) IlcFloatArrayI{size, values};
}

IlcIntArray::IlcIntArray(IlcManager m, int size, int init) : impl_(new_int_array(m, size)) {
  std::uninitialized_fill_n(impl_->values, impl_->size, init);
}

IlcIntArray::IlcIntArray(IlcManager m, int size, const int* values)
    : impl_(new_int_array(m, size)) {
  std::uninitialized_copy_n(values, impl_->size, impl_->values);
}

}  // namespace planloc
