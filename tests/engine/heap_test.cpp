#include "planloc/engine/heap.h"

#include <gtest/gtest.h>

#include <cstring>
#include <new>
#include <utility>

#include "engine_fixture.h"

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

}  // namespace
}  // namespace planloc
