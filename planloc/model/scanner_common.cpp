#include "planloc/model/scanner_common.h"

#include <locale.h>

#include <charconv>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <system_error>

namespace planloc::detail {
namespace {

constexpr char kSlot[] = "%%s";
constexpr std::size_t kSlotLength = sizeof kSlot - 1;

// std::from_chars takes no plus sign.
const char* without_plus(const char* token) { return *token == '+' ? token + 1 : token; }

}  // namespace

const char* failure_text::slot_of(const char* format) {
  const char* slot = std::strstr(format, kSlot);
  return slot ? slot : format + std::strlen(format);
}

void failure_text::split(const char* before_slot, const char* from_slot) {
  before_slot_ = before_slot;
  behind_slot_ = *from_slot ? from_slot + kSlotLength : nullptr;
}

void failure_text::complete(const char* rest_of_line) {
  if (!behind_slot_) return;
  before_slot_.append(rest_of_line).append(behind_slot_);
  behind_slot_ = nullptr;
}

double real_value(const char* token, int length) {
  double value = 0.0;
  const auto [end, error] = std::from_chars(without_plus(token), token + length, value);
  if (error != std::errc::result_out_of_range) return value;
  // std::from_chars does not say on which side it left the range.
  static const locale_t c_locale = newlocale(LC_ALL_MASK, "C", nullptr);
  return strtod_l(token, nullptr, c_locale);
}

int integer_value(const char* token, int length) {
  int value = 0;
  const auto [end, error] = std::from_chars(without_plus(token), token + length, value);
  if (error != std::errc::result_out_of_range) return value;
  return *token == '-' ? std::numeric_limits<int>::min() : std::numeric_limits<int>::max();
}

}  // namespace planloc::detail
