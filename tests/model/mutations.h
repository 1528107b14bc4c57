// Files broken at random, from a fixed seed: whatever a reader is given, it comes back or reports.
#ifndef PLANLOC_TESTS_MODEL_MUTATIONS_H_
#define PLANLOC_TESTS_MODEL_MUTATIONS_H_

#include <gtest/gtest.h>

#include <cstddef>
#include <random>
#include <string>
#include <vector>

#include "tests/model/own_process.h"

namespace planloc {

class Mutator {
 public:
  // The pieces, and some odd ones, are what the mutants of a good file get put in.
  Mutator(unsigned seed, std::vector<std::string> good, std::vector<std::string> pieces)
      : random_(seed), good_(std::move(good)), pieces_(std::move(pieces)) {
    for (const char* odd : {"//", "/*", "*/", "\n", "\r", " ", "\t", "%s", "%n", "-", "1e999",
                            "end", "99999999999", "-99999999999", "begin", "{", "}", "\x80\xff"}) {
      pieces_.push_back(odd);
    }
    pieces_.push_back(std::string(1, '\0'));
    pieces_.push_back(std::string(20000, '7'));
  }

  std::string next() {
    std::string file = good_[below(good_.size())];
    for (std::size_t changes = 1 + below(4); changes > 0; --changes) change(file);
    return file;
  }

 private:
  std::size_t below(std::size_t n) {
    return std::uniform_int_distribution<std::size_t>(0, n - 1)(random_);
  }

  void change(std::string& file) {
    const std::size_t at = below(file.size() + 1);
    switch (below(4)) {
      case 0:
        file.erase(at, below(8));
        break;
      case 1:
        file.replace(at, below(8), pieces_[below(pieces_.size())]);
        break;
      case 2:
        file.replace(at, 1, 1, static_cast<char>(below(256)));
        break;
      default:
        file.insert(at, file.substr(below(file.size() + 1), below(60)));
        break;
    }
  }

  std::mt19937 random_;
  std::vector<std::string> good_;
  std::vector<std::string> pieces_;
};

inline bool is_controlled(const Outcome& o) {
  return o.status == 0 || (o.status == 1 && o.err.starts_with("MAVI error: ")) ||
         (o.status == -SIGABRT && o.err.starts_with("\nFLNZ ERROR HANDLER\n"));
}

inline void expect_controlled_endings(Mutator mutator, int mutants, Reader read) {
  for (int i = 0; i < mutants; ++i) {
    const std::string file = mutator.next();
    const Outcome o = in_own_process([&] { read(file); });
    ASSERT_TRUE(is_controlled(o)) << o << "\nfile: " << testing::PrintToString(file);
  }
}

}  // namespace planloc

#endif  // PLANLOC_TESTS_MODEL_MUTATIONS_H_
