#include "planloc/engine/heap.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <map>
#include <new>
#include <random>
#include <tuple>
#include <utility>
#include <vector>

#include "engine_fixture.h"
#include "planloc/engine/heap_blocks.h"

namespace planloc {
namespace {

struct HeapTest : testing::Test {
  HeapTest() { heap.activate(); }
  char* allocate(std::size_t bytes) { return static_cast<char*>(heap.allocate(bytes)); }
  IlcHeap heap;
};

TEST_F(HeapTest, RequestsAreRoundedUpToEightBytes) {
  for (const auto& [bytes, taken] : {std::pair(0, 0), {1, 8}, {8, 8}, {9, 16}}) {
    char* const memory = allocate(static_cast<std::size_t>(bytes));
    EXPECT_EQ(allocate(0) - memory, taken) << bytes;
  }
}

TEST_F(HeapTest, FirstBlockHoldsAThousandWordsAndBlocksAreReusedAfterAReset) {
  EXPECT_EQ(heap.getIndex(), 0);
  char* const first = allocate(3992);
  EXPECT_EQ(allocate(8), first + 3992);
  EXPECT_EQ(heap.getIndex(), 1000);
  char* const second = allocate(8);
  EXPECT_EQ(heap.getIndex(), 1002);
  char* const large = allocate(1 << 20);  // larger than any block so far
  std::memset(large, 1, 1 << 20);
  heap.reset(1000);
  EXPECT_EQ(heap.getIndex(), 1000);
  EXPECT_EQ(allocate(8), second);
  heap.reset(0);
  EXPECT_EQ(allocate(8), first);
  EXPECT_EQ(allocate(1 << 20), large) << "the second block is passed over";
}

TEST_F(HeapTest, ObjectsGoToTheGeneralHeapWithoutAnActiveOne) {
  int* const inside = new (&heap) int(1);
  EXPECT_EQ(reinterpret_cast<char*>(inside) + 8, allocate(0));
  IlcHeap inactive;
  for (IlcHeap* where : {static_cast<IlcHeap*>(nullptr), &inactive}) {
    int* const outside = new (where) int(2);
    EXPECT_EQ(*outside, 2);
    ::operator delete(outside);
  }
  EXPECT_EQ(heap.getIndex(), 2);
}

TEST(HeapDeathTest, MisuseIsReported) {
  IlcHeap heap;
  EXPECT_EXIT(heap.allocate(1), kAborted, "stacking a full stack");
  EXPECT_EXIT(heap.reset(0), kAborted, "unstacking an empty stack");
  EXPECT_EXIT(heap.reset(4), kAborted, "non null index for empty stack");
  heap.activate();
  EXPECT_EXIT(heap.reset(4), kAborted, "unstacking an empty stack");
}

TEST(HeapDeathTest, SizesThatNoMemoryHasAreReported) {
  IlcHeap heap;
  heap.activate();
  const std::size_t most = std::numeric_limits<std::size_t>::max();
  for (const std::size_t bytes : {most - 8, most - 40, most / 2 + 1})
    EXPECT_EXIT(heap.allocate(bytes), kAborted, "no more memory") << bytes;
  EXPECT_THROW(detail::take_heap_block(most), std::bad_alloc);
}

TEST_F(EngineTest, AResetOfTheHeapForgetsItsExpressions) {
  const IlcFloatVar x = free_variable();
  const IlcFloatExp kept = x + 1.0;
  const IlcHeap::Index index = m.getHeap()->getIndex();
  IlcFloatExpI* const gone = (x + 2.0).getImpl();
  m.getHeap()->reset(index);
  m.getHeap()->allocate(256);  // what was there looks as before
  const IlcFloatExp again = x + 2.0;
  EXPECT_NE(again.getImpl(), gone);
  EXPECT_EQ((x + 2.0).getImpl(), again.getImpl());
  EXPECT_EQ((x + 1.0).getImpl(), kept.getImpl());
}

// Random sums, products and offsets, with resets between, beside a map of what was built.
TEST_F(EngineTest, EqualExpressionsAreOneObject) {
  std::mt19937 random(7);
  using Key = std::tuple<int, IlcFloatExpI*, IlcFloatExpI*, double>;
  std::map<Key, IlcFloatExpI*> known;
  std::vector<IlcFloatExp> operands{free_variable(), free_variable(), free_variable()};
  std::vector<std::tuple<IlcHeap::Index, std::size_t, std::map<Key, IlcFloatExpI*>>> marks;
  int found = 0;
  for (int i = 0; i < 20000; ++i) {
    const auto some = [&] { return operands[random() % operands.size()]; };
    const IlcFloatExp a = some(), b = some();
    const double c = 2.0 + static_cast<double>(random() % 9);
    const int kind = static_cast<int>(random() % 3);
    if (kind == 0 && a.getImpl() == b.getImpl()) continue;
    const IlcFloatExp e = kind == 0 ? a + b : kind == 1 ? c * a : a + c;
    const Key key{kind, a.getImpl(), kind == 0 ? b.getImpl() : nullptr, kind == 0 ? 0.0 : c};
    const auto [at, is_new] = known.try_emplace(key, e.getImpl());
    ASSERT_EQ(at->second, e.getImpl()) << e;
    found += !is_new;
    if (is_new && operands.size() < 300) operands.push_back(e);
    if (random() % 500 == 0) marks.emplace_back(m.getHeap()->getIndex(), operands.size(), known);
    if (random() % 900 == 0 && !marks.empty()) {
      auto [index, size, before] = marks.back();
      marks.pop_back();
      m.getHeap()->reset(index);
      std::memset(m.getHeap()->allocate(4096), 0, 4096);
      operands.resize(std::min(size, operands.size()));
      known = before;
    }
  }
  EXPECT_GT(found, 500);
}

}  // namespace
}  // namespace planloc
