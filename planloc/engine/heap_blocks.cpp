#include "planloc/engine/heap_blocks.h"

#include <array>
#include <bit>
#include <cstdlib>
#include <new>
#include <utility>

#include <sys/mman.h>

#if defined(__has_feature)
#define PLANLOC_HAS_FEATURE(x) __has_feature(x)
#else
#define PLANLOC_HAS_FEATURE(x) 0
#endif

namespace planloc::detail {
namespace {

// Smaller blocks are objects of the general heap.
constexpr std::size_t kSmallestKept = std::size_t{1} << 12;
// What a thread keeps at most; the address sanitizer would not see a use of what is kept.
#if defined(__SANITIZE_ADDRESS__) || PLANLOC_HAS_FEATURE(address_sanitizer)
constexpr std::size_t kMostKept = 0;
#else
constexpr std::size_t kMostKept = std::size_t{1} << 26;
#endif
constexpr std::size_t kHugePage = std::size_t{1} << 21;

struct kept_block {
  kept_block* next;
};

// Blocks by the width of their sizes, which are powers of two. It needs no destructor, so that
// heaps that are destroyed late can still use it.
struct kept_blocks {
  std::array<kept_block*, std::bit_width(kMostKept) + 1> first{};
  std::size_t bytes = 0;
  bool closed = false;

  kept_block*& first_of(std::size_t size) {
    return first[static_cast<std::size_t>(std::bit_width(size))];
  }
};
constinit thread_local kept_blocks kept;

struct closer {
  ~closer() {
    kept.closed = true;
    for (kept_block*& first : kept.first) {
      while (first) std::free(std::exchange(first, first->next));
    }
  }
};

std::size_t size_of_block(std::size_t bytes) { return std::bit_ceil(bytes); }

// A large block lies on huge pages where the system has them: it takes longer to give out memory in
// small pages than to fill it.
void* fresh_block(std::size_t size) {
  const bool large = size >= kHugePage;
  void* const memory = large ? std::aligned_alloc(kHugePage, size) : std::malloc(size);
  if (!memory) throw std::bad_alloc();
#ifdef MADV_HUGEPAGE
  if (large) madvise(memory, size, MADV_HUGEPAGE);
#endif
  return memory;
}

}  // namespace

void* take_heap_block(std::size_t bytes) {
  if (bytes < kSmallestKept) return ::operator new(bytes);
  const std::size_t size = size_of_block(bytes);
  if (size > kMostKept || !kept.first_of(size)) return fresh_block(size);
  kept.bytes -= size;
  kept_block*& first = kept.first_of(size);
  return std::exchange(first, first->next);
}

void give_heap_block(void* memory, std::size_t bytes) {
  if (bytes < kSmallestKept) return ::operator delete(memory);
  const std::size_t size = size_of_block(bytes);
  if (kept.closed || size > kMostKept - kept.bytes) return std::free(memory);
  static thread_local const closer at_end_of_thread;
  kept_block*& first = kept.first_of(size);
  first = ::new (memory) kept_block{first};
  kept.bytes += size;
}

}  // namespace planloc::detail
