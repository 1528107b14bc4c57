#include "tools/planloc/compare_report.h"

#include <cmath>

#include "tools/planloc/csv_row.h"
#include "tools/planloc/json_text.h"
#include "tools/planloc/numbers.h"
#include "tools/planloc/text_page.h"

namespace planloc::tool {

namespace {

// "0.25", or "0.2 to 0.3".
std::string t_text(const compare_piece& piece) {
  if (piece.t_low == piece.t_high) return rounded(piece.t_low, 4);
  return rounded(piece.t_low, 4) + " to " + rounded(piece.t_high, 4);
}

std::string end_line(const compare_report& r, std::size_t k) {
  const compare_piece& piece = k == 0 ? r.pieces.front() : r.pieces.back();
  const compare_corner* best = &piece.corners.front();
  for (const compare_corner& c : piece.corners) {
    if (k == 0 ? c.value1 < best->value1 : c.value2 < best->value2) best = &c;
  }
  const char* head =
      r.distance ? (k == 0 ? "End near 1" : "End near 2") : (k == 0 ? "Best for 1" : "Best for 2");
  return headed_line(head, r.weights[k] + ": " + place_text(r.sites.to_input(best->at)) + ", " +
                               r.sites.describe(best->at) + "; values " + rounded(best->value1, 8) +
                               " and " + rounded(best->value2, 8));
}

std::string answer_text(const compare_report& r) {
  const std::string count =
      std::to_string(r.pieces.size()) + (r.pieces.size() == 1 ? " piece" : " pieces");
  if (r.status == "optimal") return count + ", the whole set, proved";
  std::string text = count + (r.status == "stopped" ? " before the limit" : " of a polyline");
  if (r.distance) {
    text += ": no place is better in both by more than " + rounded(100 * *r.distance, 3) +
            " % of their ranges, proved";
  }
  return text;
}

}  // namespace

const char* compare_piece::kind() const {
  return corners.size() == 1 ? "point" : corners.size() == 2 ? "segment" : "polygon";
}

void compare_report::take(const efficient_chain& chain) {
  status = chain.status == efficient_status::complete ? "optimal" : "stopped";
  for (const efficient_piece& p : chain.pieces) {
    if (p.corners.size() == 1 && chain.pieces.size() > 1) continue;
    compare_piece piece{.corners = {}, .t_low = p.t_low, .t_high = p.t_high};
    for (const efficient_corner& c : p.corners) piece.corners.push_back({c.at, c.value1, c.value2});
    pieces.push_back(std::move(piece));
  }
  for (const trade_off& v : chain.curve) curve.push_back({{0, 0}, v.value1, v.value2});
}

void compare_report::take(const efficient_polyline& line) {
  status = line.status == polyline_status::stopped ? "stopped" : "within_gap";
  if (std::isfinite(line.distance)) distance = line.distance;
  for (const polyline_point& p : line.points) curve.push_back({p.at, p.value1, p.value2});
  if (curve.size() == 1) pieces.push_back({.corners = curve});
  for (std::size_t k = 0; k + 1 < curve.size(); ++k) {
    const double rise = curve[k + 1].value1 - curve[k].value1;
    const double fall = curve[k].value2 - curve[k + 1].value2;
    const double t = rise + fall > 0 ? rise / (rise + fall) : 0.5;
    pieces.push_back({.corners = {curve[k], curve[k + 1]}, .t_low = t, .t_high = t});
  }
}

std::string compare_text(const compare_report& r) {
  std::string text = headed_line(
      "Question", "places that none beats in both sums, weighted by " + r.weights[0] + " and by " +
                      r.weights[1] + ", " + counted(r.sites.size(), "site") + ", gauge " + r.gauge);
  text += headed_line("Answer", answer_text(r));
  if (r.pieces.empty()) return text;
  text += end_line(r, 0);
  if (r.status != "stopped") text += end_line(r, 1);
  text += projection_line(r.sites);
  text += "\nA piece is optimal for (1 - t) times the first sum plus t times the second.\n\n";
  text_table table({"piece", "kind", "place", "t", r.weights[0], r.weights[1]}, 3);
  std::size_t number = 0;
  for (const compare_piece& piece : r.pieces) {
    ++number;
    for (std::size_t k = 0; k < piece.corners.size(); ++k) {
      const compare_corner& c = piece.corners[k];
      table.add({k == 0 ? std::to_string(number) : "", k == 0 ? piece.kind() : "",
                 place_text(r.sites.to_input(c.at)), k == 0 ? t_text(piece) : "",
                 rounded(c.value1, 8), rounded(c.value2, 8)});
    }
  }
  return text + table.text();
}

std::string compare_json(const compare_report& r) {
  json_tree j;
  j["schema"] = "planloc.compare/1";
  j["status"] = r.status;
  j["weights"] = r.weights;
  j["gauge"] = r.gauge;
  j["pieces"] = json_tree::array();
  for (const compare_piece& piece : r.pieces) {
    json_tree corners = json_tree::array();
    json_tree values = json_tree::array();
    for (const compare_corner& c : piece.corners) {
      corners.push_back(pair_of(r.sites.to_input(c.at)));
      values.push_back(json_tree::array({c.value1, c.value2}));
    }
    j["pieces"].push_back({{"kind", piece.kind()},
                           {"corners", corners},
                           {"values", values},
                           {"t", (piece.t_low + piece.t_high) / 2},
                           {"t_low", piece.t_low},
                           {"t_high", piece.t_high}});
  }
  j["curve"] = json_tree::array();
  for (const compare_corner& v : r.curve) j["curve"].push_back({v.value1, v.value2});
  j["distance"] = or_null(r.distance);
  j["unit"] = text_or_null(r.sites.unit());
  j["projection"] = projection_of(r.sites);
  return text_of(j, 1);
}

std::string compare_csv(const compare_report& r) {
  std::string text =
      csv_row({"piece", "kind", r.sites.table().lonlat ? "lon" : "x",
               r.sites.table().lonlat ? "lat" : "y", "value1", "value2", "t_low", "t_high"});
  std::size_t number = 0;
  for (const compare_piece& piece : r.pieces) {
    ++number;
    for (const compare_corner& c : piece.corners) {
      const xy at = r.sites.to_input(c.at);
      text += csv_row({std::to_string(number), piece.kind(), exact(at.x), exact(at.y),
                       exact(c.value1), exact(c.value2), exact(piece.t_low), exact(piece.t_high)});
    }
  }
  return text;
}

}  // namespace planloc::tool
