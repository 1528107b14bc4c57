#include "planloc/foundation/containers/node_memory.h"

#include <array>
#include <memory_resource>

#include "planloc/foundation/containers/error_handler.h"

namespace planloc::detail {
namespace {

constexpr std::size_t kGrain = alignof(std::max_align_t);
constexpr std::size_t kSmall = 256;

struct free_block {
  free_block* next;
};

// The pools of std::pmr search for the chunk of every block that comes back, which costs more than
// the general heap; a free list costs two loads.
struct size_classes {
  std::pmr::monotonic_buffer_resource fresh;
  std::array<free_block*, kSmall / kGrain + 1> freed{};
};

// Never destroyed: lists that live as globals give their nodes back after every destructor of this
// file could have run.
size_classes& small_blocks() {
  static auto* const blocks = new size_classes;
  return *blocks;
}

bool is_small(std::size_t size, std::size_t alignment) {
  return size < kSmall && alignment <= kGrain;
}

std::size_t class_of(std::size_t size) { return (size + kGrain - 1) / kGrain; }

}  // namespace

void* allocate_node(std::size_t size, std::size_t alignment) {
  try {
    if (!is_small(size, alignment)) return ::operator new(size, std::align_val_t(alignment));
    size_classes& blocks = small_blocks();
    free_block*& first = blocks.freed[class_of(size)];
    if (!first) return blocks.fresh.allocate(class_of(size) * kGrain, kGrain);
    free_block* const block = first;
    first = block->next;
    return block;
  } catch (const std::bad_alloc&) {
    error_handler(999, "FLNZ Memory Manager: Out of memory.");
    throw;
  }
}

void free_node(void* block, std::size_t size, std::size_t alignment) {
  if (!is_small(size, alignment)) {
    ::operator delete(block, std::align_val_t(alignment));
    return;
  }
  free_block*& first = small_blocks().freed[class_of(size)];
  first = ::new (block) free_block{first};
}

}  // namespace planloc::detail
