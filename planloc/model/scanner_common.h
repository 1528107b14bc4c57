// What the scanners of gauge files and of location files share: comments, the text of a failure,
// numbers, and the input of the generated scanner classes. Not for callers: see gauge_reader.h and
// facilities/facilities.h.
#ifndef PLANLOC_MODEL_SCANNER_COMMON_H_
#define PLANLOC_MODEL_SCANNER_COMMON_H_

#include <iostream>
#include <string>

#include "planloc/foundation/containers/string.h"

namespace planloc::detail {

// The text of a failure, built in two steps so that it can quote the line that is at fault.
//
//   failure.build("number expected in line %d, found \"%s%%s\" instead.", 3, "x");
//   failure.complete("yz");   // ... found "xyz" instead.
//
// Only the format has placeholders: what a file contains is quoted as it stands, up to its first
// NUL.
class failure_text {
 public:
  void build(const char* message) { split(message, ""); }
  // Fills the format, of which everything from "%%s" on waits for the second step.
  template <class... Args>
  void build(const char* format, Args... args) {
    const char* slot = slot_of(format);
    split(string(std::string(format, slot).c_str(), args...).cstring(), slot);
  }
  // Puts the rest of the line into its place; a text without that place stays as it is.
  void complete(const char* rest_of_line);

  string text() const { return string(before_slot_); }

 private:
  static const char* slot_of(const char* format);  // its end if it has none
  void split(const char* before_slot, const char* from_slot);

  std::string before_slot_ = "Syntaxerror in location file!";
  const char* behind_slot_ = nullptr;  // null: nothing to complete
};

// What every scanner remembers beside the data that it reads. It outlives a read: a file that ends
// in a line comment excuses a line break at the start of the next one.
struct scan_memory {
  failure_text pending;
  bool line_comment_mark = false;
  int saved_state = 0;  // where the end of a block comment leads

  // Whether the line that ends held a line comment; forgets it.
  bool line_break_excused() {
    const bool excused = line_comment_mark;
    line_comment_mark = false;
    return excused;
  }
};

// The value of a token that begins with a number, in any locale. Beyond the range of a double it is
// an infinity or 0, beyond the range of an int the largest or the smallest one.
double real_value(const char* token, int length);
int integer_value(const char* token, int length);

// Tokens from here on end the process: the buffer of a scanner has an int for its size.
inline constexpr int kLargestToken = 1 << 29;

// A scanner class made by flex, reading `in` and copying what it does not know to standard output.
template <class Lexer>
class file_scanner : public Lexer {
 protected:
  explicit file_scanner(std::istream& in) : Lexer(in, std::cout) {}

  // The scanner asks for as much as its buffer has room for, and doubles the buffer when a token
  // fills it, so that the room has grown to the limit only when the token has.
  int LexerInput(char* buffer, int room) override {
    if (room >= kLargestToken) {
      this->LexerError("input buffer overflow, can't enlarge buffer because scanner uses REJECT");
    }
    return Lexer::LexerInput(buffer, room);
  }
};

}  // namespace planloc::detail

#endif  // PLANLOC_MODEL_SCANNER_COMMON_H_
