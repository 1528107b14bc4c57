#include <cmath>

#include "tools/planloc/numbers.h"
#include "tools/planloc/report.h"
#include "tools/planloc/text_page.h"

namespace planloc::tool {

namespace {

constexpr int kValueDigits = 10;

std::string proof_text(const solve_report& r) {
  if (!r.lower_bound) return "no lower bound is known";
  const std::string bound = "at least " + rounded(*r.lower_bound, kValueDigits);
  if (r.status == "optimal") {
    return bound + ", proved optimal" + (r.exact ? "" : " to 1e-9 of the value");
  }
  return bound + (r.gap ? ": a gap of " + rounded(100 * *r.gap, 3) + " %" : "");
}

std::string optima_text(const solve_report& r) {
  if (r.whole_plane) return headed_line("Optima", "every place is as good");
  std::string text;
  for (const optimum_piece& piece : r.optima) {
    if (piece.corners.size() < 2) continue;
    std::string corners = piece.corners.size() == 2 ? "a segment:" : "a polygon:";
    for (const xy& c : r.sites.to_input(piece.corners)) corners += " " + place_text(c);
    text += headed_line("Optima", corners);
  }
  return text;
}

std::string answer_text(const solve_report& r) {
  if (r.status == "infeasible") return headed_line("Answer", "infeasible: no place is allowed");
  if (r.status == "unbounded") {
    std::string text = "unbounded: the value falls without end";
    if (r.direction) text += " towards the direction " + place_text(*r.direction);
    return headed_line("Answer", text);
  }
  if (!r.point) return headed_line("Answer", "none was found before the search was stopped");
  return headed_line(r.status == "stopped"    ? "So far"
                     : r.status == "far_away" ? "Far away"
                                              : "Best place",
                     place_text(r.sites.to_input(*r.point)) + ", " + r.sites.describe(*r.point)) +
         headed_line("Value", rounded(*r.value, kValueDigits) + ", " + proof_text(r)) +
         optima_text(r);
}

std::string site_rows(const solve_report& r) {
  text_table table(
      {"site", "weight", r.gauge.measured(r.sites.unit()), "weighted", "rank", "share"}, 1);
  std::vector<double> weighted;
  for (const site_figures& f : r.figures) weighted.push_back(f.weighted_distance);
  const std::vector<std::size_t> rows = rows_to_show(weighted);
  for (const std::size_t i : rows) {
    const site_figures& f = r.figures[i];
    table.add({r.sites.label(i), rounded(r.sites.table().weights[0][i]), rounded(f.distance),
               rounded(f.weighted_distance), std::to_string(f.rank),
               f.share != 0 ? rounded(std::round(1000 * f.share) / 10, 4) + " %" : ""});
  }
  return table.text() + omitted_rows(r.sites.size(), rows.size(), "weighted distance");
}

}  // namespace

std::string report_text(const solve_report& r) {
  std::string text =
      headed_line("Question", r.objective + " of the weighted distances from " +
                                  counted(r.sites.size(), "site") + ", gauge " + r.gauge.name);
  text += answer_text(r);
  text += projection_line(r.sites);
  if (!r.figures.empty()) text += "\n" + site_rows(r);
  return text;
}

}  // namespace planloc::tool
