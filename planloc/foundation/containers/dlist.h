// The untyped part of `list<T>`: a chain of linked items. Use list.h.
#ifndef PLANLOC_FOUNDATION_CONTAINERS_DLIST_H_
#define PLANLOC_FOUNDATION_CONTAINERS_DLIST_H_

namespace planloc {

namespace detail {

struct list_link {
  list_link* succ = nullptr;
  list_link* pred = nullptr;
};

}  // namespace detail

// Handle of an item of a list. It stays valid until its item is deleted, also when the item moves
// within its list or to another one. The null handle stands for "no item".
using list_item = detail::list_link*;

// Where an item or a list goes relative to another one.
inline constexpr int after = 0;
inline constexpr int before = 1;

// Every report below goes through `error_handler` with code 1 unless stated.
class dlist {
 public:
  int size() const;
  int length() const { return size(); }
  bool empty() const { return head_ == nullptr; }

  list_item first() const { return head_; }  // null for an empty list
  list_item last() const { return tail_; }
  list_item succ(list_item it) const { return it ? it->succ : nullptr; }
  list_item pred(list_item it) const { return it ? it->pred : nullptr; }
  list_item cyclic_succ(list_item it) const { return it && it->succ ? it->succ : it ? head_ : it; }
  list_item cyclic_pred(list_item it) const { return it && it->pred ? it->pred : it ? tail_ : it; }

  // The item at the 0-based position i; "dlist::get_item: index out of range".
  list_item get_item(int i) const;

  // Moves an item to an end; "dlist::move_to_front: nil argument", "dlist::move_to_back: nil
  // argument".
  void move_to_front(list_item it);
  void move_to_back(list_item it);

  // Turns the order of all items around, or of those from it1 to it2. The handles keep their
  // entries. "dlist::reverse_items:  empty list.", "dlist::reverse_items: illegal arguments." for
  // a null handle, "dlist::reverse_items(it1,it2): it1 not before it2".
  void reverse_items();
  void reverse_items(list_item it1, list_item it2);

 protected:
  dlist() = default;
  ~dlist() = default;
  dlist(const dlist&) = delete;
  dlist& operator=(const dlist&) = delete;

  void link_front(list_item it);
  void link_back(list_item it);
  void link_behind(list_item it, list_item where);
  void link_before(list_item it, list_item where);
  void unlink(list_item it);

  // Forgets the items without deleting them.
  void forget();
  // Takes over the chain of `other`, which is left empty. REQUIRES: this list is empty.
  void steal(dlist& other);
  // Puts the whole chain of `other` behind the item `where`, or at the front for a null `where`.
  void splice_behind(list_item where, dlist& other);
  // Moves all items from `it` on (null: none) to the empty list `rest`.
  void cut_from(list_item it, dlist& rest);
  // Links items[0..n-1], all of this list, in this order.
  void relink(list_item* items, int n);

 private:
  list_item head_ = nullptr;
  list_item tail_ = nullptr;
  mutable int count_ = 0;  // below 0: unknown, counted again on demand
};

}  // namespace planloc

#endif  // PLANLOC_FOUNDATION_CONTAINERS_DLIST_H_
