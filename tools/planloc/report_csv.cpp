#include "tools/planloc/csv_row.h"
#include "tools/planloc/numbers.h"
#include "tools/planloc/report.h"

namespace planloc::tool {

namespace {

std::string number(const std::optional<double>& value) { return value ? exact(*value) : ""; }

}  // namespace

std::string report_csv(const solve_report& r) {
  const site_table& t = r.sites.table();
  std::string text = std::string("kind,name,") + (t.lonlat ? "lon,lat" : "x,y") +
                     ",weight,distance,weighted_distance,rank,share,status,value,lower_bound\n";
  const std::optional<xy> at = r.point ? std::optional(r.sites.to_input(*r.point)) : std::nullopt;
  text += csv_row({"answer", "", at ? exact(at->x) : "", at ? exact(at->y) : "", "", "", "", "", "",
                   r.status, number(r.value), number(r.lower_bound)});
  for (std::size_t i = 0; i < r.sites.size(); ++i) {
    std::vector<std::string> row = {"site", t.named ? t.names[i] : "", exact(t.places[i].x),
                                    exact(t.places[i].y), exact(t.weights[0][i])};
    if (r.figures.empty()) {
      row.resize(row.size() + 4);
    } else {
      const site_figures& f = r.figures[i];
      row.insert(row.end(), {exact(f.distance), exact(f.weighted_distance), std::to_string(f.rank),
                             exact(f.share)});
    }
    row.resize(row.size() + 3);
    text += csv_row(row);
  }
  return text;
}

}  // namespace planloc::tool
