// Memory for the blocks of heaps and for large arrays of a model. Blocks of megabytes lie on huge
// pages where the system has them: it takes longer to give out memory in small pages than to fill
// it.
#ifndef PLANLOC_ENGINE_HEAP_BLOCKS_H_
#define PLANLOC_ENGINE_HEAP_BLOCKS_H_

#include <cstddef>
#include <vector>

namespace planloc::detail {

// Throws std::bad_alloc where there is no memory left.
void* take_heap_block(std::size_t bytes);
// `bytes` as they were taken.
void give_heap_block(void* memory, std::size_t bytes);

template <typename T>
struct block_allocator {
  using value_type = T;

  block_allocator() = default;
  template <typename Other>
  block_allocator(const block_allocator<Other>&) {}
  bool operator==(const block_allocator&) const = default;

  T* allocate(std::size_t n) { return static_cast<T*>(take_heap_block(n * sizeof(T))); }
  void deallocate(T* memory, std::size_t n) { give_heap_block(memory, n * sizeof(T)); }
};

template <typename T>
using block_vector = std::vector<T, block_allocator<T>>;

}  // namespace planloc::detail

#endif  // PLANLOC_ENGINE_HEAP_BLOCKS_H_
