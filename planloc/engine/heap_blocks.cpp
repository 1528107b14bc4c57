#include "planloc/engine/heap_blocks.h"

#include <limits>
#include <new>

#include <sys/mman.h>

namespace planloc::detail {
namespace {

constexpr std::align_val_t kHugePage{std::size_t{1} << 21};

// To clear a huge page takes the system less time than to give out a hundred small ones. Above the
// block of the heap that a model of some thousand rows takes but does not fill.
constexpr std::size_t kLarge = std::size_t{1} << 20;

bool is_large(std::size_t bytes) { return bytes >= kLarge; }

}  // namespace

void* take_heap_block(std::size_t bytes) {
  if (!is_large(bytes)) return ::operator new(bytes);
  // To the end of the last page: the system makes no huge page of one that is partly advised.
  const auto page = static_cast<std::size_t>(kHugePage);
  if (bytes > std::numeric_limits<std::size_t>::max() - page) throw std::bad_alloc();
  const std::size_t size = (bytes + page - 1) / page * page;
  void* const memory = ::operator new(size, kHugePage);
#ifdef MADV_HUGEPAGE
  madvise(memory, size, MADV_HUGEPAGE);
#endif
  return memory;
}

void give_heap_block(void* memory, std::size_t bytes) {
  if (is_large(bytes)) return ::operator delete(memory, kHugePage);
  ::operator delete(memory);
}

}  // namespace planloc::detail
