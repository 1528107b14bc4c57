// What IlcExpressionTable does for each node of a model, inline, since most nodes are new and take
// nothing else.
#ifndef PLANLOC_ENGINE_EXPRESSION_TABLE_IMPL_H_
#define PLANLOC_ENGINE_EXPRESSION_TABLE_IMPL_H_

#include <bit>
#include <cstdint>

#include "planloc/engine/float_exp_impl.h"
#include "planloc/engine/manager_impl.h"

namespace planloc {
namespace detail {

// Three bits for a node among the users of its left operand (Bloom, 1970).
inline std::uint64_t marks_of(const IlcExpKey& key) {
  std::uint64_t h = reinterpret_cast<std::uintptr_t>(key.right) ^
                    std::bit_cast<std::uint64_t>(key.constant) ^
                    static_cast<std::uint64_t>(key.kind);
  h = (h ^ (h >> 32)) * 0x9e3779b97f4a7c15U;
  const auto bit = [h](int from) { return std::uint64_t{1} << ((h >> from) & 63U); };
  return bit(58) | bit(52) | bit(46);
}

}  // namespace detail

inline IlcCompoundExpI* IlcExpressionTable::append(const IlcExpKey& key) {
  if (count_ == nodes_.size()) growNodes();
  IlcManagerI* const manager = key.left->getManager();
  return nodes_[count_++] = new (manager->getHeap()) IlcCompoundExpI(manager, key);
}

inline IlcCompoundExpI* IlcExpressionTable::appendToChain(const IlcExpKey& key) {
  IlcCompoundExpI* const node = append(key);
  node->setNext(key.left->users());
  key.left->setUsers(number());
  return node;
}

inline IlcCompoundExpI* IlcExpressionTable::findOrInsert(const IlcExpKey& key) {
  IlcFloatExpI* const left = key.left;
  if (left->users() == kInTable) return findOrInsertInTable(key);
  const bool is_new = left->isVariable()
                          ? static_cast<IlcFloatVarI*>(left)->markUser(detail::marks_of(key))
                          : left->users() == 0;
  return is_new ? appendToChain(key) : findInChainOrInsert(key);
}

}  // namespace planloc

#endif  // PLANLOC_ENGINE_EXPRESSION_TABLE_IMPL_H_
