#include "planloc/foundation/containers/list.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <csignal>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "tests/foundation/reports.h"

namespace planloc {
namespace {

using testing_support::report_of;
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
  const list_item one = L.first();
  const list_item two = L.succ(one);
  const list_item three = L.last();
  EXPECT_EQ(L.cyclic_succ(three), one);
  EXPECT_EQ(L.cyclic_pred(one), three);
  EXPECT_EQ(L.cyclic_succ(one), two);
  EXPECT_EQ(L.cyclic_pred(three), two);
  EXPECT_EQ(L.succ(three), nullptr);
  EXPECT_EQ(L.pred(one), nullptr);
  for (const list_item it : {L.succ(nullptr), L.pred(nullptr), L.cyclic_succ(nullptr),
                             L.cyclic_pred(nullptr), list<int>().first(), list<int>().last()}) {
    EXPECT_EQ(it, nullptr);
  }
  EXPECT_EQ(L.get_item(0), one);
  EXPECT_EQ(L.get_item(2), three);
  EXPECT_EQ(L.search(2), two);
  EXPECT_EQ(L.search(7), nullptr);
  EXPECT_EQ(L.rank(3), 3);
  EXPECT_EQ(L.rank(7), 0);
  L[two] = 5;
  EXPECT_EQ(L.contents(two) + L.inf(three) + L.head() + L.tail(), 5 + 3 + 1 + 3);

  list<int> single = numbers(1);
  EXPECT_EQ(single.cyclic_succ(single.first()), single.first());
  EXPECT_EQ(single.pop(), 1);
  EXPECT_TRUE(single.empty());
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

// Long enough to reuse freed nodes of the same size, of other lists too, many times.
TEST(List, NodesOfAllSizesComeAndGo) {
  list<char> bytes;
  list<std::string> words;
  list<std::array<double, 40>> rows;
  for (int i = 0; i < 3000; ++i) {
    bytes.append(static_cast<char>(i));
    words.append(std::string(static_cast<std::size_t>(i % 40), 'x'));
    rows.append({1.0 * i});
    if (i % 3 == 0) continue;
    bytes.pop();
    words.pop();
    rows.pop();
  }
  EXPECT_EQ(bytes.size() + words.size() + rows.size(), 3000);
  EXPECT_EQ(bytes.head(), static_cast<char>(2000));
  EXPECT_EQ(words.head().size(), 2000u % 40);
  EXPECT_EQ(rows.head()[0], 2000.0);
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
  EXPECT_EQ(text_of(L), "0 1 2");
  EXPECT_EQ(text_of(copy), "0 1 2 7");

  list<int> tail;
  copy.split(copy.get_item(2), copy, tail, before);
  EXPECT_EQ(text_of(copy) + "|" + text_of(tail), "0 1|2 7");
  expect_sound(copy);
  list<int> rest;
  tail.split(tail.first(), tail, rest, after);
  EXPECT_EQ(text_of(tail) + "|" + text_of(rest), "2|7");
  tail.split(nullptr, rest, tail);
  EXPECT_EQ(text_of(rest) + "|" + text_of(tail), "|2");
  copy.conc(tail, before);
  tail.append(8);
  copy.splice(copy.first(), tail);
  EXPECT_EQ(text_of(copy), "2 8 0 1");
  EXPECT_TRUE(tail.empty());
  copy.move_to_front(copy.get_item(2));
  copy.move_to_back(copy.get_item(1));
  EXPECT_EQ(text_of(copy), "0 8 1 2");
  expect_sound(copy);
  copy.clear();
  EXPECT_EQ(copy.size(), 0);
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
  expect_sound(L);
  L.bucket_sort(0, 1, [](int x) { return x % 2; });
  EXPECT_EQ(text_of(L), "2 4 3 1 5");
  expect_sound(L);
}

TEST(List, Reports) {
  list<int> none;
  list<int> L = numbers(3);
  list<int> M;
  const list_item two = L.get_item(1);
  const struct {
    std::string got;
    const char* report;
  } cases[] = {
      {report_of([&] { none.head(); }), "1: dlist::head(): empty list"},
      {report_of([&] { none.tail(); }), "1: dlist::tail(): empty list"},
      {report_of([&] { none.pop(); }), "1: dlist: pop on empty list."},
      {report_of([&] { none.Pop(); }), "1: dlist: Pop on empty list."},
      {report_of([&] { L.get_item(3); }), "1: dlist::get_item: index out of range"},
      {report_of([&] { L.get_item(-1); }), "1: dlist::get_item: index out of range"},
      {report_of([&] { L.insert(1, two, 2); }), "1: dlist::insert: illegal dir argument."},
      {report_of([&] { L.del_item(nullptr); }), "999: dlist: delete nil-item"},
      {report_of([&] { L.reverse(nullptr, two); }),
       "1: list::reverse(it1,it2): illegal arguments."},
      {report_of([&] { L.reverse_items(two, nullptr); }),
       "1: dlist::reverse_items: illegal arguments."},
      {report_of([&] { L.reverse_items(two, L.first()); }),
       "1: dlist::reverse_items(it1,it2): it1 not before it2"},
      {report_of([&] { none.reverse_items(); }), "1: dlist::reverse_items:  empty list."},
      {report_of([&] { none.split(nullptr, L, M); }), "1: dlist::split: list is empty."},
      {report_of([&] { L.split(two, M, M); }), "1: dlist::split: identical arguments."},
      {report_of([&] { L.split(two, L, M, 3); }), "1: dlist::split: illegal dir argument."},
      {report_of([&] { L.conc(M, 2); }), "1: dlist::conc: illegal dir argument."},
      {report_of([&] { L.splice(two, L); }), "1: list::splice: cannot splice list into itself"},
      {report_of([&] { L.move_to_front(nullptr); }), "1: dlist::move_to_front: nil argument"},
      {report_of([&] { L.move_to_back(nullptr); }), "1: dlist::move_to_back: nil argument"},
      {report_of([&] { L.bucket_sort(1, 2, [](int x) { return x; }); }),
       "1: bucket_sort: value 3 out of range"},
  };
  for (const auto& c : cases) EXPECT_EQ(c.got, c.report);
  EXPECT_EXIT(none.head(), testing::KilledBySignal(SIGABRT),
              "\nFLNZ ERROR HANDLER\n\tdlist::head\\(\\): empty list\n\n");
}

// ----- Sorting -----

struct keyed {
  double key;
  int place;
};

// The steps of the sort, written down once more: A[1..n], recursion on both sides.
class Steps {
 public:
  Steps(std::vector<keyed> A, double tie) : A_(std::move(A)), tie_(tie) {
    sort(1, static_cast<int>(A_.size()));
  }
  const std::vector<keyed>& result() const { return A_; }

 private:
  keyed& at(int i) { return A_[static_cast<std::size_t>(i - 1)]; }
  bool less(int a, int b) { return at(a).key < at(b).key - tie_; }
  void exchange(int a, int b) { std::swap(at(a), at(b)); }
  void sort(int l, int r) {
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
    if (j > l + 1) sort(l, j - 1);
    if (r > j + 1) sort(j + 1, r);
  }

  std::vector<keyed> A_;
  double tie_;
};

std::vector<int> sorted_places(const std::vector<double>& keys, double tolerance) {
  list<keyed> L;
  std::vector<list_item> items;
  for (std::size_t i = 0; i < keys.size(); ++i) {
    items.push_back(L.append({keys[i], static_cast<int>(i)}));
  }
  L.sort([tolerance](const keyed& a, const keyed& b) {
    return a.key < b.key - tolerance ? -1 : b.key < a.key - tolerance ? 1 : 0;
  });
  expect_sound(L);
  std::vector<int> places;
  for (const keyed& x : L) places.push_back(x.place);
  for (std::size_t i = 0; i < items.size(); ++i) EXPECT_EQ(L[items[i]].place, static_cast<int>(i));
  return places;
}

std::vector<int> stated_places(const std::vector<double>& keys, double tolerance) {
  std::vector<keyed> entries;
  for (const double key : keys) entries.push_back({key, static_cast<int>(entries.size())});
  std::vector<int> places;
  const Steps steps(entries, tolerance);
  for (const keyed& x : steps.result()) places.push_back(x.place);
  return places;
}

TEST(ListSort, OrderOfEqualKeys) {
  using places = std::vector<int>;
  EXPECT_EQ(sorted_places({1, 1, 1}, 0), (places{0, 1, 2}));
  EXPECT_EQ(sorted_places({1, 1, 1, 1}, 0), (places{0, 2, 1, 3}));
  EXPECT_EQ(sorted_places({1, 1, 1, 1, 1}, 0), (places{0, 3, 2, 1, 4}));
  EXPECT_EQ(sorted_places({2, 1, 1}, 0), (places{2, 1, 0}));
}

TEST(ListSort, AllShortSequencesFollowTheSteps) {
  for (int n = 0; n <= 8; ++n) {
    for (int code = 0, end = static_cast<int>(std::pow(3, n)); code < end; ++code) {
      std::vector<double> keys;
      for (int i = 0, c = code; i < n; ++i, c /= 3) keys.push_back(c % 3);
      ASSERT_EQ(sorted_places(keys, 0.0), stated_places(keys, 0.0)) << n << ' ' << code;
    }
  }
}

// A tolerance makes "less" intransitive; what comes out is still fixed.
TEST(ListSort, LongSequencesAndTolerancesFollowTheSteps) {
  std::mt19937 random(5);
  for (int trial = 0; trial < 2000; ++trial) {
    const double range = trial % 4 == 0 ? 1000.0 : 6.0;
    const double tolerance = trial % 3 == 0 ? 0.0 : 1.5;
    std::vector<double> keys(random() % 60);
    for (double& x : keys) x = std::floor(range * std::generate_canonical<double, 32>(random));
    if (trial % 50 == 0 && !keys.empty()) keys[keys.size() / 2] = std::nan("");
    ASSERT_EQ(sorted_places(keys, tolerance), stated_places(keys, tolerance)) << trial;
  }
}

}  // namespace
}  // namespace planloc
