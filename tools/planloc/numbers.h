// Numbers as texts, the same in every locale.
#ifndef PLANLOC_TOOLS_PLANLOC_NUMBERS_H_
#define PLANLOC_TOOLS_PLANLOC_NUMBERS_H_

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace planloc::tool {

std::string_view trimmed(std::string_view text);

// The finite number that is the whole of `text`, blanks around it apart. A point is the decimal
// mark.
std::optional<double> parse_number(std::string_view text);
std::optional<std::size_t> parse_count(std::string_view text);  // an integer of at least 0

// Whether the text would be a number with its comma replaced by a point.
bool has_decimal_comma(std::string_view text);

// Whether it would be one without the blanks or apostrophes between groups of three digits.
bool has_thousands(std::string_view text);

std::vector<std::string_view> split(std::string_view text, char separator);

// With so many significant digits, as %g writes it; without a locale.
std::string rounded(double value, int digits = 6);
// The same digits, with zeros in place of an exponent up to 10^9: 525900 for 525923 and 4 digits.
std::string in_round_digits(double value, int digits);
std::string exact(double value);  // the shortest text that reads as the value

std::string in_quotes(std::string_view text);  // 'text', shortened where it is long

}  // namespace planloc::tool

#endif  // PLANLOC_TOOLS_PLANLOC_NUMBERS_H_
