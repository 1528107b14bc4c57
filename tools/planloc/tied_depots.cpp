#include "tools/planloc/tied_depots.h"

#include <optional>

#include "tools/planloc/errors.h"
#include "tools/planloc/numbers.h"
#include "tools/planloc/output_file.h"

namespace planloc::tool {

namespace {

struct flow_row {
  std::size_t line;
  std::vector<std::string_view> cells;
};

std::vector<flow_row> rows_of(const std::string& file, std::string_view text, std::size_t depots) {
  if (text.starts_with("\xEF\xBB\xBF")) text.remove_prefix(3);
  std::vector<flow_row> rows;
  std::size_t line = 0;
  for (const std::string_view row : split(text, '\n')) {
    ++line;
    if (trimmed(row).empty()) continue;
    const char separator = row.find(';') == std::string_view::npos ? ',' : ';';
    rows.push_back({line, split(trimmed(row), separator)});
    if (rows.size() == 1 && !parse_number(rows[0].cells[0])) {
      fail_data(file + ":" + std::to_string(line) + ": " + in_quotes(rows[0].cells[0]) +
                " is not a number: expected rows of flows without a header");
    }
    if (rows.back().cells.size() == depots) continue;
    fail_data(file + ":" + std::to_string(line) + ": " + std::to_string(rows.back().cells.size()) +
              " numbers: expected " + std::to_string(depots) +
              ", separated by commas, one for each column of --share");
  }
  if (rows.size() != depots) {
    fail_data(file + ": " + std::to_string(rows.size()) + " rows: expected " +
              std::to_string(depots) + ", one for each column of --share");
  }
  return rows;
}

}  // namespace

std::vector<tie> read_flows(const std::string& file, std::size_t depots) {
  const std::string text = read_whole(file);
  std::vector<tie> ties;
  const std::vector<flow_row> rows = rows_of(file, text, depots);
  for (std::size_t j = 0; j < depots; ++j) {
    for (std::size_t k = j + 1; k < depots; ++k) {
      const std::optional<double> flow = parse_number(rows[j].cells[k]);
      if (!flow || *flow < 0) {
        fail_data(file + ":" + std::to_string(rows[j].line) + ": " + in_quotes(rows[j].cells[k]) +
                  " is not a flow: expected a number of at least 0");
      }
      ties.push_back({static_cast<std::uint32_t>(j), static_cast<std::uint32_t>(k), *flow, 0});
    }
  }
  return ties;
}

}  // namespace planloc::tool
