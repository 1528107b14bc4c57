// Whole files: read at once, and written beside their place and then renamed, so that nothing half
// written is ever left.
#ifndef PLANLOC_TOOLS_PLANLOC_OUTPUT_FILE_H_
#define PLANLOC_TOOLS_PLANLOC_OUTPUT_FILE_H_

#include <string>
#include <string_view>

namespace planloc::tool {

bool file_exists(const std::string& file);

// `-` is the standard input. Errors of data: no such file, a directory, no right to read it.
std::string read_whole(const std::string& file);

// `-` is the standard output.
void write_whole(const std::string& file, std::string_view content);

// To the standard output; an error of data where it takes no more (a full disk, a closed pipe).
void write_standard_output(std::string_view content);

// A place beside `file`, with the same ending, for a writer that wants a name. `keep` renames it to
// `file`; without it the destructor removes what was written.
class file_beside {
 public:
  explicit file_beside(const std::string& file);
  ~file_beside();
  file_beside(const file_beside&) = delete;
  file_beside& operator=(const file_beside&) = delete;

  const std::string& name() const { return name_; }
  void keep();

 private:
  std::string file_;
  std::string name_;
};

}  // namespace planloc::tool

#endif  // PLANLOC_TOOLS_PLANLOC_OUTPUT_FILE_H_
