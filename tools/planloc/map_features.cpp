#include "tools/planloc/map_features.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "tools/planloc/gauges.h"
#include "tools/planloc/numbers.h"

namespace planloc::tool {

namespace {

constexpr double kMargin = 0.08;

// 1, 2 or 5 times a power of ten, at most x.
double round_down(double x) {
  const double power = std::pow(10, std::floor(std::log10(x)));
  return power * (x >= 5 * power ? 5 : x >= 2 * power ? 2 : 1);
}

std::vector<xy> with_corners(std::vector<xy> points, const std::vector<optimum_piece>& pieces) {
  for (const optimum_piece& p : pieces)
    points.insert(points.end(), p.corners.begin(), p.corners.end());
  return points;
}

void add_sites(map_scene& scene, const site_plane& sites, std::size_t column) {
  for (std::size_t i = 0; i < sites.size(); ++i) {
    scene.features.push_back({.layer = map_layer::site,
                              .name = sites.table().named ? sites.table().names[i] : "",
                              .rings = {{sites.places()[i]}},
                              .numbers = {{"weight", sites.table().weights[column][i]}}});
  }
}

// The places from which the answer is within a distance: the ball, turned round.
std::vector<xy> reach_of(const gauge& g, const xy& to, double radius) {
  std::vector<xy> ring;
  for (const xy& v : ball_outline(g)) ring.push_back({to.x - radius * v.x, to.y - radius * v.y});
  return ring;
}

void add_balls(map_scene& scene, const solve_report& r) {
  constexpr int kBalls = 4;
  std::vector<bool> used(r.question.gauges().size());
  double farthest = 0;
  for (std::size_t i = 0; i < r.sites.size(); ++i) {
    used[r.question.sites()[i].gauge] = true;
    farthest = std::max(farthest, r.figures[i].distance);
  }
  if (farthest <= 0) return;
  const bool single = std::count(used.begin(), used.end(), true) == 1;
  const double step = round_down(single ? farthest / 3 : farthest / 2);
  for (std::size_t k = 0; k < used.size(); ++k) {
    if (!used[k]) continue;
    for (int b = 1; b <= (single ? kBalls : 1) && b * step <= 1.2 * farthest; ++b) {
      scene.features.push_back(
          {.layer = map_layer::ball,
           .name = (single ? "" : "gauge " + std::to_string(k) + ": ") + rounded(b * step),
           .rings = {reach_of(r.question.gauges()[k], *r.point, b * step)},
           .numbers = {{"radius", b * step}}});
    }
  }
  scene.ball_name = r.gauge.measured(r.sites.unit()) + " to the answer";
}

// The values of the objective around the answer: on the frame of the map, and on wider ones for
// the level sets that run out of it.
class level_sets {
 public:
  level_sets(const solve_report& r, const rectangle& frame) : report_(r) {
    constexpr double kEvaluations = 4e6;
    const double n = static_cast<double>(r.sites.size());
    columns_ = static_cast<std::size_t>(std::clamp(std::sqrt(kEvaluations / n), 24.0, 120.0));
    sample(frame);
  }

  double quantile(double share) const { return samples_.front().quantile(share); }

  // Within four times the frame.
  std::vector<std::vector<xy>> rings(double level) {
    constexpr std::size_t kFrames = 3;
    std::size_t k = 0;
    while (samples_[k].goes_on_outside(level) && k + 1 < kFrames) {
      if (++k == samples_.size()) sample(doubled(samples_.back().frame()));
    }
    return samples_[k].rings(level);
  }

 private:
  static rectangle doubled(const rectangle& r) {
    const double x = r.width() / 2;
    const double y = r.height() / 2;
    return {{r.low.x - x, r.low.y - y}, {r.high.x + x, r.high.y + y}};
  }
  void sample(const rectangle& frame) {
    samples_.emplace_back(frame, columns_, [&](const xy& p) { return report_.question.value(p); });
  }

  const solve_report& report_;
  std::size_t columns_ = 0;
  std::vector<sampled_function> samples_;
};

void add_levels(map_scene& scene, const solve_report& r) {
  constexpr std::size_t kMostSites = 5000;
  if (r.sites.size() > kMostSites) return;
  level_sets sets(r, scene.frame);
  double before = *r.value;
  for (const double share : {0.04, 0.15, 0.35, 0.6}) {
    const double level = sets.quantile(share);
    if (!(level > before)) continue;
    before = level;
    scene.features.push_back({.layer = map_layer::level,
                              .name = in_round_digits(level, 4),
                              .rings = sets.rings(level),
                              .numbers = {{"value", level}}});
  }
}

void add_piece(map_scene& scene, map_layer layer, const std::string& name,
               const std::vector<xy>& corners) {
  scene.features.push_back({.layer = layer, .name = name, .rings = {corners}});
}

void add_regions(map_scene& scene, const solve_report& r) {
  const regions& where = r.question.where();
  if (where.allowed) {
    for (const region_polygon& p : *where.allowed) {
      scene.features.push_back({.layer = map_layer::allowed, .rings = p});
    }
  }
  for (const region_polygon& p : where.forbidden) {
    scene.features.push_back({.layer = map_layer::forbidden, .rings = p});
  }
}

std::string proof_line(const solve_report& r) {
  if (r.status == "optimal") return r.exact ? "proved optimal" : "proved optimal to 1e-9";
  return r.lower_bound ? "at least " + rounded(*r.lower_bound, 6) : "no lower bound";
}

}  // namespace

const char* name_of(map_layer layer) {
  constexpr std::array<const char*, 10> kNames = {"site", "place", "optimum", "piece",     "link",
                                                  "ball", "level", "allowed", "forbidden", "ray"};
  return kNames[static_cast<std::size_t>(layer)];
}

double map_feature::number(std::string_view key, double otherwise) const {
  for (const auto& [k, value] : numbers) {
    if (k == key) return value;
  }
  return otherwise;
}

map_scene scene_of(const solve_report& r) {
  map_scene scene;
  scene.title = r.objective + ", gauge " + r.gauge.name;
  std::vector<xy> points = with_corners(r.sites.places(), r.optima);
  if (r.point) points.push_back(*r.point);
  scene.frame = frame_of(points, kMargin);
  if (!r.point) {
    scene.lines = {r.status};
    add_sites(scene, r.sites, 0);
    return scene;
  }
  scene.lines = {r.sites.describe(*r.point), "value " + rounded(*r.value, 6), proof_line(r)};
  add_regions(scene, r);
  add_levels(scene, r);
  add_balls(scene, r);
  for (const optimum_piece& piece : r.optima) {
    if (piece.corners.size() > 1) add_piece(scene, map_layer::optimum, piece.kind(), piece.corners);
  }
  const std::size_t first = scene.features.size();
  add_sites(scene, r.sites, 0);
  for (std::size_t i = 0; i < r.figures.size(); ++i) {
    const site_figures& f = r.figures[i];
    auto& numbers = scene.features[first + i].numbers;
    numbers.insert(numbers.end(), {{"distance", f.distance},
                                   {"weighted_distance", f.weighted_distance},
                                   {"rank", static_cast<double>(f.rank)},
                                   {"share", f.share}});
  }
  scene.features.push_back({.layer = map_layer::place,
                            .name = "answer",
                            .rings = {{*r.point}},
                            .numbers = {{"value", *r.value}}});
  if (r.lower_bound) scene.features.back().numbers.push_back({"lower_bound", *r.lower_bound});
  return scene;
}

void add_rays(map_scene& scene, const solve_report& r) {
  std::vector<map_feature> rays;
  for (std::size_t i = 0; i < r.sites.size(); ++i) {
    const xy& a = r.sites.places()[i];
    for (const xy& v : r.question.gauge_of(i).vertices()) {
      const double reach = scene.frame.diagonal() / std::hypot(v.x, v.y);
      rays.push_back(
          {.layer = map_layer::ray, .rings = {{a, {a.x + reach * v.x, a.y + reach * v.y}}}});
    }
  }
  scene.features.insert(scene.features.begin(), rays.begin(), rays.end());
}

map_scene scene_of(const depots_report& r) {
  map_scene scene;
  scene.title = std::to_string(r.points.size()) + " new depots, gauge " + r.gauge.name;
  std::vector<xy> points = r.sites.places();
  points.insert(points.end(), r.points.begin(), r.points.end());
  points.insert(points.end(), r.existing.begin(), r.existing.end());
  scene.frame = frame_of(points, kMargin);
  scene.lines = {"value " + rounded(r.value, 6),
                 r.lower_bound ? "at least " + rounded(*r.lower_bound, 6) : "no lower bound"};
  for (std::size_t i = 0; i < r.assignment.size(); ++i) {
    scene.features.push_back({.layer = map_layer::link,
                              .rings = {{r.sites.places()[i], r.depot(r.assignment[i])}},
                              .numbers = {{"depot", static_cast<double>(r.assignment[i])}}});
  }
  const std::size_t first = scene.features.size();
  add_sites(scene, r.sites, 0);
  for (std::size_t i = 0; i < r.assignment.size(); ++i) {
    scene.features[first + i].numbers.push_back({"depot", static_cast<double>(r.assignment[i])});
    scene.features[first + i].numbers.push_back({"distance", r.distance(i, r.assignment[i])});
  }
  for (std::size_t k = 0; k < r.depots(); ++k) {
    scene.features.push_back(
        {.layer = map_layer::place,
         .name = r.depot_label(k),
         .rings = {{r.depot(k)}},
         .numbers = {{"depot", static_cast<double>(k)}, {"new", k < r.points.size() ? 1.0 : 0.0}}});
  }
  return scene;
}

map_scene scene_of(const compare_report& r) {
  map_scene scene;
  scene.title = "Efficient places for " + r.weights[0] + " and " + r.weights[1];
  scene.frame = frame_of(r.sites.places(), kMargin);
  scene.lines = {std::to_string(r.pieces.size()) + " pieces", "gauge " + r.gauge};
  const std::size_t none = scene.features.size();
  add_sites(scene, r.sites, 0);
  std::vector<map_feature> sites(scene.features.begin() + static_cast<std::ptrdiff_t>(none),
                                 scene.features.end());
  scene.features.clear();
  for (std::size_t i = 0; i < sites.size(); ++i) {
    sites[i].numbers = {{"weight", r.sites.table().weights[0][i]},
                        {"weight2", r.sites.table().weights[1][i]}};
  }
  for (const compare_piece& piece : r.pieces) {
    std::vector<xy> corners;
    for (const compare_corner& c : piece.corners) corners.push_back(c.at);
    add_piece(scene, map_layer::piece, "", corners);
    scene.features.back().numbers = {{"t_low", piece.t_low}, {"t_high", piece.t_high}};
  }
  scene.features.insert(scene.features.end(), sites.begin(), sites.end());
  return scene;
}

}  // namespace planloc::tool
