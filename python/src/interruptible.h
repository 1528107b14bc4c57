// A search that Python can interrupt: it runs without the interpreter's lock on a thread of its
// own, while the caller's thread looks for signals and reports progress.
#ifndef PLANLOC_PYTHON_INTERRUPTIBLE_H_
#define PLANLOC_PYTHON_INTERRUPTIBLE_H_

#include <pybind11/pybind11.h>

#include <chrono>
#include <future>
#include <mutex>
#include <optional>
#include <stop_token>
#include <utility>

namespace planloc::python {

namespace py = pybind11;

// The latest of what a search reports, for another thread to take.
template <class Report>
class latest {
 public:
  void set(const Report& report) {
    const std::scoped_lock hold(lock_);
    report_ = report;
  }
  std::optional<Report> take() {
    const std::scoped_lock hold(lock_);
    return std::exchange(report_, std::nullopt);
  }

 private:
  std::mutex lock_;
  std::optional<Report> report_;
};

// search(token) on its own thread. Every tenth of a second `meanwhile` is called with the lock of
// the interpreter. What it throws, or a signal such as Ctrl-C, stops the search and goes on to the
// caller.
template <class Search, class Meanwhile>
auto interruptible(Search search, Meanwhile meanwhile) {
  std::stop_source source;
  auto running = std::async(std::launch::async, search, source.get_token());
  const auto finished = [&] {
    const py::gil_scoped_release unlocked;
    return running.wait_for(std::chrono::milliseconds(100)) == std::future_status::ready;
  };
  try {
    while (!finished()) {
      if (PyErr_CheckSignals() != 0) throw py::error_already_set();
      meanwhile();
    }
  } catch (...) {
    source.request_stop();
    const py::gil_scoped_release unlocked;
    running.wait();
    throw;
  }
  return running.get();
}

}  // namespace planloc::python

#endif  // PLANLOC_PYTHON_INTERRUPTIBLE_H_
