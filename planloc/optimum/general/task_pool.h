// Threads that wait for batches of tasks. Internal.
#ifndef PLANLOC_OPTIMUM_GENERAL_TASK_POOL_H_
#define PLANLOC_OPTIMUM_GENERAL_TASK_POOL_H_

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace planloc::detail {

class task_pool {
 public:
  // Called with a task and the number of the thread that does it.
  using work = std::function<void(std::size_t task, std::size_t thread)>;

  // The thread of the caller is number 0 of them; 0 threads: as many as the machine runs at once.
  // The others start with the first batch.
  explicit task_pool(int threads);
  ~task_pool();
  task_pool(const task_pool&) = delete;
  task_pool& operator=(const task_pool&) = delete;

  std::size_t threads() const { return threads_; }

  // Does tasks 0 to count - 1, in any order, and returns when all are done. What a task throws is
  // thrown again here.
  void run(std::size_t count, const work& w);

 private:
  void start();
  void wait_for_batches(std::size_t thread);
  void take_tasks(std::size_t thread);

  std::size_t threads_;
  std::vector<std::thread> others_;
  bool started_ = false;

  std::mutex mutex_;
  std::condition_variable wake_, done_;
  std::uint64_t batch_ = 0;
  std::size_t busy_ = 0;
  bool ending_ = false;
  std::exception_ptr failure_;

  const work* work_ = nullptr;
  std::size_t count_ = 0;
  std::atomic<std::size_t> next_ = 0;
};

}  // namespace planloc::detail

#endif  // PLANLOC_OPTIMUM_GENERAL_TASK_POOL_H_
