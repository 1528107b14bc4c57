#include "planloc/engine/expression_table.h"

#include <bit>
#include <cstdint>
#include <utility>

#include "planloc/engine/float_exp_impl.h"

namespace planloc {
bool IlcExpKey::operator==(const IlcExpKey& other) const {
  return kind == other.kind && left == other.left && right == other.right &&
         std::bit_cast<std::uint64_t>(constant) == std::bit_cast<std::uint64_t>(other.constant);
}

// One multiplication a part, and the finaliser of SplitMix64 (Steele, Lea and Flood, 2014).
std::uint32_t IlcExpressionTable::hashOf(const IlcExpKey& key) {
  std::uint64_t h = reinterpret_cast<std::uintptr_t>(key.left) * 0x9e3779b97f4a7c15U +
                    reinterpret_cast<std::uintptr_t>(key.right) * 0xc2b2ae3d27d4eb4fU +
                    std::bit_cast<std::uint64_t>(key.constant) * 0xd6e8feb86659fd93U +
                    static_cast<std::uint64_t>(key.kind);
  h = (h ^ (h >> 30)) * 0xbf58476d1ce4e5b9U;
  h = (h ^ (h >> 27)) * 0x94d049bb133111ebU;
  return static_cast<std::uint32_t>(h >> 32);
}

std::size_t IlcExpressionTable::slotOf(const IlcExpKey& key, std::uint32_t hash) const {
  const std::size_t mask = slots_.size() - 1;
  std::size_t at = hash & mask;
  for (; slots_[at].node; at = (at + 1) & mask) {
    if (slots_[at].hash == hash && nodes_[slots_[at].node - 1]->key() == key) break;
  }
  return at;
}

void IlcExpressionTable::heapReset(const IlcHeap& heap, IlcHeap::Index index) {
  const std::size_t known = nodes_.size();
  while (!nodes_.empty() && heap.isSince(nodes_.back(), index)) nodes_.pop_back();
  if (nodes_.size() < known) rebuild(slots_.size());
}

// In the order of the slots, so that both tables are passed through once from front to back.
void IlcExpressionTable::rebuild(std::size_t slots) {
  const std::vector<Slot> old = std::exchange(slots_, std::vector<Slot>(slots));
  const std::size_t mask = slots - 1;
  for (const Slot& slot : old) {
    if (slot.node == 0 || slot.node > nodes_.size()) continue;
    std::size_t at = slot.hash & mask;
    while (slots_[at].node) at = (at + 1) & mask;
    slots_[at] = slot;
  }
}

}  // namespace planloc
