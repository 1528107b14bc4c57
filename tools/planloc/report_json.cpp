#include "tools/planloc/json_text.h"
#include "tools/planloc/report.h"

namespace planloc::tool {

namespace {

json_tree site_of(const solve_report& r, std::size_t i) {
  const site_table& t = r.sites.table();
  json_tree row;
  row["name"] = name_of(t, i);
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

}  // namespace

std::string report_json(const solve_report& r) {
  json_tree j;
  j["schema"] = "planloc.solve/1";
  j["status"] = r.status;
  j["exact"] = r.exact;
  j["objective"] = r.objective;
  j["gauge"] = r.gauge.name;
  j["point"] = r.point ? pair_of(r.sites.to_input(*r.point)) : json_tree();
  j["value"] = or_null(r.value);
  j["lower_bound"] = or_null(r.lower_bound);
  j["gap"] = or_null(r.gap);
  j["optima"] = json_tree::array();
  for (const optimum_piece& piece : r.optima) {
    j["optima"].push_back({{"kind", piece.kind()}, {"corners", places_of(r.sites, piece.corners)}});
  }
  j["optima_complete"] = r.optima_complete;
  j["direction"] = r.direction ? pair_of(*r.direction) : json_tree();
  j["nearest"] = nullptr;
  if (r.point) {
    const std::size_t i = r.sites.nearest(*r.point);
    const xy& a = r.sites.places()[i];
    j["nearest"] = {{"site", i},
                    {"name", name_of(r.sites.table(), i)},
                    {"distance", gauge::euclidean()({r.point->x - a.x, r.point->y - a.y})}};
  }
  j["unit"] = text_or_null(r.sites.unit());
  j["projection"] = projection_of(r.sites);
  j["sites"] = json_tree::array();
  for (std::size_t i = 0; i < r.sites.size(); ++i) j["sites"].push_back(site_of(r, i));
  return text_of(j, 1);
}

}  // namespace planloc::tool
