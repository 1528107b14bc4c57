// A computation in a process of its own: for what may end the process, or never end.
#ifndef PLANLOC_TOOLS_PLANLOC_APART_H_
#define PLANLOC_TOOLS_PLANLOC_APART_H_

#include <functional>
#include <string>

namespace planloc::tool {

struct apart_result {
  bool done = false;
  bool timed_out = false;
  int status = 0;       // exit status, or 128 + the signal
  std::string content;  // what `work` returned, if done
  std::string words;    // what it wrote to the standard streams
};

// REQUIRES: no other thread.
apart_result run_apart(const std::function<std::string()>& work, double seconds);

}  // namespace planloc::tool

#endif  // PLANLOC_TOOLS_PLANLOC_APART_H_
