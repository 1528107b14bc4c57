// An immutable text, shared by reference count: copying one costs a pointer. Names of facilities,
// file names and messages are such texts; use std::string to build up something long.
//
// Texts compare as by strcmp. Reports go through `error_handler` with code 1.
#ifndef PLANLOC_FOUNDATION_CONTAINERS_STRING_H_
#define PLANLOC_FOUNDATION_CONTAINERS_STRING_H_

#include <concepts>
#include <istream>
#include <memory>
#include <ostream>
#include <string>

#include "planloc/foundation/containers/compare.h"

namespace planloc {

class string {
 public:
  // The empty text.
  string();
  // A copy of `text`, taken as it stands: a `%` in it has no meaning.
  // "string::str_dup: nil argument" for a null pointer; "string::str_dup: out of memory".
  string(const char* text);  // NOLINT(google-explicit-constructor)
  // The text of one character. A template, so that a literal 0 is a null pointer and no character.
  template <std::same_as<char> Char>
  string(Char c) : string(std::string(1, c)) {}  // NOLINT(google-explicit-constructor)
  // The text that printf makes of `format` and the arguments.
  template <class First, class... Rest>
  string(const char* format, First first, Rest... rest)
      : string(formatted(format, first, rest...)) {}

  // A text ends at the first NUL, wherever it came from.
  explicit string(const std::string& text);

  int length() const { return static_cast<int>(text_->size()); }
  const char* cstring() const { return text_->c_str(); }

  // Character i, from 0. "string::operator[]: index out of range" outside.
  char operator[](int i) const;

  // "string::str_cat: out of memory".
  friend string operator+(const string& a, const string& b);
  string& operator+=(const string& other) { return *this = *this + other; }

  bool operator==(const string& other) const { return *text_ == *other.text_; }
  bool operator<(const string& other) const { return compare_text(other) < 0; }

  // Skips white space and reads up to the next; an input without a word fails and leaves the text.
  void read(std::istream& in);

 private:
  static std::string formatted(const char* format, ...) __attribute__((format(printf, 1, 2)));
  int compare_text(const string& other) const;

  std::shared_ptr<const std::string> text_;
};

std::ostream& operator<<(std::ostream& out, const string& s);
std::istream& operator>>(std::istream& in, string& s);

}  // namespace planloc

#endif  // PLANLOC_FOUNDATION_CONTAINERS_STRING_H_
