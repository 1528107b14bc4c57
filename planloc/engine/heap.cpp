#include "planloc/engine/heap.h"

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <limits>
#include <new>

#include "planloc/engine/error_reporter.h"
#include "planloc/engine/heap_blocks.h"
#include "planloc/engine/manager_impl.h"

namespace planloc {
namespace {

constexpr std::size_t kFirstBlockWords = 1000;
// Blocks grow up to just below two huge pages, so that a large model needs few of them, and
// fourfold: the GNU C library keeps up to twice the largest freed block for later, which is then
// more than all blocks of a model up to that size, and gives the rest back to the system.
constexpr std::size_t kGrowth = 4;
constexpr std::size_t kLargestStepWords = kFirstBlockWords << 10;
constexpr std::size_t kMostBytes = std::numeric_limits<std::ptrdiff_t>::max();

void report_heap(const char* what) { ilc_reporter().error(kIlcHeapError, "IlcHeap", what); }

[[noreturn]] void end_without_memory() {
  ilc_reporter().error(kIlcNoMemory, "Solver", "no more memory");
  std::abort();
}

}  // namespace

void IlcHeap::activate() {
  if (!isActive()) enter(addBlock(kFirstBlockWords));
}

void IlcHeap::deactivate() {
  if (!isActive()) return;
  while (current_->next) current_ = current_->next;
  while (current_) {
    Block* const previous = current_->previous;
    detail::give_heap_block(current_, current_->bytes());
    current_ = previous;
  }
  position_ = end_ = nullptr;
}

IlcHeap::Index IlcHeap::getIndex() const {
  if (!isActive()) return 0;
  return current_->first + (position_ - current_->data()) / static_cast<Index>(kWordSize);
}

bool IlcHeap::isSince(const void* memory, Index index) const {
  const std::less_equal<const void*> not_behind;
  for (Block* block = current_; block; block = block->previous) {
    const bool all = index <= block->first;
    if (not_behind(all ? block->data() : block->at(index), memory) &&
        not_behind(memory, block->data() + block->size())) {
      return true;
    }
    if (!all) break;
  }
  return false;
}

void IlcHeap::reset(Index index) {
  if (!isActive()) {
    return report_heap(index == 0 ? "unstacking an empty stack" : "non null index for empty stack");
  }
  if (index < 0 || index > getIndex()) return report_heap("unstacking an empty stack");
  if (listener_) listener_->heapReset(*this, index);
  while (index < current_->first) enter(current_->previous);
  position_ = current_->at(index);
}

// Appends a block behind the last one; the caller enters it.
IlcHeap::Block* IlcHeap::addBlock(std::size_t words) {
  Block* block = nullptr;
  try {
    block = static_cast<Block*>(detail::take_heap_block(sizeof(Block) + words * kWordSize));
  } catch (const std::bad_alloc&) {
    end_without_memory();
  }
  Block* last = current_;
  while (last && last->next) last = last->next;
  const Index first = last ? last->first + static_cast<Index>(last->words) : 0;
  *block = {words, first, nullptr, last};
  if (last) last->next = block;
  return block;
}

void IlcHeap::enter(Block* block) {
  current_ = block;
  position_ = block->data();
  end_ = position_ + block->size();
}

void* IlcHeap::allocateInNextBlock(std::size_t size) {
  if (!isActive()) {
    report_heap("stacking a full stack");
    std::abort();
  }
  if (size > kMostBytes) end_without_memory();
  std::size_t words = current_->words;
  Block* next = current_->next;
  for (; next && next->size() < size; next = next->next) words = next->words;
  if (!next) {
    const std::size_t step = std::min(kGrowth * words, kLargestStepWords);
    next = addBlock(std::max(size / kWordSize, step));
  }
  enter(next);
  position_ += size;
  return next->data();
}

}  // namespace planloc

void* operator new(std::size_t size, planloc::IlcManagerI* manager) {
  return ::operator new(size, manager ? manager->getHeap() : nullptr);
}

void operator delete(void* memory, planloc::IlcHeap* heap) noexcept {
  if (!heap || !heap->isActive()) ::operator delete(memory);
}

void operator delete(void* memory, planloc::IlcManagerI* manager) noexcept {
  ::operator delete(memory, manager ? manager->getHeap() : nullptr);
}
