// The text of a CSV before a reader interprets it: its separator, its columns and the line of every
// record, or what is wrong with it. Readers are forgiving (rows of other lengths, open quotes), and
// a forgiven row is a misread one.
#ifndef PLANLOC_TOOLS_PLANLOC_CSV_TEXT_H_
#define PLANLOC_TOOLS_PLANLOC_CSV_TEXT_H_

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace planloc::tool {

struct csv_layout {
  std::size_t header_at = 0;  // where the header begins in the text
  char separator = ',';
  std::vector<std::string> columns;  // of the header, without blanks around them
  std::vector<std::size_t> lines;    // where each record begins, the header not among them
};

// Errors of data name `file` and the line. Separators are commas, semicolons or tabs: the kind that
// the header has.
csv_layout csv_layout_of(const std::string& file, std::string_view text);

}  // namespace planloc::tool

#endif  // PLANLOC_TOOLS_PLANLOC_CSV_TEXT_H_
