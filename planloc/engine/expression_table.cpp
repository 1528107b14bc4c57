#include "planloc/engine/expression_table.h"

#include <bit>
#include <cstdint>
#include <utility>

#include "planloc/engine/float_exp_impl.h"
#include "planloc/engine/manager_impl.h"

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

IlcCompoundExpI* IlcExpressionTable::append(const IlcExpKey& key) {
  IlcManagerI* const manager = key.left->getManager();
  nodes_.push_back(new (manager->getHeap()) IlcCompoundExpI(manager, key));
  return nodes_.back();
}

IlcCompoundExpI* IlcExpressionTable::findOrInsert(const IlcExpKey& key) {
  IlcFloatExpI* const left = key.left;
  const bool left_is_variable = left->isVariable();
  if (!left_is_variable && left->users() == 0) {
    IlcCompoundExpI* const node = append(key);
    left->setUsers(number());
    return node;
  }
  const std::uint32_t hash = hashOf(key);
  if (left_is_variable) {
    const std::uint32_t bit = 1U << (hash >> 27);
    if ((left->users() & bit) == 0) {
      left->setUsers(left->users() | bit);
      IlcCompoundExpI* const node = append(key);
      enterLater({hash, number()});
      return node;
    }
  } else if (left->users() != kSeveral) {
    const std::uint32_t first = left->users();
    const IlcExpKey first_key = nodes_[first - 1]->key();
    if (first_key == key) return nodes_[first - 1];
    enterLater({hashOf(first_key), first});
    left->setUsers(kSeveral);
  }
  enterPending();
  const std::size_t at = slotOf(key, hash);
  if (slots_[at].node) return nodes_[slots_[at].node - 1];
  IlcCompoundExpI* const node = append(key);
  slots_[at] = {hash, number()};
  ++used_;
  return node;
}

void IlcExpressionTable::enterLater(const Slot& slot) {
  if (pending_ == waiting_.size()) enterPending();
  waiting_[pending_++] = slot;
}

// All at once, so that the memory is fetched for many at the same time. Leaves room for one more.
void IlcExpressionTable::enterPending() {
  const std::size_t used = used_ + pending_ + 1;
  if (3 * used > 2 * slots_.size()) rebuild(2 * slots_.size());
  const std::size_t mask = slots_.size() - 1;
  for (std::size_t k = 0; k < pending_; ++k)
    __builtin_prefetch(&slots_[waiting_[k].hash & mask], 1);
  for (std::size_t k = 0; k < pending_; ++k) enter(waiting_[k]);
  pending_ = 0;
}

void IlcExpressionTable::enter(const Slot& slot) {
  const std::size_t mask = slots_.size() - 1;
  std::size_t at = slot.hash & mask;
  while (slots_[at].node) at = (at + 1) & mask;
  slots_[at] = slot;
  ++used_;
}

// What a variable notes of users that are gone costs a look at the table.
void IlcExpressionTable::heapReset(const IlcHeap& heap, IlcHeap::Index index) {
  enterPending();
  const std::size_t known = nodes_.size();
  for (; !nodes_.empty() && heap.isSince(nodes_.back(), index); nodes_.pop_back()) {
    IlcFloatExpI* const left = nodes_.back()->left();
    if (!left->isVariable() && left->users() == number()) left->setUsers(0);
  }
  if (nodes_.size() < known) rebuild(slots_.size());
}

// In the order of the slots, so that both tables are passed through once from front to back.
void IlcExpressionTable::rebuild(std::size_t slots) {
  const std::vector<Slot> old = std::exchange(slots_, std::vector<Slot>(slots));
  used_ = 0;
  for (const Slot& slot : old) {
    if (slot.node != 0 && slot.node <= nodes_.size()) enter(slot);
  }
}

}  // namespace planloc
