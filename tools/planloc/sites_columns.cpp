#include "tools/planloc/sites_columns.h"

#include <cpl_string.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cmath>
#include <utility>

#include "tools/planloc/errors.h"
#include "tools/planloc/numbers.h"

namespace planloc::tool {

namespace {

std::string lower(std::string_view text) {
  std::string result(text);
  for (char& c : result) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return result;
}

std::string listed(const std::vector<std::string>& columns) {
  constexpr std::size_t kMost = 20;
  std::string text;
  for (std::size_t i = 0; i < std::min(columns.size(), kMost); ++i) {
    text += (i > 0 ? ", " : "") + columns[i];
  }
  return text + (columns.size() > kMost ? ", ..." : "");
}

class column_finder {
 public:
  column_finder(const std::string& where, const std::vector<std::string>& columns)
      : where_(where), columns_(columns) {}

  // Exactly this name, or the only one that differs in case alone.
  std::optional<std::size_t> find(std::string_view name) const {
    std::optional<std::size_t> found = only(columns_, name, name);
    if (found) return found;
    std::vector<std::string> small;
    for (const std::string& c : columns_) small.push_back(lower(c));
    return only(small, lower(name), name);
  }

  std::optional<std::size_t> find_any(std::initializer_list<const char*> names) const {
    for (const char* name : names) {
      if (const std::optional<std::size_t> found = find(name)) return found;
    }
    return std::nullopt;
  }

  std::size_t need(const std::string& name, const char* option) const {
    if (const std::optional<std::size_t> found = find(name)) {
      if (CPLIsUTF8(name.c_str(), -1)) return *found;
      fail_data(where_ + ": the column " + in_quotes(name) + " (" + option +
                ") is not UTF-8: convert the file, as in iconv -f latin1 -t utf8");
    }
    fail_data(where_ + ": no column " + in_quotes(name) + " (" + option + "): the columns are " +
              listed(columns_));
  }

 private:
  std::optional<std::size_t> only(const std::vector<std::string>& columns, std::string_view name,
                                  std::string_view shown) const {
    const auto first = std::find(columns.begin(), columns.end(), name);
    if (first == columns.end()) return std::nullopt;
    if (std::find(first + 1, columns.end(), name) != columns.end()) {
      fail_data(where_ + ": more than one column " + in_quotes(shown) +
                ": rename all but one, or choose another by option");
    }
    return static_cast<std::size_t>(first - columns.begin());
  }

  const std::string& where_;
  const std::vector<std::string>& columns_;
};

bool is_one_of(const std::string& name, std::initializer_list<const char*> names) {
  return std::find(names.begin(), names.end(), lower(name)) != names.end();
}

void find_coordinates(const std::string& where, const std::vector<std::string>& columns,
                      const site_source& source, const column_finder& finder, site_columns& found) {
  if (!source.x.empty()) {
    found.x = finder.need(source.x, "--x");
    found.y = finder.need(source.y, "--y");
    const bool degrees = is_one_of(source.x, {"lon", "longitude", "lng", "long"}) &&
                         is_one_of(source.y, {"lat", "latitude"});
    found.lonlat = source.lonlat || (degrees && !source.planar);
    return;
  }
  const auto x = finder.find("x");
  const auto y = finder.find("y");
  const auto lon = finder.find_any({"lon", "longitude", "lng"});
  const auto lat = finder.find_any({"lat", "latitude"});
  const bool planar = x && y;
  const bool degrees = lon && lat;
  if (planar && degrees && !source.planar && !source.lonlat) {
    fail_data(where + ": both x, y and lon, lat: say --planar or --lonlat");
  }
  if (degrees && !source.planar) {
    found = {.x = lon, .y = lat, .lonlat = true};
  } else if (planar) {
    found = {.x = x, .y = y, .lonlat = source.lonlat};
  } else if (degrees) {
    found = {.x = lon, .y = lat};
  } else {
    std::string message =
        where + ": no columns x, y or lon, lat: the columns are " + listed(columns);
    const bool numbers = std::all_of(columns.begin(), columns.end(), [](const std::string& c) {
      return parse_number(c).has_value();
    });
    message += numbers ? "; the first line must be a header" : "; name yours with --x and --y";
    fail_data(message);
  }
}

}  // namespace

site_columns find_columns(const std::string& where, const std::vector<std::string>& columns,
                          const site_source& source, bool geometry) {
  const column_finder finder(where, columns);
  site_columns found;
  if (!geometry || !source.x.empty()) find_coordinates(where, columns, source, finder, found);
  for (const std::string& w : source.weights) {
    found.weights.push_back(finder.need(w, source.weights_option));
  }
  if (source.weights.empty() && !source.unweighted) {
    if (const auto weight = finder.find("weight")) found.weights.push_back(*weight);
  }
  if (!source.gauge_numbers && !source.unweighted && finder.find("gauge")) {
    warn(where + ": the column 'gauge' is not used: only a gauge file has gauges with numbers");
  }
  found.name = source.name.empty() ? finder.find("name") : finder.need(source.name, "--name");
  if (source.gauge_numbers) {
    found.gauge =
        source.gauge.empty() ? finder.find("gauge") : finder.need(source.gauge, "--gauge-column");
  }
  return found;
}

double cell_reader::number(const std::string& place, std::size_t column,
                           std::string_view cell) const {
  const std::optional<double> value = parse_number(cell);
  if (value) return *value;
  const std::string start = place + ": column " + in_quotes(columns_[column]) + ": ";
  if (trimmed(cell).empty()) fail_data(start + "the cell is empty: expected a number");
  if (has_decimal_comma(cell)) {
    fail_data(start + in_quotes(cell) +
              " has a comma: write the number with a decimal point, without " +
              "separators of thousands");
  }
  if (has_thousands(cell)) {
    fail_data(start + in_quotes(cell) + " has a separator of thousands: write the digits alone");
  }
  fail_data(start + in_quotes(cell) + " is not a finite number");
}

std::optional<double> cell_reader::weight(const std::string& place, std::size_t column,
                                          double value) const {
  if (value >= kLeastNumber && value <= kMostNumber) return value;
  if (value == 0 && source_.zero_weights) return value;
  if (value == 0 && source_.drop_zero) return std::nullopt;
  const char* rule = value > 0              ? "from 1e-36 to 1e36"
                     : source_.zero_weights ? "0 or positive"
                                            : "positive";
  fail_data(place + ": column " + in_quotes(columns_[column]) + ": the weight is " +
            rounded(value) + ": must be " + rule +
            (value == 0 ? "; --drop-zero leaves rows of weight 0 out" : ""));
}

std::uint32_t cell_reader::gauge(const std::string& place, std::size_t column,
                                 std::string_view cell) const {
  const std::optional<std::size_t> number = parse_count(cell);
  if (number && *number < source_.gauges) return static_cast<std::uint32_t>(*number);
  fail_data(place + ": column " + in_quotes(columns_[column]) + ": " + in_quotes(trimmed(cell)) +
            " is not the number of a gauge: the file has " + std::to_string(source_.gauges) +
            ", counted from 0");
}

void check_degrees(const std::string& place, const xy& lonlat) {
  if (std::fabs(lonlat.y) > 90) {
    const bool swapped = std::fabs(lonlat.x) <= 90;
    fail_data(place + ": the latitude is " + rounded(lonlat.y, 10) + ": must be from -90 to 90; " +
              (swapped ? "are longitude and latitude swapped? " : "") +
              "--planar takes planar coordinates as they are");
  }
  if (lonlat.x < -180 || lonlat.x > 360) {
    fail_data(place + ": the longitude is " + rounded(lonlat.x, 10) +
              ": must be from -180 to 180 (or 360); --planar takes planar coordinates as they are");
  }
}

void check_planar(const std::string& place, const xy& at) {
  for (const auto& [name, value] : {std::pair{"x", at.x}, std::pair{"y", at.y}}) {
    if (std::fabs(value) <= kMostNumber) continue;
    fail_data(place + ": " + name + " is " + rounded(value) +
              ": must be at most 1e36 in magnitude");
  }
}

}  // namespace planloc::tool
