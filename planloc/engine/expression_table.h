// The manager's table of known expression nodes, by which two equal expressions are one object.
#ifndef PLANLOC_ENGINE_EXPRESSION_TABLE_H_
#define PLANLOC_ENGINE_EXPRESSION_TABLE_H_

#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

#include "planloc/engine/heap.h"
#include "planloc/engine/heap_blocks.h"

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

// All nodes with operands that are on the manager's heap. A node is looked for among those with the
// same left operand, which are few as a rule: they are a chain, and a variable has a few bits by
// which most new ones are known without it, since building a model is mostly finding out that a
// node is new. Operands with a long chain have their nodes in an open hash table. Nodes that a
// reset of the heap releases are forgotten with it.
class IlcExpressionTable final : public IlcHeap::Listener {
 public:
  // The node with this key; where there is none, a new one on the heap of its left operand. Defined
  // in expression_table_impl.h.
  IlcCompoundExpI* findOrInsert(const IlcExpKey& key);

  void heapReset(const IlcHeap& heap, IlcHeap::Index index) override;

 private:
  // The hash tells most other nodes apart without a look at them.
  struct Slot {
    std::uint32_t hash = 0;
    std::uint32_t node = 0;  // its number, 0 in an empty slot
  };

  static constexpr int kLongestChain = 16;
  // In place of the first node of a chain.
  static constexpr std::uint32_t kInTable = std::numeric_limits<std::uint32_t>::max();

  // By their numbers, counted from 1.
  IlcCompoundExpI* node(std::uint32_t number) const { return nodes_[number - 1]; }
  IlcCompoundExpI* append(const IlcExpKey& key);
  IlcCompoundExpI* appendToChain(const IlcExpKey& key);
  IlcCompoundExpI* findInChainOrInsert(const IlcExpKey& key);
  IlcCompoundExpI* findOrInsertInTable(const IlcExpKey& key);
  void moveToTable(IlcFloatExpI* left);
  std::uint32_t number() const { return static_cast<std::uint32_t>(count_); }
  void growNodes();
  // The slot of the node with this key, an empty one where there is none.
  std::size_t slotOf(const IlcExpKey& key, std::uint32_t hash) const;
  void enter(const Slot& slot);
  void rebuild(std::size_t slots);

  // In order of allocation; room for more follows them.
  detail::raw_block_vector<IlcCompoundExpI*> nodes_;
  std::size_t count_ = 0;
  // A power of two, at most two thirds full; linear probing.
  std::vector<Slot> slots_ = std::vector<Slot>(64);
  std::size_t used_ = 0;
};

}  // namespace planloc

#endif  // PLANLOC_ENGINE_EXPRESSION_TABLE_H_
