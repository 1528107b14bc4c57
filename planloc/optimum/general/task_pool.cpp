#include "planloc/optimum/general/task_pool.h"

#include <algorithm>
#include <system_error>

namespace planloc::detail {

task_pool::task_pool(int threads)
    : threads_(static_cast<std::size_t>(std::max(
          1, threads > 0 ? threads : static_cast<int>(std::thread::hardware_concurrency())))) {}

task_pool::~task_pool() {
  {
    const std::lock_guard lock(mutex_);
    ending_ = true;
  }
  wake_.notify_all();
  for (std::thread& t : others_) t.join();
}

// Where the system gives no more threads, those that there are do all of the work.
void task_pool::start() {
  started_ = true;
  others_.reserve(threads_ - 1);
  try {
    for (std::size_t k = 1; k < threads_; ++k)
      others_.emplace_back([this, k] { wait_for_batches(k); });
  } catch (const std::system_error&) {
  }
}

void task_pool::wait_for_batches(std::size_t thread) {
  std::uint64_t last = 0;
  std::unique_lock lock(mutex_);
  for (;;) {
    wake_.wait(lock, [&] { return ending_ || batch_ != last; });
    if (ending_) return;
    last = batch_;
    lock.unlock();
    take_tasks(thread);
    lock.lock();
    if (--busy_ == 0) done_.notify_one();
  }
}

void task_pool::take_tasks(std::size_t thread) {
  for (std::size_t task = next_++; task < count_; task = next_++) {
    try {
      (*work_)(task, thread);
    } catch (...) {
      const std::lock_guard lock(mutex_);
      failure_ = std::current_exception();
      next_ = count_;
    }
  }
}

void task_pool::run(std::size_t count, const work& w) {
  if (!started_ && threads_ > 1) start();
  {
    const std::lock_guard lock(mutex_);
    work_ = &w;
    count_ = count;
    next_ = 0;
    busy_ = others_.size();
    failure_ = nullptr;
    ++batch_;
  }
  wake_.notify_all();
  take_tasks(0);
  std::unique_lock lock(mutex_);
  done_.wait(lock, [&] { return busy_ == 0; });
  if (failure_) std::rethrow_exception(failure_);
}

}  // namespace planloc::detail
