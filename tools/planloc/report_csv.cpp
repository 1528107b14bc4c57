#include "tools/planloc/numbers.h"
#include "tools/planloc/report.h"

namespace planloc::tool {

namespace {

std::string cell(const std::string& text) {
  if (text.find_first_of(",\"\r\n") == std::string::npos) return text;
  std::string quotes = "\"";
  for (const char c : text) quotes += c == '"' ? std::string("\"\"") : std::string(1, c);
  return quotes + "\"";
}

std::string number(const std::optional<double>& value) { return value ? exact(*value) : ""; }

}  // namespace

std::string report_csv(const solve_report& r) {
  const site_table& t = r.sites.table();
  std::string text = std::string("kind,name,") + (t.lonlat ? "lon,lat" : "x,y") +
                     ",weight,distance,weighted_distance,rank,share,status,value,lower_bound\n";
  const std::optional<xy> at = r.point ? std::optional(r.sites.to_input(*r.point)) : std::nullopt;
  text += "answer,," + (at ? exact(at->x) + "," + exact(at->y) : std::string(",")) + ",,,,,," +
          r.status + "," + number(r.value) + "," + number(r.lower_bound) + "\n";
  for (std::size_t i = 0; i < r.sites.size(); ++i) {
    text += "site," + (t.named ? cell(t.names[i]) : "") + "," + exact(t.places[i].x) + "," +
            exact(t.places[i].y) + "," + exact(t.weights[0][i]) + ",";
    if (r.figures.empty()) {
      text += ",,,";
    } else {
      const site_figures& f = r.figures[i];
      text += exact(f.distance) + "," + exact(f.weighted_distance) + "," + std::to_string(f.rank) +
              "," + exact(f.share);
    }
    text += ",,,\n";
  }
  return text;
}

}  // namespace planloc::tool
