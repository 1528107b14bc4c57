// One row of a CSV; cells are quoted where they have to be.
#ifndef PLANLOC_TOOLS_PLANLOC_CSV_ROW_H_
#define PLANLOC_TOOLS_PLANLOC_CSV_ROW_H_

#include <cstddef>
#include <string>
#include <vector>

namespace planloc::tool {

inline std::string csv_cell(const std::string& text) {
  if (text.find_first_of(",\"\r\n") == std::string::npos) return text;
  std::string cell = "\"";
  for (const char c : text) {
    if (c == '"') cell += c;
    cell += c;
  }
  return cell + "\"";
}

inline std::string csv_row(const std::vector<std::string>& cells) {
  std::string row;
  for (std::size_t i = 0; i < cells.size(); ++i) row += (i > 0 ? "," : "") + csv_cell(cells[i]);
  return row + "\n";
}

}  // namespace planloc::tool

#endif  // PLANLOC_TOOLS_PLANLOC_CSV_ROW_H_
