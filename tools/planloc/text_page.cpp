#include "tools/planloc/text_page.h"

#include <algorithm>
#include <numeric>

#include "tools/planloc/numbers.h"

namespace planloc::tool {

namespace {

// In characters, as far as UTF-8 tells.
std::size_t width_of(const std::string& text) {
  return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char c) {
    return (static_cast<unsigned char>(c) & 0xc0) != 0x80;
  }));
}

}  // namespace

std::string headed_line(const char* head, const std::string& text) {
  constexpr std::size_t kHeadWidth = 12;
  std::string start = head;
  start.resize(kHeadWidth, ' ');
  return start + text + "\n";
}

std::string counted(std::size_t n, const std::string& what) {
  return std::to_string(n) + " " + what + (n == 1 ? "" : "s");
}

std::string place_text(const xy& p) {
  constexpr int kPlaceDigits = 8;
  return "(" + rounded(p.x, kPlaceDigits) + ", " + rounded(p.y, kPlaceDigits) + ")";
}

std::string projection_line(const site_plane& sites) {
  const local_projection* p = sites.projection();
  if (p == nullptr) return "";
  return headed_line("Projection", p->description() + "; lengths in km, wrong by at most " +
                                       rounded(100 * p->distortion(), 2) + " %");
}

std::vector<std::size_t> rows_to_show(const std::vector<double>& figures) {
  constexpr std::size_t kMostRows = 100;
  constexpr std::size_t kShown = 20;
  std::vector<std::size_t> rows(figures.size());
  std::iota(rows.begin(), rows.end(), std::size_t{0});
  if (rows.size() <= kMostRows) return rows;
  std::partial_sort(rows.begin(), rows.begin() + kShown, rows.end(),
                    [&](std::size_t a, std::size_t b) {
                      return figures[a] > figures[b] || (figures[a] == figures[b] && a < b);
                    });
  rows.resize(kShown);
  return rows;
}

std::string omitted_rows(std::size_t all, std::size_t shown, const char* figure) {
  if (shown == all) return {};
  return "\nThe " + std::to_string(shown) + " sites of " + std::to_string(all) +
         " with the largest " + figure + "; --output FILE.csv or --format csv has all.\n";
}

text_table::text_table(std::vector<std::string> header, std::size_t to_left) : to_left_(to_left) {
  rows_.push_back(std::move(header));
}

void text_table::add(std::vector<std::string> row) { rows_.push_back(std::move(row)); }

std::string text_table::text() const {
  std::vector<std::size_t> widths(rows_.front().size());
  for (const auto& row : rows_) {
    for (std::size_t c = 0; c < widths.size(); ++c)
      widths[c] = std::max(widths[c], width_of(row[c]));
  }
  std::string text;
  for (const auto& row : rows_) {
    for (std::size_t c = 0; c < widths.size(); ++c) {
      const std::string padding(widths[c] - width_of(row[c]), ' ');
      if (c > 0) text += "  ";
      text += c < to_left_ ? row[c] + padding : padding + row[c];
    }
    text.erase(text.find_last_not_of(' ') + 1);
    text += '\n';
  }
  return text;
}

}  // namespace planloc::tool
