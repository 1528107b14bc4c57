#include "planloc/driver/long_options.h"

#include <algorithm>
#include <charconv>
#include <numeric>
#include <string_view>

namespace planloc {

const char* const kHelp =
    "usage: cellwalk -d frame -l locations -g gauges -p parameters -o log -s page [options]\n"
    "\n"
    "Looks for the place of one new facility: a point with a small ordered median of the weighted\n"
    "gauge distances from the existing facilities. The last Sol= line of the log is the answer.\n"
    "\n"
    "  -d file           in: the part of the plane that the picture shows: xmin xmax ymin 0\n"
    "  -l file           in: the existing facilities: coordinates, weight, gauge number, name\n"
    "  -g file           in: the gauges, by the vertices of their unit balls\n"
    "  -p file           in: order weights and rows; the program make_parameters writes it\n"
    "  -o file           out: the log\n"
    "  -s file           out: the PostScript page\n"
    "  --picture=file    out: the picture of the window as .png, .svg or .pdf\n"
    "  --max-passes=N    end a walk that is not through after N programs, with status 3\n"
    "  --help            this page\n"
    "  --version         the version\n"
    "\n"
    "Exit status: 0 at the end of a run, 1 for an input that is refused, 3 by --max-passes.\n"
    "On a display the run waits for the button Close. The forms of the files and all messages are "
    "in\n"
    "the installed documents, file-formats.md and errors.md.\n";

namespace {

constexpr std::string_view kNames[] = {"--picture", "--max-passes", "--help", "--version"};

// How many characters have to be put in, left out or exchanged. (Levenshtein, 1966)
std::size_t edits(std::string_view a, std::string_view b) {
  std::vector<std::size_t> row(b.size() + 1);
  std::iota(row.begin(), row.end(), 0);
  for (std::size_t i = 1; i <= a.size(); ++i) {
    std::size_t diagonal = row[0];
    row[0] = i;
    for (std::size_t j = 1; j <= b.size(); ++j) {
      const std::size_t above = row[j];
      row[j] = std::min({above + 1, row[j - 1] + 1, diagonal + (a[i - 1] == b[j - 1] ? 0 : 1)});
      diagonal = above;
    }
  }
  return row[b.size()];
}

std::string unknown(std::string_view name) {
  const auto* const nearest =
      std::min_element(std::begin(kNames), std::end(kNames),
                       [&](auto a, auto b) { return edits(name, a) < edits(name, b); });
  const std::string refusal = "unknown option " + std::string(name);
  return edits(name, *nearest) > 3 ? refusal : refusal + " (is it " + std::string(*nearest) + "?)";
}

}  // namespace

long_options parse_long_options(int argc, const char* const* argv) {
  long_options found;
  for (int i = 0; i < argc; ++i) {
    const std::string_view argument = argv[i];
    if (i == 0 || !argument.starts_with("--")) {
      found.others.push_back(argv[i]);
      continue;
    }
    const std::size_t sign = argument.find('=');
    const std::string_view name = argument.substr(0, sign);
    if (name == "--picture" || name == "--max-passes") {
      if (sign == std::string_view::npos && i + 1 == argc) {
        found.refusal = std::string(name) + " expects a value";
        return found;
      }
      const char* const value = sign == std::string_view::npos ? argv[++i] : argv[i] + sign + 1;
      if (name == "--picture") {
        found.picture = string(value);
        continue;
      }
      const std::string_view digits = value;
      const auto [end, error] =
          std::from_chars(digits.data(), digits.data() + digits.size(), found.max_passes);
      if (error != std::errc() || end != digits.data() + digits.size() || found.max_passes < 1) {
        found.refusal = "--max-passes expects a number from 1 on, found " + std::string(digits);
        return found;
      }
    } else if (argument == "--help") {
      found.help = true;
    } else if (argument == "--version") {
      found.version = true;
    } else {
      found.refusal = unknown(name);
      return found;
    }
  }
  return found;
}

}  // namespace planloc
