// The heap on which models live: a stack of memory with a bump pointer. Nothing on it is destroyed
// or freed one by one, so an object on it must not own anything that would leak. Memory of shorter
// life belongs on the general heap.
#ifndef PLANLOC_ENGINE_HEAP_H_
#define PLANLOC_ENGINE_HEAP_H_

#include <cstddef>
#include <cstdint>

namespace planloc {

class IlcManagerI;

// A chain of blocks of 4-byte words, of which the first holds 1000. Positions are counted through
// the chain by one index. Addresses are multiples of 8.
class IlcHeap {
 public:
  using Index = std::int64_t;

  // Told of every reset, before the memory is used again.
  class Listener {
   public:
    virtual void heapReset(const IlcHeap& heap, Index index) = 0;

   protected:
    ~Listener() = default;
  };

  IlcHeap() = default;  // inactive: holds no block yet
  ~IlcHeap() { deactivate(); }
  IlcHeap(const IlcHeap&) = delete;
  IlcHeap& operator=(const IlcHeap&) = delete;

  void activate();
  void deactivate();  // releases all memory
  bool isActive() const { return current_ != nullptr; }

  // `bytes` rounded up to a multiple of 8. A request of 0 bytes gives the current position and
  // moves nothing. Reports "Solver", "no more memory", and "stacking a full stack" on an inactive
  // heap.
  void* allocate(std::size_t bytes) {
    if (bytes == 0) return position_;
    const std::size_t size = (((bytes - 1) / kWordSize | 1) + 1) * kWordSize;
    if (size > static_cast<std::size_t>(end_ - position_)) return allocateInNextBlock(size);
    void* const memory = position_;
    position_ += size;
    return memory;
  }

  // The current index, in words.
  Index getIndex() const;

  // Whether memory of this heap was allocated since getIndex() gave `index`.
  bool isSince(const void* memory, Index index) const;

  // Releases what was allocated since getIndex() gave `index`; the blocks are kept. Reports
  // "unstacking an empty stack" for an index above the current one or an inactive heap at index 0,
  // and "non null index for empty stack" for an inactive heap at any other index.
  void reset(Index index);

  void setListener(Listener* listener) { listener_ = listener; }

 private:
  static constexpr std::size_t kWordSize = 4;

  struct Block {
    std::size_t words;
    Index first;  // index of the block's first word
    Block* next;
    Block* previous;
    char* data() { return reinterpret_cast<char*>(this + 1); }
    char* at(Index index) { return data() + (index - first) * static_cast<Index>(kWordSize); }
    std::size_t size() const { return words * kWordSize; }
    std::size_t bytes() const { return sizeof(Block) + size(); }
  };

  Block* addBlock(std::size_t words);
  void enter(Block* block);
  void* allocateInNextBlock(std::size_t size);

  Block* current_ = nullptr;
  char* position_ = nullptr;
  char* end_ = nullptr;
  Listener* listener_ = nullptr;
};

}  // namespace planloc

// Allocate on an active heap, else on the general heap. A manager stands for its heap.
inline void* operator new(std::size_t size, planloc::IlcHeap* heap) {
  return heap && heap->isActive() ? heap->allocate(size) : ::operator new(size);
}
void* operator new(std::size_t size, planloc::IlcManagerI* manager);
// Called when a constructor throws; memory of a heap stays there.
void operator delete(void* memory, planloc::IlcHeap* heap) noexcept;
void operator delete(void* memory, planloc::IlcManagerI* manager) noexcept;

#endif  // PLANLOC_ENGINE_HEAP_H_
