#include "tools/planloc/gauge_file.h"

#include <algorithm>
#include <cctype>

#include "tools/planloc/numbers.h"

namespace planloc::tool {

namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

void blank_out(std::string& text, std::size_t begin, std::size_t end) {
  for (std::size_t i = begin; i < end; ++i) {
    if (text[i] != '\n') text[i] = ' ';
  }
}

std::size_t line_of(std::string_view text, std::size_t at) {
  return 1 + static_cast<std::size_t>(std::count(text.begin(), text.begin() + at, '\n'));
}

class gauge_text_reader {
 public:
  gauge_file read(std::string_view text) {
    const std::string plain = without_comments(text, file_.findings);
    std::size_t line = 0;
    for (const std::string_view row : split(plain, '\n')) {
      ++line;
      read_line(line, row);
    }
    if (open_) tell(file_.balls.back().line, 1, "the gauge is not closed: write end {polygauge}");
    if (file_.balls.empty() && file_.findings.empty()) {
      tell(1, 1, "no gauge: expected begin {polygauge}, vertices, end {polygauge}");
    }
    return std::move(file_);
  }

 private:
  void tell(std::size_t line, std::size_t column, std::string message) {
    file_.findings.push_back({line, column, std::move(message)});
  }

  void read_line(std::size_t line, std::string_view row) {
    const std::string keyword = keyword_of(row);
    if (ended_) {
      if (!told_ && keyword.starts_with("begin")) {
        told_ = true;
        tell(line, 1, "the list of gauges ended above: what follows is not read");
      }
    } else if (keyword == "end{polygaugelist}") {
      ended_ = true;
    } else if (keyword == "begin{polygaugelist}") {
      return;
    } else if (keyword == "begin{polygauge}") {
      if (open_) tell(line, 1, "the gauge before is not closed: write end {polygauge} above");
      open_ = true;
      file_.balls.push_back({line, {}});
    } else if (keyword == "end{polygauge}") {
      close(line);
    } else if (!keyword.empty()) {
      tell(line, 1, in_quotes(trimmed(row)) + " is no keyword of a gauge file");
    } else {
      read_numbers(line, row);
    }
  }

  void close(std::size_t line) {
    if (!open_) tell(line, 1, "end {polygauge} without its begin {polygauge}");
    if (half_) tell(line, 1, "a vertex has one number: expected two, x and y");
    open_ = half_ = false;
  }

  void read_numbers(std::size_t line, std::string_view row) {
    for (const word& w : words_of(row)) {
      if (!open_) {
        tell(line, w.column, in_quotes(w.text) + " stands outside of a gauge");
        return;
      }
      const auto value = parse_number(w.text);
      if (!value) {
        tell(line, w.column,
             in_quotes(w.text) + " is not a number: expected the coordinates of a vertex" +
                 (has_decimal_comma(w.text) ? ", with a point as decimal mark" : ""));
      }
      std::vector<xy>& vertices = file_.balls.back().vertices;
      if (half_) {
        vertices.back().y = value.value_or(0);
      } else {
        vertices.push_back({value.value_or(0), 0});
      }
      half_ = !half_;
    }
  }

  gauge_file file_;
  bool open_ = false;
  bool ended_ = false;  // the list
  bool told_ = false;   // that something stands behind it
  bool half_ = false;   // the last vertex still waits for its y
};

}  // namespace

std::string without_comments(std::string_view text, std::vector<finding>& findings) {
  std::string plain(text);
  if (text.starts_with(kByteOrderMark)) blank_out(plain, 0, kByteOrderMark.size());
  for (std::size_t i = 0; i + 1 < plain.size(); ++i) {
    if (plain[i] != '/') continue;
    if (plain[i + 1] == '/') {
      blank_out(plain, i, std::min(plain.find('\n', i), plain.size()));
    } else if (plain[i + 1] == '*') {
      const std::size_t end = plain.find("*/", i + 2);
      if (end == std::string::npos) {
        findings.push_back({line_of(text, i), 1, "the comment is not closed: write */"});
      }
      blank_out(plain, i, end == std::string::npos ? plain.size() : end + 2);
    }
  }
  return plain;
}

std::vector<word> words_of(std::string_view line) {
  constexpr std::string_view kBlanks = " \t\r\v\f";
  std::vector<word> words;
  std::size_t end = 0;
  for (;;) {
    const std::size_t begin = line.find_first_not_of(kBlanks, end);
    if (begin == std::string_view::npos) return words;
    end = std::min(line.find_first_of(kBlanks, begin), line.size());
    words.push_back({begin + 1, line.substr(begin, end - begin)});
  }
}

std::string keyword_of(std::string_view line) {
  std::string keyword;
  for (const char c : line) {
    if (std::isspace(static_cast<unsigned char>(c)) != 0) continue;
    keyword += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  }
  return keyword.starts_with("begin") || keyword.starts_with("end") ? keyword : std::string();
}

gauge_file read_gauge_text(std::string_view text) { return gauge_text_reader().read(text); }

std::string write_gauge_text(const std::vector<std::vector<xy>>& balls,
                             const std::vector<std::string>& comments) {
  std::string text;
  for (const std::string& c : comments) text += "// " + c + "\n";
  text += "begin {polygaugelist}\n";
  for (const std::vector<xy>& ball : balls) {
    text += "begin {polygauge}\n";
    for (const xy& v : ball) text += exact(v.x) + " " + exact(v.y) + "\n";
    text += "end {polygauge}\n";
  }
  return text + "end {polygaugelist}\n";
}

}  // namespace planloc::tool
