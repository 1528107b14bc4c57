#include "tools/planloc/numbers.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>

namespace planloc::tool {

namespace {

constexpr std::string_view kBlanks = " \t\r\n\v\f";

template <class Number>
std::optional<Number> parse_whole(std::string_view text) {
  text = trimmed(text);
  if (text.size() > 1 && text[0] == '+' && text[1] != '-') text.remove_prefix(1);
  Number value{};
  const auto [end, fault] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (fault != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return value;
}

}  // namespace

std::string_view trimmed(std::string_view text) {
  const std::size_t begin = text.find_first_not_of(kBlanks);
  if (begin == std::string_view::npos) return {};
  return text.substr(begin, text.find_last_not_of(kBlanks) - begin + 1);
}

std::optional<double> parse_number(std::string_view text) {
  const std::optional<double> value = parse_whole<double>(text);
  return value && std::isfinite(*value) ? value : std::nullopt;
}

std::optional<std::size_t> parse_count(std::string_view text) {
  return parse_whole<std::size_t>(text);
}

bool has_decimal_comma(std::string_view text) {
  std::string with_point(text);
  const std::size_t comma = with_point.find(',');
  if (comma == std::string::npos) return false;
  with_point[comma] = '.';
  return parse_number(with_point).has_value();
}

bool has_thousands(std::string_view text) {
  text = trimmed(text);
  const std::string_view whole = text.substr(0, text.find('.'));
  std::string digits;
  for (const std::string_view group : split(whole, whole.find(' ') != whole.npos ? ' ' : '\'')) {
    if (!digits.empty() && (group.size() != 3 || !parse_count(group))) return false;
    digits += group;
  }
  digits += text.substr(whole.size());
  return parse_number(digits).has_value();
}

std::vector<std::string_view> split(std::string_view text, char separator) {
  std::vector<std::string_view> parts;
  for (;;) {
    const std::size_t end = text.find(separator);
    parts.push_back(text.substr(0, end));
    if (end == std::string_view::npos) return parts;
    text.remove_prefix(end + 1);
  }
}

std::string rounded(double value, int digits) {
  std::array<char, 64> text;
  const auto end = std::to_chars(text.data(), text.data() + text.size(), value,
                                 std::chars_format::general, digits);
  return {text.data(), end.ptr};
}

std::string in_round_digits(double value, int digits) {
  constexpr int kLongest = 9;
  const std::string text = rounded(value, digits);
  double read = 0;
  std::from_chars(text.data(), text.data() + text.size(), read);
  return rounded(read, kLongest);
}

std::string exact(double value) {
  std::array<char, 32> text;
  return {text.data(), std::to_chars(text.data(), text.data() + text.size(), value).ptr};
}

std::string in_quotes(std::string_view text) {
  constexpr std::size_t kLongest = 40;
  std::string shown(text.substr(0, kLongest));
  if (text.size() > kLongest) shown += "...";
  std::replace_if(
      shown.begin(), shown.end(), [](unsigned char c) { return c < 0x20; }, ' ');
  return "'" + shown + "'";
}

}  // namespace planloc::tool
