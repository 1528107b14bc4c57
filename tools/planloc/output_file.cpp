#include "tools/planloc/output_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <utility>

#include "tools/planloc/errors.h"

namespace planloc::tool {

namespace {

class descriptor {
 public:
  descriptor(const std::string& file, int flags)
      : fd_(::open(file.c_str(), flags | O_CLOEXEC, 0666)) {}
  ~descriptor() {
    if (fd_ >= 0) ::close(fd_);
  }
  descriptor(const descriptor&) = delete;
  descriptor& operator=(const descriptor&) = delete;

  int get() const { return fd_; }
  // Some file systems tell only here that the disk is full.
  bool close() { return ::close(std::exchange(fd_, -1)) == 0; }

 private:
  int fd_;
};

std::string reason() { return std::strerror(errno); }

bool write_all(int fd, std::string_view content) {
  while (!content.empty()) {
    const ssize_t written = ::write(fd, content.data(), content.size());
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) return false;
    content.remove_prefix(static_cast<std::size_t>(written));
  }
  return true;
}

std::string read_all(int fd, const std::string& name) {
  constexpr std::size_t kBlock = std::size_t{1} << 18;
  std::string content;
  for (;;) {
    const std::size_t size = content.size();
    content.resize(size + kBlock);
    const ssize_t count = ::read(fd, content.data() + size, kBlock);
    content.resize(size + static_cast<std::size_t>(count > 0 ? count : 0));
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) fail_data(name + ": cannot be read: " + reason());
    if (count == 0) return content;
  }
}

[[noreturn]] void fail_write(const std::string& file) {
  fail_data(file + ": cannot be written: " + reason());
}

// Pipes and devices have no place beside them.
bool is_special(const std::string& file) {
  struct stat s {};
  return ::stat(file.c_str(), &s) == 0 && !S_ISREG(s.st_mode) && !S_ISDIR(s.st_mode);
}

}  // namespace

bool file_exists(const std::string& file) {
  struct stat s {};
  return file == "-" || ::stat(file.c_str(), &s) == 0;
}

std::string read_whole(const std::string& file) {
  if (file == "-") return read_all(STDIN_FILENO, "standard input");
  const descriptor in(file, O_RDONLY);
  if (in.get() < 0) fail_data(file + ": cannot be opened: " + reason());
  return read_all(in.get(), file);
}

void write_standard_output(std::string_view content) {
  if (!write_all(STDOUT_FILENO, content)) fail_write("standard output");
}

void write_whole(const std::string& file, std::string_view content) {
  if (file == "-") return write_standard_output(content);
  const bool special = is_special(file);
  file_beside beside(file);
  const std::string& target = special ? file : beside.name();
  descriptor out(target, O_WRONLY | (special ? 0 : O_CREAT | O_TRUNC));
  if (out.get() < 0 || !write_all(out.get(), content) || !out.close()) fail_write(file);
  if (!special) beside.keep();
}

file_beside::file_beside(const std::string& file) : file_(file) {
  const std::filesystem::path path(file);
  name_ = (path.parent_path() / ("." + path.stem().string() + "." + std::to_string(::getpid()) +
                                 path.extension().string()))
              .string();
}

file_beside::~file_beside() {
  if (!name_.empty()) ::unlink(name_.c_str());
}

void file_beside::keep() {
  struct stat s {};
  if (::stat(file_.c_str(), &s) == 0 && S_ISDIR(s.st_mode)) errno = EISDIR;
  if (S_ISDIR(s.st_mode) || ::rename(name_.c_str(), file_.c_str()) != 0) fail_write(file_);
  name_.clear();
}

}  // namespace planloc::tool
