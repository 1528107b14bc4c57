// Reports in plain text: headed lines and tables.
#ifndef PLANLOC_TOOLS_PLANLOC_TEXT_PAGE_H_
#define PLANLOC_TOOLS_PLANLOC_TEXT_PAGE_H_

#include <cstddef>
#include <string>
#include <vector>

#include "planloc/certified.h"
#include "tools/planloc/site_plane.h"

namespace planloc::tool {

// "Value       12.5\n"
std::string headed_line(const char* head, const std::string& text);

std::string counted(std::size_t n, const std::string& what);  // "1 site", "2 sites"

std::string place_text(const xy& p);  // "(-4.42, 36.7194)"

// Where degrees were projected; else nothing.
std::string projection_line(const site_plane& sites);

// Which sites the table of a report has: all in their order, or of many the twenty with the largest
// figures, the largest first, and what tells so below it.
std::vector<std::size_t> rows_to_show(const std::vector<double>& figures);
std::string omitted_rows(std::size_t all, std::size_t shown, const char* figure);

// Columns as wide as their widest cell, texts to the left, numbers to the right.
class text_table {
 public:
  // `to_left` is how many of the columns, from the first one, hold texts.
  text_table(std::vector<std::string> header, std::size_t to_left);

  void add(std::vector<std::string> row);
  std::string text() const;

 private:
  std::vector<std::vector<std::string>> rows_;
  std::size_t to_left_;
};

}  // namespace planloc::tool

#endif  // PLANLOC_TOOLS_PLANLOC_TEXT_PAGE_H_
