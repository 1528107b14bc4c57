#include "planloc/foundation/numeric/lazy_shared.h"

#include <mutex>

namespace planloc::detail {

// One lock for all: it is held for the copy of a pointer, once in the life of an object.
void publish_lazily(std::atomic<bool>& formed, std::shared_ptr<const void>& place,
                    std::shared_ptr<const void> value) {
  static constinit std::mutex lock;
  const std::lock_guard guard(lock);
  if (formed.load(std::memory_order_relaxed)) return;
  place = std::move(value);
  formed.store(true, std::memory_order_release);
}

}  // namespace planloc::detail
