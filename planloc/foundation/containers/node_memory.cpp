#include "planloc/foundation/containers/node_memory.h"

#include <memory_resource>

#include "planloc/foundation/containers/error_handler.h"

namespace planloc::detail {
namespace {

// Never destroyed: lists that live as globals give their nodes back after every destructor of this
// file could have run.
std::pmr::memory_resource& pool() {
  static auto* const resource = new std::pmr::unsynchronized_pool_resource;
  return *resource;
}

}  // namespace

void* allocate_node(std::size_t size, std::size_t alignment) {
  try {
    return pool().allocate(size, alignment);
  } catch (const std::bad_alloc&) {
    error_handler(999, "FLNZ Memory Manager: Out of memory.");
    throw;
  }
}

void free_node(void* block, std::size_t size, std::size_t alignment) {
  pool().deallocate(block, size, alignment);
}

}  // namespace planloc::detail
