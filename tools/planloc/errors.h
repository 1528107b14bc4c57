// What ends the tool before it has an answer: a message for the user and the status of the process.
//
// Status 1 is what only the data or the disk shows, 2 a command line that is wrong by itself, 3 a
// certified search that a limit stopped.
#ifndef PLANLOC_TOOLS_PLANLOC_ERRORS_H_
#define PLANLOC_TOOLS_PLANLOC_ERRORS_H_

#include <stdexcept>
#include <string>

namespace planloc::tool {

enum class exit_status : int { answered = 0, bad_data = 1, bad_usage = 2, stopped = 3 };

class tool_error : public std::runtime_error {
 public:
  tool_error(exit_status status, const std::string& message)
      : std::runtime_error(message), status_(status) {}

  exit_status status() const { return status_; }

 private:
  exit_status status_;
};

[[noreturn]] inline void fail_data(const std::string& message) {
  throw tool_error(exit_status::bad_data, message);
}

[[noreturn]] inline void fail_usage(const std::string& message) {
  throw tool_error(exit_status::bad_usage, message);
}

// A line on the error stream that changes nothing else.
void warn(const std::string& message);

}  // namespace planloc::tool

#endif  // PLANLOC_TOOLS_PLANLOC_ERRORS_H_
