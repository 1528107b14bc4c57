// The manager's table of known expression nodes, by which two equal expressions are one object.
#ifndef PLANLOC_ENGINE_EXPRESSION_TABLE_H_
#define PLANLOC_ENGINE_EXPRESSION_TABLE_H_

#include <array>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <limits>
#include <vector>

#include "planloc/engine/heap.h"

namespace planloc {

class IlcCompoundExpI;
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

// All nodes with operands that are on the manager's heap. Building a model is mostly finding out
// that a node is new, so operands note what can be known without a look at the table, an open hash
// table: a node with operands, which of the nodes was the first with it on the left; a variable, a
// bit for each of a few classes of hashes. Nodes that a reset of the heap releases are forgotten
// with it.
class IlcExpressionTable final : public IlcHeap::Listener {
 public:
  // The node with this key; where there is none, a new one on the heap of its left operand.
  IlcCompoundExpI* findOrInsert(const IlcExpKey& key);

  void heapReset(const IlcHeap& heap, IlcHeap::Index index) override;

 private:
  // The hash tells most other nodes apart without a look at them.
  struct Slot {
    std::uint32_t hash = 0;
    std::uint32_t node = 0;  // its number counted from 1, 0 in an empty slot
  };

  static constexpr std::uint32_t kSeveral = std::numeric_limits<std::uint32_t>::max();

  IlcCompoundExpI* append(const IlcExpKey& key);
  std::uint32_t number() const { return static_cast<std::uint32_t>(nodes_.size()); }
  static std::uint32_t hashOf(const IlcExpKey& key);
  // The slot of the node with this key, an empty one where there is none.
  std::size_t slotOf(const IlcExpKey& key, std::uint32_t hash) const;
  void enterLater(const Slot& slot);
  void enterPending();
  void enter(const Slot& slot);
  void rebuild(std::size_t slots);

  std::deque<IlcCompoundExpI*> nodes_;  // in order of allocation
  // A power of two, at most two thirds full; linear probing.
  std::vector<Slot> slots_ = std::vector<Slot>(1024);
  std::size_t used_ = 0;
  // Not entered yet.
  std::array<Slot, 64> waiting_;
  std::size_t pending_ = 0;
};

}  // namespace planloc

#endif  // PLANLOC_ENGINE_EXPRESSION_TABLE_H_
