// A value that constant objects form when it is first asked for, and that copies share. Internal:
// rational.h and rat_point.h keep their big numbers in it.
#ifndef PLANLOC_FOUNDATION_NUMERIC_LAZY_SHARED_H_
#define PLANLOC_FOUNDATION_NUMERIC_LAZY_SHARED_H_

#include <atomic>
#include <memory>
#include <utility>

namespace planloc::detail {

void publish_lazily(std::atomic<bool>& formed, std::shared_ptr<const void>& place,
                    std::shared_ptr<const void> value);

// 1. Several threads may read, copy and form the value of one constant object.
// 2. Changing an object while others use it needs care of the caller, as for any type.
template <class T>
class lazy_shared {
 public:
  lazy_shared() = default;
  explicit lazy_shared(std::shared_ptr<const T> value) : formed_(true), value_(std::move(value)) {}
  lazy_shared(const lazy_shared& other) { copy(other); }
  lazy_shared(lazy_shared&& other) noexcept
      : formed_(other.formed_.load(std::memory_order_relaxed)), value_(std::move(other.value_)) {
    other.formed_.store(false, std::memory_order_relaxed);
  }
  lazy_shared& operator=(const lazy_shared& other) {
    if (this != &other) copy(other);
    return *this;
  }
  lazy_shared& operator=(lazy_shared&& other) noexcept {
    formed_.store(other.formed_.load(std::memory_order_relaxed), std::memory_order_relaxed);
    value_ = std::move(other.value_);
    if (this != &other) other.formed_.store(false, std::memory_order_relaxed);
    return *this;
  }
  ~lazy_shared() = default;

  // Null if it has not been formed.
  const T* get() const {
    return formed_.load(std::memory_order_acquire) ? static_cast<const T*>(value_.get()) : nullptr;
  }
  // The value, made by `make()`, a std::shared_ptr<const T>, if there is none yet. Of two threads
  // that make one at the same time, one throws its own away.
  template <class Make>
  const T& get(Make make) const {
    if (!get()) publish_lazily(formed_, value_, make());
    return *get();
  }

 private:
  void copy(const lazy_shared& other) {
    const bool formed = other.formed_.load(std::memory_order_acquire);
    if (formed) {
      value_ = other.value_;
    } else {
      value_.reset();
    }
    formed_.store(formed, std::memory_order_relaxed);
  }

  mutable std::atomic<bool> formed_{false};
  mutable std::shared_ptr<const void> value_;  // T may be incomplete
};

}  // namespace planloc::detail

#endif  // PLANLOC_FOUNDATION_NUMERIC_LAZY_SHARED_H_
