#include "planloc/engine/expression_table.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <utility>

#include "planloc/engine/expression_table_impl.h"

namespace planloc {

bool IlcExpKey::operator==(const IlcExpKey& other) const {
  return kind == other.kind && left == other.left && right == other.right &&
         std::bit_cast<std::uint64_t>(constant) == std::bit_cast<std::uint64_t>(other.constant);
}

namespace {

// One multiplication a part, and the finaliser of SplitMix64 (Steele, Lea and Flood, 2014).
std::uint32_t hash_of(const IlcExpKey& key) {
  std::uint64_t h = reinterpret_cast<std::uintptr_t>(key.left) * 0x9e3779b97f4a7c15U +
                    reinterpret_cast<std::uintptr_t>(key.right) * 0xc2b2ae3d27d4eb4fU +
                    std::bit_cast<std::uint64_t>(key.constant) * 0xd6e8feb86659fd93U +
                    static_cast<std::uint64_t>(key.kind);
  h = (h ^ (h >> 30)) * 0xbf58476d1ce4e5b9U;
  h = (h ^ (h >> 27)) * 0x94d049bb133111ebU;
  return static_cast<std::uint32_t>(h >> 32);
}

}  // namespace

IlcCompoundExpI* IlcExpressionTable::findInChainOrInsert(const IlcExpKey& key) {
  int length = 0;
  for (std::uint32_t n = key.left->users(); n; n = node(n)->next(), ++length) {
    if (node(n)->key() == key) return node(n);
  }
  if (length < kLongestChain) return appendToChain(key);
  moveToTable(key.left);
  return findOrInsertInTable(key);
}

void IlcExpressionTable::growNodes() {
  constexpr std::size_t kFirst = 64;
  nodes_.resize(std::max(kFirst, 2 * nodes_.size()));
}

// ----- Hash table -----

void IlcExpressionTable::moveToTable(IlcFloatExpI* left) {
  for (std::uint32_t n = left->users(); n; n = node(n)->next()) enter({hash_of(node(n)->key()), n});
  left->setUsers(kInTable);
}

IlcCompoundExpI* IlcExpressionTable::findOrInsertInTable(const IlcExpKey& key) {
  const std::uint32_t hash = hash_of(key);
  const std::uint32_t known = slots_[slotOf(key, hash)].node;
  if (known) return node(known);
  IlcCompoundExpI* const node = append(key);
  enter({hash, number()});
  return node;
}

std::size_t IlcExpressionTable::slotOf(const IlcExpKey& key, std::uint32_t hash) const {
  const std::size_t mask = slots_.size() - 1;
  std::size_t at = hash & mask;
  for (; slots_[at].node; at = (at + 1) & mask) {
    if (slots_[at].hash == hash && node(slots_[at].node)->key() == key) break;
  }
  return at;
}

void IlcExpressionTable::enter(const Slot& slot) {
  if (3 * (used_ + 1) > 2 * slots_.size()) rebuild(2 * slots_.size());
  const std::size_t mask = slots_.size() - 1;
  std::size_t at = slot.hash & mask;
  while (slots_[at].node) at = (at + 1) & mask;
  slots_[at] = slot;
  ++used_;
}

// In the order of the slots, so that both tables are passed through once from front to back.
void IlcExpressionTable::rebuild(std::size_t slots) {
  const std::vector<Slot> old = std::exchange(slots_, std::vector<Slot>(slots));
  used_ = 0;
  for (const Slot& slot : old) {
    if (slot.node != 0 && slot.node <= number()) enter(slot);
  }
}

// ----- Reset -----

// What a variable notes of users that are gone costs a look at the chain.
void IlcExpressionTable::heapReset(const IlcHeap& heap, IlcHeap::Index index) {
  bool in_table = false;
  for (; count_ > 0 && heap.isSince(node(number()), index); --count_) {
    IlcCompoundExpI* const last = node(number());
    if (last->left()->users() == number()) {
      last->left()->setUsers(last->next());
    } else {
      in_table = true;
    }
  }
  if (in_table) rebuild(slots_.size());
}

}  // namespace planloc
