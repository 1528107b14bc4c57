// Calls that may end the process, or that leave something behind for the next call, in a process of
// their own.
#ifndef PLANLOC_TESTS_MODEL_OWN_PROCESS_H_
#define PLANLOC_TESTS_MODEL_OWN_PROCESS_H_

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <functional>
#include <iostream>
#include <string>
#include <vector>

namespace planloc {

struct Outcome {
  int status;  // the exit status, or the signal as a negative number
  std::string out;
  std::string err;

  bool operator==(const Outcome&) const = default;
  friend std::ostream& operator<<(std::ostream& os, const Outcome& o) {
    return os << "status " << o.status << "\nout: " << o.out << "\nerr: " << o.err;
  }
};

// What a failure reported through the reporter comes to.
inline Outcome reported(int code, const std::string& message, const std::string& out = "") {
  return {1, out, "MAVI error: " + message + " ErrorCode: " + std::to_string(code) + "\n"};
}

// A report of the foundation, by abort().
inline Outcome aborted(const std::string& message) {
  return {-SIGABRT, "", "\nFLNZ ERROR HANDLER\n\t" + message + "\n\n"};
}

inline Outcome ended(const std::string& err, const std::string& out = "") { return {0, out, err}; }

inline std::string whole_text(std::FILE* file) {
  std::string text;
  std::rewind(file);
  for (int c; (c = std::fgetc(file)) != EOF;) text += static_cast<char>(c);
  std::fclose(file);
  return text;
}

// A call that does not come back within 20 seconds ends by SIGALRM.
inline Outcome in_own_process(const std::function<void()>& call) {
  std::FILE* const out = std::tmpfile();
  std::FILE* const err = std::tmpfile();
  std::cout.flush();
  std::fflush(nullptr);
  const pid_t child = fork();
  if (child == 0) {
    dup2(fileno(out), STDOUT_FILENO);
    dup2(fileno(err), STDERR_FILENO);
    alarm(20);
    call();
    std::cout.flush();
    std::fflush(nullptr);
    _exit(0);
  }
  int status = 0;
  waitpid(child, &status, 0);
  return {WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status), whole_text(out),
          whole_text(err)};
}

struct FileCase {
  std::string file;
  Outcome outcome;
};

using Reader = void (*)(const std::string& file);

// Every case behind the same start of a file.
inline void expect(Reader read, const std::string& start, const std::vector<FileCase>& cases) {
  for (const FileCase& c : cases) {
    EXPECT_EQ(in_own_process([&] { read(start + c.file); }), c.outcome) << start << c.file;
  }
}

// Two reads in a row, with a "|" on the error stream between what they write there.
struct RowCase {
  Reader first;
  std::string one;
  Reader second;
  std::string two;
  std::string err;
};

inline void expect_in_a_row(const std::vector<RowCase>& cases) {
  for (const RowCase& c : cases) {
    const auto both = [&] {
      c.first(c.one);
      std::cerr << '|';
      c.second(c.two);
    };
    EXPECT_EQ(in_own_process(both).err, c.err) << c.one << c.two;
  }
}

}  // namespace planloc

#endif  // PLANLOC_TESTS_MODEL_OWN_PROCESS_H_
