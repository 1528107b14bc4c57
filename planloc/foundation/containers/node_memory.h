// Memory of the nodes of lists and graphs: a free list for each size below 256 bytes, the general
// heap beyond. Freed nodes are kept for nodes of the same size. For everything else use `new`.
//
// Each thread has free lists of its own. A node may be freed on another thread than the one that
// made it; what a thread has too much of, and what it leaves behind at its end, goes to the others.
#ifndef PLANLOC_FOUNDATION_CONTAINERS_NODE_MEMORY_H_
#define PLANLOC_FOUNDATION_CONTAINERS_NODE_MEMORY_H_

#include <cstddef>
#include <new>
#include <utility>

namespace planloc::detail {

// REQUIRES: every block goes back with the size and alignment that it was taken with.
// Running out of memory reports "FLNZ Memory Manager: Out of memory." with code 999.
void* allocate_node(std::size_t size, std::size_t alignment);
void free_node(void* block, std::size_t size, std::size_t alignment);

template <class Node, class... Args>
Node* make_node(Args&&... args) {
  void* block = allocate_node(sizeof(Node), alignof(Node));
  try {
    return ::new (block) Node(std::forward<Args>(args)...);
  } catch (...) {
    free_node(block, sizeof(Node), alignof(Node));
    throw;
  }
}

template <class Node>
void destroy_node(Node* node) {
  node->~Node();
  free_node(node, sizeof(Node), alignof(Node));
}

}  // namespace planloc::detail

#endif  // PLANLOC_FOUNDATION_CONTAINERS_NODE_MEMORY_H_
