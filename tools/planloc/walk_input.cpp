#include "tools/planloc/walk_input.h"

#include <algorithm>
#include <cctype>

#include "tools/planloc/numbers.h"

namespace planloc::tool {

namespace {

std::string without_blanks(std::string_view text) {
  std::string result;
  for (const char c : text) {
    if (std::isspace(static_cast<unsigned char>(c)) != 0) continue;
    result += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  }
  return result;
}

bool comment_line(std::string_view line) { return trimmed(line).starts_with("//"); }

// Records of one line each, between the header and the end.
class location_text_reader {
 public:
  location_file read(std::string_view text) {
    const std::string plain = without_comments(text, file_.findings);
    const std::vector<std::string_view> raw = split(text, '\n');
    std::size_t line = 0;
    for (const std::string_view row : split(plain, '\n')) {
      line_ = ++line;
      const std::string keyword = keyword_of(row);
      if (keyword.starts_with("end")) break;
      if (keyword.starts_with("begin")) {
        read_header(keyword);
      } else if (!trimmed(row).empty()) {
        read_record(row);
      } else if (open_ && !comment_line(raw[line - 1]) && line < raw.size()) {
        tell(1, "an empty line among the records ends the reading: remove it");
      }
    }
    if (!open_) tell_at(1, 1, "no header: expected begin {location}[2,1] above the records");
    if (open_ && file_.records.empty()) tell_at(1, 1, "no record: expected a line for each site");
    return std::move(file_);
  }

 private:
  void tell_at(std::size_t line, std::size_t column, std::string message) {
    file_.findings.push_back({line, column, std::move(message)});
  }
  void tell(std::size_t column, std::string message) { tell_at(line_, column, std::move(message)); }

  void read_header(const std::string& keyword) {
    if (!keyword.starts_with("begin{location}")) {
      tell(1, "expected begin {location}[2,1]");
      return;
    }
    open_ = true;
    const std::string shape = keyword.substr(std::string_view("begin{location}").size());
    if (shape.empty() || shape == "[2]" || shape == "[2,1]") return;
    if (shape.starts_with("[2,")) {
      const std::string_view count = std::string_view(shape).substr(3, shape.size() - 4);
      weights_ = parse_count(count).value_or(1);
      return;
    }
    tell(1, "the dimension must be 2: write begin {location}[2,1]");
  }

  void read_record(std::string_view row) {
    if (!open_) {
      tell(1, "a record above the header begin {location}[2,1]");
      return;
    }
    record_text record{.line = line_};
    const std::size_t brace = row.find('{');
    const std::vector<word> numbers = words_of(row.substr(0, std::min(brace, row.find('['))));
    if (numbers.size() != 2 + weights_) {
      tell(1, std::to_string(numbers.size()) + " numbers: expected x, y and " +
                  std::to_string(weights_) + (weights_ == 1 ? " weight" : " weights"));
    }
    std::vector<double> values(std::max<std::size_t>(numbers.size(), 3), 1);
    for (std::size_t k = 0; k < numbers.size(); ++k) values[k] = number_of(numbers[k]);
    record.at = {values[0], values[1]};
    record.weight = values[2];
    if (record.weight <= 0 && numbers.size() > 2) {
      tell(numbers[2].column, "the weight is " + rounded(record.weight) + ": must be positive");
    }
    read_gauge(row, brace, record);
    const std::size_t name = row.find('[');
    if (name != std::string_view::npos) {
      const std::size_t end = row.find(']', name);
      if (end == std::string_view::npos) tell(name + 1, "the name is not closed: write ]");
      record.name = row.substr(name + 1, end == std::string_view::npos ? end : end - name - 1);
    }
    file_.records.push_back(std::move(record));
  }

  double number_of(const word& w) {
    if (w.text == "l_inf") return 1e50;
    const std::optional<double> value = parse_number(w.text);
    if (!value) {
      tell(w.column, in_quotes(w.text) + " is not a number" +
                         (has_decimal_comma(w.text) ? ": write it with a decimal point" : ""));
    } else if (w.text.find('.') == 0 || w.text.find("-.") == 0 || w.text.find("+.") == 0) {
      tell(w.column, in_quotes(w.text) + ": a number begins with a digit: write 0" +
                         std::string(w.text.substr(w.text.find('.'))));
    }
    return value.value_or(1);
  }

  void read_gauge(std::string_view row, std::size_t brace, record_text& record) {
    if (brace == std::string_view::npos) {
      tell(row.size() + 1, "no gauge number: write {0} behind the weight");
      return;
    }
    const std::size_t end = row.find('}', brace);
    const std::string_view text =
        row.substr(brace + 1, end == std::string_view::npos ? end : end - brace - 1);
    const std::optional<std::size_t> number = parse_count(text);
    if (end == std::string_view::npos || !number) {
      tell(brace + 1, "no gauge number: expected {number}, counted from 0");
      return;
    }
    record.gauge = *number;
  }

  location_file file_;
  std::size_t line_ = 0;
  std::size_t weights_ = 1;
  bool open_ = false;
};

}  // namespace

walk_file_kind kind_of_walk_file(std::string_view text) {
  const std::string start = without_blanks(text.substr(0, 100000));
  if (start.find("begin{location}") != std::string::npos) return walk_file_kind::locations;
  if (start.find("begin{polygauge") != std::string::npos) return walk_file_kind::gauges;
  if (start.starts_with("%!")) return walk_file_kind::page;
  if (start.starts_with("startingpoint=")) return walk_file_kind::log;
  constexpr std::size_t kFrameNumbers = 4;
  const number_file content = read_number_text(text);
  if (content.numbers.size() <= content.findings.size()) return walk_file_kind::unknown;
  return content.numbers.size() <= kFrameNumbers ? walk_file_kind::frame
                                                 : walk_file_kind::parameters;
}

location_file read_location_text(std::string_view text) {
  return location_text_reader().read(text);
}

number_file read_number_text(std::string_view text) {
  number_file file;
  std::size_t line = 0;
  for (const std::string_view row : split(text, '\n')) {
    ++line;
    for (const word& w : words_of(row)) {
      const std::optional<double> value = parse_number(w.text);
      if (value) {
        file.numbers.push_back({line, w.column, *value});
      } else {
        file.findings.push_back({line, w.column,
                                 in_quotes(w.text) + " is not a number" +
                                     (has_decimal_comma(w.text) ? ": write it with a decimal point"
                                                                : ": remove it, or mend it")});
      }
    }
  }
  return file;
}

std::vector<finding> check_bytes(std::string_view text, walk_file_kind kind) {
  std::vector<finding> findings;
  if (text.starts_with("\xEF\xBB\xBF")) {
    findings.push_back({1, 1,
                        "a byte order mark, which the reader takes for text: save the file "
                        "as UTF-8 without one"});
  }
  const bool structured = kind == walk_file_kind::locations || kind == walk_file_kind::gauges;
  std::size_t line = 1;
  bool returns = false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '\n') ++line;
    if (text[i] == '\0') {
      findings.push_back({line, 1, "a byte 0: expected a text"});
      break;
    }
    if (text[i] == '\r' && structured && !returns) {
      returns = true;
      findings.push_back({line, 1,
                          "a carriage return: the reader does not recognise keywords that "
                          "end with one; save the file with line ends of Unix (tr -d "
                          "'\\r')"});
    }
  }
  return findings;
}

std::vector<finding> check_gauge_layout(std::string_view text) {
  std::vector<finding> findings;
  bool in_list = false;
  bool in_block = false;
  std::size_t line = 0;
  for (const std::string_view row : split(text, '\n')) {
    ++line;
    const std::string keyword = keyword_of(row);
    for (const char* opening : {"begin{polygaugelist}", "begin{polygauge}"}) {
      if (keyword.starts_with(opening) && keyword != opening) {
        findings.push_back({line, 1, "text behind an opening keyword, which has to end its line"});
      }
    }
    if (keyword.starts_with("begin{polygaugelist}")) in_list = true;
    if (keyword.starts_with("begin{polygauge}")) in_block = true;
    if (keyword.starts_with("end{polygauge}")) in_block = false;
    if (keyword.starts_with("end{polygaugelist}")) in_list = false;
    if (in_list && !in_block && trimmed(row).empty()) {
      findings.push_back({line, 1, "an empty line between gauges ends the reading: remove it"});
    }
  }
  return findings;
}

}  // namespace planloc::tool
