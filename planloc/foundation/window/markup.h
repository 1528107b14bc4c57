// The markup of text lines in panels: "\bf\red Error" is the word Error, bold and red.
//
// A command is a backslash and a name, and holds to the end of the line or to the next command of
// its kind. One blank behind a command belongs to it.
//   font    \rm (as at the start), \bf bold, \it italic, \tt fixed width
//   colour  \black (as at the start) and the other names of color.h: \white, \red, \green, ...
// A backslash before anything else is part of the text.
#ifndef PLANLOC_FOUNDATION_WINDOW_MARKUP_H_
#define PLANLOC_FOUNDATION_WINDOW_MARKUP_H_

#include <string>
#include <string_view>
#include <vector>

#include "planloc/foundation/window/color.h"

namespace planloc::detail {

enum class text_font { roman, bold, italic, typewriter };

// A piece of text in one font and colour.
struct text_run {
  std::string text;
  text_font font = text_font::roman;
  color colour = black;

  bool operator==(const text_run&) const = default;
};

// The pieces of one line in order, none of them empty.
std::vector<text_run> parse_markup(std::string_view line);

}  // namespace planloc::detail

#endif  // PLANLOC_FOUNDATION_WINDOW_MARKUP_H_
