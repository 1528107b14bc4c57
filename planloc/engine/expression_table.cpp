#include "planloc/engine/expression_table.h"

#include <bit>
#include <cstdint>

#include "planloc/engine/float_exp_impl.h"

namespace planloc {
namespace {

constexpr std::size_t kFirstSlots = 1024;

std::uint64_t mix(std::uint64_t h) {
  // Finaliser of SplitMix64 (Steele, Lea and Flood, 2014).
  h = (h ^ (h >> 30)) * 0xbf58476d1ce4e5b9U;
  h = (h ^ (h >> 27)) * 0x94d049bb133111ebU;
  return h ^ (h >> 31);
}

std::uint32_t hash_of(const IlcExpKey& key) {
  std::uint64_t h = mix(static_cast<std::uint64_t>(key.kind) + 1);
  h = mix(h ^ reinterpret_cast<std::uintptr_t>(key.left));
  h = mix(h ^ reinterpret_cast<std::uintptr_t>(key.right));
  return static_cast<std::uint32_t>(mix(h ^ std::bit_cast<std::uint64_t>(key.constant)));
}

}  // namespace

bool IlcExpKey::operator==(const IlcExpKey& other) const {
  return kind == other.kind && left == other.left && right == other.right &&
         std::bit_cast<std::uint64_t>(constant) == std::bit_cast<std::uint64_t>(other.constant);
}

IlcFloatExpI* IlcExpressionTable::find(const IlcExpKey& key) const {
  if (slots_.empty()) return nullptr;
  const std::size_t mask = slots_.size() - 1;
  const std::uint32_t hash = hash_of(key);
  for (std::size_t i = hash & mask; slots_[i].node; i = (i + 1) & mask) {
    if (slots_[i].hash != hash) continue;
    IlcFloatExpI* const node = nodes_[slots_[i].node - 1].node;
    if (node->key() == key) return node;
  }
  return nullptr;
}

void IlcExpressionTable::insert(IlcFloatExpI* node, IlcHeap::Index index) {
  const std::uint32_t hash = hash_of(node->key());
  nodes_.push_back({node, index, hash});
  if (2 * nodes_.size() > slots_.size()) {
    rebuild(slots_.empty() ? kFirstSlots : 2 * slots_.size());
  } else {
    place({hash, static_cast<std::uint32_t>(nodes_.size())});
  }
}

void IlcExpressionTable::heapReset(IlcHeap::Index index) {
  const std::size_t known = nodes_.size();
  while (!nodes_.empty() && nodes_.back().index >= index) nodes_.pop_back();
  if (nodes_.size() < known) rebuild(slots_.size());
}

void IlcExpressionTable::place(Slot slot) {
  const std::size_t mask = slots_.size() - 1;
  std::size_t i = slot.hash & mask;
  while (slots_[i].node) i = (i + 1) & mask;
  slots_[i] = slot;
}

void IlcExpressionTable::rebuild(std::size_t slots) {
  slots_.assign(slots, Slot());
  std::uint32_t number = 0;
  for (const Entry& entry : nodes_) place({entry.hash, ++number});
}

}  // namespace planloc
