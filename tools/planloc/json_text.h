// Pieces that the JSON of several subcommands has.
#ifndef PLANLOC_TOOLS_PLANLOC_JSON_TEXT_H_
#define PLANLOC_TOOLS_PLANLOC_JSON_TEXT_H_

#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "tools/planloc/site_plane.h"

namespace planloc::tool {

using json_tree = nlohmann::ordered_json;

// A line, or lines that are indented. Bytes that are no UTF-8, as names of files may have, are
// replaced.
inline std::string text_of(const json_tree& j, int indent = -1) {
  return j.dump(indent, ' ', false, json_tree::error_handler_t::replace) + "\n";
}

inline json_tree pair_of(const xy& p) { return json_tree::array({p.x, p.y}); }

template <class T>
json_tree or_null(const std::optional<T>& value) {
  return value ? json_tree(*value) : json_tree();
}

inline json_tree text_or_null(const std::string& text) {
  return text.empty() ? json_tree() : json_tree(text);
}

inline json_tree name_of(const site_table& table, std::size_t i) {
  return table.named ? json_tree(table.names[i]) : json_tree();
}

// From the plane to the coordinates of the input.
inline json_tree places_of(const site_plane& sites, const std::vector<xy>& places) {
  json_tree list = json_tree::array();
  for (const xy& p : sites.to_input(places)) list.push_back(pair_of(p));
  return list;
}

inline json_tree projection_of(const site_plane& sites) {
  if (sites.projection() == nullptr) return nullptr;
  return {{"method", "azimuthal equidistant"},
          {"centre", pair_of(sites.projection()->centre())},
          {"largest_distortion", sites.projection()->distortion()}};
}

}  // namespace planloc::tool

#endif  // PLANLOC_TOOLS_PLANLOC_JSON_TEXT_H_
