#include "planloc/foundation/window/markup.h"

#include <algorithm>
#include <cctype>

namespace planloc::detail {

namespace {

struct font_name {
  std::string_view name;
  text_font font;
};
constexpr font_name kFonts[] = {{"rm", text_font::roman},
                                {"bf", text_font::bold},
                                {"it", text_font::italic},
                                {"tt", text_font::typewriter}};

struct color_name {
  std::string_view name;
  color colour;
};
constexpr color_name kColors[] = {
    {"white", white}, {"black", black},   {"red", red},       {"green", green},
    {"blue", blue},   {"yellow", yellow}, {"violet", violet}, {"orange", orange},
    {"cyan", cyan},   {"brown", brown},   {"pink", pink},     {"green2", green2},
    {"blue2", blue2}, {"grey1", grey1},   {"grey2", grey2},   {"grey3", grey3}};

template <class Table>
auto find_name(const Table& table, std::string_view name) {
  return std::find_if(std::begin(table), std::end(table),
                      [&](const auto& entry) { return entry.name == name; });
}

// Sets what the command asks for; false if there is no command of that name.
bool obey(std::string_view name, text_run& style) {
  if (const auto font = find_name(kFonts, name); font != std::end(kFonts)) {
    style.font = font->font;
    return true;
  }
  if (const auto colour = find_name(kColors, name); colour != std::end(kColors)) {
    style.colour = colour->colour;
    return true;
  }
  return false;
}

std::size_t name_length(std::string_view text) {
  const auto end =
      std::find_if(text.begin(), text.end(), [](unsigned char c) { return !std::isalnum(c); });
  return static_cast<std::size_t>(end - text.begin());
}

}  // namespace

std::vector<text_run> parse_markup(std::string_view line) {
  std::vector<text_run> runs;
  text_run run;
  const auto finish = [&] {
    if (!run.text.empty()) runs.push_back(run);
    run.text.clear();
  };
  while (!line.empty()) {
    if (line.front() == '\\') {
      const std::size_t length = name_length(line.substr(1));
      text_run next = run;
      if (obey(line.substr(1, length), next)) {
        finish();
        next.text.clear();
        run = next;
        line.remove_prefix(1 + length);
        if (!line.empty() && line.front() == ' ') line.remove_prefix(1);
        continue;
      }
    }
    run.text += line.front();
    line.remove_prefix(1);
  }
  finish();
  return runs;
}

}  // namespace planloc::detail
