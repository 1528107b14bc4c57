#include "planloc/foundation/containers/list.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <utility>
#include <vector>

#include "planloc/foundation/containers/list_sort.h"
#include "tests/foundation/reports.h"

namespace planloc {
namespace {

using testing_support::expect_reports;
using testing_support::text_of;

list<int> numbers(int n) {
  list<int> L;
  for (int i = 1; i <= n; ++i) L.append(i);
  return L;
}

// The items from both ends and the count agree with each other.
template <class T>
void expect_sound(const list<T>& L) {
  int n = 0;
  list_item before_it = nullptr;
  for (list_item it = L.first(); it; before_it = it, it = L.succ(it), ++n) {
    ASSERT_EQ(L.pred(it), before_it);
  }
  EXPECT_EQ(L.last(), before_it);
  EXPECT_EQ(L.size(), n);
}

TEST(List, ItemsAndNeighbours) {
  list<int> L = numbers(3);
  const list_item one = L.first(), two = L.get_item(1), three = L.get_item(2);
  EXPECT_EQ(L.cyclic_succ(three), one);
  EXPECT_EQ(L.cyclic_pred(one), three);
  EXPECT_EQ(L.cyclic_succ(one), two);
  EXPECT_EQ(L.cyclic_pred(three), two);
  for (const list_item it : {L.succ(three), L.pred(one), L.succ(nullptr), L.pred(nullptr),
                             L.cyclic_succ(nullptr), L.cyclic_pred(nullptr), L.search(7)}) {
    EXPECT_EQ(it, nullptr);
  }
  L[two] = 5;
  EXPECT_EQ(L.contents(two) + 10 * L.inf(three) + 100 * L.head() + 1000 * L.tail(), 3135);

  list<int> single = numbers(1);
  EXPECT_EQ(single.cyclic_succ(single.first()), single.first());
  EXPECT_EQ(single.pop(), 1);
  expect_sound(single);
}

struct ranked {
  int rank;
  char name;
};
int compare(const ranked& a, const ranked& b) { return a.rank - b.rank; }

TEST(List, SearchAndExtremesByTheOrderOfTheEntries) {
  const list<ranked> L = {{2, 'a'}, {3, 'b'}, {1, 'c'}, {3, 'd'}, {1, 'e'}};
  EXPECT_EQ(L[L.min()].name, 'c');
  EXPECT_EQ(L[L.max()].name, 'b');
  EXPECT_EQ(L[L.search({3, '?'})].name, 'b');
  EXPECT_EQ(L.rank({1, '?'}) + L.rank({7, '?'}), 3);
  EXPECT_EQ(list<int>().min(), nullptr);
  EXPECT_EQ(list<double>({1.0, std::nan("")}).rank(std::nan("")), 0);
}

TEST(List, InsertionRemovalAndWholeLists) {
  list<int> L;
  L.insert(2, nullptr);
  L.insert(1, L.first(), before);
  L.insert(3, L.last(), after);
  L.insert(9, L.first(), after);
  EXPECT_EQ(text_of(L), "1 9 2 3");
  L.del_item(L.get_item(1));
  L.push(0);
  EXPECT_EQ(L.Pop(), 3);
  EXPECT_EQ(text_of(L), "0 1 2");
  expect_sound(L);

  list<int> copy = L;
  list<int>& same = copy;
  copy = same;
  copy.append(7);
  EXPECT_EQ(text_of(copy), "0 1 2 7");

  list<int> tail;
  copy.split(copy.get_item(2), copy, tail, before);
  EXPECT_EQ(text_of(copy) + "|" + text_of(tail), "0 1|2 7");
  expect_sound(copy);
  expect_sound(tail);
  list<int> rest;
  tail.split(tail.first(), rest, tail, after);
  EXPECT_EQ(text_of(rest) + "|" + text_of(tail), "2|7");
  rest.split(nullptr, rest, tail);
  EXPECT_EQ(text_of(rest) + "|" + text_of(tail), "|2");
  copy.conc(tail, before);
  tail.append(8);
  copy.conc(tail);
  EXPECT_EQ(copy.Pop(), 8);
  tail.append(8);
  copy.splice(copy.first(), tail);
  EXPECT_EQ(text_of(copy), "2 8 0 1");
  EXPECT_TRUE(tail.empty());
  copy.move_to_front(copy.get_item(2));
  copy.move_to_back(copy.get_item(1));
  EXPECT_EQ(text_of(copy), "0 8 1 2");
  expect_sound(copy);
}

TEST(List, ReversalMovesItemsOrEntries) {
  list<int> L = numbers(5);
  const list_item first = L.first();
  L.reverse_items();
  EXPECT_EQ(L.last(), first);
  EXPECT_EQ(text_of(L), "5 4 3 2 1");
  L.reverse();
  EXPECT_EQ(L.last(), first);
  EXPECT_EQ(L[first], 5);
  L.reverse_items(L.get_item(1), L.get_item(3));
  EXPECT_EQ(text_of(L), "1 4 3 2 5");
  L.reverse(L.get_item(0), L.get_item(3));
  EXPECT_EQ(text_of(L), "2 3 4 1 5");
  L.bucket_sort(0, 1, [](int x) { return x % 2; });
  EXPECT_EQ(text_of(L), "2 4 3 1 5");
  expect_sound(L);
}

TEST(List, Reports) {
  list<int> none;
  list<int> L = numbers(3);
  list<int> M;
  const list_item two = L.get_item(1);
  expect_reports({
      {[&] { none.head(); }, "1: dlist::head(): empty list"},
      {[&] { none.tail(); }, "1: dlist::tail(): empty list"},
      {[&] { none.pop(); }, "1: dlist: pop on empty list."},
      {[&] { none.Pop(); }, "1: dlist: Pop on empty list."},
      {[&] { L.get_item(3); }, "1: dlist::get_item: index out of range"},
      {[&] { L.get_item(-1); }, "1: dlist::get_item: index out of range"},
      {[&] { L.insert(1, two, 2); }, "1: dlist::insert: illegal dir argument."},
      {[&] { L.del_item(nullptr); }, "999: dlist: delete nil-item"},
      {[&] { L.reverse(nullptr, two); }, "1: list::reverse(it1,it2): illegal arguments."},
      {[&] { L.reverse_items(two, nullptr); }, "1: dlist::reverse_items: illegal arguments."},
      {[&] { L.reverse_items(two, L.first()); },
       "1: dlist::reverse_items(it1,it2): it1 not before it2"},
      {[&] { none.reverse_items(); }, "1: dlist::reverse_items:  empty list."},
      {[&] { none.split(nullptr, L, M); }, "1: dlist::split: list is empty."},
      {[&] { L.split(two, M, M); }, "1: dlist::split: identical arguments."},
      {[&] { L.split(two, L, M, 3); }, "1: dlist::split: illegal dir argument."},
      {[&] { L.conc(M, 2); }, "1: dlist::conc: illegal dir argument."},
      {[&] { L.splice(two, L); }, "1: list::splice: cannot splice list into itself"},
      {[&] { L.move_to_front(nullptr); }, "1: dlist::move_to_front: nil argument"},
      {[&] { L.move_to_back(nullptr); }, "1: dlist::move_to_back: nil argument"},
      {[&] { L.bucket_sort(1, 2, [](int x) { return x; }); },
       "1: bucket_sort: value 3 out of range"},
  });
}

// ----- Sorting -----

struct keyed {
  double key;
  int place;
};

// The steps of the sort, written down once more: A[l..r], recursion on both sides.
void follow_steps(std::vector<keyed>& A, int l, int r, double tie) {
  const auto at = [&](int i) -> keyed& { return A[static_cast<std::size_t>(i)]; };
  const auto less = [&](int a, int b) { return at(a).key < at(b).key - tie; };
  const auto exchange = [&](int a, int b) { std::swap(at(a), at(b)); };
  if (l >= r) return;
  if (less(r, l)) exchange(l, r);
  if (r == l + 1) return;
  const int k = (l + r) / 2;
  if (less(k, l)) {
    exchange(k, l);
  } else if (less(r, k)) {
    exchange(k, r);
  }
  if (r == l + 2) return;
  exchange(k, l + 1);
  int i = l + 1;
  int j = r;
  while (true) {
    while (less(++i, l + 1)) continue;
    while (less(l + 1, --j)) continue;
    if (i >= j) break;
    exchange(i, j);
  }
  exchange(j, l + 1);
  follow_steps(A, l, j - 1, tie);
  follow_steps(A, j + 1, r, tie);
}

// Sorts a list of these keys and compares it with the steps.
void check_sort(const std::vector<double>& keys, double tolerance) {
  list<keyed> L;
  std::vector<list_item> items;
  std::vector<keyed> entries;
  for (const double key : keys) {
    entries.push_back({key, static_cast<int>(items.size())});
    items.push_back(L.append(entries.back()));
  }
  L.sort([tolerance](const keyed& a, const keyed& b) {
    return a.key < b.key - tolerance ? -1 : b.key < a.key - tolerance ? 1 : 0;
  });
  expect_sound(L);
  for (std::size_t i = 0; i < items.size(); ++i) EXPECT_EQ(L[items[i]].place, static_cast<int>(i));
  follow_steps(entries, 0, L.size() - 1, tolerance);
  std::size_t i = 0;
  for (const keyed& x : L) EXPECT_EQ(x.place, entries[i++].place);
}

// A tolerance makes "less" intransitive; what comes out is still fixed.
TEST(ListSort, FollowsTheSteps) {
  std::mt19937 random(5);
  for (int trial = 0; trial < 4000 && !HasFailure(); ++trial) {
    const double range = trial % 4 == 0 ? 1000.0 : 6.0;
    const double tolerance = trial % 3 == 0 ? 0.0 : 1.5;
    std::vector<double> keys(random() % (trial % 2 == 0 ? 60 : 9));
    for (double& x : keys) x = std::floor(range * std::generate_canonical<double, 32>(random));
    if (trial % 50 == 0 && !keys.empty()) keys[keys.size() / 2] = std::nan("");
    check_sort(keys, tolerance);
  }
}

// Blocks of stops, as the weighted median uses them, make the same exchanges.
TEST(ListSort, BlocksFollowTheStepsToo) {
  std::mt19937 random(6);
  const auto less = [](const keyed& a, const keyed& b) { return a.key < b.key; };
  for (int trial = 0; trial < 300; ++trial) {
    const double range = std::exp2(trial % 13);
    std::vector<keyed> entries(1 + random() % (trial % 10 == 0 ? 3000 : 400));
    for (int place = 0; keyed & x : entries) {
      x = {std::floor(range * std::generate_canonical<double, 32>(random)), place++};
    }
    std::vector<keyed> expected = entries;
    follow_steps(expected, 0, static_cast<int>(expected.size()) - 1, 0.0);
    detail::quicksort(entries.data(), 0, static_cast<long>(entries.size()) - 1, less,
                      detail::block_partition<keyed, decltype(less)>);
    for (std::size_t i = 0; i < entries.size(); ++i) {
      ASSERT_EQ(entries[i].place, expected[i].place) << entries.size() << " entries, at " << i;
    }
  }
}

}  // namespace
}  // namespace planloc
