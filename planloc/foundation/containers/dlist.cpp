#include "planloc/foundation/containers/dlist.h"

#include <atomic>
#include <utility>

#include "planloc/foundation/containers/error_handler.h"

namespace planloc {

// Several threads may read a constant list: each of them writes the same number.
int dlist::size() const {
  const std::atomic_ref<int> kept(count_);
  int count = kept.load(std::memory_order_relaxed);
  if (count >= 0) return count;
  count = 0;
  for (list_item it = head_; it; it = it->succ) ++count;
  kept.store(count, std::memory_order_relaxed);
  return count;
}

list_item dlist::get_item(int i) const {
  if (i < 0 || i >= size()) {
    error_handler(1, "dlist::get_item: index out of range");
    return nullptr;
  }
  list_item it = head_;
  while (i-- > 0) it = it->succ;
  return it;
}

void dlist::link_front(list_item it) { link_before(it, head_); }

void dlist::link_back(list_item it) { link_behind(it, tail_); }

void dlist::link_behind(list_item it, list_item where) {
  it->pred = where;
  it->succ = where ? where->succ : nullptr;
  (it->succ ? it->succ->pred : tail_) = it;
  (where ? where->succ : head_) = it;
  if (count_ >= 0) ++count_;
}

void dlist::link_before(list_item it, list_item where) {
  it->succ = where;
  it->pred = where ? where->pred : nullptr;
  (it->pred ? it->pred->succ : head_) = it;
  (where ? where->pred : tail_) = it;
  if (count_ >= 0) ++count_;
}

void dlist::unlink(list_item it) {
  (it->pred ? it->pred->succ : head_) = it->succ;
  (it->succ ? it->succ->pred : tail_) = it->pred;
  if (count_ >= 0) --count_;
}

void dlist::forget() {
  head_ = tail_ = nullptr;
  count_ = 0;
}

void dlist::steal(dlist& other) {
  head_ = other.head_;
  tail_ = other.tail_;
  count_ = other.count_;
  other.forget();
}

void dlist::splice_behind(list_item where, dlist& other) {
  if (other.empty()) return;
  const list_item next = where ? where->succ : head_;
  other.head_->pred = where;
  other.tail_->succ = next;
  (where ? where->succ : head_) = other.head_;
  (next ? next->pred : tail_) = other.tail_;
  count_ = count_ < 0 || other.count_ < 0 ? -1 : count_ + other.count_;
  other.forget();
}

void dlist::cut_from(list_item it, dlist& rest) {
  if (!it) return;
  rest.head_ = it;
  rest.tail_ = tail_;
  rest.count_ = -1;
  tail_ = it->pred;
  (tail_ ? tail_->succ : head_) = nullptr;
  it->pred = nullptr;
  count_ = -1;
}

void dlist::relink(list_item* items, int n) {
  forget();
  for (int i = 0; i < n; ++i) link_back(items[i]);
}

void dlist::move_to_front(list_item it) {
  if (!it) {
    error_handler(1, "dlist::move_to_front: nil argument");
    return;
  }
  unlink(it);
  link_front(it);
}

void dlist::move_to_back(list_item it) {
  if (!it) {
    error_handler(1, "dlist::move_to_back: nil argument");
    return;
  }
  unlink(it);
  link_back(it);
}

void dlist::reverse_items() {
  if (empty()) {
    error_handler(1, "dlist::reverse_items:  empty list.");
    return;
  }
  reverse_items(head_, tail_);
}

void dlist::reverse_items(list_item it1, list_item it2) {
  if (!it1 || !it2) {
    error_handler(1, "dlist::reverse_items: illegal arguments.");
    return;
  }
  list_item it = it1;
  while (it && it != it2) it = it->succ;
  if (!it) {
    error_handler(1, "dlist::reverse_items(it1,it2): it1 not before it2");
    return;
  }
  const list_item outside_left = it1->pred;
  const list_item outside_right = it2->succ;
  for (it = it1; it != outside_right;) {
    const list_item next = it->succ;
    std::swap(it->succ, it->pred);
    it = next;
  }
  it2->pred = outside_left;
  it1->succ = outside_right;
  (outside_left ? outside_left->succ : head_) = it2;
  (outside_right ? outside_right->pred : tail_) = it1;
}

}  // namespace planloc
