#include "tools/planloc/suggest.h"

#include <algorithm>
#include <numeric>

namespace planloc::tool {

namespace {

std::size_t keystrokes(std::string_view from, std::string_view to) {
  std::vector<std::size_t> row(to.size() +
                               1);  // from the part of `from` so far to each part of `to`
  std::iota(row.begin(), row.end(), std::size_t{0});
  for (const char c : from) {
    std::size_t diagonal = row[0]++;
    for (std::size_t k = 1; k < row.size(); ++k) {
      const std::size_t replaced = diagonal + (c == to[k - 1] ? 0 : 1);
      diagonal = row[k];
      row[k] = std::min({row[k] + 1, row[k - 1] + 1, replaced});
    }
  }
  return row.back();
}

}  // namespace

std::string did_you_mean(std::string_view word, const std::vector<std::string>& names) {
  const auto nearest =
      std::min_element(names.begin(), names.end(), [&](const std::string& a, const std::string& b) {
        return keystrokes(word, a) < keystrokes(word, b);
      });
  if (nearest == names.end() || 2 * keystrokes(word, *nearest) > word.size()) return {};
  return ": did you mean " + *nearest + "?";
}

}  // namespace planloc::tool
