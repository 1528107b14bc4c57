#include "planloc/foundation/containers/node_memory.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <mutex>
#include <utility>

#include "planloc/foundation/containers/error_handler.h"

#if defined(__has_feature)
#define PLANLOC_HAS_FEATURE(x) __has_feature(x)
#else
#define PLANLOC_HAS_FEATURE(x) 0
#endif

namespace planloc::detail {
namespace {

constexpr std::size_t kGrain = alignof(std::max_align_t);
constexpr std::size_t kSmall = 256;
constexpr std::size_t kClasses = kSmall / kGrain + 1;
constexpr std::size_t kFirstChunk = 4096;
constexpr std::size_t kLargestChunk = std::size_t{1} << 26;  // untouched pages cost nothing
constexpr int kChainLength = 1024;                           // of what threads hand to each other

struct free_block {
  free_block* next;
};

// The first block of a chain that lies in the depot.
struct chain_head : free_block {
  chain_head* next_chain;
};
static_assert(sizeof(chain_head) <= kGrain);

struct free_chunk {
  free_chunk* next;
  std::size_t size;
};
static_assert(sizeof(free_chunk) <= kGrain);

// What threads have left over for each other: chains of freed blocks, and the rests of chunks of
// threads that have ended. Nothing here is destroyed: lists that live as globals give their nodes
// back when every destructor of this file could have run.
struct depot {
  std::mutex lock;
  std::array<std::atomic<chain_head*>, kClasses> chains{};  // changed under the lock
  free_chunk* chunks = nullptr;
};
constinit depot shared_depot;

// Freed blocks of one size. A second chain is kept, so that a thread that takes and gives around
// the end of one does not go to the depot each time.
struct free_list {
  free_block* first = nullptr;
  free_block* spare = nullptr;
  int room = 0;  // how many blocks `first` takes yet, whatever is taken from it meanwhile
};

enum class thread_state { fresh, running, leaving };

// A thread's own memory. It needs no destructor, so that it can be used as long as the thread runs
// anything at all; `leave_thread` hands it on.
struct thread_memory {
  std::array<free_list, kClasses> freed;
  char* chunk = nullptr;
  std::size_t chunk_size = 0;
  std::size_t next_chunk_size = kFirstChunk;
  thread_state state = thread_state::fresh;
};
constinit thread_local thread_memory own;

void give_chain(std::size_t c, free_block* chain) {
  if (!chain) return;
  const std::lock_guard guard(shared_depot.lock);
  shared_depot.chains[c] = ::new (chain) chain_head{{chain->next}, shared_depot.chains[c].load()};
}

free_block* take_chain(std::size_t c) {
  // Without the lock, which would cost as much as the fresh block that the caller then takes.
  if (!shared_depot.chains[c].load(std::memory_order_relaxed)) return nullptr;
  const std::lock_guard guard(shared_depot.lock);
  chain_head* const chain = shared_depot.chains[c].load();
  if (chain) shared_depot.chains[c] = chain->next_chain;
  return chain;
}

// From here on blocks go to the depot, and come from there, one by one.
void leave_thread() {
  for (std::size_t c = 0; c < kClasses; ++c) {
    give_chain(c, own.freed[c].first);
    give_chain(c, own.freed[c].spare);
    own.freed[c] = {};
  }
  if (own.chunk_size >= kSmall) {
    const std::lock_guard guard(shared_depot.lock);
    shared_depot.chunks = ::new (own.chunk) free_chunk{shared_depot.chunks, own.chunk_size};
  }
  own.chunk_size = 0;
  own.state = thread_state::leaving;
}

// The first block that the thread takes or gives comes here.
void enter_thread() {
  struct at_end {
    ~at_end() { leave_thread(); }
  };
  static thread_local at_end leave;
  static_cast<void>(leave);
  own.state = thread_state::running;
}

void enter_chunk() {
  {
    const std::lock_guard guard(shared_depot.lock);
    if (free_chunk* const chunk = shared_depot.chunks) {
      shared_depot.chunks = chunk->next;
      own.chunk_size = chunk->size;
      own.chunk = reinterpret_cast<char*>(chunk);
      return;
    }
  }
  own.chunk = static_cast<char*>(::operator new(own.next_chunk_size));
  own.chunk_size = own.next_chunk_size;
  own.next_chunk_size = std::min(2 * own.next_chunk_size, kLargestChunk);
}

// What is left of the old chunk, less than a block of the largest size, is lost.
void* fresh_block(std::size_t size) {
  if (own.state == thread_state::leaving) return ::operator new(size);
  while (own.chunk_size < size) enter_chunk();
  void* const block = own.chunk;
  own.chunk += size;
  own.chunk_size -= size;
  return block;
}

// A block for an empty list, from its spare chain, the depot or fresh memory.
void* refill(free_list& blocks, std::size_t c) {
  if (own.state == thread_state::fresh) enter_thread();
  free_block* const chain = blocks.spare ? std::exchange(blocks.spare, nullptr) : take_chain(c);
  if (own.state == thread_state::leaving) {
    if (chain) give_chain(c, chain->next);
    return chain ? chain : fresh_block(c * kGrain);
  }
  if (!chain) return fresh_block(c * kGrain);
  blocks.first = chain->next;
  blocks.room = 0;  // else a chain could grow each time that it comes back
  return chain;
}

// Takes a block that the list has no room for.
void spill(free_list& blocks, std::size_t c, void* block) {
  if (own.state == thread_state::fresh) enter_thread();
  if (own.state == thread_state::leaving) {
    give_chain(c, ::new (block) free_block{nullptr});
    return;
  }
  give_chain(c, std::exchange(blocks.spare, blocks.first));
  blocks.first = ::new (block) free_block{nullptr};
  blocks.room = kChainLength - 1;
}

// Under the address sanitizer each node stands by itself, so that the use of a freed one is seen.
#if defined(__SANITIZE_ADDRESS__) || PLANLOC_HAS_FEATURE(address_sanitizer)
constexpr bool kEachNodeByItself = true;
#else
constexpr bool kEachNodeByItself = false;
#endif

bool is_small(std::size_t size, std::size_t alignment) {
  return !kEachNodeByItself && size < kSmall && alignment <= kGrain;
}

std::size_t class_of(std::size_t size) { return (size + kGrain - 1) / kGrain; }

[[gnu::noinline]] void* allocate_slowly(std::size_t size, std::size_t alignment) {
  try {
    if (!is_small(size, alignment)) return ::operator new(size, std::align_val_t(alignment));
    const std::size_t c = class_of(size);
    return refill(own.freed[c], c);
  } catch (const std::bad_alloc&) {
    error_handler(999, "FLNZ Memory Manager: Out of memory.");
    throw;
  }
}

}  // namespace

void* allocate_node(std::size_t size, std::size_t alignment) {
  if (is_small(size, alignment)) {
    free_block*& first = own.freed[class_of(size)].first;
    if (free_block* const block = first) {
      first = block->next;
      return block;
    }
  }
  return allocate_slowly(size, alignment);
}

void free_node(void* block, std::size_t size, std::size_t alignment) {
  if (!is_small(size, alignment)) {
    ::operator delete(block, std::align_val_t(alignment));
    return;
  }
  const std::size_t c = class_of(size);
  free_list& blocks = own.freed[c];
  if (blocks.room == 0) return spill(blocks, c, block);
  --blocks.room;
  blocks.first = ::new (block) free_block{blocks.first};
}

}  // namespace planloc::detail
