// The manager's table of known expression nodes, by which two equal expressions are one object.
#ifndef PLANLOC_ENGINE_EXPRESSION_TABLE_H_
#define PLANLOC_ENGINE_EXPRESSION_TABLE_H_

#include <cstddef>
#include <cstdint>
#include <deque>
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
  kOther,            // not linear
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
  // The node with this key; where there is none, the one that build() makes on the heap.
  template <typename Build>
  IlcFloatExpI* findOrInsert(const IlcExpKey& key, const Build& build) {
    const std::uint32_t hash = hashOf(key);
    const std::size_t at = slotOf(key, hash);
    if (slots_[at].node) return nodes_[slots_[at].node - 1];
    nodes_.push_back(build());
    slots_[at] = {hash, static_cast<std::uint32_t>(nodes_.size())};
    if (2 * nodes_.size() > slots_.size()) rebuild(2 * slots_.size());
    return nodes_.back();
  }

  void heapReset(const IlcHeap& heap, IlcHeap::Index index) override;

 private:
  // The hash tells most other nodes apart without a look at them.
  struct Slot {
    std::uint32_t hash = 0;
    std::uint32_t node = 0;  // its number counted from 1, 0 in an empty slot
  };

  static std::uint32_t hashOf(const IlcExpKey& key);
  // The slot of the node with this key, an empty one where there is none.
  std::size_t slotOf(const IlcExpKey& key, std::uint32_t hash) const;
  void rebuild(std::size_t slots);

  std::deque<IlcFloatExpI*> nodes_;  // in order of allocation
  // A power of two, at most half full; linear probing.
  std::vector<Slot> slots_ = std::vector<Slot>(1024);
};

}  // namespace planloc

#endif  // PLANLOC_ENGINE_EXPRESSION_TABLE_H_
