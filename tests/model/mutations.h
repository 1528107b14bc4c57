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

// The pieces, some odd ones, and parts of a file itself are what the good files get put in.
inline void expect_controlled_endings(const std::vector<std::string>& good,
                                      std::vector<std::string> pieces, int files, Reader read) {
  for (const char* odd : {"", "//", "/*", "*/", "\n", "\r", " ", "\t", "%s", "%n", "-", "1e999",
                          "end", "99999999999", "-99999999999", "begin", "{", "}", "\x80\xff"}) {
    pieces.push_back(odd);
  }
  pieces.push_back(std::string(1, '\0'));
  pieces.push_back(std::string(20000, '7'));
  std::mt19937 random(1);
  const auto below = [&](std::size_t n) {
    return std::uniform_int_distribution<std::size_t>(0, n - 1)(random);
  };
  for (int i = 0; i < files; ++i) {
    std::string file = good[below(good.size())];
    for (std::size_t changes = 1 + below(4); changes > 0; --changes) {
      const std::size_t at = below(file.size() + 1);
      const std::string piece = below(4) == 0 ? file.substr(below(file.size() + 1), below(60))
                                              : pieces[below(pieces.size())];
      file.replace(at, below(8), piece);
    }
    const Outcome o = in_own_process([&] { read(file); });
    ASSERT_TRUE(o.status == 0 || (o.status == 1 && o.err.starts_with("MAVI error: ")) ||
                (o.status == -SIGABRT && o.err.starts_with("\nFLNZ ERROR HANDLER\n")))
        << o << "\nfile: " << testing::PrintToString(file);
  }
}

}  // namespace planloc

#endif  // PLANLOC_TESTS_MODEL_MUTATIONS_H_
