#include "planloc/foundation/containers/string.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <new>

#include "planloc/foundation/containers/error_handler.h"

namespace planloc {
namespace {

const char* present(const char* text) {
  if (!text) {
    error_handler(1, "string::str_dup: nil argument");
    return "";
  }
  return text;
}

template <class MakeText>
std::shared_ptr<const std::string> shared(MakeText make_text, const char* out_of_memory) {
  try {
    return std::make_shared<const std::string>(make_text());
  } catch (const std::bad_alloc&) {
    error_handler(1, out_of_memory);
    throw;
  }
}

// All empty texts are one, so that default construction costs no allocation.
const std::shared_ptr<const std::string>& empty_text() {
  static const auto text = std::make_shared<const std::string>();
  return text;
}

}  // namespace

string::string() : text_(empty_text()) {}

string::string(const char* text)
    : text_(shared([&] { return present(text); }, "string::str_dup: out of memory")) {}

string::string(const std::string& text) : string(text.c_str()) {}

std::string string::formatted(const char* format, ...) {
  std::va_list args;
  va_start(args, format);
  std::va_list again;
  va_copy(again, args);
  const int length = std::vsnprintf(nullptr, 0, present(format), args);
  va_end(args);
  std::string text(length > 0 ? static_cast<std::size_t>(length) : 0, '\0');
  if (length > 0) std::vsnprintf(text.data(), text.size() + 1, format, again);
  va_end(again);
  return text;
}

char string::operator[](int i) const {
  if (i < 0 || i >= length()) {
    error_handler(1, "string::operator[]: index out of range");
    return '\0';
  }
  return (*text_)[static_cast<std::size_t>(i)];
}

string operator+(const string& a, const string& b) {
  string sum;
  sum.text_ = shared([&] { return *a.text_ + *b.text_; }, "string::str_cat: out of memory");
  return sum;
}

int string::compare_text(const string& other) const {
  return std::strcmp(cstring(), other.cstring());
}

void string::read(std::istream& in) {
  std::string word;
  if (in >> word) *this = string(word);
}

std::ostream& operator<<(std::ostream& out, const string& s) { return out << s.cstring(); }

std::istream& operator>>(std::istream& in, string& s) {
  s.read(in);
  return in;
}

}  // namespace planloc
