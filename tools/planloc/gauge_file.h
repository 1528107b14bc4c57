// Gauge files (docs/file-formats.md) as text: the balls with their lines, and everything that is
// wrong, at once. The reader of the library ends the process at the first failure; this one is for
// telling users.
#ifndef PLANLOC_TOOLS_PLANLOC_GAUGE_FILE_H_
#define PLANLOC_TOOLS_PLANLOC_GAUGE_FILE_H_

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "planloc/certified.h"

namespace planloc::tool {

// Lines and columns count from 1; columns are bytes.
struct finding {
  std::size_t line = 1;
  std::size_t column = 1;
  std::string message;
};

struct ball_text {
  std::size_t line = 1;  // of its opening keyword
  std::vector<xy> vertices;
};

struct gauge_file {
  std::vector<ball_text> balls;
  std::vector<finding> findings;
};

// Carriage returns and a byte order mark are passed over.
gauge_file read_gauge_text(std::string_view text);

// With a comment line for each gauge.
std::string write_gauge_text(const std::vector<std::vector<xy>>& balls,
                             const std::vector<std::string>& comments);

// `text` with comments as blanks, so that lines and columns stay. Unclosed ones are told.
std::string without_comments(std::string_view text, std::vector<finding>& findings);

// A word of a line with its column.
struct word {
  std::size_t column;
  std::string_view text;
};
std::vector<word> words_of(std::string_view line);

// The line in lower case without its blanks, if it begins with `begin` or `end`; else empty.
std::string keyword_of(std::string_view line);

}  // namespace planloc::tool

#endif  // PLANLOC_TOOLS_PLANLOC_GAUGE_FILE_H_
