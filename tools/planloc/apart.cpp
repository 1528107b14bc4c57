#include "tools/planloc/apart.h"

#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstring>

#include "tools/planloc/errors.h"

namespace planloc::tool {

namespace {

struct pipe_ends {
  int read = -1;
  int write = -1;

  pipe_ends() {
    std::array<int, 2> ends{};
    if (::pipe(ends.data()) != 0) fail_data(std::string("no pipe: ") + std::strerror(errno));
    read = ends[0];
    write = ends[1];
  }
};

[[noreturn]] void work_in_child(const std::function<std::string()>& work, const pipe_ends& result,
                                const pipe_ends& words) {
  ::close(result.read);
  ::close(words.read);
  ::dup2(words.write, STDOUT_FILENO);
  ::dup2(words.write, STDERR_FILENO);
  const std::string content = work();
  std::fflush(nullptr);
  std::size_t at = 0;
  while (at < content.size()) {
    const ssize_t n = ::write(result.write, content.data() + at, content.size() - at);
    if (n <= 0) break;
    at += static_cast<std::size_t>(n);
  }
  ::_exit(0);
}

// Whether there was more; false at the end of the stream.
bool take(int fd, std::string& to) {
  std::array<char, 4096> block;
  const ssize_t n = ::read(fd, block.data(), block.size());
  if (n > 0) to.append(block.data(), static_cast<std::size_t>(n));
  return n > 0 || (n < 0 && errno == EINTR);
}

}  // namespace

apart_result run_apart(const std::function<std::string()>& work, double seconds) {
  const pipe_ends result;
  const pipe_ends words;
  const pid_t child = ::fork();
  if (child < 0) fail_data(std::string("no process: ") + std::strerror(errno));
  if (child == 0) work_in_child(work, result, words);
  ::close(result.write);
  ::close(words.write);

  apart_result all;
  using clock = std::chrono::steady_clock;
  const auto end = clock::now() + std::chrono::duration<double>(seconds);
  std::array<pollfd, 2> open = {{{result.read, POLLIN, 0}, {words.read, POLLIN, 0}}};
  while (open[0].fd >= 0 || open[1].fd >= 0) {
    const double left = std::chrono::duration<double>(end - clock::now()).count();
    if (left <= 0) {
      all.timed_out = true;
      ::kill(child, SIGKILL);
      break;
    }
    ::poll(open.data(), open.size(), static_cast<int>(std::min(1000.0, 1000 * left) + 1));
    for (std::size_t k = 0; k < open.size(); ++k) {
      if (open[k].revents == 0) continue;
      if (!take(open[k].fd, k == 0 ? all.content : all.words)) open[k].fd = -1;
    }
  }
  int raw = 0;
  ::waitpid(child, &raw, 0);
  ::close(result.read);
  ::close(words.read);
  all.status = WIFSIGNALED(raw) ? 128 + WTERMSIG(raw) : WEXITSTATUS(raw);
  all.done = !all.timed_out && raw == 0 && !all.content.empty();
  return all;
}

}  // namespace planloc::tool
