// The manager's table of known expression nodes, by which two equal expressions are one object.
#ifndef PLANLOC_ENGINE_EXPRESSION_TABLE_H_
#define PLANLOC_ENGINE_EXPRESSION_TABLE_H_

#include <cstddef>
#include <cstdint>
#include <vector>

#include "planloc/engine/heap.h"

namespace planloc {

class IlcFloatExpI;

enum class IlcExpKind : unsigned char {
  kVariable,
  kSum,              // left + right
  kPositiveProduct,  // constant * left, constant > 0
  kNegativeProduct,  // constant * left, constant < 0
  kNegation,         // -left
  kOffset,           // left + constant
};

// What makes two nodes equal: kind, operands (by identity) and constant (bit for bit).
struct IlcExpKey {
  IlcExpKind kind;
  IlcFloatExpI* left;
  IlcFloatExpI* right;
  double constant;

  bool operator==(const IlcExpKey& other) const;
};

// An open hash table of nodes on the manager's heap. Nodes that a reset of the heap releases are
// forgotten with it.
class IlcExpressionTable final : public IlcHeap::Listener {
 public:
  // The node with this key, null if there is none.
  IlcFloatExpI* find(const IlcExpKey& key) const;
  // REQUIRES: no equal node is known. `index` is the heap's index before the node was built.
  void insert(IlcFloatExpI* node, IlcHeap::Index index);

  void heapReset(IlcHeap::Index index) override;

 private:
  struct Entry {
    IlcFloatExpI* node;
    IlcHeap::Index index;
    std::uint32_t hash;
  };

  // The hash tells most other nodes apart without a look at them.
  struct Slot {
    std::uint32_t hash = 0;
    std::uint32_t node = 0;  // its number counted from 1, 0 in an empty slot
  };

  void place(Slot slot);
  void rebuild(std::size_t slots);

  std::vector<Entry> nodes_;  // in order of allocation
  std::vector<Slot> slots_;   // a power of two, at most half full; linear probing
};

}  // namespace planloc

#endif  // PLANLOC_ENGINE_EXPRESSION_TABLE_H_
