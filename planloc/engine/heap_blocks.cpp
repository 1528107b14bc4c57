#include "planloc/engine/heap_blocks.h"

#include <new>

#include <sys/mman.h>

namespace planloc::detail {
namespace {

constexpr std::align_val_t kHugePage{std::size_t{1} << 21};

bool is_large(std::size_t bytes) { return bytes >= static_cast<std::size_t>(kHugePage); }

}  // namespace

void* take_heap_block(std::size_t bytes) {
  if (!is_large(bytes)) return ::operator new(bytes);
  void* const memory = ::operator new(bytes, kHugePage);
#ifdef MADV_HUGEPAGE
  madvise(memory, bytes, MADV_HUGEPAGE);
#endif
  return memory;
}

void give_heap_block(void* memory, std::size_t bytes) {
  if (is_large(bytes)) return ::operator delete(memory, kHugePage);
  ::operator delete(memory);
}

}  // namespace planloc::detail
