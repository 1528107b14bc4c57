// The input files of a run of cellwalk (docs/file-formats.md), read to tell everything that is
// wrong with them.
#ifndef PLANLOC_TOOLS_PLANLOC_WALK_INPUT_H_
#define PLANLOC_TOOLS_PLANLOC_WALK_INPUT_H_

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "planloc/certified.h"
#include "tools/planloc/gauge_file.h"

namespace planloc::tool {

enum class walk_file_kind { frame, locations, gauges, parameters, log, page, unknown };

walk_file_kind kind_of_walk_file(std::string_view text);

struct record_text {
  std::size_t line = 1;
  xy at{0, 0};
  double weight = 1;
  std::size_t gauge = 0;
  std::string name = {};
};

struct location_file {
  std::vector<record_text> records;
  std::vector<finding> findings;
};

location_file read_location_text(std::string_view text);

struct number_text {
  std::size_t line = 1;
  std::size_t column = 1;
  double value = 0;
};

struct number_file {
  std::vector<number_text> numbers;
  std::vector<finding> findings;
};

number_file read_number_text(std::string_view text);

// What the readers trip over in any of the files: byte order marks, carriage returns, bytes 0.
std::vector<finding> check_bytes(std::string_view text, walk_file_kind kind);

// What they trip over in the layout of gauges: empty lines between blocks, comments behind
// keywords.
std::vector<finding> check_gauge_layout(std::string_view text);

}  // namespace planloc::tool

#endif  // PLANLOC_TOOLS_PLANLOC_WALK_INPUT_H_
