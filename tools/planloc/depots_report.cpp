#include "tools/planloc/depots_report.h"

#include <cmath>

#include "tools/planloc/csv_row.h"
#include "tools/planloc/json_text.h"
#include "tools/planloc/numbers.h"
#include "tools/planloc/text_page.h"

namespace planloc::tool {

std::string depots_report::depot_label(std::size_t k) const {
  if (k < points.size()) return "depot " + std::to_string(k);
  const std::string& name = existing_names[k - points.size()];
  return name.empty() ? "existing " + std::to_string(k) : name;
}

double depots_report::distance(std::size_t site, std::size_t k) const {
  const xy at = depot(k);
  const xy& a = sites.places()[site];
  return gauge.gauges[sites.table().gauge[site]]({at.x - a.x, at.y - a.y});
}

std::optional<double> depots_report::gap() const {
  if (!lower_bound) return std::nullopt;
  if (value == *lower_bound) return 0;
  return value != 0 ? std::optional((value - *lower_bound) / std::fabs(value)) : std::nullopt;
}

namespace {

struct depot_load {
  std::size_t sites = 0;
  double weight = 0;
  double cost = 0;
};

std::vector<depot_load> loads_of(const depots_report& r) {
  std::vector<depot_load> loads(r.depots());
  for (std::size_t i = 0; i < r.assignment.size(); ++i) {
    depot_load& load = loads[r.assignment[i]];
    const double weight = r.sites.table().weights[0][i];
    ++load.sites;
    load.weight += weight;
    load.cost += weight * r.distance(i, r.assignment[i]);
  }
  return loads;
}

std::string bound_text(const depots_report& r) {
  if (!r.lower_bound) return ", and no lower bound: how much better there is is not known";
  std::string text = ", at least " + rounded(*r.lower_bound, 10);
  if (r.status == "optimal") return text + ", proved optimal";
  const std::optional<double> gap = r.gap();
  return text + (gap ? ": a gap of " + rounded(100 * *gap, 3) + " %" : "");
}

std::string depot_rows(const depots_report& r) {
  if (r.tied) {
    text_table table({"depot", "place"}, 2);
    for (std::size_t k = 0; k < r.depots(); ++k) {
      table.add({r.depot_label(k),
                 place_text(r.sites.to_input(r.depot(k))) + ", " + r.sites.describe(r.depot(k))});
    }
    return table.text();
  }
  text_table table({"depot", "place", "sites", "weight", "cost"}, 2);
  const std::vector<depot_load> loads = loads_of(r);
  for (std::size_t k = 0; k < r.depots(); ++k) {
    table.add({r.depot_label(k),
               place_text(r.sites.to_input(r.depot(k))) + ", " + r.sites.describe(r.depot(k)),
               std::to_string(loads[k].sites), rounded(loads[k].weight), rounded(loads[k].cost)});
  }
  return table.text();
}

std::string site_rows(const depots_report& r) {
  text_table table({"site", "depot", "weight", r.gauge.measured(r.sites.unit()), "weighted"}, 2);
  std::vector<double> weighted;
  for (std::size_t i = 0; i < r.assignment.size(); ++i) {
    weighted.push_back(r.sites.table().weights[0][i] * r.distance(i, r.assignment[i]));
  }
  const std::vector<std::size_t> rows = rows_to_show(weighted);
  for (const std::size_t i : rows) {
    table.add({r.sites.label(i), r.depot_label(r.assignment[i]),
               rounded(r.sites.table().weights[0][i]), rounded(r.distance(i, r.assignment[i])),
               rounded(weighted[i])});
  }
  return table.text() + omitted_rows(r.sites.size(), rows.size(), "weighted distance");
}

}  // namespace

std::string depots_text(const depots_report& r) {
  std::string text = headed_line("Question", counted(r.points.size(), "new depot") + " for " +
                                                 counted(r.sites.size(), "site") +
                                                 (!r.tied   ? ", each site with its nearest"
                                                  : r.flows ? ", with flows between them"
                                                            : ", each with weights of its own") +
                                                 ", gauge " + r.gauge.name);
  text += headed_line("Value", rounded(r.value, 10) + bound_text(r) +
                                   (r.status == "stopped" ? " (the budget is used up)" : ""));
  text += projection_line(r.sites) + "\n" + depot_rows(r);
  return r.tied ? text : text + "\n" + site_rows(r);
}

std::string depots_json(const depots_report& r) {
  json_tree j;
  j["schema"] = "planloc.depots/1";
  j["status"] = r.status;
  j["gauge"] = r.gauge.name;
  j["points"] = places_of(r.sites, r.points);
  j["existing"] = places_of(r.sites, r.existing);
  j["assignment"] = r.tied ? json_tree() : json_tree(r.assignment);
  j["value"] = r.value;
  j["lower_bound"] = or_null(r.lower_bound);
  j["gap"] = or_null(r.gap());
  j["unit"] = text_or_null(r.sites.unit());
  j["projection"] = projection_of(r.sites);
  j["sites"] = json_tree::array();
  for (std::size_t i = 0; i < r.sites.size(); ++i) {
    json_tree row = {{"name", name_of(r.sites.table(), i)},
                     {"point", pair_of(r.sites.table().places[i])}};
    if (!r.tied) {
      row["weight"] = r.sites.table().weights[0][i];
      row["distance"] = r.distance(i, r.assignment[i]);
    }
    j["sites"].push_back(std::move(row));
  }
  return text_of(j, 1);
}

std::string depots_csv(const depots_report& r) {
  const site_table& t = r.sites.table();
  std::string text = std::string("kind,name,") + (t.lonlat ? "lon,lat" : "x,y") +
                     ",weight,depot,distance,weighted_distance\n";
  for (std::size_t k = 0; k < r.depots(); ++k) {
    const xy at = r.sites.to_input(r.depot(k));
    text += csv_row({k < r.points.size() ? "depot" : "existing", r.depot_label(k), exact(at.x),
                     exact(at.y), "", std::to_string(k), "", ""});
  }
  for (std::size_t i = 0; i < r.sites.size(); ++i) {
    const xy& at = t.places[i];
    std::vector<std::string> row = {"site", t.named ? t.names[i] : "", exact(at.x), exact(at.y)};
    if (r.tied) {
      row.insert(row.end(), {"", "", "", ""});
    } else {
      const double distance = r.distance(i, r.assignment[i]);
      row.insert(row.end(), {exact(t.weights[0][i]), std::to_string(r.assignment[i]),
                             exact(distance), exact(t.weights[0][i] * distance)});
    }
    text += csv_row(row);
  }
  return text;
}

}  // namespace planloc::tool
