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

// Three bits for a node among the users of its left operand (Bloom, 1970).
std::uint64_t marks_of(const IlcExpKey& key) {
  std::uint64_t h = reinterpret_cast<std::uintptr_t>(key.right) ^
                    std::bit_cast<std::uint64_t>(key.constant) ^
                    static_cast<std::uint64_t>(key.kind);
  h = (h ^ (h >> 32)) * 0x9e3779b97f4a7c15U;
  const auto bit = [h](int from) { return std::uint64_t{1} << ((h >> from) & 63U); };
  return bit(58) | bit(52) | bit(46);
}

}  // namespace

IlcCompoundExpI* IlcExpressionTable::findOrInsert(const IlcExpKey& key) {
  IlcFloatExpI* const left = key.left;
  if (left->users() == kInTable) return findOrInsertInTable(key);
  if (left->isVariable() && static_cast<IlcFloatVarI*>(left)->markUser(marks_of(key))) {
    return appendToChain(key);
  }
  int length = 0;
  for (std::uint32_t n = left->users(); n; n = node(n)->next(), ++length) {
    if (node(n)->key() == key) return node(n);
  }
  if (length < kLongestChain) return appendToChain(key);
  moveToTable(left);
  return findOrInsertInTable(key);
}

IlcCompoundExpI* IlcExpressionTable::append(const IlcExpKey& key) {
  IlcManagerI* const manager = key.left->getManager();
  nodes_.push_back(new (manager->getHeap()) IlcCompoundExpI(manager, key));
  return nodes_.back();
}

IlcCompoundExpI* IlcExpressionTable::appendToChain(const IlcExpKey& key) {
  IlcCompoundExpI* const node = append(key);
  node->setNext(key.left->users());
  key.left->setUsers(number());
  return node;
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
  for (; !nodes_.empty() && heap.isSince(nodes_.back(), index); nodes_.pop_back()) {
    IlcFloatExpI* const left = nodes_.back()->left();
    if (left->users() == number()) {
      left->setUsers(nodes_.back()->next());
    } else {
      in_table = true;
    }
  }
  if (in_table) rebuild(slots_.size());
}

}  // namespace planloc
