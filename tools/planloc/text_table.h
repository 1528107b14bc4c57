// A table in plain text: columns as wide as their widest cell, texts to the left, numbers to the
// right.
#ifndef PLANLOC_TOOLS_PLANLOC_TEXT_TABLE_H_
#define PLANLOC_TOOLS_PLANLOC_TEXT_TABLE_H_

#include <cstddef>
#include <string>
#include <vector>

namespace planloc::tool {

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

#endif  // PLANLOC_TOOLS_PLANLOC_TEXT_TABLE_H_
