// What a mistyped word may have been.
#ifndef PLANLOC_TOOLS_PLANLOC_SUGGEST_H_
#define PLANLOC_TOOLS_PLANLOC_SUGGEST_H_

#include <string>
#include <string_view>
#include <vector>

namespace planloc::tool {

// ": did you mean solve?", for the name that takes the fewest keystrokes (Levenshtein 1966), at
// most a third of the word's length; else nothing.
std::string did_you_mean(std::string_view word, const std::vector<std::string>& names);

}  // namespace planloc::tool

#endif  // PLANLOC_TOOLS_PLANLOC_SUGGEST_H_
