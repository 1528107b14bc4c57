#include <nlohmann/json.hpp>

#include "tools/planloc/report.h"

namespace planloc::tool {

namespace {

using nlohmann::ordered_json;

ordered_json pair_of(const xy& p) { return ordered_json::array({p.x, p.y}); }

template <class T>
ordered_json or_null(const std::optional<T>& value) {
  return value ? ordered_json(*value) : ordered_json();
}

ordered_json corners_of(const site_plane& sites, const std::vector<xy>& corners) {
  ordered_json list = ordered_json::array();
  for (const xy& c : sites.to_input(corners)) list.push_back(pair_of(c));
  return list;
}

ordered_json site_of(const solve_report& r, std::size_t i) {
  const site_table& t = r.sites.table();
  ordered_json row;
  row["name"] = t.named ? ordered_json(t.names[i]) : ordered_json();
  row["point"] = pair_of(t.places[i]);
  row["weight"] = t.weights[0][i];
  const site_figures f = r.figures.empty() ? site_figures() : r.figures[i];
  for (const char* key : {"distance", "weighted_distance", "rank", "share"}) row[key] = nullptr;
  if (r.figures.empty()) return row;
  row["distance"] = f.distance;
  row["weighted_distance"] = f.weighted_distance;
  row["rank"] = f.rank;
  row["share"] = f.share;
  return row;
}

ordered_json projection_of(const site_plane& sites) {
  if (sites.projection() == nullptr) return nullptr;
  return {{"method", "azimuthal equidistant"},
          {"centre", pair_of(sites.projection()->centre())},
          {"largest_distortion", sites.projection()->distortion()}};
}

}  // namespace

std::string report_json(const solve_report& r) {
  ordered_json j;
  j["schema"] = "planloc.solve/1";
  j["status"] = r.status;
  j["exact"] = r.exact;
  j["objective"] = r.objective;
  j["gauge"] = r.gauge;
  j["point"] = r.point ? pair_of(r.sites.to_input(*r.point)) : ordered_json();
  j["value"] = or_null(r.value);
  j["lower_bound"] = or_null(r.lower_bound);
  j["gap"] = or_null(r.gap);
  j["optima"] = ordered_json::array();
  for (const optimum_piece& piece : r.optima) {
    j["optima"].push_back(
        {{"kind", piece.kind()}, {"corners", corners_of(r.sites, piece.corners)}});
  }
  j["direction"] = r.direction ? pair_of(*r.direction) : ordered_json();
  j["nearest"] = nullptr;
  if (r.point) {
    const std::size_t i = r.sites.nearest(*r.point);
    const xy& a = r.sites.places()[i];
    j["nearest"] = {
        {"site", i},
        {"name", r.sites.table().named ? ordered_json(r.sites.table().names[i]) : ordered_json()},
        {"distance", gauge::euclidean()({r.point->x - a.x, r.point->y - a.y})}};
  }
  j["unit"] = r.sites.unit().empty() ? ordered_json() : ordered_json(r.sites.unit());
  j["projection"] = projection_of(r.sites);
  j["sites"] = ordered_json::array();
  for (std::size_t i = 0; i < r.sites.size(); ++i) j["sites"].push_back(site_of(r, i));
  return j.dump(1) + "\n";
}

}  // namespace planloc::tool
