// How far a search has come, on the error stream if that is a terminal, from the second second on.
#ifndef PLANLOC_TOOLS_PLANLOC_PROGRESS_H_
#define PLANLOC_TOOLS_PLANLOC_PROGRESS_H_

#include <chrono>
#include <string>

#include "planloc/certified.h"

namespace planloc::tool {

class progress_line {
 public:
  progress_line();
  ~progress_line();
  progress_line(const progress_line&) = delete;
  progress_line& operator=(const progress_line&) = delete;

  bool wanted() const { return terminal_; }
  void show(const search_progress& now);
  void show(const std::string& text);

 private:
  using clock = std::chrono::steady_clock;

  bool terminal_;
  bool shown_ = false;
  clock::time_point next_;
};

}  // namespace planloc::tool

#endif  // PLANLOC_TOOLS_PLANLOC_PROGRESS_H_
