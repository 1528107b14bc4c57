// Memory for the blocks of heaps and for large arrays of a model. Blocks from a megabyte on lie on
// huge pages where the system has them: it takes longer to give out memory in small pages than to
// fill it.
#ifndef PLANLOC_ENGINE_HEAP_BLOCKS_H_
#define PLANLOC_ENGINE_HEAP_BLOCKS_H_

#include <cstddef>
#include <new>
#include <utility>
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

// Leaves elements without initialiser as the memory is.
template <typename T>
struct raw_block_allocator : block_allocator<T> {
  using value_type = T;

  raw_block_allocator() = default;
  template <typename Other>
  raw_block_allocator(const raw_block_allocator<Other>&) {}

  template <typename U, typename... Args>
  void construct(U* place, Args&&... args) {
    if constexpr (sizeof...(Args) == 0) {
      ::new (static_cast<void*>(place)) U;
    } else {
      ::new (static_cast<void*>(place)) U(std::forward<Args>(args)...);
    }
  }
};

template <typename T>
using raw_block_vector = std::vector<T, raw_block_allocator<T>>;

template <typename T>
using block_vector = std::vector<T, block_allocator<T>>;

}  // namespace planloc::detail

#endif  // PLANLOC_ENGINE_HEAP_BLOCKS_H_
