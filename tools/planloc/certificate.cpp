#include "tools/planloc/certificate.h"

#include <array>
#include <cmath>
#include <stdexcept>

#include "tools/planloc/errors.h"
#include "tools/planloc/json_text.h"

namespace planloc::tool {

namespace {

constexpr const char* kSchema = "planloc.certificate/1";

xy pair_from(const json_tree& j) { return {j.at(0).get<double>(), j.at(1).get<double>()}; }

std::vector<xy> pairs_from(const json_tree& j) {
  std::vector<xy> pairs;
  for (const json_tree& p : j) pairs.push_back(pair_from(p));
  return pairs;
}

json_tree pairs_of(std::span<const xy> pairs) {
  json_tree list = json_tree::array();
  for (const xy& p : pairs) list.push_back(pair_of(p));
  return list;
}

// ----- The question -----

json_tree gauge_of(const gauge& g) {
  if (g.kind() == gauge::shape::euclidean) return {{"kind", "euclidean"}};
  if (g.kind() == gauge::shape::lp) return {{"kind", "lp"}, {"p", g.p()}};
  return {{"kind", "polyhedral"}, {"vertices", pairs_of(g.vertices())}};
}

gauge gauge_from(const json_tree& j) {
  const std::string kind = j.at("kind");
  if (kind == "euclidean") return gauge::euclidean();
  if (kind == "lp") return gauge::lp(j.at("p").get<double>());
  return gauge::polyhedral(pairs_from(j.at("vertices")));
}

json_tree region_of(const region& r) {
  json_tree polygons = json_tree::array();
  for (const region_polygon& p : r) {
    json_tree rings = json_tree::array();
    for (const ring& corners : p) rings.push_back(pairs_of(corners));
    polygons.push_back(std::move(rings));
  }
  return polygons;
}

region region_from(const json_tree& j) {
  region r;
  for (const json_tree& polygon : j) {
    r.emplace_back();
    for (const json_tree& corners : polygon) r.back().push_back(pairs_from(corners));
  }
  return r;
}

json_tree source_of(const site_source& s) {
  return {{"layer", s.layer},
          {"x", s.x},
          {"y", s.y},
          {"weights", s.weights},
          {"name", s.name},
          {"gauge", s.gauge},
          {"lonlat", s.lonlat},
          {"planar", s.planar},
          {"drop_zero", s.drop_zero},
          {"gauge_numbers", s.gauge_numbers}};
}

site_source source_from(const json_tree& j) {
  site_source s;
  s.layer = j.at("layer");
  s.x = j.at("x");
  s.y = j.at("y");
  s.weights = j.at("weights").get<std::vector<std::string>>();
  s.name = j.at("name");
  s.gauge = j.at("gauge");
  s.lonlat = j.at("lonlat");
  s.planar = j.at("planar");
  s.drop_zero = j.at("drop_zero");
  s.gauge_numbers = j.at("gauge_numbers");
  return s;
}

// ----- The proof -----

json_tree exact_of(const exact_point& p) {
  return p.empty() ? json_tree() : json_tree::array({p.x, p.y});
}

exact_point exact_from(const json_tree& j) {
  return j.is_null() ? exact_point{} : exact_point{j.at(0), j.at(1)};
}

json_tree pieces_of(const std::vector<affine_piece>& pieces) {
  json_tree list = json_tree::array();
  for (const affine_piece& p : pieces) {
    json_tree kinks = json_tree::array();
    for (const affine_piece::kink& k : p.kinks) {
      kinks.push_back({{"site", k.site}, {"slope", pair_of(k.slope)}});
    }
    list.push_back({{"multiplier", p.multiplier},
                    {"taken_at", pair_of(p.taken_at)},
                    {"edge", p.edge},
                    {"rank", p.rank},
                    {"kinks", kinks}});
  }
  return list;
}

std::vector<affine_piece> pieces_from(const json_tree& j) {
  std::vector<affine_piece> pieces;
  for (const json_tree& one : j) {
    affine_piece p;
    p.multiplier = one.at("multiplier");
    p.taken_at = pair_from(one.at("taken_at"));
    p.edge = one.at("edge").get<std::vector<std::uint32_t>>();
    p.rank = one.at("rank").get<std::vector<std::uint32_t>>();
    for (const json_tree& k : one.at("kinks")) {
      p.kinks.push_back({k.at("site").get<std::uint32_t>(), pair_from(k.at("slope"))});
    }
    pieces.push_back(std::move(p));
  }
  return pieces;
}

// One letter a triangle.
constexpr std::string_view kReasons = "hbef";

std::string reasons_of(const std::vector<branch_certificate::reason>& reasons) {
  std::string text;
  for (const auto r : reasons) text += kReasons.at(static_cast<std::size_t>(r));
  return text;
}

std::vector<branch_certificate::reason> reasons_from(const std::string& text) {
  std::vector<branch_certificate::reason> reasons;
  for (const char c : text) {
    const std::size_t k = kReasons.find(c);
    if (k == std::string_view::npos) throw std::runtime_error("a reason is none of h, b, e, f");
    reasons.push_back(static_cast<branch_certificate::reason>(k));
  }
  return reasons;
}

struct proof_writer {
  json_tree operator()(const std::monostate&) const { return {{"kind", "none"}}; }
  json_tree operator()(const convex_certificate& c) const {
    return {{"kind", "convex"}, {"base", pair_of(c.base)}, {"pieces", pieces_of(c.pieces)}};
  }
  json_tree operator()(const branch_certificate& c) const {
    return {{"kind", "branch"},
            {"base", pair_of(c.base)},
            {"half", c.half},
            {"axes", {pair_of(c.axes.along), pair_of(c.axes.across)}},
            {"outside", reasons_of(c.outside)},
            {"to_infinity", c.to_infinity},
            {"cells", reasons_of(c.cells)}};
  }
  json_tree operator()(const direction_certificate& c) const {
    return {{"kind", "direction"}, {"direction", pair_of(c.direction)}};
  }
  json_tree operator()(const boundary_certificate& c) const {
    return {{"kind", "boundary"},
            {"outside", exact_of(c.outside)},
            {"base", pair_of(c.base)},
            {"pieces", pieces_of(c.pieces)}};
  }
};

// Those of the plane where none are given.
skewed_axes axes_from(const json_tree& j) {
  if (!j.contains("axes")) return {};
  return {pair_from(j.at("axes").at(0)), pair_from(j.at("axes").at(1))};
}

certificate proof_from(const json_tree& j) {
  const std::string kind = j.at("kind");
  if (kind == "convex") {
    return convex_certificate{.pieces = pieces_from(j.at("pieces")),
                              .base = pair_from(j.at("base"))};
  }
  if (kind == "branch") {
    return branch_certificate{.base = pair_from(j.at("base")),
                              .half = j.at("half"),
                              .axes = axes_from(j),
                              .outside = reasons_from(j.at("outside")),
                              .to_infinity = j.value("to_infinity", false),
                              .cells = reasons_from(j.at("cells"))};
  }
  if (kind == "direction") return direction_certificate{pair_from(j.at("direction"))};
  if (kind == "boundary") {
    return boundary_certificate{.outside = exact_from(j.at("outside")),
                                .pieces = pieces_from(j.at("pieces")),
                                .base = pair_from(j.at("base"))};
  }
  return std::monostate();
}

constexpr std::array<const char*, 6> kStatuses = {"optimal",    "within_gap", "unbounded",
                                                  "infeasible", "stopped",    "far_away"};

solution_status status_from(const std::string& text) {
  for (std::size_t k = 0; k < kStatuses.size(); ++k) {
    if (kStatuses[k] == text) return static_cast<solution_status>(k);
  }
  throw std::runtime_error("the status is none that there is");
}

// Not finite where there is none.
double number_from(const json_tree& j, double otherwise) {
  return j.is_null() ? otherwise : j.get<double>();
}

}  // namespace

std::string certificate_text(const certificate_file& c) {
  json_tree question = {{"objective", c.objective},
                        {"gauge", c.gauge},
                        {"sites", c.sites},
                        {"columns", source_of(c.source)}};
  question["gauges"] = json_tree::array();
  for (const gauge& g : c.gauges) question["gauges"].push_back(gauge_of(g));
  question["order_weights"] = json_tree::array();
  for (const order_run& r : c.lambda) question["order_weights"].push_back({r.weight, r.count});
  question["allowed"] = c.where.allowed ? region_of(*c.where.allowed) : json_tree();
  question["forbidden"] = region_of(c.where.forbidden);
  const solution& s = c.answer;
  const json_tree answer = {{"status", kStatuses.at(static_cast<std::size_t>(s.status))},
                            {"point", pair_of(s.point)},
                            {"value", s.value},
                            {"lower_bound", s.lower_bound},
                            {"exact", exact_of(s.exact)}};
  const json_tree all = {{"schema", kSchema},
                         {"question", question},
                         {"answer", answer},
                         {"proof", std::visit(proof_writer(), s.proof)}};
  return text_of(all);
}

certificate_file read_certificate(const std::string& file, std::string_view text) {
  const json_tree all = json_tree::parse(text, nullptr, false);
  if (all.is_discarded())
    fail_data(file + ": is not JSON: expected a certificate of planloc solve");
  try {
    if (all.at("schema") != kSchema) {
      fail_data(file + ": the schema is " + all.at("schema").dump() + ": expected " + kSchema);
    }
    const json_tree& question = all.at("question");
    certificate_file c{.source = source_from(question.at("columns")),
                       .objective = question.at("objective"),
                       .gauge = question.at("gauge"),
                       .sites = question.at("sites")};
    for (const json_tree& g : question.at("gauges")) c.gauges.push_back(gauge_from(g));
    for (const json_tree& r : question.at("order_weights")) {
      c.lambda.push_back({r.at(0).get<double>(), r.at(1).get<std::size_t>()});
    }
    if (!question.at("allowed").is_null()) c.where.allowed = region_from(question.at("allowed"));
    c.where.forbidden = region_from(question.at("forbidden"));
    c.source.gauges = c.gauges.size();
    const json_tree& answer = all.at("answer");
    c.answer.status = status_from(answer.at("status"));
    c.answer.point = pair_from(answer.at("point"));
    c.answer.value = number_from(
        answer.at("value"), c.answer.status == solution_status::unbounded ? -HUGE_VAL : HUGE_VAL);
    c.answer.lower_bound =
        number_from(answer.at("lower_bound"),
                    c.answer.status == solution_status::infeasible ? HUGE_VAL : -HUGE_VAL);
    c.answer.exact = exact_from(answer.at("exact"));
    c.answer.proof = proof_from(all.at("proof"));
    return c;
  } catch (const tool_error&) {
    throw;
  } catch (const std::exception& e) {
    fail_data(file + ": is no certificate of planloc solve: " + e.what());
  }
}

}  // namespace planloc::tool
