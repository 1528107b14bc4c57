#include "tools/planloc/csv_text.h"

#include <algorithm>

#include "tools/planloc/errors.h"
#include "tools/planloc/numbers.h"

namespace planloc::tool {

namespace {

[[noreturn]] void fail_line(const std::string& file, std::size_t line, const std::string& message) {
  fail_data(file + ":" + std::to_string(line) + ": " + message);
}

void check_encoding(const std::string& file, std::string_view text) {
  if (text.starts_with("\xFF\xFE") || text.starts_with("\xFE\xFF")) {
    fail_line(file, 1, "the text is UTF-16: save it as UTF-8");
  }
  const std::size_t nul = text.find('\0');
  if (nul == std::string_view::npos) return;
  fail_line(file, 1 + static_cast<std::size_t>(std::count(text.begin(), text.begin() + nul, '\n')),
            "a byte 0: expected a text in UTF-8");
}

// One record after the other: the fields are counted, quoted ones may hold separators and line
// ends.
class record_scanner {
 public:
  record_scanner(const std::string& file, std::string_view text) : file_(file), text_(text) {
    if (text_.starts_with("\xEF\xBB\xBF")) at_ = 3;
  }

  bool done() const { return at_ >= text_.size(); }
  std::size_t line() const { return line_; }

  // The text of the next record without its line end.
  std::string_view next() {
    const std::size_t begin = at_;
    const std::size_t first_line = line_;
    bool quotes = false;
    separators_ = 0;
    for (; at_ < text_.size(); ++at_) {
      const char c = text_[at_];
      if (c == '"') quotes = !quotes;
      if (c == separator && !quotes) ++separators_;
      if (c == '\r' && !quotes && (at_ + 1 == text_.size() || text_[at_ + 1] != '\n')) {
        fail_line(file_, first_line,
                  "a carriage return without a line feed: save the file with line ends of Unix or "
                  "Windows");
      }
      if (c != '\n') continue;
      ++line_;
      if (!quotes) break;
    }
    if (quotes) fail_line(file_, first_line, "a quote is opened and never closed");
    std::string_view record = text_.substr(begin, at_ - begin);
    if (!done()) ++at_;
    if (record.ends_with('\r')) record.remove_suffix(1);
    return record;
  }

  std::size_t fields() const { return separators_ + 1; }  // of the last record

  char separator = ',';

 private:
  const std::string& file_;
  std::string_view text_;
  std::size_t at_ = 0;
  std::size_t line_ = 1;
  std::size_t separators_ = 0;
};

std::string without_quoted(std::string_view record) {
  std::string plain;
  bool quotes = false;
  for (const char c : record) {
    if (c == '"') quotes = !quotes;
    if (!quotes) plain += c;
  }
  return plain;
}

char separator_of(const std::string& file, std::size_t line, std::string_view header) {
  char found = ',';
  bool any = false;
  const std::string plain = without_quoted(header);
  for (const char c : {',', ';', '\t'}) {
    if (plain.find(c) == std::string::npos) continue;
    if (any) {
      fail_line(file, line,
                "the header has more than one kind of separator: use commas, semicolons or tabs "
                "alone");
    }
    found = c;
    any = true;
  }
  return found;
}

std::vector<std::string> columns_of(std::string_view header, char separator) {
  std::vector<std::string> columns(1);
  bool quotes = false;
  for (std::size_t i = 0; i < header.size(); ++i) {
    const char c = header[i];
    if (c == '"') {
      if (quotes && i + 1 < header.size() && header[i + 1] == '"')
        columns.back() += header[i++];
      else
        quotes = !quotes;
    } else if (c == separator && !quotes) {
      columns.emplace_back();
    } else {
      columns.back() += c;
    }
  }
  for (std::string& c : columns) c = std::string(trimmed(c));
  return columns;
}

[[noreturn]] void fail_fields(const std::string& file, std::size_t line, std::size_t expected,
                              std::size_t found, char separator) {
  std::string message = std::to_string(found) + (found == 1 ? " field" : " fields") +
                        ", but the header has " + std::to_string(expected);
  if (found > expected && separator == ',') {
    message += ": decimal commas? Write numbers with a point, texts with commas in quotes";
  } else if (found < expected) {
    message += ": is the separator that of the header?";
  }
  fail_line(file, line, message);
}

}  // namespace

csv_layout csv_layout_of(const std::string& file, std::string_view text) {
  check_encoding(file, text);
  csv_layout layout;
  record_scanner scanner(file, text);
  std::size_t line = 1;
  std::string_view header;
  while (header.empty() && !scanner.done()) {
    line = scanner.line();
    header = scanner.next();
  }
  layout.header_at = static_cast<std::size_t>(header.data() - text.data());
  if (trimmed(header).empty()) {
    fail_data(file +
              ": the file is empty: expected a header (x,y,weight,name) and a row for each site");
  }
  layout.separator = scanner.separator = separator_of(file, line, header);
  layout.columns = columns_of(header, layout.separator);
  while (!scanner.done()) {
    line = scanner.line();
    const std::string_view record = scanner.next();
    if (record.empty()) continue;
    if (scanner.fields() != layout.columns.size()) {
      fail_fields(file, line, layout.columns.size(), scanner.fields(), layout.separator);
    }
    layout.lines.push_back(line);
  }
  if (layout.lines.empty())
    fail_data(file + ": no row behind the header: expected one for each site");
  return layout;
}

}  // namespace planloc::tool
