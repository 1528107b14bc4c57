#include "planloc/model/plain_records.h"

#include <cstdint>
#include <cstring>

namespace planloc::detail {
namespace {

bool is_digit(char c) { return c >= '0' && c <= '9'; }
bool is_blank(char c) { return c == ' ' || c == '\t' || c == '\r'; }

void skip_blanks(const char*& p) {
  while (is_blank(*p)) ++p;
}

bool take_exponent(const char*& p) {
  const char* digits = p + 1;
  if (*digits == '+' || *digits == '-') ++digits;
  if (!is_digit(*digits)) return false;
  for (p = digits; is_digit(*p);) ++p;
  return true;
}

// The same double as that of real_value: up to 15 digits are a whole number without rounding, as is
// the power of ten, so that the division rounds the value itself, once.
bool take_real(const char*& p, double& value) {
  static constexpr double kPowersOfTen[] = {1e0, 1e1, 1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                            1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15};
  const char* const begin = p;
  if (*p == '+' || *p == '-') ++p;
  const char* const digits = p;
  std::uint64_t all = 0;
  for (; is_digit(*p); ++p) all = 10 * all + static_cast<std::uint64_t>(*p - '0');
  auto count = p - digits;
  if (count == 0) return false;
  std::ptrdiff_t decimals = 0;
  if (*p == '.') {
    const char* const point = p++;
    for (; is_digit(*p); ++p) all = 10 * all + static_cast<std::uint64_t>(*p - '0');
    decimals = p - point - 1;
    count += decimals;
  }
  const bool has_exponent = *p == 'e' || *p == 'E';
  if (has_exponent && !take_exponent(p)) return false;
  if (has_exponent || count > 15) {
    value = real_value(begin, static_cast<int>(p - begin));
  } else {
    value = static_cast<double>(all) / kPowersOfTen[decimals];
    if (*begin == '-') value = -value;
  }
  return true;
}

bool stands_in(char c, const char* characters) {
  return c != '\0' && std::strchr(characters, c) != nullptr;
}

}  // namespace

bool plain_records::take_numbers(const char*& p, int count, const char* behind) {
  for (int i = 0; i < count; ++i) {
    double value = 0.0;
    if (!take_real(p, value) || !stands_in(*p, behind)) return false;
    values_.push_back(value);
    skip_blanks(p);
  }
  return true;
}

bool plain_records::take_gauge_number(const char*& p) {
  const auto skip = [&] {
    while (*p == ' ' || *p == '\t') ++p;
  };
  gauge_number_.begin = p;
  if (*p++ != '{') return false;
  skip();
  if (*p == '+' || *p == '-') ++p;
  if (!is_digit(*p)) return false;
  while (is_digit(*p)) ++p;
  skip();
  if (*p++ != '}') return false;
  gauge_number_.end = p;
  skip_blanks(p);
  return true;
}

bool plain_records::take_name(const char*& p, const char* end) {
  name_.begin = p++;
  while (p < end && *p != ']' && *p != '\r' && *p != '\n') ++p;
  if (*p != ']') return false;
  name_.end = ++p;
  skip_blanks(p);
  return true;
}

bool plain_records::take_record(const char*& p, const char* end) {
  values_.clear();
  gauge_number_ = name_ = {};
  skip_blanks(p);
  if (!take_numbers(p, scan_.dimension, " \t") ||
      !take_numbers(p, scan_.weight_dimension, " \t\r\n")) {
    return false;
  }
  const bool with_gauges = scan_.kind == location_file_kind::gauge_locations;
  if (with_gauges && !take_gauge_number(p)) return false;
  if (*p == '[' && !take_name(p, end)) return false;
  return *p++ == '\n';
}

void plain_records::add_record() {
  if (!location_) location_.emplace(scan_.dimension, scan_.weight_dimension);
  const double* value = values_.data();
  for (int i = 0; i < scan_.dimension; ++i) (*location_)[i] = *value++;
  for (int i = 0; i < scan_.weight_dimension; ++i) location_->weight(i) = *value++;
  scan_.file.locations.append(*location_);
  const auto length = [](const token& t) { return static_cast<int>(t.end - t.begin); };
  if (gauge_number_.begin) scan_.add_gauge_number(gauge_number_.begin, length(gauge_number_));
  if (name_.begin) {
    scan_.add_name(name_.begin, length(name_));
    scan_.name_seen = false;
  } else {
    scan_.file.names.append(string());
  }
  ++count_;
}

const char* plain_records::read(const char* p, const char* end) {
  if (scan_.weight_dimension < 1) return p;
  for (const char* next = p; take_record(next, end); p = next) add_record();
  return p;
}

}  // namespace planloc::detail
