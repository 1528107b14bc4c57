// Pieces that the JSON of several subcommands has.
#ifndef PLANLOC_TOOLS_PLANLOC_JSON_TEXT_H_
#define PLANLOC_TOOLS_PLANLOC_JSON_TEXT_H_

#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "tools/planloc/site_plane.h"

namespace planloc::tool {

using json = nlohmann::ordered_json;

inline json pair_of(const xy& p) { return json::array({p.x, p.y}); }

template <class T>
json or_null(const std::optional<T>& value) {
  return value ? json(*value) : json();
}

inline json text_or_null(const std::string& text) { return text.empty() ? json() : json(text); }

inline json name_of(const site_table& table, std::size_t i) {
  return table.named ? json(table.names[i]) : json();
}

// From the plane to the coordinates of the input.
inline json places_of(const site_plane& sites, const std::vector<xy>& places) {
  json list = json::array();
  for (const xy& p : sites.to_input(places)) list.push_back(pair_of(p));
  return list;
}

inline json projection_of(const site_plane& sites) {
  if (sites.projection() == nullptr) return nullptr;
  return {{"method", "azimuthal equidistant"},
          {"centre", pair_of(sites.projection()->centre())},
          {"largest_distortion", sites.projection()->distortion()}};
}

}  // namespace planloc::tool

#endif  // PLANLOC_TOOLS_PLANLOC_JSON_TEXT_H_
