// A doubly linked list of values with item handles: the sequence that every part of planloc speaks
// in. Use array.h for access by number, std::vector inside a hot loop.
//
// 1. A list owns copies of its entries. Copying a list copies every entry; moving one is O(1).
// 2. A handle (`list_item`) stays valid until its item is deleted, whatever happens around it.
// 3. Reports go through `error_handler` with code 1 unless stated; behind a handler that returns,
//    the result is not defined.
// REQUIRES, of every handle passed in: it belongs to this list. A null handle is good only where
// that is said.
//
//   list<point> L;
//   L.append(point(1, 2));
//   for (const point& p : L) ...
//   for (list_item it = L.first(); it; it = L.succ(it)) L[it] ...
#ifndef PLANLOC_FOUNDATION_CONTAINERS_LIST_H_
#define PLANLOC_FOUNDATION_CONTAINERS_LIST_H_

#include <cstddef>
#include <initializer_list>
#include <iterator>
#include <new>
#include <ostream>
#include <utility>
#include <vector>

#include "planloc/foundation/containers/compare.h"
#include "planloc/foundation/containers/dlist.h"
#include "planloc/foundation/containers/error_handler.h"
#include "planloc/foundation/containers/list_sort.h"
#include "planloc/foundation/containers/node_memory.h"
#include "planloc/foundation/containers/string.h"

namespace planloc {

template <class T>
class list : public dlist {
  struct node : detail::list_link {
    template <class... Args>
    explicit node(Args&&... args) : entry(std::forward<Args>(args)...) {}
    T entry;
  };

  template <class Entry>
  class basic_iterator {
   public:
    using iterator_category = std::forward_iterator_tag;
    using value_type = T;
    using difference_type = std::ptrdiff_t;
    using pointer = Entry*;
    using reference = Entry&;

    basic_iterator() = default;
    explicit basic_iterator(list_item it) : it_(it) {}
    Entry& operator*() const { return static_cast<node*>(it_)->entry; }
    Entry* operator->() const { return &**this; }
    basic_iterator& operator++() {
      it_ = it_->succ;
      return *this;
    }
    basic_iterator operator++(int) {
      basic_iterator old = *this;
      ++*this;
      return old;
    }
    bool operator==(const basic_iterator& other) const { return it_ == other.it_; }

   private:
    list_item it_ = nullptr;
  };

 public:
  using value_type = T;
  using iterator = basic_iterator<T>;
  using const_iterator = basic_iterator<const T>;

  list() = default;
  list(std::initializer_list<T> entries) {
    for (const T& x : entries) append(x);
  }
  list(const list& other) : dlist() {
    for (const T& x : other) append(x);
  }
  list(list&& other) noexcept : dlist() { steal(other); }
  list& operator=(const list& other) {
    if (this == &other) return *this;
    clear();
    for (const T& x : other) append(x);
    return *this;
  }
  list& operator=(list&& other) noexcept {
    if (this == &other) return *this;
    clear();
    steal(other);
    return *this;
  }
  ~list() { clear(); }

  // ----- Access -----

  T& contents(list_item it) { return static_cast<node*>(it)->entry; }
  const T& contents(list_item it) const { return static_cast<const node*>(it)->entry; }
  T& operator[](list_item it) { return contents(it); }
  const T& operator[](list_item it) const { return contents(it); }
  const T& inf(list_item it) const { return contents(it); }

  const T& head() const { return contents(existing(first(), "dlist::head(): empty list")); }
  T& head() { return contents(existing(first(), "dlist::head(): empty list")); }
  const T& tail() const { return contents(existing(last(), "dlist::tail(): empty list")); }
  T& tail() { return contents(existing(last(), "dlist::tail(): empty list")); }

  iterator begin() { return iterator(first()); }
  iterator end() { return iterator(nullptr); }
  const_iterator begin() const { return const_iterator(first()); }
  const_iterator end() const { return const_iterator(nullptr); }

  // ----- Insertion and removal -----

  list_item push(const T& x) { return linked(&list::link_front, x); }
  list_item append(const T& x) { return linked(&list::link_back, x); }

  // Puts x before or after the item `it`; into an empty list for a null `it`.
  // "dlist::insert: illegal dir argument." for any other direction.
  list_item insert(const T& x, list_item it, int dir = after);

  // Removes the first or the last item and returns its entry.
  // "dlist: pop on empty list.", "dlist: Pop on empty list."
  T pop() { return removed(existing(first(), "dlist: pop on empty list.")); }
  T Pop() { return removed(existing(last(), "dlist: Pop on empty list.")); }

  // "dlist: delete nil-item", code 999.
  T del_item(list_item it);
  void clear();

  // ----- Search -----

  // The first entry equal to x, by `==` or, where T has none, by `compare`: its item, or null; its
  // 1-based position, or 0. Linear time.
  list_item search(const T& x) const;
  int rank(const T& x) const;

  // The first smallest, the first largest entry by `compare`; null for an empty list.
  list_item min() const { return extreme(-1); }
  list_item max() const { return extreme(1); }

  // ----- Order -----

  // Sorts by cmp(a, b), negative for "a before b". Not stable: the order of equal entries follows
  // from the exchanges of list_sort.h and is the same in every run. Handles keep their entries.
  template <class Compare>
  void sort(Compare cmp);
  void sort() {
    sort([](const T& a, const T& b) { return compare(a, b); });
  }

  // Exchanges entries from both ends inwards; the handles stay where they are.
  // "list::reverse(it1,it2): illegal arguments."
  void reverse() {
    if (!empty()) reverse(first(), last());
  }
  void reverse(list_item it1, list_item it2);

  // Sorts by the integer f(entry) from i to j, stable, in time proportional to size() + j - i.
  // "bucket_sort: value %d out of range" for a value outside i..j.
  template <class Key>
  void bucket_sort(int i, int j, Key f);

  // ----- Whole lists -----

  // Splits this list at `it` into L1 and L2 and leaves it empty, unless it is one of the two. `it`
  // becomes the first item of L2 (dir `before`) or the last item of L1 (dir `after`). A null `it`
  // leaves everything to L2.
  // "dlist::split: list is empty.", "dlist::split: identical arguments.",
  // "dlist::split: illegal dir argument."
  void split(list_item it, list& L1, list& L2, int dir = before);

  // Moves all items of `other` to the end (dir `after`) or the front (dir `before`) of this list.
  // "dlist::conc: illegal dir argument."
  void conc(list& other, int dir = after);

  // Moves all items of `other` before or behind `it`; "list::splice: cannot splice list into
  // itself".
  void splice(list_item it, list& other, int dir = after);

  bool operator==(const list& other) const {
    const_iterator a = begin();
    const_iterator b = other.begin();
    for (; a != end() && b != other.end(); ++a, ++b) {
      if (!(*a == *b)) return false;
    }
    return a == end() && b == other.end();
  }

 private:
  static list_item existing(list_item it, const char* report) {
    if (!it) error_handler(1, report);
    return it;
  }
  list_item linked(void (list::*link)(list_item), const T& x) {
    node* it = detail::make_node<node>(x);
    (this->*link)(it);
    return it;
  }
  T removed(list_item it) {
    node* doomed = static_cast<node*>(it);
    unlink(it);
    T x = std::move(doomed->entry);
    detail::destroy_node(doomed);
    return x;
  }
  list_item extreme(int sign) const {
    list_item best = first();
    for (list_item it = succ(best); it; it = succ(it)) {
      if (compare(contents(it), contents(best)) * sign > 0) best = it;
    }
    return best;
  }
};

// ----- Implementation -----

template <class T>
list_item list<T>::insert(const T& x, list_item it, int dir) {
  if (dir != before && dir != after) error_handler(1, "dlist::insert: illegal dir argument.");
  if (!it) return append(x);
  node* fresh = detail::make_node<node>(x);
  dir == before ? link_before(fresh, it) : link_behind(fresh, it);
  return fresh;
}

template <class T>
T list<T>::del_item(list_item it) {
  if (!it) error_handler(999, "dlist: delete nil-item");
  return removed(it);
}

template <class T>
void list<T>::clear() {
  for (list_item it = first(); it;) {
    node* doomed = static_cast<node*>(it);
    it = it->succ;
    detail::destroy_node(doomed);
  }
  forget();
}

template <class T>
list_item list<T>::search(const T& x) const {
  for (list_item it = first(); it; it = succ(it)) {
    if (detail::same_entry(contents(it), x)) return it;
  }
  return nullptr;
}

template <class T>
int list<T>::rank(const T& x) const {
  int position = 1;
  for (const T& y : *this) {
    if (detail::same_entry(y, x)) return position;
    ++position;
  }
  return 0;
}

template <class T>
template <class Compare>
void list<T>::sort(Compare cmp) {
  if (size() < 2) return;
  std::vector<list_item> items;
  items.reserve(static_cast<std::size_t>(size()));
  for (list_item it = first(); it; it = succ(it)) items.push_back(it);
  detail::quicksort(items.data(), 0, static_cast<long>(items.size()) - 1,
                    [&](list_item a, list_item b) { return cmp(contents(a), contents(b)) < 0; });
  relink(items.data(), static_cast<int>(items.size()));
}

template <class T>
void list<T>::reverse(list_item it1, list_item it2) {
  if (!it1 || !it2) {
    error_handler(1, "list::reverse(it1,it2): illegal arguments.");
    return;
  }
  while (it1 != it2) {
    std::swap(contents(it1), contents(it2));
    it1 = succ(it1);
    if (it1 == it2) break;
    it2 = pred(it2);
    if (!it1 || !it2) error_handler(1, "list::reverse(it1,it2): illegal arguments.");
  }
}

template <class T>
template <class Key>
void list<T>::bucket_sort(int i, int j, Key f) {
  const long buckets = static_cast<long>(j) - i + 1;
  std::vector<std::vector<list_item>> bucket;
  try {
    bucket.resize(static_cast<std::size_t>(buckets > 0 ? buckets : 0));
  } catch (const std::bad_alloc&) {
    error_handler(
        1,
        string("list::bucketsort: cannot allocate %ld buckets (out of memory)", buckets).cstring());
    return;
  }
  for (list_item it = first(); it; it = succ(it)) {
    const int key = f(contents(it));
    if (key < i || key > j) {
      error_handler(1, string("bucket_sort: value %d out of range", key).cstring());
      return;
    }
    bucket[static_cast<std::size_t>(static_cast<long>(key) - i)].push_back(it);
  }
  std::vector<list_item> items;
  for (const auto& b : bucket) items.insert(items.end(), b.begin(), b.end());
  relink(items.data(), static_cast<int>(items.size()));
}

template <class T>
void list<T>::split(list_item it, list& L1, list& L2, int dir) {
  if (empty()) error_handler(1, "dlist::split: list is empty.");
  if (&L1 == &L2) error_handler(1, "dlist::split: identical arguments.");
  if (dir != before && dir != after) error_handler(1, "dlist::split: illegal dir argument.");
  list left;
  list right;
  if (it) {
    left.steal(*this);
    left.cut_from(dir == before ? it : succ(it), right);
  } else {
    right.steal(*this);
  }
  L1 = std::move(left);
  L2 = std::move(right);
}

template <class T>
void list<T>::conc(list& other, int dir) {
  if (dir != before && dir != after) error_handler(1, "dlist::conc: illegal dir argument.");
  splice_behind(dir == after ? last() : nullptr, other);
}

template <class T>
void list<T>::splice(list_item it, list& other, int dir) {
  if (this == &other) error_handler(1, "list::splice: cannot splice list into itself");
  splice_behind(dir == after ? it : pred(it), other);
}

// "x y z" in list order, separated by single blanks.
template <class T>
std::ostream& operator<<(std::ostream& out, const list<T>& L) {
  const char* gap = "";
  for (const T& x : L) {
    out << gap << x;
    gap = " ";
  }
  return out;
}

}  // namespace planloc

#endif  // PLANLOC_FOUNDATION_CONTAINERS_LIST_H_
